// The recognised lines of a part of the large picture and what is copied of them. The window has
// the design's own size.

#include "qml/regionworld.h"

#include <QQmlEngine>
#include <QQmlExpression>
#include <QTest>

#include <cmath>

using namespace RegionWorld;

class RegionLinesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textCanBeMarkedWhileTheCallHasNotReturned();
    void boxesStandOnTheirLines_data();
    void boxesStandOnTheirLines();
    void clickWithoutSelectionCopiesNothing();
    void dragInALineCopiesItsPart();
    void dragOverLinesCopiesThem();
    void dragBetweenLinesCopiesNothing();
    void aClickTakesTheFocus();
    void selectAllCopiesEverything();
    void doubleClickCopiesTheLine();
    void pressResetsTheSelection();
    void menuCopiesAndSelects();
    void aNewPartForgetsTheTexts();
    void sparseListsReachTheClipBoard();
};

namespace
{
/// A point of a line by its share of width and height, in the window.
QPoint onLine(int number, qreal across, qreal down = 0.5)
{
    QQuickItem *box = control(qPrintable(QStringLiteral("StaticText_line%1").arg(number)));
    return PagesFixture::at(box, QPointF(box->width() * across, box->height() * down));
}
} // namespace

void RegionLinesTest::textCanBeMarkedWhileTheCallHasNotReturned()
{
    PagesFixture pages;
    openRegion(&pages);
    QStringList marked;
    pages.videoInfo.onRecognize = [&] {
        pages.videoInfo.showText(lines(threeLines));
        drag(&pages, onLine(0, 0), onLine(0, 1));
        marked = copied(&pages);
    };
    drag(&pages, onCapture(QPointF(100, 100)), onCapture(QPointF(700, 500)));
    QCOMPARE(marked, QStringList({threeLines.at(0), QString(), QString()}));
}

void RegionLinesTest::boxesStandOnTheirLines_data()
{
    QTest::addColumn<qreal>("screenScale");
    QTest::newRow("1") << 1.0;
    QTest::newRow("2") << 2.0;
    QTest::newRow("1.25") << 1.25;
}

void RegionLinesTest::boxesStandOnTheirLines()
{
    QFETCH(qreal, screenScale);
    PagesFixture pages;
    open(&pages);
    pages.root()->setProperty("screenScale", screenScale);
    PagesFixture::click(control("Button_regionRecognition"));
    drag(&pages, onCapture(QPointF(100, 100)), onCapture(QPointF(700, 500)));
    pages.videoInfo.showText({line(QStringLiteral("words"), QRectF(61, 40, 301, 33))});
    QQuickItem *box = control("StaticText_line0");
    QVERIFY(box);
    const qreal scale = pictureScale() / screenScale;
    const int addWidth = screenScale == 1 ? 0 : 8;
    const int addHeight = screenScale == 1 ? 0 : 6;
    QCOMPARE(box->x(), 61 * scale - addWidth / 2.0);
    QCOMPARE(box->y(), 40 * scale - addHeight / 2.0);
    QCOMPARE(box->width(), 301 * scale + addWidth);
    QCOMPARE(box->height(), 33 * scale + addHeight);
    QObject *border = box->property("border").value<QObject *>();
    QCOMPARE(border->property("width").toInt(), 2);
    QCOMPARE(border->property("color").value<QColor>(), QColor(QStringLiteral("#3790FA")));
    QCOMPARE(box->property("radius").toReal(), 2.0);
    QQuickItem *input = box->childItems().at(0);
    QVERIFY(input->inherits("QQuickTextInput"));
    QVERIFY(input->property("readOnly").toBool());
    QCOMPARE(input->property("color").value<QColor>().alpha(), 0);
    QCOMPARE(input->property("font").value<QFont>().pointSize(),
             int(std::floor((box->height() - 2) / 2.0)));
    QQuickItem *mark = box->childItems().at(1);
    QCOMPARE(mark->property("color").value<QColor>(), QColor(QStringLiteral("#3790FA")));
    QCOMPARE(mark->opacity(), 0.5);
    QVERIFY(!mark->isVisible());
    QCOMPARE(pages.warnings(), QStringList());
}

void RegionLinesTest::clickWithoutSelectionCopiesNothing()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    QCOMPARE(copied(&pages), QStringList());
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, onLine(1, 0.5));
    QCOMPARE(copied(&pages), QStringList());
    QCOMPARE(pages.calls.calls().last(), QStringLiteral("setClipBoardText()"));
}

void RegionLinesTest::dragInALineCopiesItsPart()
{
    PagesFixture pages;
    openText(&pages, {QStringLiteral("mmmmmmmmmm"), QStringLiteral("nnnn")});
    drag(&pages, onLine(0, 0.2), onLine(0, 0.7)); // letters of one width: from the 2nd to the 7th
    QCOMPARE(copied(&pages), QStringList({QStringLiteral("mmmmm"), QString()}));
    drag(&pages, onLine(0, 0.7), onLine(0, 0.2));
    QCOMPARE(copied(&pages), QStringList({QStringLiteral("mmmmm"), QString()}));
}

void RegionLinesTest::dragOverLinesCopiesThem()
{
    PagesFixture pages;
    const QString m(10, QLatin1Char('m'));
    const QString n(10, QLatin1Char('n'));
    const QString o(10, QLatin1Char('o'));
    openText(&pages, {m, n, o});
    drag(&pages, onLine(0, 0.3), onLine(2, 0.6));
    QCOMPARE(copied(&pages), QStringList({m.mid(3), n, o.left(6)}));
    drag(&pages, onLine(2, 0.6), onLine(0, 0.3));
    QCOMPARE(copied(&pages), QStringList({m.mid(3), n, o.left(6)}));
    drag(&pages, onLine(0, 0.3), onLine(1, 0.6));
    QCOMPARE(copied(&pages), QStringList({m.mid(3), n.left(6), QString()}));
}

