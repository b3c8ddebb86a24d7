// Whether the models that reading and searching need are installed. Looks at files only.
// Thread: any.

#pragma once

#include "coreai/engines/modelfolders.h"

namespace coreai
{
// True where loadLineRecognizer() would find the files of an engine that reads.
bool lineRecognizerAvailable(const ModelFolders &folders);

// True where loadTextMeaning() would find its model's file.
bool textMeaningAvailable(const ModelFolders &folders);

// True where both are.
bool aiSubsystemAvailable(const ModelFolders &folders);
} // namespace coreai
