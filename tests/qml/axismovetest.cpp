// How the time axis moves: by wheel, pages and keys, with new frames and with older days, and where
// its slider stands meanwhile.

#include "qml/pagesfixture.h"

#include <QPointer>
#include <QRandomGenerator>
#include <QTest>
#include <QWheelEvent>

#include <numeric>

class AxisMoveTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wheelMovesBySteps();
    void smallTurnsOfATouchpadAddUp();
    void wheelLoadsOlderDaysNearTheBeginning();
    void movesTellARestingPointerWhatIsUnderIt_data();
    void movesTellARestingPointerWhatIsUnderIt();
    void olderDaysLeaveTheViewWhereItIs();
    void olderDaysLeaveTheRunsInView();
    void runsArePreparedOutOfView();
    void wheelStopsAtTheBeginning();
    void pageButtonsMoveByAPage();
    void pageButtonsFadeAtTheEnds();
    void keysMoveAsWheelAndPageButtons();
    void followsNewFrames();
    void newRunsAndDaysAreFollowed();
    void doesNotFollowOnceOperated();
    void followsAgainAfterDeletion();
    void shortHistoryEndsAtItsContent();
    void emptyHistoryShowsNoSlider();
    void sliderStaysOnItsFrameWhileThePageScrolls();
    void sliderHidesOutsideThePage();
    void scrollingWithoutClickShowsWhatIsUnderTheSlider();
    void jumpsCentreTheFrame_data();
    void jumpsCentreTheFrame();
    void widthBeforeADayIncludesItsDate();
    void everyPixelFindsItsDay();
    void everyPixelFindsItsBar();
    void windowMayChangeItsSize();
    void sliderStaysOnItsFrameAtEverySize();
    void manyDaysScrollToTheirBeginning();
};

namespace
{
const QVector<int> day = {30, 2, 20, 60, 1, 40};

int runsWidth(const QVector<int> &frames)
{
    return std::accumulate(frames.begin(), frames.end(), 0) * 8 + (frames.size() - 1) * 8;
}

void turnWheel(PagesFixture *pages, int delta)
{
    const QPoint at = pages->onAxis(900);
    QWheelEvent event(at, pages->view.mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&pages->view, &event);
}

/// The last preview that was asked for, without the number of its picture.
QString lastPreview(PagesFixture *pages)
{
    QString found;
    for (const QString &call : pages->calls.take()) {
        if (call.startsWith(QLatin1String("showPreviewImageItem("))) {
            found = call.section(QLatin1Char(','), 0, -2);
        }
    }
    return found;
}

void openDays(PagesFixture *pages, int count)
{
    for (int i = count - 1; i >= 0; --i) {
        pages->videoInfo.appendDay(dayAgo(i, day));
    }
    QVERIFY(pages->show());
    pages->calls.take();
}

QVector<QQuickItem *> runLists(const PagesFixture &pages)
{
    QVector<QQuickItem *> found;
    PagesFixture::visit(pages.root(), [&found](QQuickItem *item) {
        if (QString::fromLatin1(item->metaObject()->className())
                .startsWith(QLatin1String("AppRunList"))) {
            found.append(item);
        }
    });
    return found;
}

qreal contentX(const PagesFixture &pages)
{
    return pages.axis("contentX").toReal();
}

qreal maxContentX(const PagesFixture &pages)
{
    return pages.axis("flickableMaxContentX").toReal();
}

void pressKey(PagesFixture *pages, Qt::Key key)
{
    QTest::keyClick(&pages->view, key);
}

QQuickItem *pageButton(const char *which)
{
    return PagesFixture::control(QLatin1String("tavel-ai-yestermark_Button_") +
                                 QLatin1String(which));
}
} // namespace

