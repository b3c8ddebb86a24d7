// The page of hits: its titles, tabs, lists and empty parts, what they call and what is on show.
// The window has the design's own size.

#include "qml/searchpageworld.h"

#include <QMetaProperty>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>

using namespace SearchPageWorld;

class SearchPageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void geometry();
    void textsToTheLetter();
    void tabsTurnAndAskForTheOtherHits();
    void theTabOnShowIsUnderlined_data();
    void theTabOnShowIsUnderlined();
    void titlesStandOnlyWithAText();
    void emptyTipNeedsFlagGridAndTab();
    void typingTakesTheTipAway();
    void comingOnShowContinuesBelowThirtyRows_data();
    void comingOnShowContinuesBelowThirtyRows();
    void theListScrollsAndTheGridInItDoesNot();
    void endOfTheListContinues();
    void anEmptiedListIsNotAnEnd();
    void emptyPartsLeave_data();
    void emptyPartsLeave();
    void titlesSwallowClicks();
    void escapeLeaves();
    void titleChip();
};

namespace
{
bool isOnShow(PagesFixture *pages, const char *text)
{
    return PagesFixture::texts(&pages->view).contains(QLatin1String(text));
}

const char tip[] = "We couldn't find the results you were looking for";
const QStringList leaving = {QStringLiteral("clearSearchTask()")};
} // namespace

void SearchPageTest::geometry()
{
    PagesFixture pages;
    open(&pages);
    QQuickItem *frame = box()->parentItem();
    QCOMPARE(frame->mapRectToScene(frame->boundingRect()), QRectF(711, 4, 498, 36));
    QCOMPARE(frame->property("radius").toReal(), 6.0);
    search(&pages);
    addTextHits(&pages, 8);
    QCOMPARE(frame->property("border").value<QObject *>()->property("width").toInt(), 2);
    QQuickItem *page = pageOfHits(&pages);
    QCOMPARE(page->mapRectToScene(page->boundingRect()), QRectF(0, 80, 1920, 952));
    QQuickItem *list = listOfHits(&pages);
    QCOMPARE(list->x(), 102.0);
    QCOMPARE(list->height(), 4 * 214.0);
    QTRY_VERIFY(control("ListItem_textHit7"));
    QQuickItem *card = control("ListItem_textHit7");
    QCOMPARE(card->size(), QSizeF(266, 200));
    QCOMPARE(card->property("radius").toReal(), 12.0);
    QCOMPARE(card->mapToItem(list, QPointF(0, 0)), QPointF(290, 214));
    QQuickItem *picture = card->childItems().at(0);
    QVERIFY(picture->inherits("QQuickImage"));
    QCOMPARE(QRectF(picture->position(), picture->size()), QRectF(16, 16, 234, 132));
    QCOMPARE(control("List_textHits")->height(), 2 * 214.0);
    QCOMPARE(pages.warnings(), QStringList());
}

void SearchPageTest::textsToTheLetter()
{
    PagesFixture pages;
    open(&pages);
    QVERIFY(isOnShow(&pages, "Enter your memory fragments..."));
    search(&pages);
    QVERIFY(!isOnShow(&pages, "Enter your memory fragments..."));
    pages.videoInfo.findNothing();
    for (const char *text : {"Search Result:", "Text Matching", "Image Matching", tip}) {
        QVERIFY2(isOnShow(&pages, text), text);
    }
}

void SearchPageTest::tabsTurnAndAskForTheOtherHits()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    QQuickItem *page = pageOfHits(&pages);
    QCOMPARE(page->state(), QStringLiteral("textMatch"));
    const auto bold = [](const char *tab) {
        return control(tab)
            ->property("contentItem")
            .value<QQuickItem *>()
            ->property("font")
            .value<QFont>()
            .bold();
    };
    QVERIFY(bold("PageTab_textMatch") && !bold("PageTab_imageMatch"));
    PagesFixture::click(control("PageTab_imageMatch"));
    QCOMPARE(page->state(), QStringLiteral("imageMatch"));
    QVERIFY(!bold("PageTab_textMatch") && bold("PageTab_imageMatch"));
    QCOMPARE(pages.calls.take(),
             QStringList({QStringLiteral("clearSearchTask()"),
                          QStringLiteral("continueShowImageSearchResult(ab)")}));
    pages.videoInfo.addImageHit(hitNumber("imagesearch", 0));
    QTRY_VERIFY(control("ListItem_imageHit0"));
    addTextHits(&pages, 1);
    QVERIFY(!control("ListItem_textHit0"));
    PagesFixture::click(control("PageTab_textMatch"));
    QTRY_VERIFY(control("ListItem_textHit0"));
    QVERIFY(!control("ListItem_imageHit0"));
}

void SearchPageTest::theTabOnShowIsUnderlined_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("half") << QSize(960, 517);
    QTest::newRow("as designed") << QSize(1920, 1034);
    QTest::newRow("twice") << QSize(3840, 2068);
}

