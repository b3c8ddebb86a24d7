// A process that shortens a video is killed before each of the library calls that it makes, one
// after the other, until one comes to its end.

#include "ai/imageutils.h"
#include "samplevideos.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "support/testfiles.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace
{
constexpr int FRAMES = 4;
constexpr int KEPT = 2;
const QString videoName = QStringLiteral("2026-03-04_05-06-07.mp4");

/// Everything below a directory, by name.
QMap<QString, QByteArray> contentsOf(const QString &directory)
{
    QMap<QString, QByteArray> contents;
    for (const QString &name : QDir(directory).entryList(QDir::Files)) {
        contents.insert(name, contentOf(QDir(directory).filePath(name)));
    }
    return contents;
}

/// The frames of all files that the day's count would take in.
unsigned int countedFrames(const QString &directory)
{
    unsigned int frames = 0;
    for (const QFileInfo &file : QDir(directory).entryInfoList(QDir::Files)) {
        if (isValidVideoNameFormat(file.fileName())) {
            frames += VideoComposer::getFrameNumberFromVideo(file.absoluteFilePath());
        }
    }
    return frames;
}
} // namespace

class TruncationKillTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void framesSurviveAKillBeforeEveryCall();
    void namesOfWorkFilesAreNoVideoNames();

private:
    bool runUntilCall(const QString &video, int call) const;
    void checkWhatIsLeft(const QString &directory);
    void checkNextShortening(const QString &directory);

    QTemporaryDir m_directory;
    QString m_whole;
    QSet<QStringList> m_seen; ///< the file names that kills left behind
};

void TruncationKillTest::initTestCase()
{
    m_whole = m_directory.filePath(videoName);
    SampleVideo sample;
    sample.frames = FRAMES;
    sample.bFrames = 1;
    QVERIFY(sample.write(m_whole));
    QCOMPARE(VideoFacts::of(m_whole).numbers(), numbersUpTo(FRAMES));
}

/// False if the process was killed.
bool TruncationKillTest::runUntilCall(const QString &video, int call) const
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(
        QStringLiteral(SHORTENVIDEO),
        {QStringLiteral("--die-at-call"), QString::number(call), video, QString::number(KEPT)});
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.readAll().contains("true");
}

void TruncationKillTest::framesSurviveAKillBeforeEveryCall()
{
    int call = 1;
    for (bool isFinished = false; !isFinished; ++call) {
        QVERIFY2(call < 500, "never comes to its end");
        const QTemporaryDir directory;
        const QString video = directory.filePath(videoName);
        QVERIFY(QFile::copy(m_whole, video));
        isFinished = runUntilCall(video, call);
        if (isFinished) {
            QCOMPARE(QDir(directory.path()).entryList(QDir::Files), QStringList{videoName});
            QCOMPARE(VideoFacts::of(video).numbers(), numbersUpTo(KEPT));
        } else {
            checkWhatIsLeft(directory.path());
            checkNextShortening(directory.path());
        }
        if (QTest::currentTestFailed()) {
            QFAIL(qPrintable(QStringLiteral("killed before call %1").arg(call)));
        }
    }
    // Before, during and after the writing, and within the exchange of files.
    const QString pending = videoName + QStringLiteral(".pending.mp4");
    const QString backup = videoName + QStringLiteral(".bak");
    QCOMPARE(m_seen,
             (QSet<QStringList>{
                 {videoName}, {videoName, pending}, {backup, pending}, {videoName, backup}}));
    qInfo("killed before each of %d calls", call - 2);
}

/// All old frames stand under one name, and the next start lets everything lie as it is.
void TruncationKillTest::checkWhatIsLeft(const QString &directory)
{
    const QString video = QDir(directory).filePath(videoName);
    const QByteArray whole = contentOf(m_whole);
    QVERIFY(contentOf(video) == whole || contentOf(video + QStringLiteral(".bak")) == whole);

    const QMap<QString, QByteArray> before = contentsOf(directory);
    m_seen.insert(before.keys());
    VideoComposer composer(nullptr);
    composer.convertLocalImageFilesToVideo(directory);
    QVERIFY(contentsOf(directory) == before);

    const bool isShortened = QFile::exists(video) && contentOf(video) != whole;
    const unsigned int frames = isShortened ? KEPT : FRAMES;
    QCOMPARE(countedFrames(directory), QFile::exists(video) ? frames : 0U);
}

void TruncationKillTest::checkNextShortening(const QString &directory)
{
    const QString video = QDir(directory).filePath(videoName);
    const QString backup = video + QStringLiteral(".bak");
    const QByteArray before = contentOf(video);
    const bool hadVideo = QFile::exists(video);
    const bool hadBackup = QFile::exists(backup);
    VideoComposer composer(nullptr);
    LogCapture log;
    const bool isDone = composer.deleteFramesToEndFromVideoFile(video, 1);
    if (!hadVideo) {
        QVERIFY(isDone);
        QCOMPARE(log.texts(QtDebugMsg), QStringList{QStringLiteral("File does not exist")});
        QCOMPARE(contentOf(backup), contentOf(m_whole));
    } else if (hadBackup) {
        QVERIFY(!isDone);
        QCOMPARE(log.texts(QtDebugMsg).last(), QStringLiteral("Screenshots backup failed"));
        QCOMPARE(contentOf(video), before);
        QCOMPARE(contentOf(backup), contentOf(m_whole));
    } else {
        QVERIFY(isDone);
        QCOMPARE(VideoFacts::of(video).numbers(), numbersUpTo(1));
        QCOMPARE(QDir(directory).entryList(QDir::Files), QStringList{videoName});
    }
}

void TruncationKillTest::namesOfWorkFilesAreNoVideoNames()
{
    QVERIFY(isValidVideoNameFormat(videoName));
    QVERIFY(!isValidVideoNameFormat(videoName + QStringLiteral(".pending.mp4")));
    QVERIFY(!isValidVideoNameFormat(videoName + QStringLiteral(".bak")));
}

QTEST_MAIN(TruncationKillTest)
#include "truncationkilltest.moc"
