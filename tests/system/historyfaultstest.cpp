// What a recorder makes of a history that somebody else has damaged between or during its runs, and
// of a clock that jumps: nothing else comes to harm, and what is lost is lost as far as it was
// damaged.

#include "capture/capturefixture.h"
#include "history/historychecker.h"
#include "support/fakeclock.h"
#include "support/testfiles.h"
#include "system/recorderrun.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>

#include <memory>
#include <sqlite3.h>

using HistoryChecker::Kind;
using HistoryChecker::Report;

namespace
{
using Damage = void (*)(const QString &path);

constexpr qint64 secondsOfDay = 86400;
const QString month = QStringLiteral("2024-03");

void remove(const QString &path)
{
    QFile::remove(path);
}

void empty(const QString &path)
{
    QFile(path).resize(0);
}

void cutShort(const QString &path)
{
    QFile file(path);
    file.resize(file.size() * 3 / 5);
}

void overwrite(const QString &path)
{
    QFile file(path);
    if (file.open(QFile::WriteOnly)) {
        file.write(QByteArray(20000, 'x'));
    }
}

QString texts(const QVector<HistoryChecker::Finding> &findings)
{
    QStringList lines;
    for (const HistoryChecker::Finding &finding : findings) {
        lines.append(HistoryChecker::text(finding));
    }
    return lines.mid(0, 8).join(QLatin1Char('\n'));
}

/// Whether @p vectors may be those of @p frames of one run: the first frames go without while the
/// vector store comes up.
bool hasVectorsOf(int frames, int vectors)
{
    return vectors > 0 && vectors <= frames;
}

/// Keeps everybody else from reading and writing a database.
class MonthLock
{
public:
    explicit MonthLock(const QString &path)
    {
        sqlite3 *handle = nullptr;
        m_isHeld = sqlite3_open(QFile::encodeName(path).constData(), &handle) == SQLITE_OK;
        m_handle.reset(handle);
        sqlite3_busy_timeout(handle, 10000);
        m_isHeld = m_isHeld &&
                   sqlite3_exec(handle, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) == SQLITE_OK;
    }

    bool isHeld() const { return m_isHeld; }

private:
    std::unique_ptr<sqlite3, decltype(&sqlite3_close)> m_handle{nullptr, &sqlite3_close};
    bool m_isHeld;
};
} // namespace

Q_DECLARE_METATYPE(Damage)

class TestHistoryFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { FakeClock::reset(); }

    void lostMonthFileTakesItsRowsAlone_data();
    void lostMonthFileTakesItsRowsAlone();
    void damagedMonthFileIsLeftAsItIs_data();
    void damagedMonthFileIsLeftAsItIs();
    void lostOlderMonthLeavesTheOthers();
    void monthFileLockedForAMomentLosesNothing();
    void monthFileLockedForLongLosesTheRowsOfThatTime();
    void damagedVideoTakesItsOwnFramesAlone_data();
    void damagedVideoTakesItsOwnFramesAlone();
    void everythingDamagedCanBeErased_data();
    void everythingDamagedCanBeErased();
    void damagedVideoIsErasedWithItsRange();
    void recordingWaitsUntilTheClockHasComeBack_data();
    void recordingWaitsUntilTheClockHasComeBack();
    void framesRecordedInThePastDisturbNone_data();
    void framesRecordedInThePastDisturbNone();
    void clockSetBackWhileRecordingStopsIt_data();
    void clockSetBackWhileRecordingStopsIt();
    void erasingEverythingEndsAClockSetBack_data();
    void erasingEverythingEndsAClockSetBack();

private:
    int record(const QDateTime &moment, int frames, const QStringList &options = {});
    Report check(const QDateTime &now);
    QString videoOf(const QDateTime &moment) const;

    const CaptureFixture::Application m_application{CaptureFixture::Application::FileManager};
    const QDateTime m_start{QDate(2024, 3, 5), QTime(14, 0, 0)};
};

void TestHistoryFaults::init()
{
    RecordedHistory::eraseEverything();
}

/// One run to its orderly end; how many frames it stored.
int TestHistoryFaults::record(const QDateTime &moment, int frames, const QStringList &options)
{
    RecorderRun recorder(moment, m_application.pid(), options);
    const bool recorded = recorder.isStarted() && recorder.waitForFrames(frames);
    return recorded && recorder.stop() ? recorder.frames() : 0;
}

Report TestHistoryFaults::check(const QDateTime &now)
{
    FakeClock::set(now);
    return HistoryChecker::check(QDir::homePath(), {false, true});
}

/// The only video of the run that began at @p moment.
QString TestHistoryFaults::videoOf(const QDateTime &moment) const
{
    for (const ScreenShotData &row : CaptureFixture::storedRows()) {
        if (row.realTime >= moment.toSecsSinceEpoch()) {
            return row.videoName;
        }
    }
    return {};
}

