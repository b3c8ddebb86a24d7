#include "desktopbridge/bridgefacts.h"

#include "desktopbridge/screenbackend.h"

QString BridgeFacts::backend() const
{
    const QString name = QLatin1String(m_backend.metaObject()->className());
    return name.section(QStringLiteral("Backend"), 0, 0).toLower();
}
