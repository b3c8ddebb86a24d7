// The choice of a part of the large picture, its recognised lines and what is copied of them. The
// window has the design's own size.

#include "qml/pagesfixture.h"

#include <QQmlEngine>
#include <QQmlExpression>
#include <QRegularExpression>
#include <QTest>

#include <cmath>

class RegionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toolBar();
    void pictureStandsInItsArea_data();
    void pictureStandsInItsArea();
    void aFrameOfARemovedApplicationHasTheToolBarToo();
    void pressingTurnsThePageInOrder();
    void aSliderOutOfThePageStaysOnItsFrame();
    void hitsKeepTheirPictureAndId();
    void returnRestoresAndCancels();
    void escapeReturns();
    void dragSendsTheCornersOfThePicture_data();
    void dragSendsTheCornersOfThePicture();
    void cornersAreClampedToTheOverlay();
    void onePixelDragIsATask();
    void clickWithoutDragIsNone_data();
    void clickWithoutDragIsNone();
    void namesOfTasksAreRandomUuids();
    void overlayIsAsLargeAsThePicture();
    void overlayShadesAndHasTheCrossCursor();
    void noOtherPartWhileOneIsRead();
    void cancelledTaskLeavesOnlyTheWayOut();
    void returnWorksWhileAPartIsRead();
    void textCanBeMarkedWhileTheCallHasNotReturned();
    void changeOfTheScreenClears();
    void deletionLeavesTheRegion();
    void wholePictureByKeyboard();
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
QQuickItem *control(const char *name)
{
    return PagesFixture::control(QLatin1String("tavel-ai-yestermark_") + QLatin1String(name));
}

void open(PagesFixture *pages)
{
    pages->videoInfo.appendDay(dayAgo(0, {40, 90, 120}));
    QVERIFY(pages->show());
    QTRY_VERIFY(pages->view.isActive());
    QTRY_VERIFY(control("Button_regionRecognition"));
}

void openRegion(PagesFixture *pages)
{
    open(pages);
    PagesFixture::click(control("Button_regionRecognition"));
    QVERIFY(control("Pane_screenCapture"));
    pages->calls.take();
}

QPoint onCapture(const QPointF &point)
{
    return PagesFixture::at(control("Pane_screenCapture"), point);
}

void drag(PagesFixture *pages, const QPoint &from, const QPoint &to)
{
    QTest::mousePress(&pages->view, Qt::LeftButton, {}, from);
    QTest::mouseMove(&pages->view, (from + to) / 2);
    QTest::mouseMove(&pages->view, to);
    QTest::mouseRelease(&pages->view, Qt::LeftButton, {}, to);
}

qreal pictureScale()
{
    return control("Pane_screenCapture")->property("pictureScale").toReal();
}

/// What the pages sent to be read; empty if nothing.
QStringList sentTask(PagesFixture *pages)
{
    const QString start = QStringLiteral("recognizingTextInImage(");
    for (const QString &call : pages->calls.calls()) {
        if (call.startsWith(start)) {
            return call.mid(start.size(), call.size() - start.size() - 1)
                .split(QStringLiteral(", "));
        }
    }
    return {};
}

OCRTextData line(const QString &text, const QRectF &rect)
{
    return {text, {rect.topLeft(), rect.topRight(), rect.bottomRight(), rect.bottomLeft()}};
}

/// Lines of 300 by 30 pixels of the picture, 40 apart.
QVector<OCRTextData> lines(const QStringList &texts)
{
    QVector<OCRTextData> made;
    for (const QString &text : texts) {
        made.append(line(text, QRectF(20, 10 + 40 * made.size(), 300, 30)));
    }
    return made;
}

/// A region of 600 by 400 on the screen with these lines in it.
void openText(PagesFixture *pages, const QStringList &texts)
{
    openRegion(pages);
    drag(pages, onCapture(QPointF(100, 100)), onCapture(QPointF(700, 500)));
    pages->videoInfo.showText(lines(texts));
    QVERIFY(control("Pane_allText"));
    pages->calls.take();
}

/// A point of a line by its share of width and height, in the window.
QPoint onLine(int number, qreal across, qreal down = 0.5)
{
    QQuickItem *box = control(qPrintable(QStringLiteral("StaticText_line%1").arg(number)));
    return PagesFixture::at(box, QPointF(box->width() * across, box->height() * down));
}

