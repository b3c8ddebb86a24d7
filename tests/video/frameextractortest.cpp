#include "video/frameextractor.h"
#include "libraryfaults.h"
#include "plainreader.h"
#include "productionline.h"
#include "samplevideos.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "support/testfiles.h"
#include "video/nv12frame.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>

namespace
{
constexpr int BATCH = 100; // a full video

/// What the library's scaler fills in: not the last columns of a width that isn't a multiple of 8.
QImage filledPart(const QImage &image, int height)
{
    return image.copy(0, 0, image.width() & ~7, height);
}

/// Every result that can be told apart: null, the picture's pixels, one row more or not.
QString disagreement(FrameExtractor &extractor, const PlainReader::Result &plain, int index)
{
    const QImage picture = extractor.requestGetFrame(index);
    const QString where = QStringLiteral(" at index %1").arg(index);
    if (picture.isNull() != plain.picture.isNull()) {
        return QLatin1String(picture.isNull() ? "no picture" : "a picture too many") + where;
    }
    if (picture.isNull()) {
        return {};
    }
    const bool isTaller = plain.place == PlainReader::Place::AtEnd;
    if (picture.height() != plain.picture.height() + (isTaller ? 1 : 0)) {
        return QStringLiteral("height %1").arg(picture.height()) + where;
    }
    if (picture.format() != QImage::Format_RGB32 ||
        filledPart(picture, plain.picture.height()) !=
            filledPart(plain.picture, plain.picture.height())) {
        return QStringLiteral("other pixels") + where;
    }
    return {};
}

QVector<int> inOrder(const QString &order, int count)
{
    QVector<int> indices = numbersFrom(0, count - 1);
    QRandomGenerator random(4711);
    if (order == QLatin1String("backward")) {
        std::reverse(indices.begin(), indices.end());
    } else if (order == QLatin1String("random")) {
        std::shuffle(indices.begin(), indices.end(), random);
    } else if (order == QLatin1String("to and fro")) {
        for (int step = 0; step < count; ++step) {
            indices += random.bounded(std::max(0, step - 2), std::min(count, step + 3));
        }
    }
    return indices;
}

bool copyOver(const QString &source, const QString &target)
{
    QFile::remove(target);
    return QFile::copy(source, target);
}
} // namespace

class FrameExtractorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { ProductionLine::set(""); }

    void everyFrameOfAFullVideoIsRight_data();
    void everyFrameOfAFullVideoIsRight();
    void resultsAreThoseOfPlainReading_data();
    void resultsAreThoseOfPlainReading();
    void wanderingBetweenFilesGivesTheResultsOfPlainReading();

    void aReadThatIsToStopGivesNothingAndHarmsNoOther_data();
    void aReadThatIsToStopGivesNothingAndHarmsNoOther();

    void indexZeroIsTheFirstFrame();
    void lastFramesComeAtTheEndOneRowTaller();
    void rowTooManyIsBlack_data();
    void rowTooManyIsBlack();
    void everyColumnIsFilled_data();
    void everyColumnIsFilled();
    void indexBeyondTheEndIsNull_data();
    void indexBeyondTheEndIsNull();
    void negativeIndexIsTheFirstFrame();
    void productOfTheIndexWrapsAroundAt32Bits();
    void pictureOutlivesTheExtractorAndLaterRequests();

    void sameNameDoesNotReopenAndLogsNothing();
    void openingLogsItsTime();
    void requestWithoutAFileIsNullAndLogsNothing();
    void requestAfterAFailedOpenIsNullAndTheNameIsTriedAnew();
    void failedOpenClosesTheFormerFile();
    void clearedExtractorIsClosedAndOpensTheSameNameAgain();
    void unloadingKeepsTheName();
    void loadingAloneDoesNotServeRequests();

    void replacedFileIsReadThroughTheOldHandle();
    void deletedFileIsReadThroughTheOldHandle();
    void fileCutShortUnderTheExtractorDoesNotHarm();

    void damagedFramesGiveTheResultsOfPlainReading_data();
    void damagedFramesGiveTheResultsOfPlainReading();
    void fileThatIsNoVideo_data();
    void fileThatIsNoVideo();
    void soundAloneOpensAndHasNoFrames();

    void classHasNoMetaMembersOfItsOwn();
    void scalerIsMadeForTheLinesFormatOnce_data();
    void scalerIsMadeForTheLinesFormatOnce();
    void productionLineIsReadOnceInTheConstructor();
    void productionLineChoosesTheFormat_data();
    void productionLineChoosesTheFormat();
    void wovenFrameHoldsTheSameValues();