void AxisMoveTest::wheelMovesBySteps()
{
    PagesFixture pages;
    openDays(&pages, 5);
    const qreal newest = maxContentX(pages);
    QCOMPARE(contentX(pages), newest);
    turnWheel(&pages, 120);
    QCOMPARE(contentX(pages), newest - 130);
    turnWheel(&pages, 120);
    QCOMPARE(contentX(pages), newest - 260);
    turnWheel(&pages, -120);
    turnWheel(&pages, -120);
    turnWheel(&pages, -120); // no further than the end
    QCOMPARE(contentX(pages), newest);
    QVERIFY(!pages.calls.take().contains(QStringLiteral("showPreDayAppData()")));
}

void AxisMoveTest::smallTurnsOfATouchpadAddUp()
{
    PagesFixture pages;
    openDays(&pages, 5);
    const qreal newest = maxContentX(pages);
    for (int i = 0; i < 7; ++i) {
        turnWheel(&pages, 15);
    }
    QCOMPARE(contentX(pages), newest);
    turnWheel(&pages, 15);
    QCOMPARE(contentX(pages), newest - 130);
    turnWheel(&pages, 60);
    turnWheel(&pages, -60); // the other way begins anew
    turnWheel(&pages, -60);
    QCOMPARE(contentX(pages), newest);
}

void AxisMoveTest::wheelLoadsOlderDaysNearTheBeginning()
{
    PagesFixture pages;
    openDays(&pages, 3);
    pages.timeAxis()->setProperty("contentX", 1820 + 131);
    pages.calls.take();
    turnWheel(&pages, 120);
    QCOMPARE(contentX(pages), 1821.0);
    QVERIFY(!pages.calls.take().contains(QStringLiteral("showPreDayAppData()")));
    turnWheel(&pages, 120);
    QVERIFY(pages.calls.take().contains(QStringLiteral("showPreDayAppData()")));
    QCOMPARE(contentX(pages), 1691.0); // there was none
}

void AxisMoveTest::movesTellARestingPointerWhatIsUnderIt_data()
{
    QTest::addColumn<QByteArray>("move");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("back");
    QTest::addColumn<int>("older");
    QTest::newRow("wheel") << QByteArray("wheel") << 5 << 130 << 0;
    QTest::newRow("wheel into older days") << QByteArray("wheel") << 1 << 130 << 1;
    QTest::newRow("page") << QByteArray("lastPage") << 5 << 1820 << 0;
    QTest::newRow("page into older days") << QByteArray("lastPage") << 2 << 1820 << 1;
    QTest::newRow("page on") << QByteArray("nextPage") << 5 << -1820 << 0;
}

void AxisMoveTest::movesTellARestingPointerWhatIsUnderIt()
{
    QFETCH(QByteArray, move);
    QFETCH(int, row);
    QFETCH(int, back);
    QFETCH(int, older);
    PagesFixture pages;
    pages.videoInfo.olderDays = {dayAgo(9, day)};
    openDays(&pages, 8);
    const int inThirdRun = 240 + 8 + 16 + 8 + 50; // where the move brings the pointer
    const qreal under = pages.callAxis("getPreviousDayAppWidth", {row}).toReal() + inThirdRun;
    pages.timeAxis()->setProperty("contentX", under + back - 900);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(1500)); // the slider is apart
    pages.hover(pages.onAxis(900));
    pages.calls.take();
    if (move == "wheel") {
        turnWheel(&pages, 120);
    } else {
        pages.callAxis(move);
    }
    QCOMPARE(pages.videoInfo.days.size(), 8 + older);
    QCOMPARE(lastPreview(&pages),
             QStringLiteral("showPreviewImageItem(%1, 2, 50").arg(row + older));
    QVERIFY(pages.axis("previewImgVisible").toBool());
    QCOMPARE(pages.axis("globalMouseX").toReal(), 950.0); // the popup stays where the pointer is
}

