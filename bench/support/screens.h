#pragma once
// Pictures like those of a working day, drawn anew for each run: windows with text, a toolbar, a
// photograph-like gradient. Needs a QGuiApplication for its fonts.

#include <QImage>
#include <QSize>

namespace Bench
{
/// A desktop of @p size in Format_RGB32. Pages with different @p page differ in their text as a
/// scrolled or switched window would.
QImage screen(const QSize &size, int page);
} // namespace Bench
