#include "libraryfaults.h"
#include "samplevideos.h"
#include "support/logcapture.h"
#include "support/testfiles.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

namespace
{
constexpr int FRAMES = 12;
} // namespace

class TruncationFailuresTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup() { LibraryFaults::disarm(); }

    void failedStepOfSettingUpLeavesTheVideoUntouched_data();
    void failedStepOfSettingUpLeavesTheVideoUntouched();
    void missingEncoderOfTheInputsCodec();
    void directoryAtThePendingPathLeavesTheVideoUntouched();

    void failureWhileCopyingLeavesFramesOut_data();
    void failureWhileCopyingLeavesFramesOut();
    void failuresWithoutEndEndTheLoop_data();
    void failuresWithoutEndEndTheLoop();
    void readErrorDrainsTheDecoder();
    void frameLostAtTheEndDoesNotLoseTheOnesBehindIt();

    void unfinishedFileNeverTakesTheVideosPlace_data();
    void unfinishedFileNeverTakesTheVideosPlace();
    void fullDiskLeavesTheVideoUntouched_data();
    void fullDiskLeavesTheVideoUntouched();

    void leftOverBackupStopsTheExchange();
    void videoThatCannotBeRenamedStaysAndThePendingFileGoes();
    void pendingFileThatCannotBeRenamedBringsTheVideoBack();
    void videoThatCannotBeBroughtBackStaysAsTheBackup();
    void backupThatCannotBeRemovedIsLogged();
    void leftOverPendingFileIsOverwritten();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    QString video() const { return path(QStringLiteral("v.mp4")); }
    QString pending() const { return video() + QStringLiteral(".pending.mp4"); }
    QString backup() const { return video() + QStringLiteral(".bak"); }
    bool shorten(unsigned int frames) const
    {
        VideoComposer composer(nullptr);
        return composer.deleteFramesToEndFromVideoFile(video(), frames);
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    QByteArray m_whole;
};

void TruncationFailuresTest::initTestCase()
{
    const QTemporaryDir directory;
    const QString file = directory.filePath(QStringLiteral("v.mp4"));
    SampleVideo sample;
    sample.frames = FRAMES;
    sample.bFrames = 2;
    QVERIFY(sample.write(file));
    m_whole = contentOf(file);
}

void TruncationFailuresTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(overwrite(video(), m_whole));
}

void TruncationFailuresTest::failedStepOfSettingUpLeavesTheVideoUntouched_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("words");
    QTest::addColumn<bool>("leavesPendingFile");
    const auto step = [](const char *function, const QString &words, int number = 1,
                         bool leavesPendingFile = false) {
        QTest::addRow("%s, call %d", function, number)
            << QString::fromLatin1(function) << number << words << leavesPendingFile;
    };
    const QString ofVideo = QStringLiteral("%1 \"VIDEO\"");
    const QString ofPending = QStringLiteral("%1 \"VIDEO.pending.mp4\"");
    step("avformat_open_input", ofVideo.arg("Could not open input video: "));
    step("avformat_find_stream_info", ofVideo.arg("Could not find stream information for: "));
    step("avcodec_find_decoder", ofVideo.arg("Could not find decoder for: "));
    step("avcodec_alloc_context3", ofVideo.arg("Could not allocate decoder context for: "));
    step("avcodec_parameters_to_context",
         QStringLiteral("Could not set parameters to decoder context"));
    step("avcodec_open2", QStringLiteral("Could not initialize decoder context to use decoder"));
    step("avformat_alloc_output_context2",
         ofPending.arg("Could not allocate output format context for: "));
    step("avformat_new_stream", ofPending.arg("Could not allocate output stream for: "));
    step("avcodec_parameters_copy",
         QStringLiteral("Could not copy codec parameters to output stream"));
    step("avcodec_find_encoder", QStringLiteral("Could not find input video encoder"));
    step("avcodec_alloc_context3", QStringLiteral("Could not allocate encoder context"), 2);
    step("avcodec_open2", QStringLiteral("Could not open encoder"), 2);
    step("avio_open", QStringLiteral("Could not open output iocontext"));
    step("avformat_write_header", QStringLiteral("Could not write header to output file"), 1, true);
    step("av_frame_alloc", QStringLiteral("Could not allocate frame or packet"), 1, true);
    step("av_packet_alloc", QStringLiteral("Could not allocate frame or packet"), 1, true);
}