void RegionLinesTest::dragBetweenLinesCopiesNothing()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    drag(&pages, onLine(0, 0.2, 1.16), onLine(0, 0.8, 1.16)); // lines lie a third of one apart
    QCOMPARE(copied(&pages), QStringList());
    drag(&pages, onLine(0, 0.2), onLine(0, 0.8));
    QVERIFY(!copied(&pages).isEmpty());
    drag(&pages, onLine(0, 0.2, 1.16), onLine(0, 0.8, 1.16));
    QCOMPARE(copied(&pages), QStringList());
}

void RegionLinesTest::aClickTakesTheFocus()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    control("Button_return")->forceActiveFocus();
    QVERIFY(!control("Pane_allText")->hasActiveFocus());
    QTest::mousePress(&pages.view, Qt::LeftButton, {}, onLine(1, 0.5));
    QTest::mouseRelease(&pages.view, Qt::LeftButton, {}, onLine(1, 0.5));
    QVERIFY(control("Pane_allText")->hasActiveFocus());
}

void RegionLinesTest::selectAllCopiesEverything()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    QTest::keySequence(&pages.view, QKeySequence::SelectAll);
    QQuickItem *mark = control("StaticText_line2")->childItems().at(1);
    QVERIFY(mark->isVisible());
    QCOMPARE(mark->width(), control("StaticText_line2")->width());
    QCOMPARE(copied(&pages), threeLines);
}

void RegionLinesTest::doubleClickCopiesTheLine()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    QTest::mouseDClick(&pages.view, Qt::LeftButton, {}, onLine(1, 0.4));
    QCOMPARE(copied(&pages), QStringList({QString(), threeLines.at(1), QString()}));
    QQuickItem *mark = control("StaticText_line1")->childItems().at(1);
    QVERIFY(mark->isVisible());
    QCOMPARE(mark->width(), control("StaticText_line1")->width());
}

void RegionLinesTest::pressResetsTheSelection()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    QTest::keySequence(&pages.view, QKeySequence::SelectAll);
    QTest::mouseDClick(&pages.view, Qt::LeftButton, {}, onLine(1, 0.4));
    QVERIFY(!control("Pane_allText")->property("selectAll").toBool());
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, onLine(0, 0.5));
    QCOMPARE(control("Pane_allText")->property("doubleClickPoint").toPointF(), QPointF(-1, -1));
    QCOMPARE(copied(&pages), QStringList());
}

void RegionLinesTest::menuCopiesAndSelects()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    drag(&pages, onLine(0, 0), onLine(0, 1));
    const auto choose = [&pages](const char *entry) {
        QTest::mouseClick(&pages.view, Qt::RightButton, {}, onLine(1, 0.5));
        QTRY_VERIFY(control(entry));
        QCOMPARE(control("Menu_text")->parentItem()->width(), 110.0); // with its frame
        QTRY_VERIFY(control(entry)->isEnabled());
        PagesFixture::click(control(entry));
        QTRY_VERIFY(!control(entry));
    };
    choose("MenuItem_copy"); // the right button leaves the selection alone
    QCOMPARE(pages.videoInfo.clipBoardText, QStringList({threeLines.at(0), QString(), QString()}));
    QTest::mouseClick(&pages.view, Qt::RightButton, {}, onLine(1, 0.5));
    QTRY_VERIFY(control("MenuItem_selectAll"));
    const QStringList texts = PagesFixture::texts(&pages.view);
    QVERIFY(texts.contains(QStringLiteral("Copy")) && texts.contains(QStringLiteral("SelectAll")));
    QCOMPARE(control("MenuItem_copy")->property("iconName").toString(),
             QStringLiteral("edit-copy-symbolic"));
    QCOMPARE(control("MenuItem_selectAll")->property("iconName").toString(),
             QStringLiteral("object-select-symbolic"));
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    QTRY_VERIFY(!control("MenuItem_copy"));
    choose("MenuItem_selectAll");
    QCOMPARE(copied(&pages), threeLines);
}

void RegionLinesTest::aNewPartForgetsTheTexts()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    QTest::keySequence(&pages.view, QKeySequence::SelectAll);
    drag(&pages, onCapture(QPointF(800, 100)), onCapture(QPointF(1200, 500)));
    pages.videoInfo.showText(lines({QStringLiteral("new")}));
    QCOMPARE(copied(&pages), QStringList());
    QTest::keySequence(&pages.view, QKeySequence::SelectAll);
    QCOMPARE(copied(&pages), QStringList(QStringLiteral("new")));
}

void RegionLinesTest::sparseListsReachTheClipBoard()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    // What scripts leave in an array that was filled here and there.
    QQmlExpression fill(qmlContext(control("Pane_allText")), control("Pane_allText"),
                        QStringLiteral("{ stringArray = []; stringArray[2] = 'c';"
                                       " stringArray[3] = NaN; copy() }"));
    fill.evaluate();
    QVERIFY2(!fill.hasError(), qPrintable(fill.error().toString()));
    QCOMPARE(pages.videoInfo.clipBoardText.size(), 4);
    QCOMPARE(pages.videoInfo.clipBoardText.at(2), QStringLiteral("c"));
    QCOMPARE(pages.videoInfo.clipBoardText.at(3), QStringLiteral("NaN"));
    for (int i : {0, 1}) {
        const QString entry = pages.videoInfo.clipBoardText.at(i);
        QVERIFY2(entry.isEmpty() || entry == QLatin1String("undefined"), qPrintable(entry));
    }
}

QTEST_MAIN(RegionLinesTest)
#include "regionlinestest.moc"