QStringList copied(PagesFixture *pages)
{
    pages->videoInfo.clipBoardText = QStringList(QStringLiteral("not called"));
    QTest::keySequence(&pages->view, QKeySequence::Copy);
    return pages->videoInfo.clipBoardText;
}

const QStringList threeLines = {QStringLiteral("the first line"), QStringLiteral("the second one"),
                                QStringLiteral("and a third")};
} // namespace

void RegionTest::toolBar()
{
    PagesFixture pages;
    open(&pages);
    QQuickItem *button = control("Button_regionRecognition");
    QCOMPARE(button->property("toolTip").toString(), QStringLiteral("Region Recognition"));
    QCOMPARE(button->property("iconName").toString(), QStringLiteral("screenshot-app-symbolic"));
    QVERIFY(PagesFixture::texts(&pages.view).contains(QStringLiteral("Terminal")));
    QQuickItem *bar = button->parentItem()->parentItem();
    QCOMPARE(bar->height(), 40.0);
    QCOMPARE(bar->property("radius").toReal(), 8.0);
    QStringList parts; // from the left: the icon, the name, the separator, the button
    for (QQuickItem *part : button->parentItem()->childItems()) {
        parts.append(part == button ? QStringLiteral("button")
                     : part->inherits("QQuickRectangle") && part->width() == 1
                         ? QStringLiteral("line")
                     : part->inherits("QQuickText") ? part->property("text").toString()
                                                    : part->property("source").toString());
    }
    QCOMPARE(parts,
             QStringList({QStringLiteral("application-x-desktop"), QStringLiteral("Terminal"),
                          QStringLiteral("line"), QStringLiteral("button")}));
    QVERIFY(!control("Button_return"));
    QVERIFY(!control("Pane_screenCapture"));
}

void RegionTest::pictureStandsInItsArea_data()
{
    QTest::addColumn<QSize>("window");
    QTest::addColumn<QRectF>("picture");
    // The axis ends at 114. Below it come 30, the area, 20, the bar of 40, and 20 to the edge: the
    // area is 810 high. The picture is of 1920 by 1080.
    QTest::newRow("as high as the area") << QSize(1920, 1034) << QRectF(240, 144, 1440, 810);
    QTest::newRow("as wide as the area") << QSize(1200, 1034) << QRectF(120, 279, 960, 540);
}

void RegionTest::pictureStandsInItsArea()
{
    QFETCH(QSize, window);
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {40, 90, 120}));
    QVERIFY(pages.show(window));
    QTRY_VERIFY(control("Button_regionRecognition"));
    auto *axis = qobject_cast<QQuickItem *>(pages.timeAxis());
    QCOMPARE(axis->mapRectToScene(axis->boundingRect()).bottom(), 114.0);
    QQuickItem *picture = control("Image_screenshot");
    QTEST(picture->mapRectToScene(picture->boundingRect()), "picture");
    const auto sides = [](QQuickItem *item) {
        const QRectF place = item->mapRectToScene(item->boundingRect());
        return qMakePair(place.top(), place.bottom());
    };
    const auto bar = qMakePair(144.0 + 810 + 20, 1034.0 - 20);
    QCOMPARE(sides(control("Button_regionRecognition")->parentItem()->parentItem()), bar);
    PagesFixture::click(control("Button_regionRecognition"));
    QCOMPARE(sides(control("Button_return")), bar);
}

void RegionTest::aFrameOfARemovedApplicationHasTheToolBarToo()
{
    PagesFixture pages;
    TestDay day = dayAgo(0, {40});
    day.runs.first().appName.clear();
    pages.videoInfo.appendDay(day);
    QVERIFY(pages.show());
    QTRY_VERIFY(control("Button_regionRecognition"));
    QCOMPARE(pages.warnings(), QStringList());
}

