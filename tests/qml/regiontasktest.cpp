// The choice of a part of the large picture: which corners are sent to be read, under which name,
// and what waits meanwhile. The window has the design's own size.

#include "qml/regionworld.h"

#include <QRegularExpression>
#include <QTest>

#include <cmath>

using namespace RegionWorld;

class RegionTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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
    void wholePictureByKeyboard();
};

void RegionTaskTest::dragSendsTheCornersOfThePicture_data()
{
    QTest::addColumn<QPoint>("from");
    QTest::addColumn<QPoint>("to");
    QTest::newRow("down and right") << QPoint(101, 53) << QPoint(340, 211);
    QTest::newRow("up and left") << QPoint(340, 211) << QPoint(101, 53);
    QTest::newRow("up and right") << QPoint(101, 211) << QPoint(340, 53);
}

void RegionTaskTest::dragSendsTheCornersOfThePicture()
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

void RegionTaskTest::cornersAreClampedToTheOverlay()
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

void RegionTaskTest::onePixelDragIsATask()
{
    PagesFixture pages;
    openRegion(&pages);
    drag(&pages, onCapture(QPointF(50, 50)), onCapture(QPointF(50, 50)) + QPoint(1, 1));
    const QStringList task = sentTask(&pages);
    QCOMPARE(task.size(), 7);
    QVERIFY(task.at(4).toInt() - task.at(2).toInt() >= 1);
    QVERIFY(task.at(5).toInt() - task.at(3).toInt() >= 1);
}

void RegionTaskTest::clickWithoutDragIsNone_data()
{
    QTest::addColumn<QPoint>("way");
    QTest::newRow("no way") << QPoint(0, 0);
    QTest::newRow("only across") << QPoint(90, 0);
    QTest::newRow("only down") << QPoint(0, 90);
}

void RegionTaskTest::clickWithoutDragIsNone()
{
    QFETCH(QPoint, way);
    PagesFixture pages;
    openRegion(&pages);
    drag(&pages, onCapture(QPointF(50, 50)), onCapture(QPointF(50, 50)) + way);
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("clearRecognizingTextResult()")));
    QVERIFY(!control("Pane_allText"));
}

void RegionTaskTest::namesOfTasksAreRandomUuids()
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

void RegionTaskTest::overlayIsAsLargeAsThePicture()
{
    PagesFixture pages;
    openRegion(&pages);
    QQuickItem *capture = control("Pane_screenCapture");
    QCOMPARE(capture->width() - 1, std::round(1920 * pictureScale()));
    QCOMPARE(capture->height(), std::round(1080 * pictureScale()));
    QQuickItem *picture = control("Image_screenshot");
    QCOMPARE(capture->mapToScene(QPointF(0, 0)), picture->mapToScene(QPointF(0, 0)));
}

void RegionTaskTest::overlayShadesAndHasTheCrossCursor()
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

void RegionTaskTest::noOtherPartWhileOneIsRead()
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

void RegionTaskTest::cancelledTaskLeavesOnlyTheWayOut()
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
void RegionTaskTest::returnWorksWhileAPartIsRead()
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

void RegionTaskTest::wholePictureByKeyboard()
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

QTEST_MAIN(RegionTaskTest)
#include "regiontasktest.moc"
