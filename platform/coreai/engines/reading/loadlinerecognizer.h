// Chooses the engine that reads lines, by what is installed.
// Thread: any; no state but what was last said in the log.

#pragma once

#include "coreai/engines/linerecognizer.h"

#include <memory>

namespace coreai
{
class ModelFolders;

enum class LineEngine {
    Automatic, // the first of those below that can be loaded
    OpenVino,  // in the arithmetic that is quicker here
    OpenVinoFloats,
    OpenVinoIntegers,
    Tesseract,
    None,
};

// Never null and never throws: an engine that cannot be loaded gives the next one, at last
// NullLineRecognizer. Of the forced ones, too. Logs one line about what was taken, and why not the
// better one; a later call that takes the same says nothing.
std::unique_ptr<LineRecognizer> loadLineRecognizer(const ModelFolders &models,
                                                   LineEngine wanted = LineEngine::Automatic);
} // namespace coreai
