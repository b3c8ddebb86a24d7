// The time axis under pointer, wheel and keys: what is called, in which order, and where the slider
// stands. The window has the design's own size, so that lengths are those of the design.

#include "qml/pagesfixture.h"

#include <QTest>

class AxisPointerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void geometry();
    void clickInOrder();
    void clickInGapMovesTheSliderAndKeepsThePicture();
    void clickOnTheDateKeepsThePicture();
    void clickBesideTheListChangesNothingShown();
    void heldButtonFollowsWithTheSameNumber();
    void hoverShowsThePreviewOfTheBar();
    void hoverInGapHidesThePreview();
    void hoverOnTheNextBarLoadsAnew();
    void hoverEndsTheNumbersAtThousand();
    void hoveredBarIsHighlighted();
    void barsNarrowerThanTheIconShowNone();
    void handleIsDragged();
    void pillIsDragged();
    void aPageUnderAHeldButtonShowsNoPreview();
    void pillShowsThePreviewUnderThePointer();
    void hoverFormIsClampedToTheList();
    void keysStepTheSlider();

private:
    void open(PagesFixture *pages);
};

namespace
{
// On an axis of 1820 pixels: bars of 240, 16, 160, 800 pixels after the date.
const QVector<int> frames = {30, 2, 20, 100};

qreal dateWidth(const PagesFixture &pages)
{
    return pages.callAxis("getPreviousDayAppWidth", {0}).toReal();
}

bool isBar(QQuickItem *item)
{
    return QByteArray(item->metaObject()->className()).startsWith("AppBar_");
}

QString shownCall(int row, int x, int id)
{
    return QStringLiteral("showCurShowImageItem(%1, %2, %3)").arg(row).arg(x).arg(id);
}
} // namespace

void AxisPointerTest::open(PagesFixture *pages)
{
    pages->videoInfo.appendDay(dayAgo(0, frames));
    QVERIFY(pages->show());
    pages->calls.take();
}

void AxisPointerTest::geometry()
{
    PagesFixture pages;
    open(&pages);
    auto *axis = qobject_cast<QQuickItem *>(pages.timeAxis());
    QCOMPARE(axis->height(), 64.0);
    QCOMPARE(axis->mapToScene(QPointF(0, 0)), QPointF(0, 50)); // below the title bar
    QCOMPARE(pages.axis("listViewWidth").toReal(), 1820.0);
    QCOMPARE(pages.axis("listViewLeftMargin").toReal(), 50.0);
    QCOMPARE(pages.axis("timeAxisHeight").toInt(), 8);
    QCOMPARE(pages.axis("timeAxisBackHeight").toInt(), 16);
    QCOMPARE(pages.axis("moveSpace").toReal(), 130.0);
    const qreal content = dateWidth(pages) + 240 + 16 + 160 + 800 + 3 * 8;
    QCOMPARE(pages.axis("contentWidth").toReal(), content);
    QCOMPARE(pages.axis("flickableMaxContentX").toReal(), content - 1820);
}

void AxisPointerTest::clickInOrder()
{
    PagesFixture pages;
    open(&pages);
    const int id = pages.axis("curShowImgId").toInt();
    const qreal date = dateWidth(pages);
    pages.hover(pages.onAxis(date + 100)); // the pointer comes before it presses
    QTRY_VERIFY(pages.axis("previewImgVisible").toBool());
    pages.calls.take();
    QVariantList before;
    pages.videoInfo.onShow = [&] {
        before = {pages.axis("operateTimeAxis"),
                  pages.axis("isDeleteAllData"),
                  pages.axis("previewImgVisible"),
                  pages.axis("curShowImgId"),
                  pages.indicator(),
                  pages.axis("clickImageFlickableContentX")};
    };
    pages.timeAxis()->setProperty("isDeleteAllData", true);
    QTest::mousePress(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 100));
    QCOMPARE(pages.calls.take(), QStringList(shownCall(0, 100, id + 1)));
    QCOMPARE(before, QVariantList({true, false, false, id + 1, date + 100, date + 100}));
    QCOMPARE(pages.axis("globalMouseX").toReal(), 50 + date + 100);
    QCOMPARE(pages.axis("showImgInfoPageImgSource").toString(),
             QStringLiteral("image://videoImageProvider/curShowImg%1").arg(id + 1));
    QCOMPARE(pages.axis("bigPreviewItemAppName").toString(), QStringLiteral("Editor"));
    QCOMPARE(pages.axis("bigPreviewItemIconSource").toString(),
             QStringLiteral("application-x-desktop"));
    QCOMPARE(pages.root()->property("ocrImageType").toInt(), 1);
    QCOMPARE(pages.root()->property("ocrImageId").toString(),
             pages.previewItem.videoPreviewImageSource());
    QTest::mouseRelease(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 100));
    QVERIFY(PagesFixture::texts(&pages.view).contains(QStringLiteral("Editor")));
}