private:
    QString path(const QString &name) const { return m_directory.filePath(name); }

    QTemporaryDir m_directory;
    QString m_full;     ///< a full video, small, set up as the composer's
    QString m_recorded; ///< a full video of the composer's own
};

void FrameExtractorTest::initTestCase()
{
    m_full = path(QStringLiteral("full.mp4"));
    SampleVideo video;
    video.frames = BATCH;
    video.bFrames = -1;
    QVERIFY(video.write(m_full));
    QVector<int> groups;
    for (int group = 0; group < BATCH; group += 10) {
        groups += group;
    }
    QCOMPARE(VideoFacts::of(m_full).keyFrames, groups);

    m_recorded = path(QStringLiteral("recorded.mp4"));
    QVector<QImage> images;
    for (int number = 1; number <= BATCH; ++number) {
        // A working day: much stays the same, and now and then all is new.
        images += number % 17 == 0 ? Pictures::numbered(number) : likePicture(number, {320, 240});
    }
    VideoComposer composer(nullptr);
    QVERIFY(composer.convertImagesToVideo(images, m_recorded));
}

void FrameExtractorTest::everyFrameOfAFullVideoIsRight_data()
{
    QTest::addColumn<QString>("order");
    QTest::newRow("forward") << "forward";
    QTest::newRow("backward") << "backward";
    QTest::newRow("random") << "random";
    QTest::newRow("to and fro") << "to and fro";
}

void FrameExtractorTest::everyFrameOfAFullVideoIsRight()
{
    QFETCH(QString, order);
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_recorded);
    for (const int index : inOrder(order, BATCH)) {
        const QImage picture = extractor.requestGetFrame(index);
        QCOMPARE(Pictures::numberOf(picture), index + 1);
    }
}

void FrameExtractorTest::resultsAreThoseOfPlainReading_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("seconds");
    const auto sample = [this](const char *name, const SampleVideo &video, int seconds,
                               const char *suffix = "mp4") {
        const QString file = path(QStringLiteral("%1.%2").arg(QLatin1String(name), suffix));
        QVERIFY(video.write(file));
        QTest::newRow(name) << file << seconds;
    };
    QTest::newRow("a full video") << m_full << BATCH;

    VideoComposer composer(nullptr);
    const QString recorded = path(QStringLiteral("short.mp4"));
    QVERIFY(copyOver(m_recorded, recorded));
    QVERIFY(composer.deleteFramesToEndFromVideoFile(recorded, 19));
    QTest::newRow("the composer's own, shortened") << recorded << 19;
    const QString shortened = path(QStringLiteral("shortened.mp4"));
    QVERIFY(copyOver(m_full, shortened));
    QVERIFY(composer.deleteFramesToEndFromVideoFile(shortened, 37));
    QTest::newRow("a shortened one") << shortened << 37;
    const QString single = path(QStringLiteral("single.mp4"));
    QVERIFY(copyOver(m_full, single));
    QVERIFY(composer.deleteFramesToEndFromVideoFile(single, 1));
    QTest::newRow("one frame left") << single << 1;

    SampleVideo video;
    sample("no B-frames", video, 12);
    video.frames = 1;
    sample("one frame", video, 1);
    video.frames = 30;
    video.bFrames = 3;
    sample("B-frames", video, 30);
    video.groupOfPictures = 250;
    sample("one long group", video, 30);
    video.groupOfPictures = 1;
    video.bFrames = 0;
    sample("key frames only", video, 30);
    video.groupOfPictures = 10;
    video.bFrames = 3;
    video.size = {326, 178};
    sample("another size", video, 30);
    video.size = {320, 240};
    video.framesPerSecond = 5;
    sample("five frames a second", video, 6);
    video.framesPerSecond = 2;
    video.secondsPerFrame = 3;
    sample("two frames in three seconds", video, 45);
    video.framesPerSecond = 1;
    video.secondsPerFrame = 1;
    video.firstTimestamp = 7;
    sample("a late first frame", video, 37);
    video.firstTimestamp = 0;
    video.soundFirst = true;
    sample("sound before the pictures", video, 30);
    video.soundFirst = false;
    video.codec = AV_CODEC_ID_MPEG4;
    sample("another codec", video, 30);
    video.bFrames = 0;
    video.codec = AV_CODEC_ID_MJPEG;
    sample("another pixel format", video, 30);
    video.codec = 0;
    video.bFrames = 2;
    sample("another container", video, 30, "mkv");
}

