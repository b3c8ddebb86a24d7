#pragma once
// Pages of text and pictures for the tests of the line cut, drawn so that their lines are known.
// Needs a QGuiApplication for its fonts.

#include "reading/linecut.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QStringList>

#include <set>
#include <vector>

namespace DrawnPages
{
struct Style {
    QString family = QStringLiteral("DejaVu Sans");
    int pixelSize = 14;
    QColor ink = Qt::black;
    QColor ground = Qt::white;

    QFont font() const;
};

/// A page of one colour.
QImage blank(const QSize &size, const QColor &colour = Qt::white);

/// Writes @p lines one below the other, the first one's baseline at @p at, @p pitch pixels apart.
void write(QImage &page, const QPoint &at, const QStringList &lines, const Style &style, int pitch);

/// Fills @p area with text-free texture like that of a photograph: @p grain is the size of its
/// finest detail in pixels.
void fillWithTexture(QImage &page, const QRect &area, int grain, quint32 seed);

/// A landscape: hills, clouds and grass, softened and with the noise of a camera.
QImage landscape(const QSize &size, quint32 seed);

/// The smallest rectangle of @p area that holds every pixel that differs clearly from @p ground.
QRect inkOf(const QImage &page, const QRect &area, const QColor &ground);

std::vector<coreai::CutLine> cut(const QImage &page);

/// What makes a line the same line: its size and its pixels.
QByteArray keyOf(const coreai::CutLine &line);
std::multiset<QByteArray> keysOf(const std::vector<coreai::CutLine> &lines);

/// The lines that lie wholly inside @p area.
std::vector<coreai::CutLine> inside(const std::vector<coreai::CutLine> &lines, const QRect &area);

QRect rectOf(const coreai::CutLine &line);
} // namespace DrawnPages