void AxisPointerTest::clickInGapMovesTheSliderAndKeepsThePicture()
{
    PagesFixture pages;
    open(&pages);
    const qreal date = dateWidth(pages);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 100));
    const QString shown = pages.axis("showImgInfoPageImgSource").toString();
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 244));
    QCOMPARE(pages.indicator(), date + 244);
    QCOMPARE(pages.axis("showImgInfoPageImgSource").toString(), shown);
    QCOMPARE(pages.axis("bigPreviewItemAppName").toString(), QStringLiteral("Editor"));
}

void AxisPointerTest::clickOnTheDateKeepsThePicture()
{
    PagesFixture pages;
    open(&pages);
    const int id = pages.axis("curShowImgId").toInt();
    const QString shown = pages.axis("showImgInfoPageImgSource").toString();
    const qreal date = dateWidth(pages);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(10));
    const QStringList calls = pages.calls.take();
    QVERIFY(!calls.isEmpty());
    QCOMPARE(calls.first(), shownCall(0, int(10 - date), id + 1));
    QCOMPARE(pages.axis("showImgInfoPageImgSource").toString(), shown);
    QCOMPARE(pages.indicator(), 10.0);
}

void AxisPointerTest::clickBesideTheListChangesNothingShown()
{
    PagesFixture pages;
    open(&pages);
    const qreal indicator = pages.indicator();
    for (qreal x : {-1.0, 1821.0}) {
        pages.callAxis("clickAt", {x + 50});
        QCOMPARE(pages.indicator(), indicator);
        QVERIFY(pages.calls.take().isEmpty());
        QVERIFY(pages.axis("operateTimeAxis").toBool());
    }
    // Beyond the content, yet in the list: no day is there.
    pages.callAxis("clickAt", {50 + pages.axis("contentWidth").toReal() + 20});
    QCOMPARE(pages.indicator(), indicator);
    QVERIFY(pages.calls.take().isEmpty());
}

void AxisPointerTest::heldButtonFollowsWithTheSameNumber()
{
    PagesFixture pages;
    open(&pages);
    const qreal date = dateWidth(pages);
    QTest::mousePress(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 100));
    const int id = pages.axis("curShowImgId").toInt();
    pages.calls.take();
    pages.imagesAsked.clear();
    pages.timeAxis()->setProperty("previewImgVisible", true);
    pages.hover(pages.onAxis(date + 130));
    pages.hover(pages.onAxis(date + 160));
    QTRY_COMPARE(pages.calls.calls(), QStringList({shownCall(0, 130, id), shownCall(0, 160, id)}));
    QCOMPARE(pages.axis("curShowImgId").toInt(), id);
    QVERIFY(pages.axis("previewImgVisible").toBool()); // untouched while the button is held
    QCOMPARE(pages.indicator(), date + 160);
    // The number is the same and the picture another one: it is asked for each time.
    QCOMPARE(pages.imagesAsked, QStringList({QStringLiteral("curShowImg%1").arg(id),
                                             QStringLiteral("curShowImg%1").arg(id)}));
    QTest::mouseRelease(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 160));
}

void AxisPointerTest::hoverShowsThePreviewOfTheBar()
{
    PagesFixture pages;
    open(&pages);
    const qreal date = dateWidth(pages);
    const qreal third = date + 240 + 8 + 16 + 8; // left edge of the third bar
    pages.hover(pages.onAxis(third + 40));
    QTRY_COMPARE(pages.calls.calls(),
                 QStringList(QStringLiteral("showPreviewImageItem(0, 2, 40, 1)")));
    QVERIFY(pages.axis("previewImgVisible").toBool());
    pages.hover(pages.onAxis(third + 48));
    QTRY_COMPARE(pages.calls.calls().size(), 2);
    QCOMPARE(pages.calls.take().last(), QStringLiteral("showPreviewImageItem(0, 2, 48, 2)"));
    const QStringList texts = PagesFixture::texts(&pages.view);
    QVERIFY(texts.contains(QStringLiteral("Terminal")));
    QVERIFY(texts.contains(pages.previewItem.previewImageDate() + QLatin1Char(' ') +
                           pages.previewItem.previewImageTime()));
    QCOMPARE(pages.axis("showImgInfoPageImgSource").toString().contains(QLatin1String("preview")),
             false);
}