void RegionTest::pressingTurnsThePageInOrder()
{
    PagesFixture pages;
    open(&pages);
    pages.timeAxis()->setProperty("curShowImgId", 41);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(300));
    QVERIFY(pages.root()->property("ocrImageId").toString() !=
            pages.previewItem.curShowImageSource());
    QObject *axis = pages.timeAxis();
    axis->setProperty("operateTimeAxis", false);
    axis->setProperty("clickImageFlickableContentX", 0);
    PagesFixture::click(control("Button_regionRecognition"));
    QCOMPARE(pages.root()->property("ocrImageId").toString(),
             QStringLiteral("videoImageProvider/curShowImg42"));
    QCOMPARE(axis->property("showImgInfoPageImgSource").toString(),
             QStringLiteral("image://videoImageProvider/curShowImg42"));
    QVERIFY(axis->property("operateTimeAxis").toBool());
    QCOMPARE(axis->property("clickImageFlickableContentX").toReal(),
             300 + axis->property("contentX").toReal());
    QVERIFY(!pages.root()->property("searchBoxUsable").toBool());
    QVERIFY(!control("Pane_timeAxis"));
    QVERIFY(!control("Button_regionRecognition"));
    QVERIFY(control("Button_return"));
    QQuickItem *capture = control("Pane_screenCapture");
    for (const char *corner : {"startX", "startY", "endX", "endY"}) {
        QCOMPARE(capture->property(corner).toReal(), 0.0);
    }
    QCOMPARE(pages.warnings(), QStringList());
}

void RegionTest::aSliderOutOfThePageStaysOnItsFrame()
{
    PagesFixture pages;
    open(&pages);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(1750));
    const qreal frame = pages.axis("clickImageFlickableContentX").toReal();
    pages.callAxis("lastPage");
    QVERIFY(!pages.axis("sliderShown").toBool());
    PagesFixture::click(control("Button_regionRecognition"));
    PagesFixture::click(control("Button_return"));
    QCOMPARE(pages.axis("clickImageFlickableContentX").toReal(), frame);
    pages.callAxis("nextPage");
    QCOMPARE(pages.indicator(), 1750.0);
}

void RegionTest::hitsKeepTheirPictureAndId()
{
    PagesFixture pages;
    open(&pages);
    const QString hit = QStringLiteral("videoImageProvider/textsearch3one");
    pages.root()->setProperty("ocrImageType", 2);
    pages.root()->setProperty("ocrImageId", hit);
    QObject *axis = pages.timeAxis(); // hidden meanwhile
    axis->setProperty("showImgInfoPageImgSource", QLatin1String("image://") + hit);
    pages.imagesAsked.clear();
    PagesFixture::click(control("Button_regionRecognition"));
    // A later search may have brought another picture of that name, and that one will be read.
    QCOMPARE(pages.imagesAsked, QStringList(QStringLiteral("textsearch3one")));
    QCOMPARE(axis->property("showImgInfoPageImgSource").toString(),
             QLatin1String("image://") + hit);
    drag(&pages, onCapture(QPointF(10, 10)), onCapture(QPointF(200, 100)));
    QCOMPARE(sentTask(&pages).mid(0, 2), QStringList({QStringLiteral("2"), hit}));
}

void RegionTest::returnRestoresAndCancels()
{
    PagesFixture pages;
    openRegion(&pages);
    QQuickItem *button = control("Button_return");
    QCOMPARE(button->height(), 40.0);
    QCOMPARE(button->property("radius").toInt(), 8);
    QCOMPARE(button->property("text").toString(), QStringLiteral("Return"));
    drag(&pages, onCapture(QPointF(10, 10)), onCapture(QPointF(200, 100)));
    const QString task = sentTask(&pages).last();
    pages.calls.take();
    PagesFixture::click(button);
    QCOMPARE(pages.calls.take(),
             QStringList(QStringLiteral("cancelRecognizeTextInImage(%1)").arg(task)));
    QVERIFY(!control("Pane_screenCapture"));
    QVERIFY(!control("Pane_allText"));
    QVERIFY(!control("Button_return"));
    QVERIFY(control("Button_regionRecognition"));
    QVERIFY(control("Pane_timeAxis"));
    QVERIFY(pages.root()->property("searchBoxUsable").toBool());
}

void RegionTest::escapeReturns()
{
    PagesFixture pages;
    openRegion(&pages);
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    QVERIFY(!control("Pane_screenCapture"));
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("cancelRecognizeTextInImage()")));
}

void RegionTest::dragSendsTheCornersOfThePicture_data()
{
    QTest::addColumn<QPoint>("from");
    QTest::addColumn<QPoint>("to");
    QTest::newRow("down and right") << QPoint(101, 53) << QPoint(340, 211);
    QTest::newRow("up and left") << QPoint(340, 211) << QPoint(101, 53);
    QTest::newRow("up and right") << QPoint(101, 211) << QPoint(340, 53);
}