void AxisMoveTest::olderDaysLeaveTheViewWhereItIs()
{
    PagesFixture pages;
    pages.videoInfo.olderDays = {dayAgo(6, {7}), dayAgo(5, day), dayAgo(4, {100, 3})};
    openDays(&pages, 3);
    pages.timeAxis()->setProperty("contentX", 1400);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(1500));
    const qreal saved = pages.axis("clickImageFlickableContentX").toReal();
    const qreal indicator = pages.indicator();
    const int pictures = pages.videoInfo.pictures;
    const qreal width = pages.axis("contentWidth").toReal();
    turnWheel(&pages, 120);
    const qreal added = pages.axis("contentWidth").toReal() - width;
    QVERIFY(added > 824);
    QCOMPARE(contentX(pages), 1270 + added);
    QCOMPARE(pages.axis("clickImageFlickableContentX").toReal(), saved + added);
    QCOMPARE(pages.indicator(), indicator + 130);
    QCOMPARE(pages.videoInfo.pictures, pictures);
}

void AxisMoveTest::olderDaysLeaveTheRunsInView()
{
    PagesFixture pages;
    pages.videoInfo.olderDays = {dayAgo(4, {900, 3})};
    openDays(&pages, 3);
    pages.timeAxis()->setProperty("contentX", 1400);
    QVector<QPointer<QQuickItem>> runs;
    for (QQuickItem *item : runLists(pages)) {
        runs.append(item);
    }
    QVERIFY(!runs.isEmpty());
    const qreal width = pages.axis("contentWidth").toReal();
    turnWheel(&pages, 120);
    QVERIFY(pages.axis("contentWidth").toReal() > width + 7000);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (const QPointer<QQuickItem> &item : runs) {
        QVERIFY(item); // else they were made anew
    }
}

void AxisMoveTest::runsArePreparedOutOfView()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(1, {150, 40}));
    pages.videoInfo.appendDay(dayAgo(0, {250, 20}));
    QVERIFY(pages.show());
    QVERIFY(pages.axis("contentX").toReal() > 0);
    QTRY_COMPARE_WITH_TIMEOUT(runLists(pages).size(), 2, 20000);
    pages.timeAxis()->setProperty("contentX", 0);
    QCOMPARE(runLists(pages).size(), 2);
}

void AxisMoveTest::wheelStopsAtTheBeginning()
{
    PagesFixture pages;
    openDays(&pages, 3);
    pages.timeAxis()->setProperty("contentX", 100);
    pages.calls.take();
    turnWheel(&pages, 120);
    QCOMPARE(contentX(pages), 0.0);
    QVERIFY(!pages.calls.take().contains(QStringLiteral("showPreDayAppData()")));
}

void AxisMoveTest::pageButtonsMoveByAPage()
{
    PagesFixture pages;
    openDays(&pages, 6);
    QCOMPARE(pageButton("lastPage")->property("toolTip").toString(), QStringLiteral("Last Page"));
    QCOMPARE(pageButton("nextPage")->property("toolTip").toString(), QStringLiteral("Next Page"));
    const qreal newest = maxContentX(pages);
    PagesFixture::click(pageButton("lastPage"));
    QCOMPARE(contentX(pages), newest - 1820);
    PagesFixture::click(pageButton("nextPage"));
    QCOMPARE(contentX(pages), newest);
    pages.timeAxis()->setProperty("contentX", newest - 100);
    PagesFixture::click(pageButton("nextPage"));
    QCOMPARE(contentX(pages), newest);
    pages.calls.take();
    pages.timeAxis()->setProperty("contentX", 1820 + 3640);
    PagesFixture::click(pageButton("lastPage"));
    QVERIFY(!pages.calls.take().contains(QStringLiteral("showPreDayAppData()")));
    PagesFixture::click(pageButton("lastPage"));
    QVERIFY(pages.calls.take().contains(QStringLiteral("showPreDayAppData()")));
    QCOMPARE(contentX(pages), 1820.0);
    PagesFixture::click(pageButton("lastPage"));
    QCOMPARE(contentX(pages), 0.0);
}

