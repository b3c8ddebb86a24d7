#include "coreai/engines/modelavailability.h"

#include "coreai/engines/modelfiles.h"

namespace coreai
{
bool textMeaningAvailable(const ModelFolders &folders)
{
    return !folders.find(textMeaningFile).isEmpty();
}
} // namespace coreai