void RegionTest::dragSendsTheCornersOfThePicture()
{
    QFETCH(QPoint, from);
    QFETCH(QPoint, to);
    PagesFixture pages;
    openRegion(&pages);
    QVERIFY(pictureScale() > 0.5 && pictureScale() < 1);
    const QPointF origin = control("Pane_screenCapture")->mapToScene(QPointF(0, 0));
    QTest::mousePress(&pages.view, Qt::LeftButton, {}, origin.toPoint() + from);
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("clearRecognizingTextResult()")));
    QTest::mouseMove(&pages.view, origin.toPoint() + to);
    pages.root()->setProperty("ocrResultReturned", true);
    QTest::mouseRelease(&pages.view, Qt::LeftButton, {}, origin.toPoint() + to);
    QCOMPARE(pages.calls.calls().size(), 1);
    const QPointF half = origin.toPoint() - origin; // the overlay may begin between two pixels
    const auto sent = [&half](int x, int y) {
        return QStringList({QString::number(std::lround((x + half.x()) / pictureScale())),
                            QString::number(std::lround((y + half.y()) / pictureScale()))});
    };
    const QStringList task = sentTask(&pages);
    QCOMPARE(task.at(0), QStringLiteral("1"));
    QCOMPARE(task.at(1), pages.previewItem.curShowImageSource());
    QCOMPARE(task.mid(2, 4), sent(101, 53) + sent(340, 211));
    QVERIFY(!pages.root()->property("ocrResultReturned").toBool());
    QQuickItem *text = control("Pane_allText");
    QCOMPARE(text->mapRectToScene(text->boundingRect()).toRect(),
             QRect(origin.toPoint() + QPoint(101, 53), QSize(239, 158)));
}

void RegionTest::cornersAreClampedToTheOverlay()
{
    PagesFixture pages;
    openRegion(&pages);
    QQuickItem *capture = control("Pane_screenCapture");
    drag(&pages, onCapture(QPointF(300, 200)), QPoint(1900, 1030));
    QCOMPARE(capture->property("endX").toReal(), capture->width());
    QCOMPARE(capture->property("endY").toReal(), capture->height());
    pages.videoInfo.showText({});
    drag(&pages, onCapture(QPointF(200, 100)), QPoint(1, 1));
    QCOMPARE(capture->property("endX").toReal(), 0.0);
    QCOMPARE(capture->property("endY").toReal(), 0.0);
}

void RegionTest::onePixelDragIsATask()
{
    PagesFixture pages;
    openRegion(&pages);
    drag(&pages, onCapture(QPointF(50, 50)), onCapture(QPointF(50, 50)) + QPoint(1, 1));
    const QStringList task = sentTask(&pages);
    QCOMPARE(task.size(), 7);
    QVERIFY(task.at(4).toInt() - task.at(2).toInt() >= 1);
    QVERIFY(task.at(5).toInt() - task.at(3).toInt() >= 1);
}

void RegionTest::clickWithoutDragIsNone_data()
{
    QTest::addColumn<QPoint>("way");
    QTest::newRow("no way") << QPoint(0, 0);
    QTest::newRow("only across") << QPoint(90, 0);
    QTest::newRow("only down") << QPoint(0, 90);
}

void RegionTest::clickWithoutDragIsNone()
{
    QFETCH(QPoint, way);
    PagesFixture pages;
    openRegion(&pages);
    drag(&pages, onCapture(QPointF(50, 50)), onCapture(QPointF(50, 50)) + way);
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("clearRecognizingTextResult()")));
    QVERIFY(!control("Pane_allText"));
}

