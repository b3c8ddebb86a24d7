#include "libraryfaults.h"
#include "samplevideos.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "support/testfiles.h"
#include "video/avhandles.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <numeric>

Q_DECLARE_METATYPE(SampleVideo)

namespace
{
constexpr int BATCH = 45;

QVector<double> secondsUpTo(int count)
{
    QVector<double> seconds(count);
    std::iota(seconds.begin(), seconds.end(), 0.0);
    return seconds;
}

bool shorten(const QString &file, unsigned int frames)
{
    VideoComposer composer(nullptr);
    return composer.deleteFramesToEndFromVideoFile(file, frames);
}
} // namespace

class VideoTruncationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void keepsTheFirstFrames_data();
    void keepsTheFirstFrames();
    void keepsTheFirstFramesOfTheComposersOwn();
    void missingFileIsDoneAlready();
    void frameNumberZeroRemovesTheFileWithoutOpeningIt_data();
    void frameNumberZeroRemovesTheFileWithoutOpeningIt();
    void frameNumberAtOrAboveTheCountLeavesTheFileUnchanged_data();
    void frameNumberAtOrAboveTheCountLeavesTheFileUnchanged();

    void outputFramesCountFromZeroWhateverTheInputsTimes_data();
    void outputFramesCountFromZeroWhateverTheInputsTimes();
    void sizeIsTheInputsAndNotTheScreens();
    void soundIsLeftOut();
    void streamIsSetUpAsAskedFor();
    void encoderGivesAPacketAtOnceAndKeepsItsGroups();
    void everyStepIsLogged();
    void packetsLastOneTick();
    void shortenedVideoCanBeShortenedAgain();
    void picturesStayAsTheyWere();

    void damagedFramesAreMissingAndTheRestIsKept();
    void frameInAnotherPixelFormatIsNotPassedOn();
    void fileThatIsNoVideoIsRefusedAndLeftAlone_data();
    void fileThatIsNoVideoIsRefusedAndLeftAlone();
    void fileWithoutADeclaredCountIsLeftAlone();
    void videoWithoutFramesIsLeftAlone();

    void newVideoIsOnTheDiskBeforeTheOldOneGoes();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    QString video() const { return path(QStringLiteral("v.mp4")); }
    QStringList filesLeft() const { return QDir(m_directory->path()).entryList(QDir::Files); }

    std::unique_ptr<QTemporaryDir> m_directory;
    QByteArray m_whole; ///< a video set up as the composer's
};

void VideoTruncationTest::initTestCase()
{
    const QTemporaryDir directory;
    const QString file = directory.filePath(QStringLiteral("v.mp4"));
    SampleVideo sample;
    sample.frames = BATCH;
    sample.bFrames = -1;
    QVERIFY(sample.write(file));
    m_whole = contentOf(file);
    QVERIFY(!m_whole.isEmpty());
}

void VideoTruncationTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    QVERIFY(overwrite(video(), m_whole));
    LibraryFaults::disarm();
}

void VideoTruncationTest::keepsTheFirstFrames_data()
{
    QTest::addColumn<int>("frames");
    QTest::newRow("one frame") << 1;
    QTest::newRow("two frames") << 2;
    QTest::newRow("the end of a group") << 10;
    QTest::newRow("a key frame more") << 11;
    QTest::newRow("the middle of a group") << 25;
    QTest::newRow("all but what the decoder holds back") << BATCH - 2;
    QTest::newRow("all but one") << BATCH - 1;
}

void VideoTruncationTest::keepsTheFirstFrames()
{
    QFETCH(int, frames);
    QVERIFY(shorten(video(), static_cast<unsigned int>(frames)));
    const VideoFacts facts = VideoFacts::of(video());
    QCOMPARE(facts.numbers(), numbersUpTo(frames));
    QCOMPARE(facts.seconds, secondsUpTo(frames));
    QCOMPARE(facts.declaredFrames, frames);
    QCOMPARE(VideoComposer::getFrameNumberFromVideo(video()), static_cast<unsigned int>(frames));
    QCOMPARE(filesLeft(), QStringList{QStringLiteral("v.mp4")});
}

void VideoTruncationTest::keepsTheFirstFramesOfTheComposersOwn()
{
    QVector<QImage> images;
    for (int number = 1; number <= 8; ++number) {
        images += Pictures::numbered(number);
    }
    VideoComposer composer(nullptr);
    QVERIFY(composer.convertImagesToVideo(images, video()));
    const QSize size = VideoFacts::of(video()).size;
    QVERIFY(shorten(video(), 6));
    const VideoFacts facts = VideoFacts::of(video());
    QCOMPARE(facts.numbers(), numbersUpTo(6));
    QCOMPARE(facts.size, size);
}