void FrameExtractorTest::resultsAreThoseOfPlainReading()
{
    QFETCH(QString, file);
    QFETCH(int, seconds);
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    constexpr int beyond = 3; // at either end
    PlainReader reader(file);
    QVector<PlainReader::Result> plain;
    for (int index = -beyond; index < seconds + beyond; ++index) {
        plain += reader.read(index);
    }
    for (const char *order : {"forward", "backward", "random", "to and fro"}) {
        for (const int place : inOrder(QLatin1String(order), plain.size())) {
            QCOMPARE(disagreement(extractor, plain[place], place - beyond), QString());
        }
    }
}

void FrameExtractorTest::wanderingBetweenFilesGivesTheResultsOfPlainReading()
{
    const QString other = path(QStringLiteral("other.mp4"));
    SampleVideo video;
    video.frames = 25;
    video.bFrames = 2;
    video.size = {160, 120};
    QVERIFY(video.write(other));
    // One like it, and one whose decoder is set up in the same way for other pictures.
    const QString copy = path(QStringLiteral("copy.mp4"));
    QVERIFY(QFile::copy(other, copy));
    const QString shorter = path(QStringLiteral("shorter.mp4"));
    video.frames = 9;
    QVERIFY(video.write(shorter));
    const QStringList files{m_full, other, copy, shorter};
    FrameExtractor extractor(nullptr);
    PlainReader readers[] = {PlainReader(m_full), PlainReader(other), PlainReader(copy),
                             PlainReader(shorter)};
    QRandomGenerator random(42);
    for (int step = 0; step < 100; ++step) {
        const int choice = random.bounded(4);
        const int index = random.bounded(28);
        extractor.setAbsoluteVideoName(files.at(choice));
        QCOMPARE(disagreement(extractor, readers[choice].read(index), index), QString());
    }
}

void FrameExtractorTest::aReadThatIsToStopGivesNothingAndHarmsNoOther_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("questions");

    for (const int questions : {0, 1, 5, 20}) {
        QTest::addRow("in the middle, after %d packets", questions) << 47 << questions;
        QTest::addRow("at the end, after %d packets", questions) << 99 << questions;
    }
}

void FrameExtractorTest::aReadThatIsToStopGivesNothingAndHarmsNoOther()
{
    QFETCH(const int, index);
    QFETCH(const int, questions);
    FrameExtractor extractor(nullptr);
    int asked = 0;
    bool stops = false;
    bool isToldSo = false;
    extractor.setStop([&] {
        isToldSo = isToldSo || (stops && asked++ >= questions);
        return isToldSo;
    });
    extractor.setAbsoluteVideoName(m_full);
    PlainReader reader(m_full);
    for (const int other : {index, index - 1, 3, index - 2, index}) {
        stops = true;
        asked = 0;
        isToldSo = false;
        const QImage picture = extractor.requestGetFrame(index);
        QCOMPARE(picture.isNull(), isToldSo); // or it was there before
        stops = isToldSo = false;
        QCOMPARE(disagreement(extractor, reader.read(other), other), QString());
    }
    stops = true;
    asked = -1000;
    extractor.clearVideoFile();
    extractor.setAbsoluteVideoName(m_full);
    asked = 0;
    const QImage picture = extractor.requestGetFrame(index);
    QCOMPARE(picture.isNull(), isToldSo);
    QVERIFY(isToldSo || questions > 0); // nothing of it was there before
}

void FrameExtractorTest::indexZeroIsTheFirstFrame()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    const QImage picture = extractor.requestGetFrame(0);
    QCOMPARE(Pictures::numberOf(picture), 1);
    QCOMPARE(picture.format(), QImage::Format_RGB32);
}