void SearchPageTest::theTabOnShowIsUnderlined()
{
    QFETCH(QSize, size);
    PagesFixture pages;
    QVERIFY(pages.show(size));
    QTRY_VERIFY(pages.view.isActive());
    search(&pages);
    const int thickness = qRound(2 * pages.root()->property("heightScaleFactor").toReal());
    const auto underline = [](const char *tab) {
        auto *background = control(tab)->property("background").value<QQuickItem *>();
        return itemOf(background, "QQuickRectangle");
    };
    const auto isAlongTheFoot = [thickness](QQuickItem *line) {
        const QSizeF tab = line->parentItem()->size();
        return QRectF(line->position(), line->size()) ==
               QRectF(0, tab.height() - thickness, tab.width(), thickness);
    };
    QVERIFY(underline("PageTab_textMatch") && !underline("PageTab_imageMatch"));
    QVERIFY(isAlongTheFoot(underline("PageTab_textMatch")));
    PagesFixture::click(control("PageTab_imageMatch"));
    QVERIFY(!underline("PageTab_textMatch") && underline("PageTab_imageMatch"));
    QVERIFY(isAlongTheFoot(underline("PageTab_imageMatch")));
}

void SearchPageTest::titlesStandOnlyWithAText()
{
    PagesFixture pages;
    open(&pages);
    PagesFixture::click(box());
    QVERIFY(!isOnShow(&pages, "Search Result:"));
    QVERIFY(!control("PageTab_textMatch"));
    type(&pages, "a");
    QVERIFY(isOnShow(&pages, "Search Result:"));
    QVERIFY(control("PageTab_textMatch"));
    QTest::keyClick(&pages.view, Qt::Key_Backspace);
    QVERIFY(!control("PageTab_textMatch"));
}

void SearchPageTest::emptyTipNeedsFlagGridAndTab()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    QVERIFY(!isOnShow(&pages, tip)); // nothing is known yet
    Q_EMIT pages.videoInfo.textSearchResultIsEmpty();
    QVERIFY(isOnShow(&pages, tip));
    QQuickItem *list = listOfHits(&pages);
    QQuickItem *told = itemOf(list, "NoSearchResult");
    QVERIFY(told);
    QCOMPARE(told->size(), QSizeF(128, 156));
    QCOMPARE(told->mapRectToScene(told->boundingRect()).center().x(), 960.0); // of the window
    QCOMPARE(told->mapRectToItem(list, told->boundingRect()).center().y(),
             list->boundingRect().center().y());
    QQuickItem *picture = itemOf(told, "QQuickImage");
    QVERIFY(picture);
    QCOMPARE(picture->property("source").toString(),
             QStringLiteral("qrc:/image/nosearchresult.png"));
    QVERIFY(picture->implicitHeight() > 0); // there is such a picture
    PagesFixture::click(control("PageTab_imageMatch"));
    QVERIFY(!isOnShow(&pages, tip));
    Q_EMIT pages.videoInfo.imageSearchResultIsEmpty();
    QVERIFY(isOnShow(&pages, tip));
    pages.videoInfo.addImageHit(hitNumber("imagesearch", 0));
    QVERIFY(!isOnShow(&pages, tip));
}

void SearchPageTest::typingTakesTheTipAway()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    pages.videoInfo.findNothing();
    QVERIFY(isOnShow(&pages, tip));
    type(&pages, "c");
    QVERIFY(!isOnShow(&pages, tip));
    PagesFixture::click(control("PageTab_imageMatch"));
    QVERIFY(!isOnShow(&pages, tip));
}

void SearchPageTest::comingOnShowContinuesBelowThirtyRows_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<bool>("continues");
    QTest::newRow("none") << 0 << true;
    QTest::newRow("29") << 29 << true;
    QTest::newRow("30") << 30 << false;
    QTest::newRow("36") << 36 << false;
}

void SearchPageTest::comingOnShowContinuesBelowThirtyRows()
{
    QFETCH(int, rows);
    QFETCH(bool, continues);
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, rows);
    PagesFixture::click(control("PageTab_imageMatch"));
    pages.calls.take();
    PagesFixture::click(control("PageTab_textMatch"));
    QCOMPARE(pages.calls.take(),
             continues ? QStringList({"clearSearchTask()", "continueShowTextSearchResult(ab)"})
                       : QStringList());
}

void SearchPageTest::theListScrollsAndTheGridInItDoesNot()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 24);
    QVERIFY(!control("ScrollBar_textHits")); // four rows, all of them in sight
    addTextHits(&pages, 12);
    QQuickItem *list = listOfHits(&pages);
    QQuickItem *bar = control("ScrollBar_textHits");
    QVERIFY(bar);
    QCOMPARE(bar->property("orientation").toInt(), int(Qt::Vertical));
    QCOMPARE(bar->mapRectToItem(list, bar->boundingRect()).right(), list->width());
    list->setProperty("contentY", 214);
    QCOMPARE(bar->property("position").toReal(), 1.0 / 6);
    const auto keyOf = [](QQuickItem *item, const char *property) {
        const QMetaObject *meta = item->metaObject();
        const QMetaProperty found = meta->property(meta->indexOfProperty(property));
        return QByteArray(found.enumerator().valueToKey(found.read(item).toInt()));
    };
    QCOMPARE(keyOf(list, "boundsBehavior"), QByteArray("StopAtBounds"));
    QVERIFY(list->property("interactive").toBool());
    QQuickItem *grid = itemOf(list, "QQuickGridView");
    QVERIFY(grid);
    QVERIFY(!grid->property("interactive").toBool());
    QCOMPARE(keyOf(grid, "flow"), QByteArray("FlowLeftToRight"));
    QCOMPARE(keyOf(grid, "effectiveLayoutDirection"), QByteArray("LeftToRight"));
}

