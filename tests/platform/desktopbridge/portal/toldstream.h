#pragma once
// One stream as a portal tells of it over the bus. Plain value, any thread.

#include <QDBusArgument>
#include <QVariantMap>

struct ToldStream {
    quint32 node = 0;
    QVariantMap facts;
};
Q_DECLARE_METATYPE(ToldStream)

inline QDBusArgument &operator<<(QDBusArgument &argument, const ToldStream &stream)
{
    argument.beginStructure();
    argument << stream.node << stream.facts;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument &operator>>(const QDBusArgument &argument, ToldStream &stream)
{
    argument.beginStructure();
    argument >> stream.node >> stream.facts;
    argument.endStructure();
    return argument;
}
