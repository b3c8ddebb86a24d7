// The way into the choice of a part of the large picture and out of it, and the bar below the
// picture. The window has the design's own size.

#include "qml/regionworld.h"

#include <QTest>

using namespace RegionWorld;

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
    void changeOfTheScreenClears();
    void deletionLeavesTheRegion();
};

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

QTEST_MAIN(RegionTest)
#include "regiontest.moc"
