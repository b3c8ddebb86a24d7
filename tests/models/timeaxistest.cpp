// Pixels of the axis to frames and back: every pixel of many random days against a day painted
// pixel by pixel, and each place where the arithmetic is meant to be uneven.

#include "datahandlerdouble.h"
#include "models/videoreader.h"
#include "paintedday.h"

#include "support/logcapture.h"
#include "support/pictures.h"

#include <QRandomGenerator>
#include <QTest>

using DataHandlerDouble::state;

namespace
{
const QString DAY = QStringLiteral("2024-03-05");
constexpr char invalidIndexText[] = "Get image frame error: date index is invalid !";

QList<AppItemInfo> runsOf(const QList<int> &frames)
{
    QList<AppItemInfo> runs;
    for (const int count : frames) {
        runs.append({"a", "a", count * 8});
    }
    return runs;
}

bool isEmpty(const VideoPreviewImageItem &item)
{
    return item.previewImageDate.isEmpty() && item.previewImageTime.isEmpty() &&
           item.previewAppIcon.isEmpty() && item.previewAppName.isEmpty() &&
           item.frameLengthOfDay == 0 && item.imageDateIndex == 0;
}
} // namespace

Q_DECLARE_METATYPE(QList<int>)

class TestTimeAxis : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void everyPixelOfARandomDay_data();
    void everyPixelOfARandomDay();
    void everyFrameOfARandomDay_data() { everyPixelOfARandomDay_data(); }
    void everyFrameOfARandomDay();
    void everyPixelOfEveryBarOfARandomDay_data() { everyPixelOfARandomDay_data(); }
    void everyPixelOfEveryBarOfARandomDay();
    void aDayIsAsWideAsItsBarsAndGaps_data();
    void aDayIsAsWideAsItsBarsAndGaps();

    void placesOfADay_data();
    void placesOfADay();
    void placesOfABar_data();
    void placesOfABar();
    void placesOfAFrame_data();
    void placesOfAFrame();
    void aDayWithoutRunsAsksForFrameNought();
    void aFrameOfADayThatIsNotLoadedIsAWarning();
    void theDayIsThatOfTheIndex();

    void aPreviewBearsAllOfItsFrame();
    void aLargePictureBearsAllOfItsFrame();
    void aGapHasNoPreviewButKeepsTheLargePicture_data();
    void aGapHasNoPreviewButKeepsTheLargePicture();
    void aGapBeforeAnyLargePictureGivesAnEmptyOne();
    void aPlaceOutsideTheLoadedDaysIsAWarning_data();
    void aPlaceOutsideTheLoadedDaysIsAWarning();
    void aNegativePlaceComesBeforeAnInvalidDay();
    void anUnreadableFrameIsShownAsNull();
    void previewAndLargePictureAreApart();

private:
    /// The frame that the preview at @p x asks for, 0 for none.
    int previewedFrame(int x);
    int previewedFrame(int appIndex, int x);
    int largeFrame(int x);

    std::unique_ptr<VideoReader> m_reader;
};

void TestTimeAxis::init()
{
    DataHandlerDouble::reset();
    state().firstTime = QDateTime(QDate(2024, 3, 5), QTime(10, 0)).toSecsSinceEpoch();
    state().draw = [](const DataHandlerDouble::FrameRequest &request) {
        return Pictures::numbered(static_cast<int>(request.frame), QSize(64, 48));
    };
    m_reader = std::make_unique<VideoReader>(&DataHandlerDouble::handler());
}

int TestTimeAxis::previewedFrame(int x)
{
    state().askedFrames.clear();
    m_reader->getVideoPreviewImgItem(0, x, 1);
    return state().askedFrames.isEmpty() ? 0 : static_cast<int>(state().askedFrames.last().frame);
}

int TestTimeAxis::previewedFrame(int appIndex, int x)
{
    state().askedFrames.clear();
    m_reader->getVideoPreviewImgItem(0, appIndex, x, 1);
    return state().askedFrames.isEmpty() ? 0 : static_cast<int>(state().askedFrames.last().frame);
}

int TestTimeAxis::largeFrame(int x)
{
    state().askedFrames.clear();
    m_reader->getCurShowImageSource(0, x, 1);
    return state().askedFrames.isEmpty() ? 0 : static_cast<int>(state().askedFrames.last().frame);
}