void TruncationFailuresTest::failedStepOfSettingUpLeavesTheVideoUntouched()
{
    QFETCH(QString, function);
    QFETCH(int, number);
    QFETCH(QString, words);
    QFETCH(bool, leavesPendingFile);
    const int descriptors = openDescriptors();
    LibraryFaults::arm(function, number);
    LogCapture log;
    QVERIFY(!shorten(5));
    QCOMPARE(log.texts(QtDebugMsg).last(), words.replace(QLatin1String("VIDEO"), video()));
    QCOMPARE(contentOf(video()), m_whole);
    QCOMPARE(QFile::exists(pending()), leavesPendingFile);
    QVERIFY(!QFile::exists(backup()));
    QCOMPARE(openDescriptors(), descriptors);

    LibraryFaults::disarm(); // what was left behind is in nobody's way
    QVERIFY(shorten(5));
    QCOMPARE(VideoFacts::of(video()).numbers(), numbersUpTo(5));
    QVERIFY(!QFile::exists(pending()));
}

void TruncationFailuresTest::missingEncoderOfTheInputsCodec()
{
    // A codec that FFmpeg reads and can't write.
    QByteArray content = m_whole;
    QVERIFY(content.contains("avc1"));
    content.replace("avc1", "mjpb");
    content.replace("avcC", "free");
    QVERIFY(overwrite(video(), content));
    LogCapture log;
    QVERIFY(!shorten(5));
    QCOMPARE(log.texts(QtDebugMsg).last(), QStringLiteral("Could not find input video encoder"));
    QCOMPARE(contentOf(video()), content);
    QVERIFY(!QFile::exists(backup()));
}

void TruncationFailuresTest::directoryAtThePendingPathLeavesTheVideoUntouched()
{
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("v.mp4.pending.mp4")));
    LogCapture log;
    QVERIFY(!shorten(5));
    QCOMPARE(log.texts(QtDebugMsg).last(), QStringLiteral("Could not open output iocontext"));
    QCOMPARE(contentOf(video()), m_whole);
}

void TruncationFailuresTest::failureWhileCopyingLeavesFramesOut_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("words");
    // The first two allocations of a packet are those of the set-up and of the first frame.
    QTest::newRow("no packet") << "av_packet_alloc" << 4 << "Could not allocate output packet";
    QTest::newRow("not sent") << "avcodec_send_frame" << 3 << "Error sending frame to encoder";
    QTest::newRow("not written") << "av_interleaved_write_frame" << 3
                                 << "Error writing output packet";
}

void TruncationFailuresTest::failureWhileCopyingLeavesFramesOut()
{
    QFETCH(QString, function);
    QFETCH(int, number);
    QFETCH(QString, words);
    LibraryFaults::arm(function, number);
    LogCapture log;
    QVERIFY(shorten(8));
    QCOMPARE(log.count(QtDebugMsg, words), 1);
    LibraryFaults::disarm();
    const VideoFacts facts = VideoFacts::of(video());
    QCOMPARE(facts.declaredFrames, 7);
    // The third frame is missing, and the others keep their seconds.
    QCOMPARE(facts.seconds, (QVector<double>{0.0, 1.0, 3.0, 4.0, 5.0, 6.0, 7.0}));
    QVERIFY(!QFile::exists(backup()));
    QVERIFY(!QFile::exists(pending()));
}