void SearchPageTest::endOfTheListContinues()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 36);
    QCOMPARE(pages.calls.take(), QStringList());
    QQuickItem *list = listOfHits(&pages);
    QVERIFY(!list->property("atYEnd").toBool());
    list->setProperty("contentY", 6 * 214 - 4 * 214 - 1);
    QCOMPARE(pages.calls.take(), QStringList());
    list->setProperty("contentY", 6 * 214 - 4 * 214);
    QVERIFY(list->property("atYEnd").toBool());
    QCOMPARE(pages.calls.take(),
             QStringList({"clearSearchTask()", "continueShowTextSearchResult(ab)"}));
    addTextHits(&pages, 12);
    QVERIFY(!list->property("atYEnd").toBool());
    QCOMPARE(pages.calls.take(), QStringList());
}

void SearchPageTest::anEmptiedListIsNotAnEnd()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 36);
    QQuickItem *list = listOfHits(&pages);
    list->setProperty("contentY", 300);
    type(&pages, "c"); // the hits go while the search is being started
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("showTextSearchResult(abc)")));
    QCOMPARE(list->property("contentY").toReal(), 0.0);
    addTextHits(&pages, 36);
    QCOMPARE(list->property("contentY").toReal(), 0.0);
    QCOMPARE(pages.calls.take(), QStringList());
    QCOMPARE(pages.warnings(), QStringList());
}

void SearchPageTest::emptyPartsLeave_data()
{
    QTest::addColumn<int>("hits");
    QTest::addColumn<QPoint>("point");
    QTest::newRow("background above the page") << 3 << QPoint(300, 60);
    QTest::newRow("page beside the list") << 3 << QPoint(40, 500);
    QTest::newRow("list between two cards") << 12 << QPoint(102 + 278, 80 + 96 + 100);
    QTest::newRow("list below its cards") << 3 << QPoint(500, 800);
    QTest::newRow("list without content") << 0 << QPoint(500, 500);
}

void SearchPageTest::emptyPartsLeave()
{
    QFETCH(int, hits);
    QFETCH(QPoint, point);
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, hits);
    if (hits > 0) {
        QTRY_VERIFY(control("ListItem_textHit0"));
    }
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, point);
    QCOMPARE(pages.calls.take(), leaving);
    QVERIFY(!pageOfHits(&pages));
    QVERIFY(control("Button_menu"));
    QVERIFY(control("Pane_timeAxis"));
    QCOMPARE(box()->property("text").toString(), QStringLiteral("ab"));
}

void SearchPageTest::titlesSwallowClicks()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    QQuickItem *heading = nullptr;
    PagesFixture::visit(pages.root(), [&heading](QQuickItem *item) {
        if (item->property("text").toString() == QLatin1String("Search Result:")) {
            heading = item;
        }
    });
    PagesFixture::click(heading);
    PagesFixture::click(control("PageTab_textMatch"));
    QCOMPARE(pages.calls.take(), QStringList());
    QVERIFY(pageOfHits(&pages));
}

void SearchPageTest::escapeLeaves()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    QCOMPARE(pages.calls.take(), leaving);
    QVERIFY(!pageOfHits(&pages));
    QTRY_VERIFY(control("Pane_timeAxis")->hasActiveFocus());
}

void SearchPageTest::titleChip()
{
    PagesFixture pages;
    open(&pages);
    QQmlComponent component(pages.view.engine(),
                            QUrl(QStringLiteral("qrc:/qml/SearchPageTitle.qml")));
    const QScopedPointer<QObject> chip(component.createWithInitialProperties(
        {{QStringLiteral("text"), QStringLiteral("Title")},
         {QStringLiteral("titleImage"), QUrl(QStringLiteral("qrc:/image/taskbarappicon.svg"))}}));
    auto *item = qobject_cast<QQuickItem *>(chip.data());
    QVERIFY(item);
    QCOMPARE(item->height(), 36.0);
    QCOMPARE(item->property("radius").toReal(), 18.0);
    QCOMPARE(colourOf(item), QColor(Qt::white));
    QQuickItem *label = textOf(item, "Title");
    QVERIFY(label);
    QVERIFY(label->property("font").value<QFont>().bold());
    QCOMPARE(pages.warnings(), QStringList());
}

QTEST_MAIN(SearchPageTest)
#include "searchpagetest.moc"