void VideoTruncationTest::missingFileIsDoneAlready()
{
    for (const unsigned int frames : {0U, 1U, 100U}) {
        LogCapture log;
        QVERIFY(shorten(path(QStringLiteral("missing.mp4")), frames));
        QCOMPARE(log.texts(QtDebugMsg), QStringList{QStringLiteral("File does not exist")});
    }
    QCOMPARE(filesLeft(), QStringList{QStringLiteral("v.mp4")});
}

void VideoTruncationTest::frameNumberZeroRemovesTheFileWithoutOpeningIt_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("a video") << m_whole;
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("not a video") << QByteArray("junk");
}

void VideoTruncationTest::frameNumberZeroRemovesTheFileWithoutOpeningIt()
{
    QFETCH(QByteArray, content);
    QVERIFY(overwrite(video(), content));
    LibraryFaults::arm(QStringLiteral("avformat_open_input"), 0);
    LogCapture log;
    QVERIFY(shorten(video(), 0));
    QCOMPARE(log.texts(), QStringList());
    QCOMPARE(filesLeft(), QStringList());

    QVERIFY(overwrite(video(), content));
    LibraryFaults::arm(QStringLiteral("unlink"), 1);
    QVERIFY(shorten(video(), 0)); // also when it can't be removed
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList{QStringLiteral("Failed to delete file: \"%1\"").arg(video())});
    QVERIFY(QFile::exists(video()));
}

void VideoTruncationTest::frameNumberAtOrAboveTheCountLeavesTheFileUnchanged_data()
{
    QTest::addColumn<unsigned int>("frames");
    QTest::newRow("equal") << static_cast<unsigned int>(BATCH);
    QTest::newRow("one above") << static_cast<unsigned int>(BATCH + 1);
    QTest::newRow("beyond signed numbers") << 0x80000001U;
    QTest::newRow("the greatest") << 0xffffffffU;
}

void VideoTruncationTest::frameNumberAtOrAboveTheCountLeavesTheFileUnchanged()
{
    QFETCH(unsigned int, frames);
    LogCapture log;
    QVERIFY(shorten(video(), frames));
    QCOMPARE(log.texts(QtDebugMsg),
             (QStringList{QStringLiteral("Log: Video Stream Index:  0"),
                          QStringLiteral("Log: Total Frames:  %1").arg(BATCH),
                          QStringLiteral("Frame number is larger than total frames")}));
    QCOMPARE(contentOf(video()), m_whole);
    QCOMPARE(filesLeft(), QStringList{QStringLiteral("v.mp4")});
}

void VideoTruncationTest::outputFramesCountFromZeroWhateverTheInputsTimes_data()
{
    QTest::addColumn<SampleVideo>("sample");
    SampleVideo sample;
    sample.frames = 20;
    QTest::newRow("no B-frames") << sample;
    sample.bFrames = 3;
    QTest::newRow("B-frames") << sample;
    sample.framesPerSecond = 25;
    QTest::newRow("25 frames a second") << sample;
    sample.framesPerSecond = 1;
    sample.secondsPerFrame = 7;
    QTest::newRow("a frame in seven seconds") << sample;
    sample.secondsPerFrame = 1;
    sample.firstTimestamp = 30;
    QTest::newRow("beginning late") << sample;
    sample.firstTimestamp = 0;
    sample.groupOfPictures = 250;
    QTest::newRow("one long group") << sample;
}

void VideoTruncationTest::outputFramesCountFromZeroWhateverTheInputsTimes()
{
    QFETCH(SampleVideo, sample);
    QVERIFY(sample.write(video()));
    QVERIFY(shorten(video(), 13));
    const VideoFacts facts = VideoFacts::of(video());
    QCOMPARE(facts.numbers(), numbersUpTo(13));
    QCOMPARE(facts.seconds, secondsUpTo(13));
}

void VideoTruncationTest::sizeIsTheInputsAndNotTheScreens()
{
    SampleVideo sample;
    sample.size = {326, 178};
    QVERIFY(sample.write(video()));
    QVERIFY(shorten(video(), 5));
    const VideoFacts facts = VideoFacts::of(video());
    QCOMPARE(facts.size, QSize(326, 178));
    QCOMPARE(facts.numbers(), numbersUpTo(5));
}

void VideoTruncationTest::soundIsLeftOut()
{
    SampleVideo sample;
    sample.soundFirst = true;
    sample.bFrames = 3;
    QVERIFY(sample.write(video()));
    LogCapture log;
    // All but one: the last of them come from the decoder only at the end of the file, where the
    // stream that a packet belongs to can't be told.
    QVERIFY(shorten(video(), 11));
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("Log: Video Stream Index:  1")));
    const VideoFacts facts = VideoFacts::of(video());
    QCOMPARE(facts.streams, 1);
    QCOMPARE(facts.numbers(), numbersUpTo(11));
}

