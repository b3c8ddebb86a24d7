// Requests in every order, of files of many kinds, and after one that was broken off give the
// frames that plain reading gives.

#include "video/frameextractor.h"
#include "extractorfixture.h"
#include "plainreader.h"
#include "samplevideos.h"
#include "support/pictures.h"
#include "support/testfiles.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QRandomGenerator>
#include <QtTest>

#include <algorithm>

using namespace ExtractorWorld;

namespace
{
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
} // namespace

class FrameExtractorTest : public ExtractorFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void everyFrameOfAFullVideoIsRight_data();
    void everyFrameOfAFullVideoIsRight();
    void resultsAreThoseOfPlainReading_data();
    void resultsAreThoseOfPlainReading();
    void wanderingBetweenFilesGivesTheResultsOfPlainReading();

    void aReadThatIsToStopGivesNothingAndHarmsNoOther_data();
    void aReadThatIsToStopGivesNothingAndHarmsNoOther();

    void damagedFramesGiveTheResultsOfPlainReading_data();
    void damagedFramesGiveTheResultsOfPlainReading();

    void classHasNoMetaMembersOfItsOwn();

private:
    QString m_recorded; ///< a full video of the composer's own
};

void FrameExtractorTest::initTestCase()
{
    ExtractorFixture::initTestCase();
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

void FrameExtractorTest::classHasNoMetaMembersOfItsOwn()
{
    const QMetaObject &meta = FrameExtractor::staticMetaObject;
    QCOMPARE(meta.methodCount(), meta.methodOffset());
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QVERIFY(meta.superClass() == &QObject::staticMetaObject);
}

QTEST_MAIN(FrameExtractorTest)
#include "frameextractortest.moc"
