// Kills a recorder at random moments under load. After each kill a start must leave every stored
// row with its own frame: in a video, since a start ends the open batch.

#include "capture/capturefixture.h"
#include "recorderrun.h"
#include "video/videocomposer.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <csignal>

namespace
{
constexpr int runs = 50;
constexpr int secondsBetweenRuns = 60;
constexpr int shortestRunMs = 150;
constexpr int longestRunMs = 2200;
} // namespace

class TestKilledRecorder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyRowKeepsItsFrameThroughFiftyKills();

private:
    QStringList argumentsOfRun(int run, const QString &mode) const;
    void recordAndKill(int run, int milliseconds);
    void recover(int run);
    void verifyCounts(int run);
    void verifyContents();

    const CaptureFixture::Application m_application{CaptureFixture::Application::FileManager};
    const QDateTime m_start{QDate(2024, 3, 5), QTime(9, 0, 0)};
};

QStringList TestKilledRecorder::argumentsOfRun(int run, const QString &mode) const
{
    const qint64 moment = m_start.addSecs(qint64{run} * secondsBetweenRuns).toSecsSinceEpoch();
    return {QString::number(moment), QString::number(m_application.pid()), mode};
}

void TestKilledRecorder::recordAndKill(int run, int milliseconds)
{
    QProcess recorder;
    recorder.start(QStringLiteral(LOADRECORDER), argumentsOfRun(run, QStringLiteral("record")));
    QVERIFY(recorder.waitForStarted());
    QVERIFY(!recorder.waitForFinished(milliseconds));
    QCOMPARE(::kill(static_cast<pid_t>(recorder.processId()), SIGKILL), 0);
    QVERIFY(recorder.waitForFinished());
    QCOMPARE(recorder.exitStatus(), QProcess::CrashExit);
}

void TestKilledRecorder::recover(int run)
{
    QProcess recorder;
    recorder.start(QStringLiteral(LOADRECORDER), argumentsOfRun(run, QStringLiteral("recover")));
    QVERIFY(recorder.waitForFinished(60000));
    QCOMPARE(recorder.exitCode(), 0);
}

void TestKilledRecorder::verifyCounts(int run)
{
    for (const ScreenShotData &row : CaptureFixture::storedRows()) {
        const uint frames =
            VideoComposer::getFrameNumberFromVideo(RecordedHistory::pathOf(row.videoName));
        QVERIFY2(row.frameIndexOfVideo <= frames,
                 qPrintable(QStringLiteral("run %1: %2 has %3 frames, a row names frame %4")
                                .arg(run)
                                .arg(row.videoName)
                                .arg(frames)
                                .arg(row.frameIndexOfVideo)));
    }
}

void TestKilledRecorder::verifyContents()
{
    QHash<QString, QVector<int>> numbers;
    for (const ScreenShotData &row : CaptureFixture::storedRows()) {
        if (!numbers.contains(row.videoName)) {
            numbers.insert(row.videoName, RecordedHistory::numbersInVideo(row.videoName));
        }
        QCOMPARE(numbers[row.videoName].value(static_cast<int>(row.frameIndexOfVideo) - 1),
                 static_cast<int>(row.frameIndexOfDay));
    }
}

void TestKilledRecorder::everyRowKeepsItsFrameThroughFiftyKills()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo() << "seed of the moments:" << seed;
    QRandomGenerator random(seed);
    for (int run = 0; run < runs; ++run) {
        recordAndKill(run, random.bounded(shortestRunMs, longestRunMs));
        if (run % 5 == 4) { // else the next recorder itself is the start that recovers
            recover(run);
            verifyCounts(run);
        }
    }
    recover(runs);
    verifyCounts(runs);
    verifyContents();
    QVERIFY(CaptureFixture::storedRows().size() > runs);
    QDirIterator copies(QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/screenshots"),
                        {QStringLiteral("*.png")}, QDir::Files, QDirIterator::Subdirectories);
    QVERIFY(!copies.hasNext());
}

QTEST_GUILESS_MAIN(TestKilledRecorder)
#include "killedrecordertest.moc"
