// What a process leaves that is killed in the middle of a deletion, and that deleting again ends
// it: files go first, rows second, vectors last. Run with "--work" it is the process that gets
// killed; the databases are open in one process at a time.

#include "capture/screenhistorytracker.h"
#include "database/datahandler.h"
#include "database/fileremoval.h"
#include "database/storedhistory.h"
#include "history/historychecker.h"
#include "support/fakeclock.h"

#include <QDir>
#include <QGuiApplication>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

using StoredHistory::frames;
using StoredHistory::picturesIn;

namespace
{
const QString WORK = QStringLiteral("--work");
const QString MAKE = QStringLiteral("make");
const QString SHOW_VECTORS = QStringLiteral("vectors");
const QString DELETE_HOUR = QStringLiteral("hour");
const QString DELETE_DAY = QStringLiteral("day");
const QString AT_ROWS = QStringLiteral("rows");
const QString AT_VECTORS = QStringLiteral("vectors");
const QString NEVER = QStringLiteral("never");
const QString DAY = QStringLiteral("2024-03-15");
const QString OLDER = QStringLiteral("2024-03-14_10-00-00.mp4");
const QString CUT = QStringLiteral("2024-03-15_12-57-30.mp4"); // its fourth frame at 13:00:30
const QString LATER = QStringLiteral("2024-03-15_13-30-00.mp4");
const QString LAST = QStringLiteral("2024-03-15_13-50-00.mp4");
constexpr int FINISH_MS = 60000;

QDateTime now()
{
    return {QDate(2024, 3, 15), QTime(14, 0)};
}

void die()
{
    ::kill(getpid(), SIGKILL);
}

void dieWhereRowsGo(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    Q_UNUSED(level)
    Q_UNUSED(context)
    if (text.contains(QLatin1String("Deleting time range: "))) {
        die();
    }
}

// @p stop: "rows", "vectors", "never", or the number of the removal of a file.
void prepareToDie(const QString &stop)
{
    if (stop == AT_ROWS) {
        qInstallMessageHandler(&dieWhereRowsGo);
    } else if (stop == AT_VECTORS) {
        StoredHistory::beforeVectorsAreDeleted(&die);
    } else if (stop != NEVER) {
        FileRemoval::before([removals = stop.toInt()]() mutable {
            if (--removals == 0) {
                die();
            }
        });
    }
}

void makeHistory()
{
    StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(10, 0)), 3});
    StoredHistory::store({now().addSecs(-3750), 6, 60, 1, 1});
    StoredHistory::store({now().addSecs(-1800), 3, 60, 7, 7});
    StoredHistory::store({now().addSecs(-600), 3, 60, 10, 10});
}

int work(const QString &task, const QString &stop)
{
    FakeClock::freeze(now());
    StoredHistory::openVectorStore();
    if (task == MAKE) {
        makeHistory();
        return 0;
    }
    if (task == SHOW_VECTORS) {
        std::printf("%s\n", qPrintable(StoredHistory::vectors().join(QLatin1Char('\n'))));
        return 0;
    }
    ScreenHistoryTracker tracker;
    DataHandler handler(tracker);
    prepareToDie(stop);
    const bool deleted =
        task == DELETE_DAY ? handler.deleteDataAtDate(DAY) : handler.deleteUserData(LastHour);
    return deleted ? 0 : 1;
}

QStringList textsOf(const QVector<HistoryChecker::Finding> &findings)
{
    QStringList texts;
    for (const HistoryChecker::Finding &finding : findings) {
        texts << HistoryChecker::text(finding);
    }
    return texts;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}
} // namespace

class KilledDeletionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void aDayKilledAmongItsFilesKeepsRowsAndVectors_data();
    void aDayKilledAmongItsFilesKeepsRowsAndVectors();
    void aDayKilledBeforeItsRowsHasNoFiles();
    void aDayKilledBeforeItsVectorsHasNoRows();
    void aRangeKilledAmongItsFilesKeepsRowsAndVectors_data();
    void aRangeKilledAmongItsFilesKeepsRowsAndVectors();
    void aRangeKilledBeforeItsRowsHasNoFiles();
    void aRangeKilledBeforeItsVectorsHasNoRows();

private:
    static void run(const QString &task, const QString &stop, QByteArray *output = nullptr);
    static QString cache();
    static QStringList vectors();
    static QStringList allFrames();
    /// That files, rows and vectors agree but for @p kind.
    static void verifyAgreementButFor(HistoryChecker::Kind kind);
    static void deleteAgain(const QString &task, const QStringList &left);
};

void KilledDeletionTest::initTestCase()
{
    run(MAKE, NEVER);
    QCOMPARE(vectors(), allFrames());
    QVERIFY(QDir().rename(cache(), cache() + QLatin1String(".made")));
}

void KilledDeletionTest::init()
{
    QDir(cache()).removeRecursively();
    QCOMPARE(QProcess::execute(QStringLiteral("cp"),
                               {QStringLiteral("-a"), cache() + QLatin1String(".made"), cache()}),
             0);
    QCOMPARE(StoredHistory::rows(), allFrames());
}

QString KilledDeletionTest::cache()
{
    return QDir::homePath() + QLatin1String("/.cache");
}

void KilledDeletionTest::run(const QString &task, const QString &stop, QByteArray *output)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {WORK, task, stop});
    QVERIFY(process.waitForFinished(FINISH_MS));
    if (stop == NEVER) {
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    } else {
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    }
    if (output) {
        *output = process.readAllStandardOutput();
    }
}