void RegionTest::namesOfTasksAreRandomUuids()
{
    PagesFixture pages;
    openRegion(&pages);
    const QRegularExpression form(
        QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$"));
    QSet<QString> names;
    for (int i = 0; i < 8; ++i) {
        pages.calls.take();
        drag(&pages, onCapture(QPointF(50, 20 + 60 * i)), onCapture(QPointF(90, 60 + 60 * i)));
        const QString name = sentTask(&pages).last();
        QVERIFY2(form.match(name).hasMatch(), qPrintable(name));
        QCOMPARE(control("Pane_screenCapture")->property("taskID").toString(), name);
        names.insert(name);
        pages.videoInfo.showText({});
    }
    QCOMPARE(names.size(), 8);
}

void RegionTest::overlayIsAsLargeAsThePicture()
{
    PagesFixture pages;
    openRegion(&pages);
    QQuickItem *capture = control("Pane_screenCapture");
    QCOMPARE(capture->width() - 1, std::round(1920 * pictureScale()));
    QCOMPARE(capture->height(), std::round(1080 * pictureScale()));
    QQuickItem *picture = control("Image_screenshot");
    QCOMPARE(capture->mapToScene(QPointF(0, 0)), picture->mapToScene(QPointF(0, 0)));
}

void RegionTest::overlayShadesAndHasTheCrossCursor()
{
    PagesFixture pages;
    openRegion(&pages);
    QQuickItem *capture = control("Pane_screenCapture");
    QList<QColor> fills;
    for (QObject *path : capture->findChildren<QObject *>()) {
        if (path->inherits("QQuickShapePath")) {
            fills.append(path->property("fillColor").value<QColor>());
        }
    }
    QCOMPARE(fills, QList<QColor>{QColor(QStringLiteral("#99000000"))});
    pages.hover(QPoint(5, 1000));
    QTRY_COMPARE(pages.view.cursor().shape(), Qt::ArrowCursor);
    pages.hover(onCapture(QPointF(200, 200)));
    QTRY_COMPARE(pages.view.cursor().shape(), Qt::CrossCursor);
}

void RegionTest::noOtherPartWhileOneIsRead()
{
    PagesFixture pages;
    openRegion(&pages);
    drag(&pages, onCapture(QPointF(50, 50)), onCapture(QPointF(90, 90)));
    pages.calls.take();
    drag(&pages, onCapture(QPointF(200, 200)), onCapture(QPointF(300, 300)));
    QTest::keyClick(&pages.view, Qt::Key_Return);
    QCOMPARE(pages.calls.take(), QStringList());
    pages.videoInfo.showText({});
    QVERIFY(pages.root()->property("ocrResultReturned").toBool());
    drag(&pages, onCapture(QPointF(200, 200)), onCapture(QPointF(300, 300)));
    QCOMPARE(sentTask(&pages).size(), 7);
}

void RegionTest::cancelledTaskLeavesOnlyTheWayOut()
{
    PagesFixture pages;
    openRegion(&pages);
    // The call comes back without a result, as after a cancelling.
    drag(&pages, onCapture(QPointF(50, 50)), onCapture(QPointF(90, 90)));
    pages.calls.take();
    drag(&pages, onCapture(QPointF(200, 200)), onCapture(QPointF(300, 300)));
    QCOMPARE(pages.calls.take(), QStringList());
    PagesFixture::click(control("Button_return"));
    PagesFixture::click(control("Button_regionRecognition"));
    pages.calls.take();
    drag(&pages, onCapture(QPointF(200, 200)), onCapture(QPointF(300, 300)));
    QCOMPARE(sentTask(&pages).size(), 7);
}

// The call turns the event loop itself: the page lives on inside it.
void RegionTest::returnWorksWhileAPartIsRead()
{
    PagesFixture pages;
    openRegion(&pages);
    pages.videoInfo.onRecognize = [] { PagesFixture::click(control("Button_return")); };
    drag(&pages, onCapture(QPointF(50, 50)), onCapture(QPointF(90, 90)));
    const QString task = sentTask(&pages).last();
    QCOMPARE(pages.calls.take().last(), QStringLiteral("cancelRecognizeTextInImage(%1)").arg(task));
    QVERIFY(!control("Pane_screenCapture"));
    QVERIFY(control("Pane_timeAxis"));
    QVERIFY(pages.root()->property("searchBoxUsable").toBool());
    pages.videoInfo.onRecognize = nullptr;
    PagesFixture::click(control("Button_regionRecognition"));
    pages.calls.take();
    drag(&pages, onCapture(QPointF(50, 50)), onCapture(QPointF(90, 90)));
    QCOMPARE(sentTask(&pages).size(), 7);
}

void RegionTest::textCanBeMarkedWhileTheCallHasNotReturned()
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

void RegionTest::changeOfTheScreenClears()
{
    for (const char *change : {"screenWidthChanged", "screenHeightChanged"}) {
        PagesFixture pages;
        openText(&pages, threeLines);
        QVERIFY(control("StaticText_line0"));
        QMetaObject::invokeMethod(pages.root(), change);
        QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("clearRecognizingTextResult()")));
        QVERIFY(!control("StaticText_line0"));
        QQuickItem *capture = control("Pane_screenCapture");
        for (const char *corner : {"startX", "startY", "endX", "endY"}) {
            QCOMPARE(capture->property(corner).toReal(), 0.0);
        }
    }
}

