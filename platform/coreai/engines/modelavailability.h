// Whether the models that reading and searching need are installed. Looks at files only.
// Thread: any.

#pragma once

#include "coreai/engines/modelfolders.h"

namespace coreai
{
// True where loadTextMeaning() would find its model's file.
bool textMeaningAvailable(const ModelFolders &folders);
} // namespace coreai