QStringList KilledDeletionTest::vectors()
{
    QByteArray output;
    run(SHOW_VECTORS, NEVER, &output);
    return QString::fromUtf8(output).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList KilledDeletionTest::allFrames()
{
    return sorted(frames(OLDER, 1, 3) + frames(CUT, 1, 6) + frames(LATER, 1, 3) +
                  frames(LAST, 1, 3));
}

void KilledDeletionTest::verifyAgreementButFor(HistoryChecker::Kind kind)
{
    HistoryChecker::Options options;
    options.workInProgress = true;
    const HistoryChecker::Report report = HistoryChecker::check(QDir::homePath(), options);
    QVERIFY(report.count(kind) > 0);
    QCOMPARE(textsOf(report.otherThan(kind)), QStringList());
}

void KilledDeletionTest::deleteAgain(const QString &task, const QStringList &left)
{
    run(task, NEVER);
    QCOMPARE(StoredHistory::rows(), left);
    QCOMPARE(vectors(), left);
    QVERIFY(!QFile::exists(StoredHistory::pathOf(LATER)));
    QVERIFY(!QFile::exists(StoredHistory::pathOf(LAST)));
    QCOMPARE(picturesIn(OLDER), QVector<int>({1, 2, 3}));
    QCOMPARE(textsOf(HistoryChecker::check(QDir::homePath()).disagreements), QStringList());
    if (task == DELETE_DAY) {
        QCOMPARE(StoredHistory::files().size(), 1);
    } else {
        QCOMPARE(picturesIn(CUT), QVector<int>({1, 2, 3, 4}));
    }
}

void KilledDeletionTest::aDayKilledAmongItsFilesKeepsRowsAndVectors_data()
{
    QTest::addColumn<int>("removal");
    QTest::newRow("at the first file") << 1;
    QTest::newRow("at the last file") << 3;
    QTest::newRow("at the folder") << 4;
}

void KilledDeletionTest::aDayKilledAmongItsFilesKeepsRowsAndVectors()
{
    QFETCH(int, removal);
    run(DELETE_DAY, QString::number(removal));
    QCOMPARE(StoredHistory::files().size(), 4 - (removal - 1));
    QCOMPARE(StoredHistory::rows(), allFrames());
    QCOMPARE(vectors(), allFrames());
    deleteAgain(DELETE_DAY, frames(OLDER, 1, 3));
}

void KilledDeletionTest::aDayKilledBeforeItsRowsHasNoFiles()
{
    run(DELETE_DAY, AT_ROWS);
    QCOMPARE(StoredHistory::files().size(), 1);
    QCOMPARE(StoredHistory::rows(), allFrames());
    QCOMPARE(vectors(), allFrames());
    verifyAgreementButFor(HistoryChecker::Kind::RowWithoutFrame);
    deleteAgain(DELETE_DAY, frames(OLDER, 1, 3));
}

void KilledDeletionTest::aDayKilledBeforeItsVectorsHasNoRows()
{
    run(DELETE_DAY, AT_VECTORS);
    QCOMPARE(StoredHistory::files().size(), 1);
    QCOMPARE(StoredHistory::rows(), frames(OLDER, 1, 3));
    QCOMPARE(vectors(), allFrames());
    verifyAgreementButFor(HistoryChecker::Kind::VectorWithoutRow);
    deleteAgain(DELETE_DAY, frames(OLDER, 1, 3));
}

void KilledDeletionTest::aRangeKilledAmongItsFilesKeepsRowsAndVectors_data()
{
    QTest::addColumn<int>("removal");
    QTest::addColumn<int>("files");
    QTest::newRow("at the shortened video's former self") << 1 << 5;
    QTest::newRow("at the first later video") << 2 << 4;
    QTest::newRow("at the second") << 3 << 3;
    QTest::newRow("at the first safety copy") << 4 << 2;
}

void KilledDeletionTest::aRangeKilledAmongItsFilesKeepsRowsAndVectors()
{
    QFETCH(int, removal);
    QFETCH(int, files);
    run(DELETE_HOUR, QString::number(removal));
    QCOMPARE(StoredHistory::files().size(), files);
    QCOMPARE(picturesIn(CUT), QVector<int>({1, 2, 3, 4}));
    QCOMPARE(StoredHistory::rows(), allFrames());
    QCOMPARE(vectors(), allFrames());
    deleteAgain(DELETE_HOUR, frames(OLDER, 1, 3) + frames(CUT, 1, 3));
    // The backup of a shortening that did not come to its end is looked after by nobody.
    QCOMPARE(QFile::exists(StoredHistory::pathOf(CUT) + QLatin1String(".bak")), removal == 1);
    deleteAgain(DELETE_DAY, frames(OLDER, 1, 3));
}

void KilledDeletionTest::aRangeKilledBeforeItsRowsHasNoFiles()
{
    run(DELETE_HOUR, AT_ROWS);
    QCOMPARE(StoredHistory::files().size(), 2);
    QCOMPARE(StoredHistory::rows(), allFrames());
    QCOMPARE(vectors(), allFrames());
    verifyAgreementButFor(HistoryChecker::Kind::RowWithoutFrame);
    deleteAgain(DELETE_HOUR, frames(OLDER, 1, 3) + frames(CUT, 1, 3));
}

void KilledDeletionTest::aRangeKilledBeforeItsVectorsHasNoRows()
{
    const QStringList left = frames(OLDER, 1, 3) + frames(CUT, 1, 3);
    run(DELETE_HOUR, AT_VECTORS);
    QCOMPARE(StoredHistory::files().size(), 2);
    QCOMPARE(StoredHistory::rows(), left);
    QCOMPARE(vectors(), allFrames());
    verifyAgreementButFor(HistoryChecker::Kind::VectorWithoutRow);
    deleteAgain(DELETE_HOUR, left);
}

int main(int argc, char *argv[])
{
    ::umask(0077); // as the program
    QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == WORK) {
        return work(arguments.value(2), arguments.value(3));
    }
    KilledDeletionTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "killeddeletiontest.moc"