/// The encoder's B-frames make the decoder hold the last frames back until it is drained; what the
/// caller asked for before must not show.
void FrameExtractorTest::lastFramesComeAtTheEndOneRowTaller()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    const int height = extractor.requestGetFrame(0).height();
    int firstTaller = BATCH;
    PlainReader reader(m_full);
    for (int index = 0; index < BATCH; ++index) {
        const bool isTaller = reader.read(index).place == PlainReader::Place::AtEnd;
        firstTaller = isTaller ? std::min(firstTaller, index) : firstTaller;
        for (int again = 0; again < 2; ++again) {
            QCOMPARE(extractor.requestGetFrame(index).height(), height + (isTaller ? 1 : 0));
        }
    }
    QVERIFY(firstTaller < BATCH);
    QVERIFY(firstTaller > BATCH - 10);
    for (int index = BATCH - 1; index >= 0; --index) {
        QCOMPARE(extractor.requestGetFrame(index).height(),
                 height + (index >= firstTaller ? 1 : 0));
    }
}

void FrameExtractorTest::rowTooManyIsBlack_data()
{
    QTest::addColumn<int>("width");
    for (const int width : {320, 326, 328}) {
        QTest::addRow("%d", width) << width;
    }
}

/// Also where the library's scaler writes beyond the last row.
void FrameExtractorTest::rowTooManyIsBlack()
{
    QFETCH(int, width);
    const QString file = path(QStringLiteral("tall%1.mp4").arg(width));
    SampleVideo video;
    video.bFrames = 2;
    video.size = {width, 180};
    QVERIFY(video.write(file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    const QImage picture = extractor.requestGetFrame(video.frames - 1);
    QCOMPARE(picture.size(), QSize(width, 181));
    for (int column = 0; column < picture.width(); ++column) {
        QCOMPARE(picture.pixel(column, picture.height() - 1), qRgb(0, 0, 0));
    }
}

void FrameExtractorTest::everyColumnIsFilled_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("codec");
    for (const int width : {320, 322, 324, 326, 328}) {
        QTest::addRow("%d", width) << width << 0;
    }
    // Other recorders' codecs, which take any width.
    for (const int width : {5, 18, 321, 323, 326}) {
        QTest::addRow("%d, MPEG-4", width) << width << int(AV_CODEC_ID_MPEG4);
        QTest::addRow("%d, Motion JPEG", width) << width << int(AV_CODEC_ID_MJPEG);
    }
}

/// The library's scaler leaves out the last columns of widths such as 1366.
void FrameExtractorTest::everyColumnIsFilled()
{
    QFETCH(int, width);
    QFETCH(int, codec);
    const QString file = path(QStringLiteral("wide%1.mp4").arg(width));
    SampleVideo video;
    video.frames = 3;
    video.size = {width, 180};
    video.codec = codec;
    QVERIFY(video.write(file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    const QImage drawn = likePicture(2, video.size);
    const QImage picture = extractor.requestGetFrame(1);
    for (int column = std::max(0, width - 12); column < width; ++column) {
        int difference = 0;
        for (int row = 0; row < video.size.height(); ++row) {
            difference +=
                std::abs(qGray(picture.pixel(column, row)) - qGray(drawn.pixel(column, row)));
        }
        QVERIFY2(difference / video.size.height() < 24, qPrintable(QString::number(column)));
    }
}

void FrameExtractorTest::indexBeyondTheEndIsNull_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("just beyond") << BATCH;
    QTest::newRow("far beyond") << 2000;
    QTest::newRow("last index that doesn't wrap around") << 2147;
}

void FrameExtractorTest::indexBeyondTheEndIsNull()
{
    QFETCH(int, index);
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    LogCapture log;
    QVERIFY(extractor.requestGetFrame(index).isNull());
    QVERIFY(extractor.requestGetFrame(index).isNull());
    QCOMPARE(log.texts(), QStringList());
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(BATCH - 1)), BATCH);
}

void FrameExtractorTest::negativeIndexIsTheFirstFrame()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(-1)), 1);
}

void FrameExtractorTest::productOfTheIndexWrapsAroundAt32Bits()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    // 2148 million lies beyond 32 bits and becomes a time before the first frame.
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(2148)), 1);
    // 4295 million becomes 32,704, a little behind the first frame.
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(4295)), 2);
}

void FrameExtractorTest::pictureOutlivesTheExtractorAndLaterRequests()
{
    QImage first;
    QImage last;
    {
        FrameExtractor extractor(nullptr);
        extractor.setAbsoluteVideoName(m_full);
        first = extractor.requestGetFrame(3);
        last = extractor.requestGetFrame(BATCH - 1);
        extractor.requestGetFrame(4);
        first.fill(Qt::red); // the caller's own: the extractor's next answer knows nothing of it
        QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(3)), 4);
    }
    QCOMPARE(first.pixel(5, 5), qRgb(255, 0, 0));
    QCOMPARE(Pictures::numberOf(last), BATCH);
}