void AxisMoveTest::pageButtonsFadeAtTheEnds()
{
    PagesFixture pages;
    openDays(&pages, 4);
    const auto opacity = [](const char *which) {
        return pageButton(which)->property("iconOpacity").toReal();
    };
    QCOMPARE(opacity("lastPage"), 1.0);
    QCOMPARE(opacity("nextPage"), 0.3);
    QVERIFY(!pageButton("nextPage")->isEnabled());
    pages.timeAxis()->setProperty("contentX", 500);
    QCOMPARE(opacity("lastPage"), 1.0);
    QCOMPARE(opacity("nextPage"), 1.0);
    QVERIFY(pageButton("nextPage")->isEnabled());
    pages.timeAxis()->setProperty("contentX", 0);
    QCOMPARE(opacity("lastPage"), 0.3);
    QVERIFY(!pageButton("lastPage")->isEnabled());
}

void AxisMoveTest::keysMoveAsWheelAndPageButtons()
{
    PagesFixture pages;
    openDays(&pages, 6);
    QTRY_VERIFY(pages.view.isActive());
    qobject_cast<QQuickItem *>(pages.timeAxis())->forceActiveFocus(Qt::TabFocusReason);
    const qreal newest = maxContentX(pages);
    pressKey(&pages, Qt::Key_Left);
    QCOMPARE(contentX(pages), newest - 130);
    pressKey(&pages, Qt::Key_Right);
    QCOMPARE(contentX(pages), newest);
    pressKey(&pages, Qt::Key_PageUp);
    QCOMPARE(contentX(pages), newest - 1820);
    pressKey(&pages, Qt::Key_PageDown);
    QCOMPARE(contentX(pages), newest);
}

void AxisMoveTest::followsNewFrames()
{
    PagesFixture pages;
    openDays(&pages, 4);
    const qreal before = maxContentX(pages);
    for (int i = 1; i <= 20; ++i) {
        const int id = pages.axis("curShowImgId").toInt();
        pages.calls.take();
        pages.videoInfo.growNewestRun();
        QCoreApplication::processEvents(); // the picture comes after what is going on
        QCOMPARE(maxContentX(pages), before + 8 * i);
        QCOMPARE(contentX(pages), before + 8 * i);
        QCOMPARE(pages.indicator(), 1820.0);
        // The list ends one pixel short of its width.
        const int x = pages.axis("contentWidth").toInt() - 1 -
                      pages.callAxis("getPreviousDayAppWidth", {3}).toInt();
        QCOMPARE(pages.calls.take(),
                 QStringList(QStringLiteral("showCurShowImageItem(3, %1, %2)").arg(x).arg(id + 1)));
        QCOMPARE(pages.root()->property("ocrImageType").toInt(), 1);
    }
    QVERIFY(!pages.axis("operateTimeAxis").toBool());
}

void AxisMoveTest::newRunsAndDaysAreFollowed()
{
    PagesFixture pages;
    openDays(&pages, 3);
    const qreal before = maxContentX(pages);
    pages.videoInfo.startRun(runsOfFrames({1}).first());
    QCOMPARE(contentX(pages), before + 16);
    TestDay tomorrow = dayAgo(-1, {1});
    pages.videoInfo.appendDay(tomorrow);
    QCOMPARE(contentX(pages), maxContentX(pages));
    QVERIFY(maxContentX(pages) > before + 24);
    QCOMPARE(pages.indicator(), 1820.0);
}

void AxisMoveTest::doesNotFollowOnceOperated()
{
    PagesFixture pages;
    openDays(&pages, 4);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(1000));
    pages.calls.take();
    const qreal at = contentX(pages);
    const qreal indicator = pages.indicator();
    const int pictures = pages.videoInfo.pictures;
    for (int i = 0; i < 5; ++i) {
        pages.videoInfo.growNewestRun();
        QCoreApplication::processEvents();
    }
    QCOMPARE(contentX(pages), at);
    QCOMPARE(pages.indicator(), indicator);
    QCOMPARE(pages.videoInfo.pictures, pictures);
    QCOMPARE(maxContentX(pages), at + 40);
}

