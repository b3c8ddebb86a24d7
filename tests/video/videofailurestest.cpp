#include "libraryfaults.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "support/testfiles.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using LibraryFaults::Fault;
Q_DECLARE_METATYPE(LibraryFaults::Fault)

class VideoFailuresTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { LibraryFaults::disarm(); }

    void failedStepFailsTheBatchAndKeepsItsImages_data();
    void failedStepFailsTheBatchAndKeepsItsImages();
    void failureBeforeTheFileIsOpenedLeavesAnOlderFileAlone_data();
    void failureBeforeTheFileIsOpenedLeavesAnOlderFileAlone();
    void failedFrameKeepsItsIndexAndTheBatchGoesOn_data();
    void failedFrameKeepsItsIndexAndTheBatchGoesOn();
    void lostPacketsDoNotFailTheBatch_data();
    void lostPacketsDoNotFailTheBatch();
    void flushFailureIsIgnored();
    void batchOfFailedFramesOnlyIsStillWritten();

    void unknownSuffixHasNoContainer();
    void unwritablePathCannotBeOpened_data();
    void unwritablePathCannotBeOpened();
    void containerWithoutVideoRefusesTheHeader();
    void processWithoutAScreenCannotOpenTheEncoder();
    void fullDeviceFailsTheBatch();
    void fullDiskFailsTheBatchAndLeavesNoHalfWrittenVideo_data();
    void fullDiskFailsTheBatchAndLeavesNoHalfWrittenVideo();

    void imagesGoOnlyAfterFileAndDirectoryAreSynced();
    void videoThatCannotBeSyncedStaysWithItsImages_data();
    void videoThatCannotBeSyncedStaysWithItsImages();
    void imageThatCannotBeRemovedIsLoggedAndTheOthersGo();
    void repeatedBatchAfterAFailureSucceeds();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    QString video() const { return path(QStringLiteral("v.mp4")); }
    QString image(int number) const
    {
        return path(QStringLiteral("v.mp4_%1.png").arg(number, 3, 10, QLatin1Char('0')));
    }
    bool convert(int count) { return convert(count, video()); }
    bool convert(int count, const QString &file)
    {
        VideoComposer composer(nullptr);
        return composer.convertImagesToVideo(numberedBatch(count), file);
    }
    bool allImagesStand() const;
    static void fillFailingSteps();

    std::unique_ptr<QTemporaryDir> m_directory;
};

void VideoFailuresTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    for (int number = 1; number <= 3; ++number) {
        QVERIFY(Pictures::numbered(number).save(image(number)));
    }
}

bool VideoFailuresTest::allImagesStand() const
{
    return QFile::exists(image(1)) && QFile::exists(image(2)) && QFile::exists(image(3));
}

void VideoFailuresTest::fillFailingSteps()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("words");
    const auto step = [](const char *function, const char *words, int number = 1) {
        QTest::addRow("%s, call %d", function, number)
            << QString::fromLatin1(function) << number << QString::fromLatin1(words);
    };
    step("avformat_alloc_output_context2", "Error: Failed to allocate output format context.");
    step("avformat_new_stream", "Error: Failed allocating output stream.");
    step("avcodec_find_encoder", "Error: encode codec not found");
    step("avcodec_alloc_context3", "Error: Could not allocate video codec context");
    step("avcodec_open2", "Error: Could not open encode codec");
    step("avio_open", "Error: Could not open output file");
}

void VideoFailuresTest::failedStepFailsTheBatchAndKeepsItsImages_data()
{
    fillFailingSteps();
    const auto step = [](const char *function, const char *words, int number = 1) {
        QTest::addRow("%s, call %d", function, number)
            << QString::fromLatin1(function) << number << QString::fromLatin1(words);
    };
    step("avformat_write_header", "Error occurred when writing header");
    step("av_packet_alloc", "Error: Could not allocate packet");
    step("av_packet_alloc", "Error: Could not allocate packet", 2);
    step("av_write_trailer", "Error: Could not finish output file \"Input/output error\"");
    step("avio_closep", "Error: Could not finish output file \"Input/output error\"");
}

