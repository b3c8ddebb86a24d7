#pragma once
// Pictures of named icons; plain functions, main thread.

#include <QColor>
#include <QImage>
#include <QString>

/// True for the icons that take the colour of the text around them.
bool isSymbolicIcon(const QString &name);

/// True where the icon theme or this module has an icon of that name.
bool hasIcon(const QString &name);

/// The icon @p name in a square of @p pixels device pixels: from the icon theme, else our own, else
/// (symbolic icons excepted) our picture of an unknown application. A symbolic icon is drawn in
/// @p color where that is valid. A null image where there is nothing to draw.
QImage iconImage(const QString &name, int pixels, const QColor &color);