void AxisMoveTest::followsAgainAfterDeletion()
{
    PagesFixture pages;
    openDays(&pages, 4);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(1000));
    pages.timeAxis()->setProperty("isDeleteAllData", true);
    pages.videoInfo.clearUserData(4);
    QCOMPARE(pages.axis("contentWidth").toReal(), 0.0);
    pages.calls.take();
    pages.videoInfo.appendDay(dayAgo(0, {1}));
    const qreal content = pages.axis("contentWidth").toReal();
    QVERIFY(content > 8);
    QCOMPARE(pages.indicator(), content);
    QCoreApplication::processEvents();
    QCOMPARE(pages.calls.take().size(), 1);
    pages.videoInfo.growNewestRun();
    QCOMPARE(pages.indicator(), content + 8);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(content - 2));
    pages.videoInfo.growNewestRun();
    QCOMPARE(pages.indicator(), content - 2);
}

void AxisMoveTest::shortHistoryEndsAtItsContent()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {20, 10}));
    QVERIFY(pages.show());
    const qreal content = pages.axis("contentWidth").toReal();
    QCOMPARE(contentX(pages), 0.0);
    QCOMPARE(pages.indicator(), content);
    QVERIFY(!pageButton("lastPage")->isEnabled());
    QVERIFY(!pageButton("nextPage")->isEnabled());
    turnWheel(&pages, 120);
    turnWheel(&pages, -120);
    QCOMPARE(contentX(pages), 0.0);
}

void AxisMoveTest::emptyHistoryShowsNoSlider()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    QVERIFY(!pages.axis("upIndicator").value<QQuickItem *>()->isVisible());
    QVERIFY(!PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Slider_timeAxis")));
    QVERIFY(!PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Image_screenshot")));
    pages.videoInfo.appendDay(dayAgo(0, {1}));
    QCoreApplication::processEvents();
    QVERIFY(pages.axis("upIndicator").value<QQuickItem *>()->isVisible());
    QVERIFY(PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Image_screenshot")));
}

void AxisMoveTest::sliderStaysOnItsFrameWhileThePageScrolls()
{
    PagesFixture pages;
    openDays(&pages, 6);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(700));
    pages.hover(QPoint(300, 900));
    const QString shown = pages.axis("showImgInfoPageImgSource").toString();
    pages.calls.take();
    for (int step = 1; step <= 8; ++step) {
        turnWheel(&pages, 120);
        QCOMPARE(pages.indicator(), 700.0 + 130 * step);
    }
    QCOMPARE(pages.axis("showImgInfoPageImgSource").toString(), shown);
    QVERIFY(pages.calls.take().isEmpty());
}

void AxisMoveTest::sliderHidesOutsideThePage()
{
    PagesFixture pages;
    openDays(&pages, 6);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(1700));
    auto *handle = pages.axis("upIndicator").value<QQuickItem *>();
    QVERIFY(handle->isVisible());
    turnWheel(&pages, 120); // 1830
    QVERIFY(!handle->isVisible());
    turnWheel(&pages, -120);
    QVERIFY(handle->isVisible());
    QCOMPARE(pages.indicator(), 1700.0);
}

void AxisMoveTest::scrollingWithoutClickShowsWhatIsUnderTheSlider()
{
    PagesFixture pages;
    openDays(&pages, 6);
    turnWheel(&pages, 120);
    QCOMPARE(pages.indicator(), 1820.0);
    const int x = pages.axis("contentWidth").toInt() - 130 -
                  pages.callAxis("getPreviousDayAppWidth", {5}).toInt();
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("showCurShowImageItem(5, %1, %2)")
                                                 .arg(x)
                                                 .arg(pages.axis("curShowImgId").toInt())));
}

void AxisMoveTest::jumpsCentreTheFrame_data()
{
    QTest::addColumn<int>("days");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("frameX");
    QTest::newRow("at the beginning") << 6 << 0 << 44;
    QTest::newRow("in the middle") << 6 << 3 << 500;
    QTest::newRow("at the end") << 6 << 5 << 1200;
    QTest::newRow("nothing to scroll") << 1 << 0 << 300;
}

