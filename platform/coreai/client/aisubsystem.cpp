#include "coreai/aisubsystem.h"

#include "coreai/engines/modelavailability.h"

bool is_ai_subsystem_inited(void)
{
    return coreai::aiSubsystemAvailable(coreai::ModelFolders::standard());
}
