#include "qqc2style/styleplugin.h"

#include "qqc2style/stylehelper.h"
#include "qqc2style/tavelicon.h"

#include <QtQml>

void StylePlugin::registerTypes(const char *uri)
{
    qmlRegisterSingletonType<StyleHelper>(
        uri, 1, 0, "StyleHelper",
        [](QQmlEngine *, QJSEngine *) -> QObject * { return new StyleHelper; });
    qmlRegisterType<TavelIcon>(uri, 1, 0, "TavelIcon");
}
