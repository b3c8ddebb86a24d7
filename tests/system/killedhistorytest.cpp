// Kills a recorder thirty times at random moments: while it records, while it erases the last hour,
// whose beginning lies inside a video, and while it erases everything. After each kill and the next
// start only what an interrupted deletion cannot avoid may disagree: files go before rows, rows
// before vectors. Deleting the same again ends it.

#include "capture/capturefixture.h"
#include "history/historychecker.h"
#include "support/fakeclock.h"
#include "system/recorderrun.h"

#include <QDir>
#include <QRandomGenerator>
#include <QSet>
#include <QTest>

#include <algorithm>

using HistoryChecker::Kind;

namespace
{
constexpr int runs = 30;
// Eight runs are an hour: a deletion of the last hour begins inside the video of the eighth before.
constexpr int secondsBetweenRuns = 450;
constexpr int longestRunMs = 1600;
constexpr int erasePowers = 8; // kills up to 2^7 ms after a deletion began, short times as likely

QString texts(const QVector<HistoryChecker::Finding> &findings)
{
    QStringList lines;
    for (const HistoryChecker::Finding &finding : findings) {
        lines.append(HistoryChecker::text(finding));
    }
    return lines.mid(0, 20).join(QLatin1Char('\n'));
}

/// A deletion that was interrupted: what it was to erase.
struct Interrupted {
    TimeRange range = LastHour;
    qint64 end = 0; ///< seconds since the epoch; 0: there was none

    qint64 start() const { return range == AllTime ? 0 : end - 3600; }
    bool covers(qint64 time) const { return time >= start() && time <= end; }
};

/// Rows whose frame is gone and vectors whose row is gone, of the time that was to be erased.
bool isExplained(const HistoryChecker::Finding &finding, const Interrupted &erasure)
{
    return (finding.kind == Kind::RowWithoutFrame || finding.kind == Kind::VectorWithoutRow) &&
           erasure.covers(finding.time);
}

/// A video without frames that no row names but such as were to be erased. The encoder was still
/// writing it when its frames were erased and the process was killed, before the rows were erased
/// or after it, or a kill left one picture of it, half-written.
bool isOfNoRow(const HistoryChecker::Finding &finding, const Interrupted &erasure)
{
    const QVector<ScreenShotData> rows = CaptureFixture::storedRows();
    return finding.kind == Kind::VideoWithoutFrames &&
           std::none_of(rows.cbegin(), rows.cend(), [&](const ScreenShotData &row) {
               return row.videoName == finding.subject && !erasure.covers(row.realTime);
           });
}
} // namespace

class TestKilledHistory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void historyStaysSoundThroughThirtyKills();

private:
    QDateTime momentOf(int run) const { return m_start.addSecs(qint64{run} * secondsBetweenRuns); }
    void recordAndKill(int run);
    HistoryChecker::Report checkAfter(int run, bool workInProgress);
    void verifyAfterKill(int run);
    void recover(int run);
    void endErasure(int run);
    void verifyNothingErasedIsLeft();

    const CaptureFixture::Application m_application{CaptureFixture::Application::FileManager};
    const QDateTime m_start{QDate(2024, 3, 5), QTime(20, 0, 0)}; // midnight passes meanwhile
    QRandomGenerator m_random;
    Interrupted m_erasure;
    int m_erasures = 0;
    int m_erasuresDone = 0;
    int m_disagreeing = 0;
    int m_mostRows = 0;
    QSet<QString> m_halfWritten; ///< videos that nobody misses and nothing removes
};