void AxisPointerTest::hoverInGapHidesThePreview()
{
    PagesFixture pages;
    open(&pages);
    const qreal date = dateWidth(pages);
    pages.hover(pages.onAxis(date + 100));
    QTRY_VERIFY(pages.axis("previewImgVisible").toBool());
    pages.calls.take();
    pages.hover(pages.onAxis(date + 244));
    QTRY_VERIFY(!pages.axis("previewImgVisible").toBool());
    QCOMPARE(pages.axis("preImageId").toInt(), 0);
    QVERIFY(pages.calls.take().isEmpty());
}

void AxisPointerTest::hoverOnTheNextBarLoadsAnew()
{
    PagesFixture pages;
    open(&pages);
    const qreal date = dateWidth(pages);
    pages.hover(pages.onAxis(date + 100));
    QTRY_COMPARE(pages.axis("preImageId").toInt(), 1);
    pages.imagesAsked.clear();
    pages.hover(pages.onAxis(date + 240 + 8 + 4)); // the numbers begin again
    QTRY_COMPARE(pages.imagesAsked, QStringList(QStringLiteral("previewImg1")));
    QVERIFY(pages.axis("previewImgVisible").toBool());
}

void AxisPointerTest::hoverEndsTheNumbersAtThousand()
{
    PagesFixture pages;
    open(&pages);
    for (int id : {999, 1000, 1001}) {
        pages.timeAxis()->setProperty("curShowImgId", id);
        pages.hover(pages.onAxis(dateWidth(pages) + 100));
        QTRY_VERIFY(pages.axis("previewImgVisible").toBool());
        pages.hover(QPoint(300, 900));
        QTRY_VERIFY(!pages.axis("previewImgVisible").toBool());
        QCOMPARE(pages.axis("curShowImgId").toInt(), id == 1000 ? 0 : id);
    }
}

void AxisPointerTest::hoveredBarIsHighlighted()
{
    PagesFixture pages;
    open(&pages);
    const auto opacities = [&pages] {
        QList<qreal> found;
        PagesFixture::visit(pages.root(), [&found](QQuickItem *item) {
            if (isBar(item)) {
                QQuickItem *bar = item->childItems().first();
                found.append(bar->opacity());
            }
        });
        return found;
    };
    QCOMPARE(opacities(), QList<qreal>({0.25, 0.25, 0.25, 0.25}));
    pages.hover(pages.onAxis(dateWidth(pages) + 252));
    QTRY_COMPARE(opacities(), QList<qreal>({0.25, 1, 0.25, 0.25}));
    pages.hover(QPoint(300, 900));
    QTRY_COMPARE(opacities(), QList<qreal>({0.25, 0.25, 0.25, 0.25}));
}

void AxisPointerTest::barsNarrowerThanTheIconShowNone()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {2, 3, 4, 30})); // 16, 24, 32, 240 beside an icon of 24
    QVERIFY(pages.show());
    QList<bool> icons;
    PagesFixture::visit(pages.root(), [&icons](QQuickItem *item) {
        if (isBar(item)) {
            bool found = false;
            PagesFixture::visit(
                item, [&found](QQuickItem *part) { found = found || part->inherits("TavelIcon"); });
            icons.append(found);
        }
    });
    QCOMPARE(icons, QList<bool>({false, false, true, true}));
}

void AxisPointerTest::handleIsDragged()
{
    PagesFixture pages;
    open(&pages);
    const qreal date = dateWidth(pages);
    auto *handle = pages.axis("upIndicator").value<QQuickItem *>();
    const QPoint from = PagesFixture::centreOf(handle);
    const int id = pages.axis("curShowImgId").toInt();
    QTest::mousePress(&pages.view, Qt::LeftButton, {}, from);
    pages.calls.take();
    QCOMPARE(pages.axis("curShowImgId").toInt(), id + 1);
    pages.hover(QPoint(pages.onAxis(date + 300).x(), from.y()));
    const int dayX = 300;
    QTRY_COMPARE(pages.calls.calls(), QStringList(shownCall(0, dayX, id + 2)));
    QCOMPARE(pages.indicator(), date + 300);
    QVERIFY(pages.axis("operateTimeAxis").toBool());
    QTest::mouseRelease(&pages.view, Qt::LeftButton, {},
                        QPoint(pages.onAxis(date + 300).x(), from.y()));
}

