#include "controlcenter/sources/sourceloader.h"

#include "controlcenter/sources/addresssource.h"
#include "controlcenter/sources/nullsource.h"
#include "controlcenter/sources/pipsource.h"

std::unique_ptr<ModelSource> loadModelSource(const QString &registry)
{
    if (registry == QLatin1String("pip")) {
        return std::make_unique<PipSource>();
    }
    if (registry == QLatin1String("url")) {
        return std::make_unique<AddressSource>();
    }
    return std::make_unique<NullSource>(registry);
}
