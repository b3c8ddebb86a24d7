#include "desktopbridge/portal/caststream.h"

#include <QDBusArgument>
#include <QVariantMap>

namespace
{
// The farthest place and the longest side of a screen. Times the pixels of a unit they fit an int.
constexpr int FARTHEST = 1 << 15;

bool isPlausible(int x, int y, int width, int height)
{
    return x >= -FARTHEST && x <= FARTHEST && y >= -FARTHEST && y <= FARTHEST &&
           width <= FARTHEST && height <= FARTHEST;
}

// Two numbers in a structure.
bool readPair(const QVariant &value, int &first, int &second)
{
    if (value.userType() != qMetaTypeId<QDBusArgument>()) {
        return false;
    }
    const auto pair = value.value<QDBusArgument>();
    if (pair.currentSignature() != QLatin1String("(ii)")) {
        return false;
    }
    pair.beginStructure();
    pair >> first >> second;
    pair.endStructure();
    return true;
}

CastStream streamFrom(quint32 node, const QVariantMap &facts)
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    readPair(facts.value(QStringLiteral("position")), x, y);
    if (!readPair(facts.value(QStringLiteral("size")), width, height) ||
        !isPlausible(x, y, width, height)) {
        return {node, QRect()};
    }
    return {node, QRect(x, y, width, height)};
}
} // namespace

QVector<CastStream> castStreamsFrom(const QVariant &answer)
{
    QVector<CastStream> streams;
    if (answer.userType() != qMetaTypeId<QDBusArgument>()) {
        return streams;
    }
    const auto list = answer.value<QDBusArgument>();
    if (list.currentSignature() != QLatin1String("a(ua{sv})")) {
        return streams;
    }
    list.beginArray();
    while (!list.atEnd()) {
        quint32 node = 0;
        QVariantMap facts;
        list.beginStructure();
        list >> node >> facts;
        list.endStructure();
        streams.append(streamFrom(node, facts));
    }
    list.endArray();
    return streams;
}