void AxisPointerTest::pillIsDragged()
{
    PagesFixture pages;
    open(&pages);
    const qreal date = dateWidth(pages);
    QQuickItem *pill = PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Slider_timeAxis"));
    QVERIFY(pill);
    QCOMPARE(QSizeF(pill->width(), pill->height()), QSizeF(8, 24));
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 100));
    pages.hover(QPoint(300, 900));
    pages.hover(PagesFixture::centreOf(pill));
    QTRY_VERIFY(pages.axis("previewImgVisible").toBool());
    QTest::mousePress(&pages.view, Qt::LeftButton, {}, PagesFixture::centreOf(pill));
    QVERIFY(!pages.axis("previewImgVisible").toBool()); // else it would travel along
    pages.calls.take();
    const int id = pages.axis("curShowImgId").toInt();
    pages.hover(pages.onAxis(date + 500));
    QTRY_COMPARE(pages.calls.calls(), QStringList(shownCall(0, 500, id + 1)));
    QCOMPARE(pages.indicator(), date + 500);
    auto *handle = pages.axis("upIndicator").value<QQuickItem *>();
    QCOMPARE(pill->x() + 4, handle->x() + handle->width() / 2); // both share one position
    QVERIFY(!pages.axis("previewImgVisible").toBool());
    pages.calls.take();
    pages.hover(pages.onAxis(date + 502)); // so little that the pointer is on the pill again
    QTRY_COMPARE(pages.calls.calls(), QStringList(shownCall(0, 502, id + 2)));
    QCOMPARE(pages.indicator(), date + 502);
    QVERIFY(!pages.axis("previewImgVisible").toBool());
    QTest::mouseRelease(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 502));
}

void AxisPointerTest::aPageUnderAHeldButtonShowsNoPreview()
{
    PagesFixture pages;
    open(&pages);
    const QPoint place = pages.onAxis(dateWidth(pages) + 100);
    pages.hover(place);
    QTRY_VERIFY(pages.axis("previewImgVisible").toBool());
    QTest::mousePress(&pages.view, Qt::LeftButton, {}, place);
    pages.calls.take();
    pages.callAxis("nextPage");
    QVERIFY(!pages.axis("previewImgVisible").toBool());
    QCOMPARE(pages.calls.take().filter(QStringLiteral("showPreviewImageItem")), QStringList());
    QTest::mouseRelease(&pages.view, Qt::LeftButton, {}, place);
    pages.callAxis("nextPage");
    QVERIFY(pages.axis("previewImgVisible").toBool());
}

void AxisPointerTest::pillShowsThePreviewUnderThePointer()
{
    PagesFixture pages;
    open(&pages);
    const qreal date = dateWidth(pages);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 100));
    pages.hover(QPoint(300, 900));
    pages.calls.take();
    const int id = pages.axis("curShowImgId").toInt();
    pages.hover(pages.onAxis(date + 101));
    QTRY_COMPARE(pages.calls.calls(),
                 QStringList(QStringLiteral("showPreviewImageItem(0, 101, %1)").arg(id)));
    QVERIFY(pages.axis("previewImgVisible").toBool());
    pages.hover(QPoint(300, 900));
    QTRY_VERIFY(!pages.axis("previewImgVisible").toBool());
}

void AxisPointerTest::hoverFormIsClampedToTheList()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {400})); // wider than the list
    QVERIFY(pages.show());
    pages.calls.take();
    const int contentX = pages.axis("contentX").toInt();
    pages.callAxis("showMinPreviewImageByPos", {50 + 1820});
    const int dayX = contentX + 1819 - int(dateWidth(pages));
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("showPreviewImageItem(0, %1, %2)")
                                                 .arg(dayX)
                                                 .arg(pages.axis("curShowImgId").toInt())));
}

void AxisPointerTest::keysStepTheSlider()
{
    PagesFixture pages;
    open(&pages);
    const qreal date = dateWidth(pages);
    QTRY_VERIFY(pages.view.isActive());
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(date + 100));
    PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Slider_timeAxis"))
        ->forceActiveFocus(Qt::TabFocusReason);
    pages.hover(QPoint(300, 900));
    pages.calls.take();
    const int id = pages.axis("curShowImgId").toInt();
    QTest::keyClick(&pages.view, Qt::Key_Left);
    QTest::keyClick(&pages.view, Qt::Key_Right);
    QTest::keyClick(&pages.view, Qt::Key_Right);
    QCOMPARE(pages.calls.take(), QStringList({shownCall(0, 92, id + 1), shownCall(0, 100, id + 2),
                                              shownCall(0, 108, id + 3)}));
}

QTEST_MAIN(AxisPointerTest)
#include "axispointertest.moc"
