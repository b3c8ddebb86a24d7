#include "systeminfo/tvsysinfo.h"

const char *tdk_system_get_production_line()
{
    return "";
}