void FrameExtractorTest::sameNameDoesNotReopenAndLogsNothing()
{
    const QString file = path(QStringLiteral("same.mp4"));
    QVERIFY(copyOver(m_full, file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    QVERIFY(QFile::remove(file));
    LogCapture log;
    extractor.setAbsoluteVideoName(file); // reopening would fail
    QCOMPARE(log.texts(), QStringList());
    QCOMPARE(extractor.getAbsoluteVideoName(), file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(10)), 11);
}

void FrameExtractorTest::openingLogsItsTime()
{
    FrameExtractor extractor(nullptr);
    LogCapture log;
    extractor.setAbsoluteVideoName(m_full);
    QCOMPARE(log.texts().size(), 1);
    const QRegularExpression line(QStringLiteral("^setAbsoluteVideoName elapsed: \\d+ ms$"));
    QVERIFY2(line.match(log.texts(QtDebugMsg).value(0)).hasMatch(), qPrintable(log.texts()[0]));
}

void FrameExtractorTest::requestWithoutAFileIsNullAndLogsNothing()
{
    FrameExtractor extractor(nullptr);
    LogCapture log;
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
    QVERIFY(extractor.requestGetFrame(0).isNull());
    extractor.setAbsoluteVideoName(QString()); // the current name
    QCOMPARE(log.texts(), QStringList());
}

void FrameExtractorTest::requestAfterAFailedOpenIsNullAndTheNameIsTriedAnew()
{
    const QString file = path(QStringLiteral("late.mp4"));
    FrameExtractor extractor(nullptr);
    for (int attempt = 0; attempt < 2; ++attempt) {
        LogCapture log;
        extractor.setAbsoluteVideoName(file);
        QCOMPARE(log.texts(QtDebugMsg).value(0),
                 QStringLiteral("avformat_open_input fail \"%1\"").arg(file));
        QVERIFY(log.texts(QtDebugMsg).value(1).startsWith(QLatin1String("setAbsoluteVideoName")));
        log.clear();
        QVERIFY(extractor.requestGetFrame(0).isNull());
        QCOMPARE(log.texts(), QStringList());
        QCOMPARE(extractor.getAbsoluteVideoName(), QString());
    }
    QVERIFY(copyOver(m_full, file));
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(extractor.getAbsoluteVideoName(), file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(0)), 1);
}

void FrameExtractorTest::failedOpenClosesTheFormerFile()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    extractor.setAbsoluteVideoName(path(QStringLiteral("missing.mp4")));
    QVERIFY(extractor.requestGetFrame(0).isNull());
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
}

void FrameExtractorTest::clearedExtractorIsClosedAndOpensTheSameNameAgain()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    extractor.clearVideoFile();
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
    QVERIFY(extractor.requestGetFrame(0).isNull());
    LogCapture log;
    extractor.setAbsoluteVideoName(m_full);
    QCOMPARE(log.texts().size(), 1);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(0)), 1);
}

void FrameExtractorTest::unloadingKeepsTheName()
{
    FrameExtractor extractor(nullptr);
    QVERIFY(extractor.unloadResource());
    extractor.setAbsoluteVideoName(m_full);
    QVERIFY(extractor.unloadResource());
    QVERIFY(extractor.unloadResource());
    QCOMPARE(extractor.getAbsoluteVideoName(), m_full);
    QVERIFY(extractor.requestGetFrame(0).isNull());
}

void FrameExtractorTest::loadingAloneDoesNotServeRequests()
{
    FrameExtractor extractor(nullptr);
    QVERIFY(!extractor.loadResource()); // no name yet
    extractor.setAbsoluteVideoName(m_full);
    extractor.unloadResource();
    QVERIFY(extractor.loadResource());
    QVERIFY(extractor.requestGetFrame(0).isNull());
    extractor.clearVideoFile();
    extractor.setAbsoluteVideoName(m_full);
    QVERIFY(!extractor.requestGetFrame(0).isNull());
}

