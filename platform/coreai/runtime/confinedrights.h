// What the two processes of the runtime may read and start, once they are confined.
// Thread: main.

#pragma once

#include "confinement/confinement.h"
#include "coreai/engines/modelfolders.h"

namespace coreai
{
// Models and the libraries beside this program; no process.
confinement::Rights rightsOfEngines(const ModelFolders &models);

// The same, since the engines can have no more than who starts them, and what tells of batteries in
// the folder `power`; the program of `engines` may be started.
confinement::Rights rightsOfRuntime(const ModelFolders &models,
                                    const std::vector<std::string> &engines, const QString &power);
} // namespace coreai
