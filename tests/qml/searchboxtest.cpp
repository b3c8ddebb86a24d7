// The search box: what each key and click in it calls, in which order, and how it looks and turns
// the pages. The window has the design's own size.

#include "qml/searchpageworld.h"

#include <QTest>

using namespace SearchPageWorld;

class SearchBoxTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theBoxTellsByItsBorderThatItIsEdited();
    void thePlaceholderIsFaint();
    void clickOnTheTextTurnsThePages();
    void startScreenKeepsTheBoxShut();
    void everyKeySearches();
    void keysInTheImageTabSearchByImage();
    void emptiedTextClearsTheHits();
    void clearButtonClears();
    void returnAndMagnifierSearchAgain();
    void boxIsOutOfUseOnRequest();
};

void SearchBoxTest::theBoxTellsByItsBorderThatItIsEdited()
{
    PagesFixture pages;
    open(&pages);
    QObject *border = box()->parentItem()->property("border").value<QObject *>();
    const auto colour = [border] { return border->property("color").value<QColor>(); };
    const QColor resting = colour();
    QCOMPARE(border->property("width").toInt(), 1);
    PagesFixture::click(box());
    QCOMPARE(border->property("width").toInt(), 2);
    QCOMPARE(colour(), themeColour(box()->parentItem(), "highlight"));
    QVERIFY(colour() != resting);
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    QCOMPARE(border->property("width").toInt(), 1);
    QCOMPARE(colour(), resting);
}

void SearchBoxTest::thePlaceholderIsFaint()
{
    PagesFixture pages;
    open(&pages);
    QQuickItem *placeholder = textOf(box(), "Enter your memory fragments...");
    QVERIFY(placeholder);
    QCOMPARE(placeholder->opacity(), 0.3);
}

void SearchBoxTest::clickOnTheTextTurnsThePages()
{
    for (bool dark : {false, true}) {
        PagesFixture pages;
        pages.videoInfo.dark = dark;
        open(&pages);
        QVERIFY(control("Button_menu"));
        QVERIFY(control("Pane_timeAxis"));
        PagesFixture::click(box());
        QVERIFY(!control("Button_menu"));
        QVERIFY(!control("Pane_timeAxis"));
        QQuickItem *veil = nullptr;
        PagesFixture::visit(pages.root(), [&veil](QQuickItem *item) {
            if (QByteArray(item->metaObject()->className()).startsWith("SearchBackground")) {
                veil = item;
            }
        });
        QVERIFY(veil);
        QCOMPARE(veil->opacity(), 0.45);
        QCOMPARE(veil->property("color").value<QColor>(),
                 QColor(QLatin1String(dark ? "#FFFFFF" : "#262626")));
        QVERIFY(pageOfHits(&pages));
        QVERIFY(box()->hasActiveFocus());
    }
}

void SearchBoxTest::startScreenKeepsTheBoxShut()
{
    PagesFixture pages;
    pages.videoInfo.startButton = true;
    open(&pages);
    PagesFixture::click(box());
    type(&pages, "abc");
    PagesFixture::click(control("Button_search"));
    QCOMPARE(pages.calls.take(), QStringList());
    QVERIFY(control("Button_start"));
    QVERIFY(!pageOfHits(&pages));
    QCOMPARE(box()->property("text").toString(), QString());
}

void SearchBoxTest::everyKeySearches()
{
    PagesFixture pages;
    open(&pages);
    PagesFixture::click(box());
    QCOMPARE(pages.calls.take(), QStringList({QStringLiteral("clearSearchTask()"),
                                              QStringLiteral("continueShowTextSearchResult()")}));
    type(&pages, "cat");
    QTest::keyClick(&pages.view, Qt::Key_Backspace);
    QCOMPARE(pages.calls.take(), QStringList({QStringLiteral("showTextSearchResult(c)"),
                                              QStringLiteral("showTextSearchResult(ca)"),
                                              QStringLiteral("showTextSearchResult(cat)"),
                                              QStringLiteral("showTextSearchResult(ca)")}));
}

void SearchBoxTest::keysInTheImageTabSearchByImage()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    PagesFixture::click(control("PageTab_imageMatch"));
    pages.calls.take();
    PagesFixture::click(box());
    type(&pages, "c");
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("showImageSearchResult(abc)")));
}

void SearchBoxTest::emptiedTextClearsTheHits()
{
    PagesFixture pages;
    open(&pages);
    search(&pages, "a");
    QTest::keyClick(&pages.view, Qt::Key_Backspace);
    QCOMPARE(pages.calls.take(), QStringList({QStringLiteral("showTextSearchResult()"),
                                              QStringLiteral("clearSearchTaskAndResult()")}));
}

void SearchBoxTest::clearButtonClears()
{
    PagesFixture pages;
    open(&pages);
    QVERIFY(!control("Button_clearSearch"));
    search(&pages);
    PagesFixture::click(control("Button_clearSearch"));
    QCOMPARE(pages.calls.take(), QStringList({QStringLiteral("showTextSearchResult()"),
                                              QStringLiteral("clearSearchTaskAndResult()"),
                                              QStringLiteral("clearSearchTaskAndResult()")}));
    QCOMPARE(box()->property("text").toString(), QString());
    QVERIFY(pageOfHits(&pages));
    QVERIFY(box()->hasActiveFocus());
    QVERIFY(!control("Button_clearSearch"));
}

void SearchBoxTest::returnAndMagnifierSearchAgain()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    const QStringList again(QStringLiteral("showTextSearchResult(ab)"));
    QTest::keyClick(&pages.view, Qt::Key_Return);
    QCOMPARE(pages.calls.take(), again);
    PagesFixture::click(control("Button_search"));
    QCOMPARE(pages.calls.take(), again);
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    pages.calls.take();
    PagesFixture::click(control("Button_search")); // the pages turn again
    QVERIFY(pageOfHits(&pages));
    QCOMPARE(pages.calls.take().last(), again.last());
}

void SearchBoxTest::boxIsOutOfUseOnRequest()
{
    PagesFixture pages;
    open(&pages);
    pages.root()->setProperty("searchBoxUsable", false);
    PagesFixture::click(box());
    type(&pages, "a");
    QVERIFY(!pageOfHits(&pages));
    pages.root()->setProperty("searchBoxUsable", true);
    PagesFixture::click(box());
    QVERIFY(pageOfHits(&pages));
}

QTEST_MAIN(SearchBoxTest)
#include "searchboxtest.moc"