void FrameExtractorTest::replacedFileIsReadThroughTheOldHandle()
{
    const QString file = path(QStringLiteral("replaced.mp4"));
    QVERIFY(copyOver(m_full, file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(20)), 21);

    VideoComposer composer(nullptr);
    QVERIFY(composer.deleteFramesToEndFromVideoFile(file, 5));
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(95)), 96);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(21)), 22);

    extractor.setAbsoluteVideoName(m_full);
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(4)), 5);
    QVERIFY(extractor.requestGetFrame(5).isNull());
}

void FrameExtractorTest::deletedFileIsReadThroughTheOldHandle()
{
    const QString file = path(QStringLiteral("deleted.mp4"));
    QVERIFY(copyOver(m_full, file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    VideoComposer composer(nullptr);
    QVERIFY(composer.deleteFramesToEndFromVideoFile(file, 0));
    QVERIFY(!QFile::exists(file));
    for (const int index : {0, 57, 56, 99}) {
        QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(index)), index + 1);
    }
}

void FrameExtractorTest::fileCutShortUnderTheExtractorDoesNotHarm()
{
    const QString file = path(QStringLiteral("cut.mp4"));
    QVERIFY(copyOver(m_full, file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(20)), 21);
    QVERIFY(QFile::resize(file, 0));
    QVERIFY(extractor.requestGetFrame(80).isNull());
    QVERIFY(copyOver(m_full, file));
    extractor.clearVideoFile();
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(80)), 81);
}

void FrameExtractorTest::damagedFramesGiveTheResultsOfPlainReading_data()
{
    QTest::addColumn<double>("from");
    QTest::addColumn<double>("to");
    QTest::newRow("a hole near the beginning") << 0.1 << 0.15;
    QTest::newRow("a hole in the middle") << 0.5 << 0.55;
    QTest::newRow("nothing but the index") << 0.01 << 0.9;
    QTest::newRow("second half lost") << 0.5 << 0.9;
}

void FrameExtractorTest::damagedFramesGiveTheResultsOfPlainReading()
{
    QFETCH(double, from);
    QFETCH(double, to);
    QByteArray content = contentOf(m_full);
    const int start = static_cast<int>(content.size() * from);
    const int end = static_cast<int>(content.size() * to);
    content.replace(start, end - start, QByteArray(end - start, '\0'));
    const QString file = path(QStringLiteral("damaged.mp4"));
    QVERIFY(overwrite(file, content));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(extractor.getAbsoluteVideoName(), file);
    PlainReader reader(file);
    for (const char *order : {"forward", "backward", "random"}) {
        for (const int index : inOrder(QLatin1String(order), BATCH)) {
            const PlainReader::Result plain = reader.read(index);
            const QImage picture = extractor.requestGetFrame(index);
            // What a decoder makes of missing data depends on the memory that it happens to have.
            QCOMPARE(picture.isNull(), plain.place == PlainReader::Place::Nowhere);
            QCOMPARE(picture.height() - plain.picture.height(),
                     plain.place == PlainReader::Place::AtEnd ? 1 : 0);
        }
    }
}

void FrameExtractorTest::fileThatIsNoVideo_data()
{
    QTest::addColumn<QByteArray>("content");
    const QByteArray whole = contentOf(m_full);
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("junk") << QByteArray(50'000, 'j');
    QTest::newRow("cut in the middle, so without an index") << whole.left(whole.size() / 2);
    QTest::newRow("only the header") << whole.left(40);
}

void FrameExtractorTest::fileThatIsNoVideo()
{
    QFETCH(QByteArray, content);
    const QString file = path(QStringLiteral("novideo.mp4"));
    QVERIFY(overwrite(file, content));
    FrameExtractor extractor(nullptr);
    LogCapture log;
    extractor.setAbsoluteVideoName(file);
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("avformat_open_input fail \"%1\"").arg(file)));
    QVERIFY(extractor.requestGetFrame(0).isNull());
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
}

