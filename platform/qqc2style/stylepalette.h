#pragma once
// Picks the palette that pages are drawn with; plain functions, main thread.

#include <QPalette>

/// True where the window colour of @p palette is darker than its text.
bool isDarkPalette(const QPalette &palette);

/// True where @p palette is the toolkit's stock one: no desktop has chosen its colours.
bool isStockPalette(const QPalette &palette);

/// The palette for a light or dark page: the @p desktop's own where it was chosen by a desktop and
/// is of the wanted kind, else the one of this module, so that dark text never meets a dark page.
QPalette stylePalette(const QPalette &desktop, bool dark);