void TestKilledHistory::recordAndKill(int run)
{
    RecorderRun recorder(momentOf(run), m_application.pid());
    QVERIFY(recorder.isStarted());
    QVERIFY(!recorder.foundClockBack());
    const int task = m_random.bounded(10);
    if (task < 5 || run < 2) {
        QTest::qWait(m_random.bounded(longestRunMs));
    } else {
        QVERIFY(recorder.waitForFrames(m_random.bounded(1, 130)));
        m_erasure.range = task < 9 ? LastHour : AllTime;
        m_erasure.end = recorder.beginToErase(m_erasure.range);
        QVERIFY(m_erasure.end > 0);
        ++m_erasures;
        QTest::qWait(m_random.bounded(1 << m_random.bounded(erasePowers)));
    }
    recorder.kill();
    if (recorder.hasErased()) { // and has gone on recording since
        m_erasure = {};
        ++m_erasuresDone;
    }
}

/// Fails the test if anything disagrees that an interrupted deletion does not explain.
HistoryChecker::Report TestKilledHistory::checkAfter(int run, bool workInProgress)
{
    FakeClock::set(momentOf(run).addSecs(120));
    HistoryChecker::Report report =
        HistoryChecker::check(QDir::homePath(), {workInProgress, !workInProgress});
    m_mostRows = std::max(m_mostRows, report.rows);
    QVector<HistoryChecker::Finding> left;
    for (const HistoryChecker::Finding &finding : qAsConst(report.disagreements)) {
        if (isOfNoRow(finding, m_erasure)) {
            m_halfWritten.insert(finding.subject);
        }
        if (!isExplained(finding, m_erasure) && !m_halfWritten.contains(finding.subject)) {
            left.append(finding);
        }
    }
    if (!left.isEmpty()) {
        QTest::qFail(qPrintable(QStringLiteral("run %1: ").arg(run) + texts(left)), __FILE__,
                     __LINE__);
    }
    return report;
}

void TestKilledHistory::verifyAfterKill(int run)
{
    checkAfter(run, true);
}

void TestKilledHistory::recover(int run)
{
    RecorderRun recorder(momentOf(run).addSecs(60), m_application.pid(),
                         {QStringLiteral("--idle")});
    QVERIFY(recorder.isStarted());
    QVERIFY(recorder.stop());
    m_disagreeing += checkAfter(run, false).disagreements.isEmpty() ? 0 : 1;
}

void TestKilledHistory::endErasure(int run)
{
    {
        RecorderRun recorder(QDateTime::fromSecsSinceEpoch(m_erasure.end), m_application.pid(),
                             {QStringLiteral("--idle"), QStringLiteral("--frozen")});
        QVERIFY(recorder.isStarted());
        QCOMPARE(recorder.erase(m_erasure.range), m_erasure.end);
        QVERIFY(recorder.stop());
    }
    verifyNothingErasedIsLeft();
    m_erasure = {};
    checkAfter(run, false);
}

void TestKilledHistory::verifyNothingErasedIsLeft()
{
    for (const ScreenShotData &row : CaptureFixture::storedRows()) {
        QVERIFY(row.realTime <= m_erasure.start() || row.realTime > m_erasure.end);
    }
    QCOMPARE(RecordedHistory::rowsWithWrongPicture(), QStringList());
}

void TestKilledHistory::historyStaysSoundThroughThirtyKills()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo() << "seed of the moments:" << seed;
    m_random.seed(seed);
    for (int run = 0; run < runs; ++run) {
        m_erasure = {};
        recordAndKill(run);
        verifyAfterKill(run);
        if (m_erasure.end > 0) {
            recover(run);
            endErasure(run);
        } else if (run % 4 == 3) { // else the next recorder itself is the start that recovers
            recover(run);
        }
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    m_erasure = {};
    recover(runs);
    QCOMPARE(RecordedHistory::rowsWithWrongPicture(), QStringList());
    QVERIFY(m_mostRows > 100);
    qInfo() << m_erasures << "deletions," << m_erasuresDone << "ended before the kill,"
            << m_disagreeing << "seen half done after the next start," << m_halfWritten.size()
            << "half-written videos left";
    QVERIFY(m_erasures > m_erasuresDone);
}

QTEST_GUILESS_MAIN(TestKilledHistory)
#include "killedhistorytest.moc"