void FrameExtractorTest::soundAloneOpensAndHasNoFrames()
{
    const QString file = path(QStringLiteral("sound.mp4"));
    SampleVideo video;
    video.pictures = false;
    QVERIFY(video.write(file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(extractor.getAbsoluteVideoName(), file); // it opens
    QVERIFY(extractor.requestGetFrame(0).isNull());
    QVERIFY(extractor.requestGetFrame(5).isNull());
}

void FrameExtractorTest::classHasNoMetaMembersOfItsOwn()
{
    const QMetaObject &meta = FrameExtractor::staticMetaObject;
    QCOMPARE(meta.methodCount(), meta.methodOffset());
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QVERIFY(meta.superClass() == &QObject::staticMetaObject);
}

void FrameExtractorTest::scalerIsMadeForTheLinesFormatOnce_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("scaling");
    QTest::newRow("Wayland") << QByteArray("Wayland") << "320x240 nv12 to 320x240 bgra, bicubic";
    QTest::newRow("another") << QByteArray("X11") << "320x240 yuv420p to 320x240 bgra, bicubic";
}

void FrameExtractorTest::scalerIsMadeForTheLinesFormatOnce()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, scaling);
    ProductionLine::set(line.constData());
    FrameExtractor extractor(nullptr);
    LibraryFaults::disarm();
    extractor.setAbsoluteVideoName(m_full);
    for (const int index : {0, 55, 54, BATCH - 1}) {
        QVERIFY(!extractor.requestGetFrame(index).isNull());
    }
    QCOMPARE(LibraryFaults::scalings(), QStringList(scaling));
}

void FrameExtractorTest::productionLineIsReadOnceInTheConstructor()
{
    ProductionLine::set("Wayland");
    FrameExtractor extractor(nullptr);
    ProductionLine::set("X11");
    LibraryFaults::disarm();
    extractor.setAbsoluteVideoName(m_full);
    QVERIFY(LibraryFaults::scalings().value(0).startsWith(QLatin1String("320x240 nv12 ")));
}

void FrameExtractorTest::productionLineChoosesTheFormat_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("isWoven");
    QTest::newRow("Wayland") << QByteArray("Wayland") << true;
    QTest::newRow("other case") << QByteArray("wayland") << false;
    QTest::newRow("with a blank") << QByteArray("Wayland ") << false;
    QTest::newRow("another") << QByteArray("X11") << false;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("not known") << QByteArray() << false;
}

void FrameExtractorTest::productionLineChoosesTheFormat()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, isWoven);
    ProductionLine::set(line.isNull() ? nullptr : line.constData());
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    const QImage plain = PlainReader(m_full).read(5).picture;
    const QImage picture = extractor.requestGetFrame(5);
    QCOMPARE(Pictures::numberOf(picture), 6);
    QCOMPARE(picture.size(), plain.size());
    // The two ways of the scaler round differently, so that a picture tells which it came.
    QCOMPARE(picture != plain, isWoven);
    for (int row = 0; row < plain.height(); ++row) {
        for (int column = 0; column < plain.width(); ++column) {
            const QRgb left = plain.pixel(column, row);
            const QRgb right = picture.pixel(column, row);
            QVERIFY(std::abs(qGreen(left) - qGreen(right)) < 96);
        }
    }
}

void FrameExtractorTest::wovenFrameHoldsTheSameValues()
{
    const AvFramePtr frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = 7; // odd, so the colour planes are rounded up
    frame->height = 5;
    QCOMPARE(av_frame_get_buffer(frame.get(), 0), 0);
    const auto value = [](int plane, int column, int row) {
        return static_cast<uint8_t>(plane * 80 + row * 10 + column);
    };
    for (int plane = 0; plane < 3; ++plane) {
        for (int row = 0; row < (plane == 0 ? 5 : 3); ++row) {
            for (int column = 0; column < (plane == 0 ? 7 : 4); ++column) {
                frame->data[plane][row * frame->linesize[plane] + column] =
                    value(plane, column, row);
            }
        }
    }
    const AvFramePtr woven = nv12FrameOf(frame.get());
    QVERIFY(woven);
    QCOMPARE(woven->format, static_cast<int>(AV_PIX_FMT_NV12));
    for (int row = 0; row < 5; ++row) {
        for (int column = 0; column < 7; ++column) {
            QCOMPARE(woven->data[0][row * woven->linesize[0] + column], value(0, column, row));
        }
    }
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
            const int place = row * woven->linesize[1] + 2 * column;
            QCOMPARE(woven->data[1][place], value(1, column, row));
            QCOMPARE(woven->data[1][place + 1], value(2, column, row));
        }
    }
    frame->format = AV_PIX_FMT_YUV444P;
    QVERIFY(!nv12FrameOf(frame.get()));
}

QTEST_MAIN(FrameExtractorTest)
#include "frameextractortest.moc"