void TestHistoryFaults::lostMonthFileTakesItsRowsAlone_data()
{
    QTest::addColumn<Damage>("damage");
    QTest::newRow("removed") << Damage(&remove);
    QTest::newRow("emptied") << Damage(&empty);
}

void TestHistoryFaults::lostMonthFileTakesItsRowsAlone()
{
    QFETCH(Damage, damage);
    const int lost = record(m_start, 8);
    QVERIFY(lost >= 8);
    damage(RecordedHistory::monthFile(month));
    const int kept = record(m_start.addSecs(60), 8);
    const Report report = check(m_start.addSecs(120));
    QVERIFY(hasVectorsOf(lost, report.count(Kind::VectorWithoutRow)));
    QVERIFY2(report.otherThan(Kind::VectorWithoutRow).isEmpty(),
             qPrintable(texts(report.disagreements)));
    QCOMPARE(report.count(Kind::FrameWithoutRow), 1);
    QCOMPARE(report.rows, kept);
    QCOMPARE(CaptureFixture::storedRows().first().frameIndexOfDay, 1U);
}

void TestHistoryFaults::damagedMonthFileIsLeftAsItIs_data()
{
    QTest::addColumn<Damage>("damage");
    QTest::newRow("overwritten") << Damage(&overwrite);
    QTest::newRow("cut short") << Damage(&cutShort);
}

void TestHistoryFaults::damagedMonthFileIsLeftAsItIs()
{
    QFETCH(Damage, damage);
    QVERIFY(record(m_start, 40) > 0);
    damage(RecordedHistory::monthFile(month));
    const QByteArray damaged = contentOf(RecordedHistory::monthFile(month));
    QVERIFY(record(m_start.addSecs(60), 8) > 0);
    const Report report = check(m_start.addSecs(120));
    QCOMPARE(report.count(Kind::UnreadableDatabase), 1);
    QVERIFY2(report.otherThan(Kind::UnreadableDatabase).isEmpty(),
             qPrintable(texts(report.disagreements)));
    QCOMPARE(report.videos, 2);
    QVERIFY(contentOf(RecordedHistory::monthFile(month)).startsWith(damaged.left(20)));
}

void TestHistoryFaults::lostOlderMonthLeavesTheOthers()
{
    const QDateTime older = m_start.addDays(-10);
    const int lost = record(older, 8);
    QVERIFY(lost > 0);
    const int kept = record(m_start, 8);
    remove(RecordedHistory::monthFile(QStringLiteral("2024-02")));
    const int later = record(m_start.addSecs(60), 8);
    const Report report = check(m_start.addSecs(120));
    QVERIFY2(report.disagreements.isEmpty(), qPrintable(texts(report.disagreements)));
    QVERIFY(hasVectorsOf(lost, report.count(Kind::VectorOfMissingMonth)));
    QCOMPARE(report.rows, kept + later);
}

void TestHistoryFaults::monthFileLockedForAMomentLosesNothing()
{
    RecorderRun recorder(m_start, m_application.pid());
    QVERIFY(recorder.waitForFrames(8));
    {
        const MonthLock lock(RecordedHistory::monthFile(month));
        QVERIFY(lock.isHeld());
        QTest::qWait(1500); // a program that reads the file from end to end
    }
    QVERIFY(recorder.waitForFrames(8));
    QVERIFY(recorder.stop());
    const Report report = check(m_start.addSecs(120));
    QVERIFY2(report.disagreements.isEmpty(), qPrintable(texts(report.disagreements)));
    QCOMPARE(report.rows, recorder.frames());
    QVERIFY(hasVectorsOf(recorder.frames(), report.vectors));
}

void TestHistoryFaults::monthFileLockedForLongLosesTheRowsOfThatTime()
{
    RecorderRun recorder(m_start, m_application.pid());
    QVERIFY(recorder.waitForFrames(8));
    {
        const MonthLock lock(RecordedHistory::monthFile(month));
        QVERIFY(lock.isHeld());
        QCoreApplication::processEvents();  // frames told of while the lock was waited for
        QVERIFY(recorder.waitForFrames(2)); // the first may have been under way
    }
    QVERIFY(recorder.waitForFrames(100)); // into another video
    QVERIFY(recorder.stop());
    const int kept = record(m_start.addSecs(60), 8); // numbers by the rows that there are

    const Report report = check(m_start.addSecs(120));
    const int lost = report.count(Kind::VectorWithoutRow);
    QVERIFY(lost >= 1);
    QVERIFY2(report.otherThan(Kind::VectorWithoutRow).isEmpty(),
             qPrintable(texts(report.disagreements)));
    QCOMPARE(report.rows, recorder.frames() - lost + kept);
    QCOMPARE(RecordedHistory::rowsWithWrongPicture(), QStringList());
}