void TestTimeAxis::everyPixelOfARandomDay_data()
{
    QTest::addColumn<QList<int>>("frames");
    for (quint32 seed = 1; seed <= 100; ++seed) {
        QRandomGenerator random(seed);
        QList<int> frames;
        const int runs = random.bounded(1, seed % 10 == 0 ? 40 : 9);
        for (int run = 0; run < runs; ++run) {
            // Many runs of one frame: where bars and gaps are equally wide.
            frames.append(random.bounded(2) == 0 ? 1 : random.bounded(1, 20));
        }
        QTest::addRow("seed %u", seed) << frames;
    }
    QTest::newRow("one frame") << QList<int>{1};
    QTest::newRow("one run") << QList<int>{7};
}

void TestTimeAxis::everyPixelOfARandomDay()
{
    QFETCH(QList<int>, frames);
    state().draw = nullptr;
    const PaintedDay painted(frames);
    m_reader->saveAppInfo(DAY, runsOf(frames));
    QCOMPARE(m_reader->getDayAppWidth(runsOf(frames)), painted.width());
    for (int x = 0; x < painted.width() + 40; ++x) {
        const int expected = painted.frameAt(x);
        QVERIFY2(previewedFrame(x) == expected, qPrintable(QString::number(x)));
        QVERIFY2(largeFrame(x) == expected, qPrintable(QString::number(x)));
    }
}

void TestTimeAxis::everyFrameOfARandomDay()
{
    QFETCH(QList<int>, frames);
    state().draw = nullptr;
    const PaintedDay painted(frames);
    m_reader->saveAppInfo(DAY, runsOf(frames));
    for (int frame = 1; frame <= painted.frames() + 20; ++frame) {
        const int middle = m_reader->getLengthByDayFrameNumber(DAY, frame);
        QVERIFY2(middle == painted.middleOf(frame), qPrintable(QString::number(frame)));
        if (frame <= painted.frames()) { // and back
            QVERIFY2(previewedFrame(middle) == frame, qPrintable(QString::number(frame)));
        }
    }
}

void TestTimeAxis::everyPixelOfEveryBarOfARandomDay()
{
    QFETCH(QList<int>, frames);
    state().draw = nullptr;
    m_reader->saveAppInfo(DAY, runsOf(frames));
    int before = 0; // frames
    for (int run = 0; run < frames.size(); ++run) {
        QVector<int> pixels; // by pixel of the bar
        for (int frame = 1; frame <= frames.at(run); ++frame) {
            pixels.insert(pixels.size(), 8, before + frame);
        }
        for (int x = 1; x <= pixels.size(); ++x) {
            QVERIFY2(previewedFrame(run, x) == pixels.at(x - 1), qPrintable(QString::number(x)));
        }
        QCOMPARE(previewedFrame(run, 0), pixels.first());
        before += frames.at(run);
    }
}

void TestTimeAxis::aDayIsAsWideAsItsBarsAndGaps_data()
{
    QTest::addColumn<QList<int>>("frames");
    QTest::addColumn<int>("width");
    QTest::newRow("no runs") << QList<int>() << 0;
    QTest::newRow("one run") << QList<int>{3} << 24;
    QTest::newRow("two runs") << QList<int>{3, 1} << 40;
    QTest::newRow("three runs") << QList<int>{1, 1, 1} << 40;
}

void TestTimeAxis::aDayIsAsWideAsItsBarsAndGaps()
{
    QFETCH(QList<int>, frames);
    QTEST(m_reader->getDayAppWidth(runsOf(frames)), "width");
}

