#pragma once
// What tests of the search box and the pages of hits share: two days on the axis, a search that is
// typed, hits that are found, and what stands in the window. Main thread of a test.

#include "qml/pagesfixture.h"

#include <QColor>

#include <functional>

namespace SearchPageWorld
{
QQuickItem *control(const char *name);
QQuickItem *box();

VideoPreviewImageItem hitNumber(const char *kind, int number);

void open(PagesFixture *pages);
void type(PagesFixture *pages, const char *text);
void search(PagesFixture *pages, const char *text = "ab");
void addTextHits(PagesFixture *pages, int count);

QQuickItem *pageOfHits(PagesFixture *pages);
QQuickItem *listOfHits(PagesFixture *pages);

/// The first shown item below @p from that is wanted; null if there is none.
QQuickItem *firstOf(QQuickItem *from, const std::function<bool(QQuickItem *)> &isWanted);
QQuickItem *itemOf(QQuickItem *from, const char *type);
QQuickItem *textOf(QQuickItem *from, const char *text);

/// A colour of the pages' palette; invalid if they have none of that name.
QColor themeColour(QQuickItem *item, const char *name);
QColor colourOf(QQuickItem *item);
} // namespace SearchPageWorld