void VideoFailuresTest::failedStepFailsTheBatchAndKeepsItsImages()
{
    QFETCH(QString, function);
    QFETCH(int, number);
    QFETCH(QString, words);
    QVERIFY(convert(1, path(QStringLiteral("other.mp4")))); // the libraries are warm
    const int descriptors = openDescriptors();

    LibraryFaults::arm(function, number);
    LogCapture log;
    QVERIFY(!convert(3));
    QCOMPARE(log.texts().size(), 1);
    QVERIFY2(log.texts(QtDebugMsg).value(0).startsWith(words), qPrintable(log.texts().value(0)));
    QVERIFY(allImagesStand());
    QVERIFY(!QFile::exists(video()));
    QCOMPARE(openDescriptors(), descriptors);
}

void VideoFailuresTest::failureBeforeTheFileIsOpenedLeavesAnOlderFileAlone_data()
{
    fillFailingSteps();
}

void VideoFailuresTest::failureBeforeTheFileIsOpenedLeavesAnOlderFileAlone()
{
    QFETCH(QString, function);
    QFETCH(int, number);
    {
        VideoComposer composer(nullptr);
        QVERIFY(composer.convertImagesToVideo({Pictures::numbered(40)}, video()));
    }
    LibraryFaults::arm(function, number);
    QVERIFY(!convert(3));
    QCOMPARE(VideoFacts::of(video()).numbers(), QVector<int>{40});
}

void VideoFailuresTest::failedFrameKeepsItsIndexAndTheBatchGoesOn_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<QString>("words");
    QTest::newRow("no frame") << "av_frame_alloc" << Fault::Fails
                              << "Error: Failed to allocate frame buffer.";
    QTest::newRow("no buffer") << "av_frame_get_buffer" << Fault::Fails
                               << "Error: Failed to allocate frame buffer.";
    QTest::newRow("no data") << "av_frame_get_buffer" << Fault::Spoils
                             << "Error: AVFrame data pointer is null.";
    QTest::newRow("no scaler") << "sws_getContext" << Fault::Fails
                               << "Error: Failed to create SwsContext.";
    QTest::newRow("not scaled") << "sws_scale" << Fault::Fails << "Error: Failed to scale image.";
    QTest::newRow("not sent") << "avcodec_send_frame" << Fault::Fails
                              << "Error sending a frame for encoding";
}

void VideoFailuresTest::failedFrameKeepsItsIndexAndTheBatchGoesOn()
{
    QFETCH(QString, function);
    QFETCH(Fault, fault);
    QFETCH(QString, words);
    LibraryFaults::arm(function, 3, fault);
    LogCapture log;
    QVERIFY(convert(6));
    QCOMPARE(log.texts(QtDebugMsg), QStringList{words});
    QCOMPARE(log.texts().size(), 1);
    LibraryFaults::disarm();

    const VideoFacts facts = VideoFacts::of(video());
    QCOMPARE(facts.numbers(), (QVector<int>{1, 2, 4, 5, 6}));
    QCOMPARE(facts.seconds, (QVector<double>{0.0, 1.0, 3.0, 4.0, 5.0}));
    QVERIFY(!QFile::exists(image(1)));
}

void VideoFailuresTest::lostPacketsDoNotFailTheBatch_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("words");
    QTest::newRow("not received") << "avcodec_receive_packet"
                                  << "Error during encoding";
    QTest::newRow("not written") << "av_interleaved_write_frame"
                                 << "Error while writing output packet";
}

void VideoFailuresTest::lostPacketsDoNotFailTheBatch()
{
    QFETCH(QString, function);
    QFETCH(QString, words);
    // The second packet of the loop; a batch of this length has packets before the flush.
    LibraryFaults::arm(function, 2);
    LogCapture log;
    QVERIFY(convert(30));
    QCOMPARE(log.texts(QtDebugMsg), QStringList{words});
    LibraryFaults::disarm();
    QCOMPARE(VideoFacts::of(video()).declaredFrames, 29);
    QVERIFY(!QFile::exists(image(1)));
}