void VideoTruncationTest::streamIsSetUpAsAskedFor()
{
    QVERIFY(shorten(video(), 25));
    // The time base is the one that the muxer had given the old video.
    QCOMPARE(LibraryFaults::streamAtHeader(),
             QStringLiteral("time base 1/16384, average rate 1/1"));
    const VideoFacts facts = VideoFacts::of(video());
    QVERIFY(facts.container.contains(QLatin1String("mp4")));
    QCOMPARE(facts.codec, static_cast<int>(AV_CODEC_ID_H264));
    QCOMPARE(facts.pixelFormat, static_cast<int>(AV_PIX_FMT_YUV420P));
    QVERIFY(facts.hasGlobalHeader);
    QVERIFY(qAbs(facts.averageFrameRate - 1.0) < 0.1);
}

void VideoTruncationTest::encoderGivesAPacketAtOnceAndKeepsItsGroups()
{
    SampleVideo sample;
    sample.size = {326, 178};
    QVERIFY(sample.write(video()));
    QVERIFY(shorten(video(), 5));
    const AvCodecContextPtr untouched(
        avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_H264)));
    QVERIFY(untouched->gop_size != 10); // else the two ways of writing could not be told apart
    QCOMPARE(LibraryFaults::encoderAtOpen(),
             QStringLiteral("326x178 yuv420p, time base 1/1, frame rate 1/1, group %1, global "
                            "header, tune zerolatency, no options")
                 .arg(untouched->gop_size));
}

void VideoTruncationTest::everyStepIsLogged()
{
    SampleVideo sample;
    sample.frames = 3;
    QVERIFY(sample.write(video()));
    LogCapture log;
    QVERIFY(shorten(video(), 1));
    const QStringList texts = log.texts(QtDebugMsg);
    QCOMPARE(texts.mid(0, 3), (QStringList{QStringLiteral("Log: Video Stream Index:  0"),
                                           QStringLiteral("Log: Total Frames:  3"),
                                           QStringLiteral("Log: Opening encoder codec id  27")}));
    QVERIFY2(texts.contains(QStringLiteral("pts  0  dts  0")), qPrintable(texts.join('\n')));
    QCOMPARE(texts.size(), log.texts().size()); // not one warning
    log.clear();

    QVERIFY(sample.write(video()));
    QVERIFY(shorten(video(), 2));
    QVERIFY(log.contains(
        QtDebugMsg, QStringLiteral("Error receiving frame:  Resource temporarily unavailable")));
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("pts  16384  dts  16384")));
}

void VideoTruncationTest::packetsLastOneTick()
{
    QVERIFY(shorten(video(), 3));
    const QVector<double> durations = LibraryFaults::packetDurations();
    QCOMPARE(durations.size(), 3);
    for (const double duration : durations) {
        QCOMPARE(duration, 1.0 / 16384);
    }
}

void VideoTruncationTest::shortenedVideoCanBeShortenedAgain()
{
    for (const int frames : {40, 23, 22, 5, 1}) {
        QVERIFY(shorten(video(), static_cast<unsigned int>(frames)));
        QCOMPARE(VideoFacts::of(video()).numbers(), numbersUpTo(frames));
    }
}

/// Encoded twice, but still the same pictures: nothing is mixed up or moved.
void VideoTruncationTest::picturesStayAsTheyWere()
{
    const QVector<QImage> before = VideoFacts::of(video()).pictures;
    QVERIFY(shorten(video(), 20));
    const QVector<QImage> after = VideoFacts::of(video()).pictures;
    QCOMPARE(after.size(), 20);
    for (int index = 0; index < after.size(); ++index) {
        qint64 difference = 0;
        for (int row = 0; row < after[index].height(); row += 3) {
            for (int column = 0; column < after[index].width(); column += 3) {
                difference += std::abs(qGray(after[index].pixel(column, row)) -
                                       qGray(before[index].pixel(column, row)));
            }
        }
        const int looked = ((after[index].height() + 2) / 3) * ((after[index].width() + 2) / 3);
        QVERIFY2(difference / looked < 12, qPrintable(QString::number(difference / looked)));
    }
}