void TruncationFailuresTest::failuresWithoutEndEndTheLoop_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("words");
    QTest::newRow("nothing is read") << "av_read_frame"
                                     << "Error reading input file:  Input/output error";
    QTest::newRow("nothing is taken by the decoder") << "avcodec_send_packet"
                                                     << "Error sending packet to decoder";
    QTest::newRow("nothing is taken by the encoder") << "avcodec_send_frame"
                                                     << "Error sending frame to encoder";
}

/// Frames are missing, at the worst all of them, and the call comes back.
void TruncationFailuresTest::failuresWithoutEndEndTheLoop()
{
    QFETCH(QString, function);
    QFETCH(QString, words);
    LibraryFaults::arm(function, 0);
    LogCapture log;
    QVERIFY(shorten(FRAMES - 1));
    QVERIFY2(log.contains(QtDebugMsg, words), qPrintable(log.texts().join('\n')));
    LibraryFaults::disarm();
    QVERIFY(VideoFacts::of(video()).isReadable);
    QCOMPARE(VideoFacts::of(video()).declaredFrames, 0);
    QVERIFY(!QFile::exists(backup()));
}

void TruncationFailuresTest::readErrorDrainsTheDecoder()
{
    LibraryFaults::arm(QStringLiteral("av_read_frame"), 7);
    LogCapture log;
    QVERIFY(shorten(FRAMES - 1));
    LibraryFaults::disarm();
    QVERIFY(
        log.contains(QtDebugMsg, QStringLiteral("Error reading input file:  Input/output error")));
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("End of file reached")), 1);
    // Six packets were read before.
    QCOMPARE(VideoFacts::of(video()).declaredFrames, 6);
}

/// The decoder is drained only once, and the frames that it still holds are asked for again.
void TruncationFailuresTest::frameLostAtTheEndDoesNotLoseTheOnesBehindIt()
{
    SampleVideo sample;
    sample.frames = 8;
    sample.bFrames = 2;
    QVERIFY(sample.write(video()));
    LibraryFaults::arm(QStringLiteral("avcodec_send_frame"), 6);
    LogCapture log;
    QVERIFY(shorten(7));
    LibraryFaults::disarm();
    QCOMPARE(VideoFacts::of(video()).seconds, (QVector<double>{0.0, 1.0, 2.0, 3.0, 4.0, 6.0}));
}

void TruncationFailuresTest::unfinishedFileNeverTakesTheVideosPlace_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("words");
    const QString notFinished =
        QStringLiteral("Error: Could not finish output file \"Input/output error\"");
    QTest::newRow("trailer") << "av_write_trailer" << 1 << notFinished;
    QTest::newRow("close") << "avio_closep" << 1 << notFinished;
    const QString notSynced = QStringLiteral("Error: Could not bring file to disk:");
    QTest::newRow("sync of the file") << "fsync" << 1 << notSynced;
    QTest::newRow("sync of the directory") << "fsync" << 2 << notSynced;
}

void TruncationFailuresTest::unfinishedFileNeverTakesTheVideosPlace()
{
    QFETCH(QString, function);
    QFETCH(int, number);
    QFETCH(QString, words);
    LibraryFaults::arm(function, number);
    LogCapture log;
    QVERIFY(!shorten(5));
    QVERIFY2(log.texts(QtDebugMsg).last().startsWith(words), qPrintable(log.texts().last()));
    QCOMPARE(contentOf(video()), m_whole);
    QVERIFY(!QFile::exists(pending()));
    QVERIFY(!QFile::exists(backup()));
}

void TruncationFailuresTest::fullDiskLeavesTheVideoUntouched_data()
{
    QTest::addColumn<int>("room");
    QTest::newRow("no room for a byte") << 0;
    QTest::newRow("room for the header") << 48;
    QTest::newRow("full in the middle of the frames") << 30'000;
}

