// Picks the engines that give texts and pictures their meaning.
// Thread: any.

#pragma once

#include "coreai/engines/modelfolders.h"
#include "coreai/engines/picturemeaning.h"
#include "coreai/engines/textmeaning.h"

#include <memory>

namespace coreai
{
// Never null and never throws: where the model is missing or damaged, the engine gives empty
// vectors. One line on the log tells what was loaded or why not; a later call with the same
// outcome says nothing.
std::unique_ptr<TextMeaning> loadTextMeaning(const ModelFolders &folders);
std::unique_ptr<PictureMeaning> loadPictureMeaning(const ModelFolders &folders);
} // namespace coreai
