#pragma once
// The rules of marking recognised lines, told once more and in another way than the pages do it:
// numbers only, a case at a time. Plain functions of a test.

#include <QPointF>
#include <QRectF>
#include <QString>

/// What the pointer did: the point of the press, where it is now, and a double click (negative
/// where there was none).
struct SelectionDrag {
    QPointF press;
    QPointF current;
    QPointF doubleClick = QPointF(-1, -1);
    bool all = false;
};

/// The part of a box that is marked, in the coordinates of the box; of no width where nothing is.
struct SelectionPart {
    bool shown = false;
    double from = 0;
    double to = 0;
};

SelectionPart selectionPart(const QRectF &box, const SelectionDrag &drag);

/// Letters of a text of equal letters that fills a box of @p width between two of its points.
QString lettersBetween(const QString &text, double width, const SelectionPart &part);