void TestHistoryFaults::damagedVideoTakesItsOwnFramesAlone_data()
{
    QTest::addColumn<Damage>("damage");
    QTest::addColumn<int>("videosWithoutFrames");
    QTest::newRow("removed") << Damage(&remove) << 0;
    QTest::newRow("emptied") << Damage(&empty) << 1;
    QTest::newRow("cut short") << Damage(&cutShort) << 1;
    QTest::newRow("overwritten") << Damage(&overwrite) << 1;
}

void TestHistoryFaults::damagedVideoTakesItsOwnFramesAlone()
{
    QFETCH(Damage, damage);
    QFETCH(int, videosWithoutFrames);
    const int lost = record(m_start, 8);
    QVERIFY(record(m_start.addSecs(60), 8) > 0);
    damage(RecordedHistory::pathOf(videoOf(m_start)));
    QVERIFY(record(m_start.addSecs(120), 8) > 0);
    const Report report = check(m_start.addSecs(180));
    QCOMPARE(report.count(Kind::RowWithoutFrame), lost);
    QCOMPARE(report.count(Kind::VideoWithoutFrames), videosWithoutFrames);
    QCOMPARE(report.disagreements.size(), lost + videosWithoutFrames);
}

void TestHistoryFaults::everythingDamagedCanBeErased_data()
{
    QTest::addColumn<Damage>("damage");
    QTest::newRow("emptied") << Damage(&empty);
    QTest::newRow("cut short") << Damage(&cutShort);
    QTest::newRow("overwritten") << Damage(&overwrite);
}

void TestHistoryFaults::everythingDamagedCanBeErased()
{
    QFETCH(Damage, damage);
    QVERIFY(record(m_start, 40) > 0);
    damage(RecordedHistory::pathOf(videoOf(m_start)));
    damage(RecordedHistory::monthFile(month));
    {
        RecorderRun recorder(m_start.addSecs(60), m_application.pid());
        QVERIFY(recorder.waitForFrames(10));
        QVERIFY(recorder.erase(AllTime) > 0);
        QVERIFY(recorder.waitForFrames(10));
        QVERIFY(recorder.stop());
    }
    const Report report = check(m_start.addSecs(120));
    QVERIFY2(report.disagreements.isEmpty(), qPrintable(texts(report.disagreements)));
    QCOMPARE(report.videos, 1);
    QVERIFY(hasVectorsOf(report.rows, report.vectors));
    QCOMPARE(CaptureFixture::storedRows().first().frameIndexOfDay, 1U);
    QCOMPARE(RecordedHistory::rowsWithWrongPicture(), QStringList());
}

void TestHistoryFaults::damagedVideoIsErasedWithItsRange()
{
    const int older = record(m_start.addSecs(-7200), 8);
    QVERIFY(record(m_start, 8) > 0);
    QVERIFY(record(m_start.addSecs(60), 8) > 0);
    const QString damaged = RecordedHistory::pathOf(videoOf(m_start.addSecs(60)));
    cutShort(damaged);
    {
        RecorderRun recorder(m_start.addSecs(120), m_application.pid(), {QStringLiteral("--idle")});
        QVERIFY(recorder.erase(LastHour) > 0);
        QVERIFY(recorder.stop());
    }
    const Report report = check(m_start.addSecs(180));
    QVERIFY2(report.disagreements.isEmpty(), qPrintable(texts(report.disagreements)));
    QVERIFY(!QFile::exists(damaged));
    QCOMPARE(report.rows, older);
    QVERIFY(hasVectorsOf(older, report.vectors));
}

void TestHistoryFaults::recordingWaitsUntilTheClockHasComeBack_data()
{
    QTest::addColumn<qint64>("back");
    QTest::newRow("an hour") << qint64{3600};
    QTest::newRow("a day") << qint64{secondsOfDay};
    QTest::newRow("a year") << qint64{366 * secondsOfDay};
}

