#include "coreai/aisubsystem.h"

#include "coreai/engines/modelavailability.h"

bool is_ai_subsystem_inited(void)
{
    const coreai::ModelFolders models = coreai::ModelFolders::standard();
    return coreai::lineRecognizerAvailable(models) && coreai::textMeaningAvailable(models);
}