void TruncationFailuresTest::fullDiskLeavesTheVideoUntouched()
{
    QFETCH(int, room);
    {
        const FileSizeLimit limit(static_cast<rlim_t>(room));
        QVERIFY(!shorten(FRAMES - 1));
    }
    QCOMPARE(contentOf(video()), m_whole);
    QVERIFY(!QFile::exists(backup()));
    QVERIFY(shorten(FRAMES - 1));
    QCOMPARE(VideoFacts::of(video()).numbers(), numbersUpTo(FRAMES - 1));
}

void TruncationFailuresTest::leftOverBackupStopsTheExchange()
{
    QVERIFY(overwrite(backup(), "the old frames"));
    LogCapture log;
    QVERIFY(!shorten(5));
    QCOMPARE(log.texts(QtDebugMsg).last(), QStringLiteral("Screenshots backup failed"));
    QCOMPARE(contentOf(video()), m_whole);
    QCOMPARE(contentOf(backup()), QByteArray("the old frames"));
    QVERIFY(!QFile::exists(pending()));
}

/// Qt copies where renaming fails, so the way to fail is a source that can't be removed either.
void TruncationFailuresTest::videoThatCannotBeRenamedStaysAndThePendingFileGoes()
{
    LibraryFaults::arm(QStringLiteral("renameat2"), 1);
    LibraryFaults::arm(QStringLiteral("unlink"), 1);
    LogCapture log;
    QVERIFY(!shorten(5));
    QCOMPARE(log.texts(QtDebugMsg).last(), QStringLiteral("Screenshots backup failed"));
    QCOMPARE(contentOf(video()), m_whole);
    QVERIFY(!QFile::exists(pending()));
    QVERIFY(!QFile::exists(backup()));
}

void TruncationFailuresTest::pendingFileThatCannotBeRenamedBringsTheVideoBack()
{
    LibraryFaults::arm(QStringLiteral("renameat2"), 2);
    LibraryFaults::arm(QStringLiteral("unlink"), 1);
    LogCapture log;
    QVERIFY(!shorten(5));
    QCOMPARE(log.texts(QtDebugMsg).last(), QStringLiteral("Rename cropped video failed"));
    QCOMPARE(contentOf(video()), m_whole);
    QVERIFY(!QFile::exists(backup()));
    QCOMPARE(VideoFacts::of(pending()).numbers(), numbersUpTo(5)); // it stays
}

void TruncationFailuresTest::videoThatCannotBeBroughtBackStaysAsTheBackup()
{
    // Every renaming behind the first, and every removal that a copy instead of it would need.
    LibraryFaults::armFrom(QStringLiteral("renameat2"), 2);
    LibraryFaults::armFrom(QStringLiteral("unlink"), 1);
    LogCapture log;
    QVERIFY(!shorten(5));
    const QStringList texts = log.texts(QtDebugMsg);
    QCOMPARE(texts.mid(texts.size() - 2),
             (QStringList{QStringLiteral("Rename cropped video failed"),
                          QStringLiteral("Screenshots recovery failed")}));
    QCOMPARE(contentOf(backup()), m_whole);
    QVERIFY(QFile::exists(pending()));
}

void TruncationFailuresTest::backupThatCannotBeRemovedIsLogged()
{
    LibraryFaults::arm(QStringLiteral("unlink"), 1);
    LogCapture log;
    QVERIFY(shorten(5));
    QCOMPARE(log.texts(QtDebugMsg).last(),
             QStringLiteral("Failed to delete file: \"%1\"").arg(backup()));
    QCOMPARE(VideoFacts::of(video()).numbers(), numbersUpTo(5));
}

void TruncationFailuresTest::leftOverPendingFileIsOverwritten()
{
    QVERIFY(overwrite(pending(), QByteArray(3'000'000, 'p')));
    QVERIFY(shorten(5));
    QCOMPARE(VideoFacts::of(video()).numbers(), numbersUpTo(5));
    QVERIFY(QFileInfo(video()).size() < 1'000'000);
    QVERIFY(!QFile::exists(pending()));
}

QTEST_MAIN(TruncationFailuresTest)
#include "truncationfailurestest.moc"