void VideoFailuresTest::flushFailureIsIgnored()
{
    // Sending the null frame is the fourth send of a batch of three, all still in the encoder.
    LibraryFaults::arm(QStringLiteral("avcodec_send_frame"), 4);
    QVERIFY(convert(3));
    QVERIFY(!QFile::exists(image(1)));
}

void VideoFailuresTest::batchOfFailedFramesOnlyIsStillWritten()
{
    LibraryFaults::arm(QStringLiteral("sws_getContext"), 0);
    LogCapture log;
    QVERIFY(convert(3));
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Error: Failed to create SwsContext.")), 3);
    LibraryFaults::disarm();
    QVERIFY(VideoFacts::of(video()).isReadable);
    QCOMPARE(VideoFacts::of(video()).declaredFrames, 0);
}

void VideoFailuresTest::unknownSuffixHasNoContainer()
{
    LogCapture log;
    QVERIFY(!convert(1, path(QStringLiteral("v.yestermark"))));
    QVERIFY(log.contains(QtDebugMsg,
                         QStringLiteral("Error: Failed to allocate output format context.")));
}

void VideoFailuresTest::unwritablePathCannotBeOpened_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing directory") << "gone/v.mp4";
    QTest::newRow("directory at the path") << "directory.mp4";
    QTest::newRow("name too long") << QString(300, QLatin1Char('n')) + ".mp4";
}

void VideoFailuresTest::unwritablePathCannotBeOpened()
{
    QFETCH(QString, name);
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("directory.mp4")));
    LogCapture log;
    QVERIFY(!convert(1, path(name)));
    QCOMPARE(log.texts(QtDebugMsg).last(), QStringLiteral("Error: Could not open output file"));
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("gone")))); // a deleted day stays deleted
    QVERIFY(QFileInfo(path(QStringLiteral("directory.mp4"))).isDir());
}

void VideoFailuresTest::containerWithoutVideoRefusesTheHeader()
{
    LogCapture log;
    QVERIFY(!convert(1, path(QStringLiteral("v.wav"))));
    QCOMPARE(log.texts(QtDebugMsg).last(), QStringLiteral("Error occurred when writing header"));
    QVERIFY(!QFile::exists(path(QStringLiteral("v.wav"))));
}

void VideoFailuresTest::processWithoutAScreenCannotOpenTheEncoder()
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(ENCODEBATCH),
                  {QStringLiteral("--no-screen"), video(), QStringLiteral("1")});
    QVERIFY(process.waitForFinished());
    const QByteArray output = process.readAll();
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QVERIFY2(output.contains("Error: Could not open encode codec"), output.constData());
    QVERIFY(output.contains("false"));
    QVERIFY(allImagesStand());
}

void VideoFailuresTest::fullDeviceFailsTheBatch()
{
    // Every write to this device fails for lack of room, that of the header first.
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), video()));
    LogCapture log;
    QVERIFY(!convert(3));
    QCOMPARE(log.texts(QtDebugMsg).last(), QStringLiteral("Error occurred when writing header"));
    QVERIFY(allImagesStand());
    QVERIFY(!QFileInfo(video()).isSymLink());
    QVERIFY(QFile::exists(QStringLiteral("/dev/full")));
}

void VideoFailuresTest::fullDiskFailsTheBatchAndLeavesNoHalfWrittenVideo_data()
{
    QTest::addColumn<int>("room");
    QTest::addColumn<QString>("words");
    const QString packet = QStringLiteral("Error while writing output packet");
    QTest::newRow("no room for a byte") << 0 << "Error occurred when writing header";
    QTest::newRow("room for the header") << 48 << packet;
    QTest::newRow("full in the middle of the frames") << 60'000 << packet;
    QTest::newRow("full in the trailer")
        << -1 << "Error: Could not finish output file \"File too large\"";
}