void AxisMoveTest::jumpsCentreTheFrame()
{
    QFETCH(int, days);
    QFETCH(int, row);
    QFETCH(int, frameX);
    PagesFixture pages;
    openDays(&pages, days);
    const qreal x = pages.callAxis("getPreviousDayAppWidth", {row}).toReal() + frameX;
    pages.callAxis("setListViewContentXByImageInfo", {row, frameX});
    QVERIFY(pages.axis("operateTimeAxis").toBool());
    const qreal max = maxContentX(pages);
    if (x - 910 <= 0 || max <= 0) {
        QCOMPARE(contentX(pages), 0.0);
        QCOMPARE(pages.indicator(), x);
    } else if (x - 910 >= max) {
        QCOMPARE(contentX(pages), max);
        QCOMPARE(pages.indicator(), x - max);
    } else {
        QCOMPARE(contentX(pages), x - 910);
        QCOMPARE(pages.indicator(), 910.0);
    }
    QVERIFY(pages.calls.take().isEmpty()); // the page of hits shows the picture itself
    pages.callAxis("wheelTimeAxis", {-1});
    if (pages.axis("sliderShown").toBool()) {
        QCOMPARE(pages.indicator() + contentX(pages), x);
    } else {
        QVERIFY(x < contentX(pages));
    }
}

void AxisMoveTest::widthBeforeADayIncludesItsDate()
{
    PagesFixture pages;
    openDays(&pages, 4);
    qreal left = 0;
    for (int row = 0; row < 4; ++row) {
        const qreal x = pages.callAxis("getPreviousDayAppWidth", {row}).toReal();
        QVERIFY(x > left); // by the date's own width
        left = x + runsWidth(day);
    }
    QCOMPARE(left, pages.axis("contentWidth").toReal());
}

void AxisMoveTest::everyPixelFindsItsDay()
{
    QRandomGenerator random(20261121);
    for (int round = 0; round < 3; ++round) {
        PagesFixture pages;
        QList<int> widths;
        for (int i = 5; i >= 0; --i) {
            QVector<int> runs;
            for (int n = random.bounded(1, 9); n > 0; --n) {
                runs.append(random.bounded(1, 30));
            }
            pages.videoInfo.appendDay(dayAgo(i, runs));
            widths.append(runsWidth(runs));
        }
        QVERIFY(pages.show(QSize(1000, 540)));
        const int margin = qRound(pages.axis("listViewLeftMargin").toReal());
        const int width = pages.axis("listViewWidth").toInt();
        const int content = pages.axis("contentWidth").toInt();
        QList<int> starts; // where each day's runs begin
        for (int row = 0; row < 6; ++row) {
            starts.append(pages.callAxis("getPreviousDayAppWidth", {row}).toInt());
        }
        for (int page = 0; page < content; page += width) {
            pages.timeAxis()->setProperty("contentX", page);
            for (int x = page; x < qMin(page + width, content); ++x) {
                int row = 0;
                while (row < 5) { // a day ends where the next one's date begins
                    if (x < starts.at(row) + widths.at(row)) {
                        break;
                    }
                    ++row;
                }
                pages.calls.take();
                pages.callAxis("dragTo", {margin + x - page});
                const QString call = pages.calls.take().value(0);
                QVERIFY2(call.startsWith(QStringLiteral("showCurShowImageItem(%1, %2, ")
                                             .arg(row)
                                             .arg(x - starts.at(row))),
                         qPrintable(QStringLiteral("%1: %2").arg(x).arg(call)));
            }
        }
    }
}

void AxisMoveTest::everyPixelFindsItsBar()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(1, {3, 1, 5}));
    pages.videoInfo.appendDay(dayAgo(0, {1, 1, 2, 40}));
    QVERIFY(pages.show());
    for (int row = 0; row < 2; ++row) {
        int left = pages.callAxis("getPreviousDayAppWidth", {row}).toInt();
        const QList<AppItemInfo> runs = pages.videoInfo.days.at(row).runs;
        for (int bar = 0; bar < runs.size(); ++bar) {
            const int length = runs.at(bar).timeLength;
            for (int x = 0; x < length + 8; ++x) {
                pages.callAxis("leaveBar");
                pages.calls.take();
                pages.callAxis("hoverAt", {50 + left + x});
                const bool inBar = x < length;
                const QStringList expected =
                    inBar ? QStringList(QStringLiteral("showPreviewImageItem(%1, %2, %3, 1)")
                                            .arg(row)
                                            .arg(bar)
                                            .arg(x))
                          : QStringList();
                if (inBar || bar + 1 < runs.size()) { // behind the last run comes the next date
                    QCOMPARE(pages.calls.take(), expected);
                    QCOMPARE(pages.axis("previewImgVisible").toBool(), inBar);
                }
            }
            left += length + 8;
        }
    }
}

