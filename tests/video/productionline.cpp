#include "productionline.h"

#include "systeminfo/tvsysinfo.h"

namespace
{
const char *currentLine = "";
}

const char *tdk_system_get_production_line()
{
    return currentLine;
}

void ProductionLine::set(const char *line)
{
    currentLine = line;
}