void RegionTest::deletionLeavesTheRegion()
{
    PagesFixture pages;
    openRegion(&pages);
    pages.videoInfo.clearUserData(4);
    QTRY_VERIFY(pages.root()->property("searchBoxUsable").toBool());
    QVERIFY(control("Pane_timeAxis"));
    QCOMPARE(pages.warnings(), QStringList());
}

void RegionTest::wholePictureByKeyboard()
{
    PagesFixture pages;
    open(&pages);
    control("Button_regionRecognition")->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&pages.view, Qt::Key_Return);
    QVERIFY(control("Pane_screenCapture")->hasActiveFocus());
    QTest::keyClick(&pages.view, Qt::Key_Return);
    const QStringList task = sentTask(&pages);
    QCOMPARE(task.mid(2, 2), QStringList({"0", "0"}));
    QVERIFY(std::abs(task.at(4).toInt() - 1920) <= 2);
    QVERIFY(std::abs(task.at(5).toInt() - 1080) <= 2);
    pages.videoInfo.showText(lines(threeLines));
    QVERIFY(control("Pane_allText")->hasActiveFocus());
    QTest::keySequence(&pages.view, QKeySequence::SelectAll);
    QCOMPARE(copied(&pages), threeLines);
}

void RegionTest::boxesStandOnTheirLines_data()
{
    QTest::addColumn<qreal>("screenScale");
    QTest::newRow("1") << 1.0;
    QTest::newRow("2") << 2.0;
    QTest::newRow("1.25") << 1.25;
}

void RegionTest::boxesStandOnTheirLines()
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

void RegionTest::clickWithoutSelectionCopiesNothing()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    QCOMPARE(copied(&pages), QStringList());
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, onLine(1, 0.5));
    QCOMPARE(copied(&pages), QStringList());
    QCOMPARE(pages.calls.calls().last(), QStringLiteral("setClipBoardText()"));
}

void RegionTest::dragInALineCopiesItsPart()
{
    PagesFixture pages;
    openText(&pages, {QStringLiteral("mmmmmmmmmm"), QStringLiteral("nnnn")});
    drag(&pages, onLine(0, 0.2), onLine(0, 0.7)); // letters of one width: from the 2nd to the 7th
    QCOMPARE(copied(&pages), QStringList({QStringLiteral("mmmmm"), QString()}));
    drag(&pages, onLine(0, 0.7), onLine(0, 0.2));
    QCOMPARE(copied(&pages), QStringList({QStringLiteral("mmmmm"), QString()}));
}

void RegionTest::dragOverLinesCopiesThem()
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

void RegionTest::dragBetweenLinesCopiesNothing()
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

void RegionTest::aClickTakesTheFocus()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    control("Button_return")->forceActiveFocus();
    QVERIFY(!control("Pane_allText")->hasActiveFocus());
    QTest::mousePress(&pages.view, Qt::LeftButton, {}, onLine(1, 0.5));
    QTest::mouseRelease(&pages.view, Qt::LeftButton, {}, onLine(1, 0.5));
    QVERIFY(control("Pane_allText")->hasActiveFocus());
}

void RegionTest::selectAllCopiesEverything()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    QTest::keySequence(&pages.view, QKeySequence::SelectAll);
    QQuickItem *mark = control("StaticText_line2")->childItems().at(1);
    QVERIFY(mark->isVisible());
    QCOMPARE(mark->width(), control("StaticText_line2")->width());
    QCOMPARE(copied(&pages), threeLines);
}

void RegionTest::doubleClickCopiesTheLine()
{
    PagesFixture pages;
    openText(&pages, threeLines);
    QTest::mouseDClick(&pages.view, Qt::LeftButton, {}, onLine(1, 0.4));
    QCOMPARE(copied(&pages), QStringList({QString(), threeLines.at(1), QString()}));
    QQuickItem *mark = control("StaticText_line1")->childItems().at(1);
    QVERIFY(mark->isVisible());
    QCOMPARE(mark->width(), control("StaticText_line1")->width());
}

void RegionTest::pressResetsTheSelection()
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

void RegionTest::menuCopiesAndSelects()
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

void RegionTest::aNewPartForgetsTheTexts()
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

void RegionTest::sparseListsReachTheClipBoard()
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

QTEST_MAIN(RegionTest)
#include "regiontest.moc"