void TestHistoryFaults::recordingWaitsUntilTheClockHasComeBack()
{
    QFETCH(qint64, back);
    const int before = record(m_start, 105);
    QVERIFY(before >= 105);
    {
        RecorderRun recorder(m_start.addSecs(60 - back), m_application.pid());
        QVERIFY(recorder.isStarted());
        // A year back a file of that month is made, and it is not the newest one.
        QVERIFY(recorder.waitForClockBack());
        QVERIFY(recorder.stop());
        QCOMPARE(recorder.frames(), 0);
    }
    Report report = check(m_start.addSecs(60 - back));
    QVERIFY2(report.disagreements.isEmpty(), qPrintable(texts(report.disagreements)));
    QCOMPARE(report.rows, before);
    const int after = record(m_start.addSecs(120), 8);
    report = check(m_start.addSecs(180));
    QVERIFY2(report.disagreements.isEmpty(), qPrintable(texts(report.disagreements)));
    // At its end a busy encoder may leave the last batch to the next start.
    QVERIFY2(report.irregularities.size() ==
                 report.count(Kind::RowWithoutVector) + report.count(Kind::ImagesWithoutVideo),
             qPrintable(texts(report.irregularities)));
    QCOMPARE(report.rows, before + after);
    QCOMPARE(CaptureFixture::storedRows().last().frameIndexOfDay,
             static_cast<quint32>(before + after));
}

void TestHistoryFaults::framesRecordedInThePastDisturbNone_data()
{
    recordingWaitsUntilTheClockHasComeBack_data();
}

void TestHistoryFaults::framesRecordedInThePastDisturbNone()
{
    QFETCH(qint64, back);
    const QStringList unguarded{QStringLiteral("--unguarded")};
    QVERIFY(record(m_start.addSecs(-back - 60), 8) > 0);
    QVERIFY(record(m_start, 8) > 0);
    {
        RecorderRun recorder(m_start.addSecs(60 - back), m_application.pid(), unguarded);
        QVERIFY(recorder.waitForFrames(110)); // the first batch may be with the encoder
        recorder.kill();
    }
    QVERIFY(record(m_start.addSecs(120 - back), 20, unguarded) > 0);
    QVERIFY(record(m_start.addSecs(180), 20, unguarded) > 0);
    const Report report = check(m_start.addSecs(240));
    QVERIFY2(report.disagreements.isEmpty(), qPrintable(texts(report.disagreements)));
    QCOMPARE(report.count(Kind::Renumbered), 0);
    QCOMPARE(RecordedHistory::rowsWithWrongPicture(), QStringList());
}

void TestHistoryFaults::clockSetBackWhileRecordingStopsIt_data()
{
    recordingWaitsUntilTheClockHasComeBack_data();
}

void TestHistoryFaults::clockSetBackWhileRecordingStopsIt()
{
    QFETCH(qint64, back);
    RecorderRun recorder(m_start, m_application.pid());
    QVERIFY(recorder.waitForFrames(110));
    recorder.moveClock(-back);
    QVERIFY(recorder.waitForClockBack());
    const int before = recorder.frames();
    recorder.moveClock(back - 1); // still behind the last frame's check
    recorder.moveClock(61);
    QVERIFY(recorder.waitForFrames(110));
    QVERIFY(recorder.stop());
    const Report report = check(m_start.addSecs(180));
    QVERIFY2(report.disagreements.isEmpty(), qPrintable(texts(report.disagreements)));
    // At its end a busy encoder may leave the last batch to the next start.
    QVERIFY2(report.irregularities.size() ==
                 report.count(Kind::RowWithoutVector) + report.count(Kind::ImagesWithoutVideo),
             qPrintable(texts(report.irregularities)));
    QVERIFY(recorder.frames() >= before + 110);
    QCOMPARE(report.rows, recorder.frames());
    for (const ScreenShotData &row : CaptureFixture::storedRows()) {
        QVERIFY(row.realTime >= m_start.toSecsSinceEpoch());
    }
    QCOMPARE(RecordedHistory::rowsWithWrongPicture(), QStringList());
}

void TestHistoryFaults::erasingEverythingEndsAClockSetBack_data()
{
    recordingWaitsUntilTheClockHasComeBack_data();
}

void TestHistoryFaults::erasingEverythingEndsAClockSetBack()
{
    QFETCH(qint64, back);
    RecorderRun recorder(m_start, m_application.pid());
    QVERIFY(recorder.waitForFrames(10));
    recorder.moveClock(-back);
    QVERIFY(recorder.erase(AllTime) > 0);
    const int future = recorder.frames();
    QVERIFY(recorder.waitForFrames(10));
    QVERIFY(recorder.stop());
    const Report report = check(m_start.addSecs(-back + 60));
    QVERIFY2(report.disagreements.isEmpty(), qPrintable(texts(report.disagreements)));
    // Deleting ends at the present moment: the vectors from before lie behind it.
    QVERIFY(report.vectors > report.rows);
    QCOMPARE(report.count(Kind::VectorOfTheFuture) + report.count(Kind::VectorOfMissingMonth),
             report.vectors - report.rows);
    QVERIFY(report.vectors - report.rows <= future);
    QCOMPARE(report.videos, 1);
    QCOMPARE(CaptureFixture::storedRows().first().frameIndexOfDay, 1U);
}

QTEST_GUILESS_MAIN(TestHistoryFaults)
#include "historyfaultstest.moc"