void TestTimeAxis::placesOfADay_data()
{
    QTest::addColumn<QList<int>>("frames");
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("frame"); // 0: none is asked for
    const QList<int> day{2, 3};     // bars at 0 to 16 and at 24 to 48
    QTest::newRow("the first pixel of the day is the first frame") << day << 0 << 1;
    QTest::newRow("pixel 1 too") << day << 1 << 1;
    QTest::newRow("the end of a frame belongs to it") << day << 8 << 1;
    QTest::newRow("one further is the next frame") << day << 9 << 2;
    QTest::newRow("the end of a bar belongs to it") << day << 16 << 2;
    QTest::newRow("end + 1 is the gap") << day << 17 << 0;
    QTest::newRow("end + 7 is the gap") << day << 23 << 0;
    QTest::newRow("end + 8 is the next bar's first frame") << day << 24 << 3;
    QTest::newRow("and the pixel after it") << day << 25 << 3;
    QTest::newRow("the end of the last bar belongs to it") << day << 48 << 5;
    QTest::newRow("1 after the last bar is a gap") << day << 49 << 0;
    QTest::newRow("7 after the last bar is a gap") << day << 55 << 0;
    QTest::newRow("8 after the last bar is the last frame") << day << 56 << 5;
    QTest::newRow("far behind it too") << day << 100000 << 5;
    QTest::newRow("before the day is nothing") << day << -1 << 0;
}

void TestTimeAxis::placesOfADay()
{
    QFETCH(QList<int>, frames);
    QFETCH(int, x);
    m_reader->saveAppInfo(DAY, runsOf(frames));
    QTEST(previewedFrame(x), "frame");
    QTEST(largeFrame(x), "frame");
}

void TestTimeAxis::placesOfABar_data()
{
    QTest::addColumn<int>("appIndex");
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("frame");
    QTest::newRow("pixel 0 of the first bar") << 0 << 0 << 1;
    QTest::newRow("pixel 1 of the first bar gives the same") << 0 << 1 << 1;
    QTest::newRow("pixel 0 of the second bar is its first frame") << 1 << 0 << 3;
    QTest::newRow("pixel 1 of the second bar gives the same") << 1 << 1 << 3;
    QTest::newRow("the end of a bar belongs to it") << 0 << 16 << 2;
    QTest::newRow("beyond a bar its neighbour begins at once") << 0 << 17 << 3;
    QTest::newRow("behind the last bar") << 2 << 0 << 6;
    QTest::newRow("far behind the last bar") << 9 << 0 << 6;
}

void TestTimeAxis::placesOfABar()
{
    QFETCH(int, appIndex);
    QFETCH(int, x);
    m_reader->saveAppInfo(DAY, runsOf({2, 3}));
    QTEST(previewedFrame(appIndex, x), "frame");
}

void TestTimeAxis::placesOfAFrame_data()
{
    QTest::addColumn<QList<int>>("frames");
    QTest::addColumn<int>("frame");
    QTest::addColumn<int>("x");
    QTest::newRow("first of two runs of one frame") << QList<int>{1, 1} << 1 << 4;
    QTest::newRow("second of two runs of one frame") << QList<int>{1, 1} << 2 << 20;
    QTest::newRow("last frame of the first run") << QList<int>{2, 3} << 2 << 12;
    QTest::newRow("first frame of the second run") << QList<int>{2, 3} << 3 << 28;
    QTest::newRow("last frame of a run in the middle") << QList<int>{1, 2, 3} << 3 << 28;
    QTest::newRow("frame 0") << QList<int>{2, 3} << 0 << -12;
    QTest::newRow("frame 0 of one run") << QList<int>{2} << 0 << -12;
    QTest::newRow("one more than is known") << QList<int>{2, 3} << 6 << 52;
    QTest::newRow("many more than are known") << QList<int>{2, 3} << 105 << 844;
    QTest::newRow("more than the one run has") << QList<int>{2} << 5 << 36;
    QTest::newRow("a day without runs") << QList<int>() << 3 << 20;
}

void TestTimeAxis::placesOfAFrame()
{
    QFETCH(QList<int>, frames);
    QFETCH(int, frame);
    m_reader->saveAppInfo(DAY, runsOf(frames));
    const LogCapture log;
    QTEST(m_reader->getLengthByDayFrameNumber(DAY, frame), "x");
    QCOMPARE(log.texts(), QStringList());
}

void TestTimeAxis::aDayWithoutRunsAsksForFrameNought()
{
    m_reader->saveAppInfo(DAY, {});
    m_reader->getVideoPreviewImgItem(0, 5, 1);
    m_reader->getCurShowImageSource(0, 5, 1);
    QCOMPARE(state().askedFrames.size(), 2);
    QCOMPARE(state().askedFrames.first().frame, 0U);
    QCOMPARE(state().askedFrames.last().frame, 0U);
}

