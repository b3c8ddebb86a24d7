#pragma once
// What tests of the region share: a frame on show, a part of it that is dragged out, what of it was
// sent to be read, and lines that were found there. Main thread of a test.

#include "qml/pagesfixture.h"

namespace RegionWorld
{
QQuickItem *control(const char *name);

void open(PagesFixture *pages);
void openRegion(PagesFixture *pages);

QPoint onCapture(const QPointF &point);
void drag(PagesFixture *pages, const QPoint &from, const QPoint &to);
qreal pictureScale();

/// What the pages sent to be read; empty if nothing.
QStringList sentTask(PagesFixture *pages);

OCRTextData line(const QString &text, const QRectF &rect);

/// Lines of 300 by 30 pixels of the picture, 40 apart.
QVector<OCRTextData> lines(const QStringList &texts);

/// A region of 600 by 400 on the screen with these lines in it.
void openText(PagesFixture *pages, const QStringList &texts);

QStringList copied(PagesFixture *pages);

inline const QStringList threeLines = {QStringLiteral("the first line"),
                                       QStringLiteral("the second one"),
                                       QStringLiteral("and a third")};
} // namespace RegionWorld
