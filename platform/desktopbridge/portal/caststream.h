#pragma once
// What the portal tells of one stream of a screen cast. Plain value, any thread.

#include <QRect>
#include <QVariant>
#include <QVector>

struct CastStream {
    quint32 node = 0; ///< its number at PipeWire
    QRect logical;    ///< place and size in the compositor's units; empty if it was not told
};

/// The entry "streams" of the portal's answer; empty for what is not of that kind.
QVector<CastStream> castStreamsFrom(const QVariant &answer);