void TestTimeAxis::aFrameOfADayThatIsNotLoadedIsAWarning()
{
    m_reader->saveAppInfo(DAY, runsOf({1}));
    const LogCapture log;
    QCOMPARE(m_reader->getLengthByDayFrameNumber("2024-03-06", 1), -1);
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList{"getLengthByDayFrameNumber Failed to get length by frame number: date not "
                         "exist!"});
}

void TestTimeAxis::theDayIsThatOfTheIndex()
{
    m_reader->saveAppInfo("2024-03-06", runsOf({1}));
    m_reader->saveAppInfo("2024-03-05", runsOf({1}));
    m_reader->getVideoPreviewImgItem(0, 4, 1);
    m_reader->getVideoPreviewImgItem(1, 0, 4, 1);
    m_reader->getCurShowImageSource(1, 4, 1);
    QCOMPARE(state().askedFrames.at(0).day, QString("2024-03-05"));
    QCOMPARE(state().askedFrames.at(1).day, QString("2024-03-06"));
    QCOMPARE(state().askedFrames.at(2).day, QString("2024-03-06"));
}

void TestTimeAxis::aPreviewBearsAllOfItsFrame()
{
    m_reader->saveAppInfo(DAY, runsOf({2, 3}));
    const VideoPreviewImageItem items[] = {m_reader->getVideoPreviewImgItem(0, 1, 9, 77),
                                           m_reader->getVideoPreviewImgItem(0, 33, 77)};
    for (const VideoPreviewImageItem &item : items) {
        QCOMPARE(item.videoPreviewImageSource, QString("videoImageProvider/previewImg77"));
        QCOMPARE(item.previewImageDate, QString("2024/03/05"));
        QCOMPARE(item.previewImageTime, QString("10:00:04"));
        QCOMPARE(item.previewAppIcon, QString("application-x-desktop"));
        QCOMPARE(item.previewAppName, QString());
        QCOMPARE(item.frameLengthOfDay, 0);
        QCOMPARE(item.imageDateIndex, 0);
    }
    QCOMPARE(Pictures::numberOf(m_reader->getPreviewImage()), 4);
}

void TestTimeAxis::aLargePictureBearsAllOfItsFrame()
{
    m_reader->saveAppInfo(DAY, runsOf({2, 3}));
    const VideoPreviewImageItem item = m_reader->getCurShowImageSource(0, 33, 1000);
    QCOMPARE(item.videoPreviewImageSource, QString("videoImageProvider/curShowImg1000"));
    QCOMPARE(item.previewImageDate, QString("2024/03/05"));
    QCOMPARE(item.previewImageTime, QString("10:00:04"));
    QCOMPARE(item.previewAppIcon, QString("application-x-desktop"));
    QCOMPARE(Pictures::numberOf(m_reader->getCurShowImage()), 4);
}

void TestTimeAxis::aGapHasNoPreviewButKeepsTheLargePicture_data()
{
    QTest::addColumn<int>("x");
    QTest::newRow("between two bars") << 20;
    QTest::newRow("after the last bar") << 50;
    QTest::newRow("before the day") << -1;
}

void TestTimeAxis::aGapHasNoPreviewButKeepsTheLargePicture()
{
    QFETCH(int, x);
    m_reader->saveAppInfo(DAY, runsOf({2, 3}));
    m_reader->getVideoPreviewImgItem(0, 4, 1);
    const VideoPreviewImageItem shown = m_reader->getCurShowImageSource(0, 4, 1);
    state().askedFrames.clear();

    const VideoPreviewImageItem preview = m_reader->getVideoPreviewImgItem(0, x, 2);
    QCOMPARE(preview.videoPreviewImageSource, QString("videoImageProvider/previewImg"));
    QVERIFY(isEmpty(preview));
    QVERIFY(m_reader->getPreviewImage().isNull());

    const VideoPreviewImageItem large = m_reader->getCurShowImageSource(0, x, 2);
    QCOMPARE(large.videoPreviewImageSource, shown.videoPreviewImageSource);
    QCOMPARE(large.previewImageTime, shown.previewImageTime);
    QCOMPARE(Pictures::numberOf(m_reader->getCurShowImage()), 1);
    QCOMPARE(state().askedFrames.size(), 0);
}