void VideoFailuresTest::fullDiskFailsTheBatchAndLeavesNoHalfWrittenVideo()
{
    QFETCH(int, room);
    QFETCH(QString, words);
    constexpr int frames = 30;
    const QString other = path(QStringLiteral("other.mp4"));
    QVERIFY(convert(frames, other));
    const int wholeSize = static_cast<int>(QFileInfo(other).size());
    QVERIFY(wholeSize > 60'000);
    {
        const FileSizeLimit limit(static_cast<rlim_t>(room < 0 ? wholeSize - 1 : room));
        LogCapture log;
        QVERIFY(!convert(frames));
        QCOMPARE(log.texts(QtDebugMsg).value(0), words);
    }
    QVERIFY(allImagesStand());
    QVERIFY(!QFile::exists(video()));
}

void VideoFailuresTest::imagesGoOnlyAfterFileAndDirectoryAreSynced()
{
    LibraryFaults::disarm();
    QVERIFY(convert(3));
    const QString directoryName = m_directory->path().section(QLatin1Char('/'), -1);
    QCOMPARE(LibraryFaults::finishingCalls(),
             (QStringList{
                 QStringLiteral("av_write_trailer"), QStringLiteral("avio_closep"),
                 // The handle's own close finds nothing left to close.
                 QStringLiteral("avio_closep"), QStringLiteral("fsync v.mp4"),
                 QStringLiteral("fsync ") + directoryName, QStringLiteral("unlink v.mp4_001.png"),
                 QStringLiteral("unlink v.mp4_002.png"), QStringLiteral("unlink v.mp4_003.png")}));
}

void VideoFailuresTest::videoThatCannotBeSyncedStaysWithItsImages_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("the file") << 1;
    QTest::newRow("its directory") << 2;
}

/// The video may be the only one to hold a frame: here the second, whose image was never written.
void VideoFailuresTest::videoThatCannotBeSyncedStaysWithItsImages()
{
    QFETCH(int, number);
    QVERIFY(QFile::remove(image(2)));
    LibraryFaults::arm(QStringLiteral("fsync"), number);
    {
        LogCapture log;
        QVERIFY(!convert(3));
        QCOMPARE(log.texts().size(), 1);
        QVERIFY2(log.texts(QtDebugMsg).value(0).startsWith("Error: Could not bring file to disk:"),
                 qPrintable(log.texts().value(0)));
    }
    LibraryFaults::disarm();
    QCOMPARE(VideoFacts::of(video()).numbers(), (QVector<int>{1, 2, 3}));
    QVERIFY(QFile::exists(image(1)) && QFile::exists(image(3)));

    VideoComposer composer(nullptr); // of the next start
    composer.convertLocalImageFilesToVideo(m_directory->path());
    QCOMPARE(VideoFacts::of(video()).numbers(), (QVector<int>{1, 2, 3}));
    QVERIFY(!QFile::exists(image(1)) && !QFile::exists(image(3)));
}

void VideoFailuresTest::imageThatCannotBeRemovedIsLoggedAndTheOthersGo()
{
    LibraryFaults::arm(QStringLiteral("unlink"), 2);
    LogCapture log;
    QVERIFY(convert(3));
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList{QStringLiteral("Failed to delete file: \"%1\"").arg(image(2))});
    QVERIFY(!QFile::exists(image(1)));
    QVERIFY(QFile::exists(image(2)));
    QVERIFY(!QFile::exists(image(3)));
}

void VideoFailuresTest::repeatedBatchAfterAFailureSucceeds()
{
    LibraryFaults::arm(QStringLiteral("av_write_trailer"), 1);
    QVERIFY(!convert(3));
    LibraryFaults::disarm();
    VideoComposer composer(nullptr);
    composer.convertLocalImageFilesToVideo(m_directory->path());
    QCOMPARE(VideoFacts::of(video()).numbers(), (QVector<int>{1, 2, 3}));
    QVERIFY(!QFile::exists(image(1)));
}

QTEST_MAIN(VideoFailuresTest)
#include "videofailurestest.moc"