void AxisMoveTest::windowMayChangeItsSize()
{
    PagesFixture pages;
    openDays(&pages, 6);
    pages.view.resize(1200, 700);
    QTRY_COMPARE(pages.root()->width(), 1200.0);
    QCOMPARE(contentX(pages), maxContentX(pages)); // still on the newest frame
    QCOMPARE(pages.indicator(), pages.axis("listViewWidth").toReal());
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(300));
    const qreal frame = pages.indicator() + contentX(pages);
    pages.view.resize(1500, 800);
    QTRY_COMPARE(pages.root()->width(), 1500.0);
    QCOMPARE(pages.indicator() + contentX(pages), frame);
    QVERIFY(contentX(pages) <= maxContentX(pages));
    QCOMPARE(pages.warnings(), QStringList());
}

// Dates grow with the window and runs do not, so the content's pixels stand for other frames.
void AxisMoveTest::sliderStaysOnItsFrameAtEverySize()
{
    PagesFixture pages;
    for (int i = 11; i >= 0; --i) {
        pages.videoInfo.appendDay(dayAgo(i, day));
    }
    QVERIFY(pages.show(QSize(1200, 700)));
    pages.calls.take();
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(300));
    pages.hover(QPoint(300, 600));
    const auto frame = [&pages] { // its day and its place in the day
        const QStringList calls = pages.calls.take();
        const QStringList shown = calls.filter(QStringLiteral("showCurShowImageItem("));
        return shown.value(0).section(QLatin1Char(','), 0, 1);
    };
    const QString put = frame();
    QVERIFY(!put.isEmpty());
    const qreal width = pages.axis("contentWidth").toReal();
    for (const QSize &size : {QSize(1920, 1034), QSize(1200, 700)}) {
        pages.view.resize(size);
        QTRY_COMPARE(pages.root()->width(), qreal(size.width()));
        QTRY_COMPARE(pages.axis("contentWidth").toReal() > width, size.width() == 1920);
        QTRY_VERIFY(pages.axis("sliderShown").toBool());
        pages.calls.take();
        const qreal margin = pages.axis("listViewLeftMargin").toReal();
        pages.callAxis("showCurShowImageAt", {pages.indicator() + contentX(pages)});
        QCOMPARE(frame(), put);
        QVERIFY(pages.indicator() >= 0 && pages.indicator() + margin <= size.width());
    }
}

void AxisMoveTest::manyDaysScrollToTheirBeginning()
{
    PagesFixture pages;
    for (int i = 399; i >= 3; --i) {
        pages.videoInfo.olderDays.append(dayAgo(i, {3, 1, 40, 7, 60, 2, 100, 9}));
    }
    openDays(&pages, 3);
    int steps = 0;
    while (contentX(pages) > 0 && ++steps < 2000) {
        pages.callAxis("lastPage");
    }
    QCOMPARE(contentX(pages), 0.0);
    QCOMPARE(pages.videoInfo.days.size(), 400);
    QCOMPARE(pages.warnings(), QStringList());
    const int row = 200;
    const qreal start = pages.callAxis("getPreviousDayAppWidth", {row}).toReal();
    pages.callAxis("setListViewContentXByImageInfo", {row, 44});
    pages.calls.take();
    pages.callAxis("dragTo", {50 + start + 44 - contentX(pages)});
    QVERIFY(pages.calls.take().value(0).startsWith(QLatin1String("showCurShowImageItem(200, 44")));
}

QTEST_MAIN(AxisMoveTest)
#include "axismovetest.moc"