void TestTimeAxis::aGapBeforeAnyLargePictureGivesAnEmptyOne()
{
    m_reader->saveAppInfo(DAY, runsOf({2, 3}));
    const VideoPreviewImageItem item = m_reader->getCurShowImageSource(0, 20, 1);
    QVERIFY(item.videoPreviewImageSource.isEmpty() && isEmpty(item));
    QVERIFY(m_reader->getCurShowImage().isNull());
}

void TestTimeAxis::aPlaceOutsideTheLoadedDaysIsAWarning_data()
{
    QTest::addColumn<int>("dateIndex");
    QTest::newRow("before the first") << -1;
    QTest::newRow("behind the last") << 1;
}

void TestTimeAxis::aPlaceOutsideTheLoadedDaysIsAWarning()
{
    QFETCH(int, dateIndex);
    m_reader->saveAppInfo(DAY, runsOf({2}));
    m_reader->getVideoPreviewImgItem(0, 4, 1);
    m_reader->getCurShowImageSource(0, 4, 1);
    LogCapture log;

    const VideoPreviewImageItem overBar = m_reader->getVideoPreviewImgItem(dateIndex, 0, 4, 2);
    QVERIFY(overBar.videoPreviewImageSource.isEmpty() && isEmpty(overBar));
    QVERIFY(!m_reader->getPreviewImage().isNull());
    QCOMPARE(log.texts(QtWarningMsg), QStringList{invalidIndexText});

    log.clear();
    const VideoPreviewImageItem overDay = m_reader->getVideoPreviewImgItem(dateIndex, 4, 2);
    QCOMPARE(overDay.videoPreviewImageSource, QString("videoImageProvider/previewImg"));
    QVERIFY(isEmpty(overDay));
    QVERIFY(m_reader->getPreviewImage().isNull());
    QCOMPARE(log.texts(QtWarningMsg), QStringList{invalidIndexText});

    log.clear();
    const VideoPreviewImageItem large = m_reader->getCurShowImageSource(dateIndex, 4, 2);
    QVERIFY(large.videoPreviewImageSource.isEmpty() && isEmpty(large));
    QVERIFY(!m_reader->getCurShowImage().isNull());
    QCOMPARE(log.texts(QtWarningMsg), QStringList{invalidIndexText});
    // What is on show has not been forgotten over it.
    QCOMPARE(m_reader->getCurShowImageSource(0, -1, 3).videoPreviewImageSource,
             QString("videoImageProvider/curShowImg1"));
}

void TestTimeAxis::aNegativePlaceComesBeforeAnInvalidDay()
{
    m_reader->saveAppInfo(DAY, runsOf({2}));
    m_reader->getCurShowImageSource(0, 4, 1);
    const LogCapture log;
    QCOMPARE(m_reader->getCurShowImageSource(9, -1, 2).videoPreviewImageSource,
             QString("videoImageProvider/curShowImg1"));
    QCOMPARE(m_reader->getVideoPreviewImgItem(9, -1, 2).videoPreviewImageSource,
             QString("videoImageProvider/previewImg"));
    QCOMPARE(log.texts(), QStringList());
}

void TestTimeAxis::anUnreadableFrameIsShownAsNull()
{
    m_reader->saveAppInfo(DAY, runsOf({2}));
    m_reader->getCurShowImageSource(0, 4, 1);
    state().draw = nullptr;
    QCOMPARE(m_reader->getCurShowImageSource(0, 12, 2).videoPreviewImageSource,
             QString("videoImageProvider/curShowImg2"));
    QVERIFY(m_reader->getCurShowImage().isNull());
}

void TestTimeAxis::previewAndLargePictureAreApart()
{
    m_reader->saveAppInfo(DAY, runsOf({5}));
    m_reader->getCurShowImageSource(0, 4, 1);
    m_reader->getVideoPreviewImgItem(0, 20, 1);
    QCOMPARE(Pictures::numberOf(m_reader->getCurShowImage()), 1);
    QCOMPARE(Pictures::numberOf(m_reader->getPreviewImage()), 3);
}

QTEST_MAIN(TestTimeAxis)
#include "timeaxistest.moc"
