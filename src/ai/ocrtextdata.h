#pragma once
// One line of recognised text. Owner: whoever holds the copy. Thread: any; a value whose parts are
// implicitly shared.

#include <QMetaType>
#include <QPointF>
#include <QString>
#include <QVector>

struct OCRTextData {
    QString text;
    /// Corners in pixels of the picture that was read, in the recogniser's order.
    QVector<QPointF> cornerPoints;
};
Q_DECLARE_METATYPE(OCRTextData)