void VideoTruncationTest::damagedFramesAreMissingAndTheRestIsKept()
{
    QByteArray content = m_whole;
    const int start = content.size() / 2;
    content.replace(start, 400, QByteArray(400, '\0'));
    QVERIFY(overwrite(video(), content));
    QVERIFY(shorten(video(), 40));
    const VideoFacts facts = VideoFacts::of(video());
    QVERIFY(facts.pictures.size() > 20);
    QCOMPARE(facts.numbers().mid(0, 10), numbersUpTo(10));
    QCOMPARE(filesLeft(), QStringList{QStringLiteral("v.mp4")});
}

/// The encoder reads three planes of its own format, whatever memory a frame has.
void VideoTruncationTest::frameInAnotherPixelFormatIsNotPassedOn()
{
    SampleVideo sample;
    sample.codec = AV_CODEC_ID_PNG;
    QVERIFY(sample.write(video()));
    LogCapture log;
    shorten(video(), 5);
    QVERIFY2(log.contains(QtDebugMsg, QStringLiteral("Could not open encoder")) ||
                 log.contains(QtDebugMsg, QStringLiteral("Error sending frame to encoder")),
             qPrintable(log.texts().join('\n')));
}

void VideoTruncationTest::fileThatIsNoVideoIsRefusedAndLeftAlone_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("words");
    const QString notOpened = QStringLiteral("Could not open input video:  \"%1\"");
    QTest::newRow("empty") << QByteArray("") << notOpened;
    QTest::newRow("junk") << QByteArray(50'000, 'j') << notOpened;
    QTest::newRow("cut in the middle") << m_whole.left(m_whole.size() / 2) << notOpened;
    QTest::newRow("only the header") << m_whole.left(40) << notOpened;
    const QString noPictures = QStringLiteral("Could not find video stream for:  \"%1\"");
    QTemporaryDir directory;
    const QString sound = directory.filePath(QStringLiteral("sound.mp4"));
    SampleVideo sample;
    sample.pictures = false;
    QVERIFY(sample.write(sound));
    QTest::newRow("sound alone") << contentOf(sound) << noPictures;
    const QString streamless = directory.filePath(QStringLiteral("streamless.mp4"));
    QVERIFY(writeFileWithoutStreams(streamless));
    QTest::newRow("no streams") << contentOf(streamless) << noPictures;
}

void VideoTruncationTest::fileThatIsNoVideoIsRefusedAndLeftAlone()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, words);
    QVERIFY(overwrite(video(), content));
    LogCapture log;
    QVERIFY(!shorten(video(), 5));
    QCOMPARE(log.texts(QtDebugMsg).last(), words.arg(video()));
    QCOMPARE(contentOf(video()), content);
    QCOMPARE(filesLeft(), QStringList{QStringLiteral("v.mp4")});
}

void VideoTruncationTest::fileWithoutADeclaredCountIsLeftAlone()
{
    const QString file = path(QStringLiteral("v.mkv"));
    QVERIFY(SampleVideo().write(file));
    const QByteArray content = contentOf(file);
    LogCapture log;
    QVERIFY(shorten(file, 5));
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("Log: Total Frames:  0")));
    QCOMPARE(log.texts(QtDebugMsg).last(),
             QStringLiteral("Frame number is larger than total frames"));
    QCOMPARE(contentOf(file), content);
}

void VideoTruncationTest::videoWithoutFramesIsLeftAlone()
{
    VideoComposer composer(nullptr);
    QVERIFY(composer.convertImagesToVideo({}, video()));
    const QByteArray content = contentOf(video());
    LogCapture log;
    QVERIFY(!shorten(video(), 1)); // no frame, so nothing tells what the stream is
    QCOMPARE(log.texts(QtDebugMsg).last(),
             QStringLiteral("Could not find video stream for:  \"%1\"").arg(video()));
    QCOMPARE(contentOf(video()), content);
}

void VideoTruncationTest::newVideoIsOnTheDiskBeforeTheOldOneGoes()
{
    LibraryFaults::disarm();
    QVERIFY(shorten(video(), 3));
    const QString directory = QStringLiteral("fsync ") + m_directory->path().section('/', -1);
    QCOMPARE(LibraryFaults::finishingCalls(),
             (QStringList{
                 QStringLiteral("av_write_trailer"), QStringLiteral("avio_closep"),
                 QStringLiteral("fsync v.mp4.pending.mp4"), directory,
                 // The handle's own close finds nothing left to close.
                 QStringLiteral("avio_closep"), QStringLiteral("rename v.mp4 to v.mp4.bak"),
                 QStringLiteral("rename v.mp4.pending.mp4 to v.mp4"), QStringLiteral("fsync v.mp4"),
                 directory, QStringLiteral("unlink v.mp4.bak")}));
}

QTEST_MAIN(VideoTruncationTest)
#include "videotruncationtest.moc"
