// yestermarkctl where there is no history, where a part of it is damaged, locked or half written,
// and where it lies in the encrypted box: each has its status, and nothing is made or mended.

#include "cli/ctlworld.h"
#include "tools/historyworld.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
struct Closer {
    void operator()(sqlite3 *handle) const { sqlite3_close(handle); }
};
using Handle = std::unique_ptr<sqlite3, Closer>;

Handle openDatabase(const QString &path)
{
    sqlite3 *handle = nullptr;
    sqlite3_open(QFile::encodeName(path).constData(), &handle);
    return Handle(handle);
}

bool run(sqlite3 *handle, const char *sql)
{
    return sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// BOX STORE HOME PROGRAM ARGUMENTS: moves the store into a file system of its own at BOX.
constexpr char RUN_IN_BOX[] = R"(
mount -t tmpfs none "$1"
cp -a "$2"/* "$1"
rm -r "$2"/*
export HOME="$3"
exec "$4" $5)";

// FOLDER HOME PROGRAM: tells the exit status and what the export has left.
constexpr char EXPORT_TO_FULL_DISK[] = R"(
mount -t tmpfs -o size=64k none "$1" &&
HOME="$2" "$3" export -o "$1/export"
echo $? $(ls "$1/export"))";

const QList<QStringList> &readingCommands()
{
    static const QList<QStringList> commands = {{"search", "the"}, {"apps"}, {"days"}};
    return commands;
}

/// The options by which this machine lets a user have mounts of their own; empty if it does not.
QStringList ownMounts()
{
    for (const char *options : {"-m", "-rm"}) {
        QProcess process;
        process.start("unshare", {options, "mount", "-t", "tmpfs", "none", "/mnt"});
        if (process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
            process.exitCode() == 0) {
            return {options};
        }
    }
    return {};
}
} // namespace

class TestCtlFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void withoutAHistoryNothingIsMade_data();
    void withoutAHistoryNothingIsMade();
    void emptyStoreHasNothing();
    void monthThatHasJustBegunIsNoFault();
    void damagedMonthIsToldAndTheOthersAreRead();
    void unreadableDirectoryIsTold();
    void foreignFilesArePassedOver();
    void lockedMonthIsToldAfterAWhile();
    void writerInTheMiddleOfItsWorkDoesNotMatter();
    void rowsOfAKilledWriterAreReadAsTheyWereBefore();
    void frameThatIsNotThereEndsWithOne_data();
    void frameThatIsNotThereEndsWithOne();
    void frameWithoutARowIsShown();
    void damagedVideoHasNoPicture();
    void exportKeepsToTheHistory();
    void openBoxIsLookedAt();
    void closedBoxIsTold();
    void theCacheVariableMovesNothing();
    void fullOutputIsTold();
    void standardOutputThatTakesNothingIsTold_data();
    void standardOutputThatTakesNothingIsTold();

private:
    HistoryWorld m_world;
    bool m_isFresh = true;
};

void TestCtlFaults::init()
{
    if (!m_isFresh) {
        m_world.reset();
    }
    m_isFresh = false;
}

void TestCtlFaults::withoutAHistoryNothingIsMade_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("status") << QStringList{"status"} << 0 << QByteArray();
    QTest::newRow("search") << QStringList{"search", "a"} << 1 << QByteArray("[]\n");
    QTest::newRow("meaning") << QStringList{"search", "--meaning", "a"} << 1 << QByteArray("[]\n");
    QTest::newRow("show") << QStringList{"show", "2024-12-13#1", "-o", "x.png"} << 1
                          << QByteArray();
    QTest::newRow("apps") << QStringList{"apps"} << 1 << QByteArray("[]\n");
    QTest::newRow("days") << QStringList{"days"} << 1 << QByteArray("[]\n");
    QTest::newRow("export") << QStringList{"export", "-o", "x"} << 1 << QByteArray();
    QTest::newRow("verify") << QStringList{"verify"} << 0 << QByteArray();
}

void TestCtlFaults::withoutAHistoryNothingIsMade()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QByteArray, json);
    const QTemporaryDir home;
    const CtlWorld ctl(home.path());
    const int place = arguments.indexOf("-o") + 1;
    if (place > 0) {
        arguments[place] = home.filePath(arguments[place]);
    }
    QCOMPARE(ctl.run(arguments).status, status);
    const CtlRun run = ctl.run(QStringList{"--json"} + arguments);
    QCOMPARE(run.status, status);
    if (!json.isEmpty()) {
        QCOMPARE(run.out, json);
    }
    if (status != 0) {
        QVERIFY(run.faults.contains("nothing has been recorded yet"));
    }
    QVERIFY2(ctl.listing().isEmpty(), ctl.listing().constData());
}

void TestCtlFaults::emptyStoreHasNothing()
{
    const QTemporaryDir home;
    const CtlWorld ctl(home.path());
    QVERIFY(QDir().mkpath(ctl.root() + "/traditional_database"));
    const QByteArray before = ctl.listing();
    for (const QStringList &command : readingCommands()) {
        const CtlRun run = ctl.run(command);
        QCOMPARE(run.status, 1);
        QVERIFY(run.out.isEmpty() && run.faults.isEmpty());
    }
    QVERIFY(ctl.run({"status", "--json"}).object()["lastFrame"].isNull());
    QCOMPARE(ctl.listing(), before);
}

void TestCtlFaults::monthThatHasJustBegunIsNoFault()
{
    const CtlWorld ctl(m_world.home());
    const QString folder = ctl.root() + "/traditional_database/";
    m_world.write(folder + "2025-01.db", QByteArray()); // a kill before its table
    const Handle begun = openDatabase(folder + "2025-02.db");
    QVERIFY(run(begun.get(), "PRAGMA user_version = 0; CREATE TABLE other (a)"));
    QCOMPARE(ctl.run({"days"}).status, 0);
    QCOMPARE(ctl.run({"days"}).lines().size(), 2);
    QVERIFY(ctl.run({"days"}).faults.isEmpty());
    const QJsonObject last = ctl.run({"status", "--json"}).object()["lastFrame"].toObject();
    QCOMPARE(static_cast<qint64>(last["epoch"].toDouble()), m_world.facts().lastTime);
}

void TestCtlFaults::damagedMonthIsToldAndTheOthersAreRead()
{
    const CtlWorld ctl(m_world.home());
    m_world.write(ctl.root() + "/traditional_database/2023-11.db", QByteArray(8192, 'x'));
    const QByteArray before = ctl.listing();
    for (const QStringList &command : readingCommands()) {
        const CtlRun run = ctl.run(command);
        QCOMPARE(run.status, 3);
        QVERIFY(run.faults.contains("2023-11.db cannot be read"));
        QVERIFY(!run.out.isEmpty());
    }
    QVERIFY(!QJsonDocument::fromJson(ctl.run({"days", "--json"}).out).array().isEmpty());
    const CtlRun verified = ctl.run({"verify"});
    QCOMPARE(verified.status, 3);
    QVERIFY(verified.out.contains("unreadable database: 2023-11.db"));
    QCOMPARE(ctl.run({"status"}).status, 0); // the newest frame is known
    QCOMPARE(ctl.listing(), before);
}

void TestCtlFaults::unreadableDirectoryIsTold()
{
    if (::geteuid() == 0) {
        QSKIP("no directory is closed to root");
    }
    const CtlWorld ctl(m_world.home());
    const QByteArray folder = QFile::encodeName(ctl.root() + "/traditional_database");
    ::chmod(folder.constData(), 0);
    const CtlRun run = ctl.run({"days"});
    ::chmod(folder.constData(), 0700);
    QCOMPARE(run.status, 3);
    QVERIFY(run.faults.contains("cannot be read"));
}

void TestCtlFaults::foreignFilesArePassedOver()
{
    const CtlWorld ctl(m_world.home());
    for (const char *name : {"notes.db", "2024-1.db", "2024-11.db.old"}) {
        m_world.write(ctl.root() + "/traditional_database/" + name, "mine");
    }
    QCOMPARE(ctl.run({"days"}).status, 0);
    QVERIFY(ctl.run({"days"}).faults.isEmpty());
}

void TestCtlFaults::lockedMonthIsToldAfterAWhile()
{
    const CtlWorld ctl(m_world.home());
    const Handle other = openDatabase(m_world.monthFile());
    QVERIFY(run(other.get(), "BEGIN EXCLUSIVE"));
    const CtlRun locked = ctl.run({"days"});
    QCOMPARE(locked.status, 3);
    QVERIFY(locked.faults.contains("2024-12.db is locked"));
    QVERIFY(run(other.get(), "ROLLBACK"));
    QCOMPARE(ctl.run({"days"}).status, 0);
}

void TestCtlFaults::writerInTheMiddleOfItsWorkDoesNotMatter()
{
    const CtlWorld ctl(m_world.home());
    const Handle writer = openDatabase(m_world.monthFile());
    QVERIFY(run(writer.get(), "BEGIN IMMEDIATE; DELETE FROM screenshots WHERE id > 5"));
    const CtlRun meanwhile = ctl.run({"days", "--json"});
    QCOMPARE(meanwhile.status, 0);
    QCOMPARE(meanwhile.list().size(), 2);
    QVERIFY(run(writer.get(), "ROLLBACK"));
}

void TestCtlFaults::rowsOfAKilledWriterAreReadAsTheyWereBefore()
{
    CtlWorld ctl(m_world.home());
    const QTemporaryDir memory("/dev/shm/test-XXXXXX");
    ctl.set("XDG_RUNTIME_DIR", memory.path());
    const QDateTime untouched = QFileInfo(memory.path()).lastModified();
    const int child = ::fork();
    if (child == 0) {
        sqlite3 *handle = nullptr;
        sqlite3_open(QFile::encodeName(m_world.monthFile()).constData(), &handle);
        run(handle, "PRAGMA cache_size=1; BEGIN; DELETE FROM screenshots WHERE id < 300");
        ::raise(SIGKILL);
    }
    int ended = 0;
    QCOMPARE(::waitpid(child, &ended, 0), child);
    QVERIFY(QFileInfo(m_world.monthFile() + "-journal").size() > 0);
    const QByteArray before = ctl.listing();
    const QJsonArray days = ctl.run({"days", "--json"}).list();
    QCOMPARE(days.size(), 2);
    QCOMPARE(days[0].toObject()["frames"].toInt() + days[1].toObject()["frames"].toInt(),
             HistoryWorld::rows);
    QCOMPARE(ctl.run({"search", m_world.facts().commonWord}).status, 0);
    QVERIFY(ctl.run({"verify", "--running"}).out.contains(" 450 rows, "));
    QCOMPARE(ctl.listing(), before);
    // Copies have no name even there: one with a name would be left by a run that is killed.
    QCOMPARE(QFileInfo(memory.path()).lastModified(), untouched);
}

void TestCtlFaults::frameThatIsNotThereEndsWithOne_data()
{
    QTest::addColumn<QString>("frame");
    QTest::newRow("beyond the video") << m_world.lastVideo() + "#51";
    QTest::newRow("no such video") << m_world.facts().lastDay + "_00-00-01.mp4#1";
    QTest::newRow("no such month") << "2019-03-04_10-00-00.mp4#1";
    QTest::newRow("beyond the day") << m_world.facts().lastDay + "#99999";
    QTest::newRow("no such day") << "2019-03-04#1";
    QTest::newRow("beyond all numbers") << m_world.lastVideo() + "#999999999";
}

void TestCtlFaults::frameThatIsNotThereEndsWithOne()
{
    QFETCH(QString, frame);
    const CtlWorld ctl(m_world.home());
    const QTemporaryDir output;
    const CtlRun run = ctl.run({"show", frame, "-o", output.filePath("x.png")});
    QCOMPARE(run.status, 1);
    QVERIFY(run.faults.contains("there is no such frame"));
    QVERIFY(QDir(output.path()).isEmpty());
}

void TestCtlFaults::frameWithoutARowIsShown()
{
    m_world.changeRows("DELETE FROM screenshots WHERE video_name = $last AND "
                       "frame_index_of_video = 50");
    const CtlWorld ctl(m_world.home());
    const QTemporaryDir output;
    const QString frame = m_world.lastVideo() + "#50";
    const CtlRun run = ctl.run({"show", frame, "-o", output.filePath("x.png"), "--json"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.object()["frame"].toString(), frame);
    QVERIFY(!run.object().contains("time"));
}

void TestCtlFaults::damagedVideoHasNoPicture()
{
    const CtlWorld ctl(m_world.home());
    const QTemporaryDir output;
    QFile::remove(m_world.pathOf(m_world.lastVideo()));
    m_world.write(m_world.pathOf(m_world.lastVideo()), QByteArray(5000, 'v'));
    const CtlRun run =
        ctl.run({"show", m_world.lastVideo() + "#1", "-o", output.filePath("x.png")});
    QCOMPARE(run.status, 3);
    QVERIFY(run.faults.contains("no file holds the picture"));
    QVERIFY(QDir(output.path()).isEmpty());
}

void TestCtlFaults::exportKeepsToTheHistory()
{
    // A row that names a file elsewhere.
    m_world.write(m_world.home() + "/mine.mp4", "mine");
    m_world.changeRows("UPDATE screenshots SET video_name = '../../../../../../mine.mp4' WHERE "
                       "video_name = $last");
    const CtlWorld ctl(m_world.home());
    const QTemporaryDir output;
    const CtlRun run = ctl.run({"export", "-o", output.filePath("x"), "--json"});
    QCOMPARE(run.status, 3);
    QCOMPARE(run.object()["framesWithoutPicture"].toInt(), HistoryWorld::framesOfLastVideo);
    QVERIFY(!QFile::exists(output.filePath("mine.mp4")));
    QCOMPARE(QDir(output.filePath("x/videos")).entryList(QDir::Files).size(), 4);
}

void TestCtlFaults::openBoxIsLookedAt()
{
    const QStringList mounts = ownMounts();
    if (mounts.isEmpty()) {
        QSKIP("this machine lets nobody have mounts of their own");
    }
    const QString box = m_world.home() + "/.vault/tavel-ai-yestermark";
    QVERIFY(QDir().mkpath(box));
    const auto inBox = [&](const QString &command) {
        QProcess process;
        process.start("unshare",
                      mounts + QStringList{"sh", "-ec", RUN_IN_BOX, "sh", box, m_world.root(),
                                           m_world.home(), CtlWorld::program(), command});
        process.waitForFinished();
        return process.readAllStandardOutput();
    };
    const QJsonObject status = QJsonDocument::fromJson(inBox("status --json")).object();
    const QJsonObject store = status["store"].toObject();
    QCOMPARE(store["encrypted"].toBool(), true);
    QCOMPARE(store["folder"].toString(), box);
    QVERIFY(status["lastFrame"].isObject());
    m_world.reset();
    QVERIFY(QDir().mkpath(m_world.home() + "/.vault/tavel-ai-yestermark"));
    // The same directory without anything mounted there is not the box.
    QCOMPARE(CtlWorld(m_world.home()).run({"days"}).lines().size(), 2);
}

void TestCtlFaults::closedBoxIsTold()
{
    const QTemporaryDir home;
    const CtlWorld ctl(home.path());
    QVERIFY(QDir().mkpath(home.filePath(".local/share/vaultsm/tavel-ai-yestermark")));
    QVERIFY(QDir().mkpath(home.filePath(".vault/tavel-ai-yestermark")));
    const QByteArray before = ctl.listing();
    for (const QStringList &command : readingCommands()) {
        const CtlRun run = ctl.run(command);
        QCOMPARE(run.status, 3);
        QVERIFY(run.faults.contains("box of the history is not open"));
    }
    QCOMPARE(ctl.run({"verify"}).status, 3);
    QVERIFY(ctl.run({"status"}).out.contains("Encrypted:  no, the box is not open"));
    QCOMPARE(ctl.listing(), before);
}

void TestCtlFaults::theCacheVariableMovesNothing()
{
    const QTemporaryDir cache;
    CtlWorld ctl(m_world.home());
    const QTemporaryDir output;
    const QString frame = m_world.lastVideo() + "#1";
    ctl.set("XDG_CACHE_HOME", cache.path());
    QCOMPARE(ctl.run({"show", frame, "-o", output.filePath("a.png")}).status, 0);
}

void TestCtlFaults::fullOutputIsTold()
{
    const QStringList mounts = ownMounts();
    if (mounts.isEmpty()) {
        QSKIP("this machine lets nobody have mounts of their own");
    }
    const QTemporaryDir output;
    QProcess process;
    process.start("unshare",
                  mounts + QStringList{"sh", "-c", EXPORT_TO_FULL_DISK, "sh", output.path(),
                                       m_world.home(), CtlWorld::program()});
    QVERIFY(process.waitForFinished());
    const QByteArray told = process.readAllStandardOutput().trimmed();
    QVERIFY2(told.startsWith("5 "), told.constData());
    QVERIFY(!told.contains("export.json"));
}

void TestCtlFaults::standardOutputThatTakesNothingIsTold_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("text") << QStringList{"days"};
    QTest::newRow("a list") << QStringList{"--json", "days"};
    QTest::newRow("a document") << QStringList{"verify", "--json"};
    QTest::newRow("the help") << QStringList{"--help"};
}

void TestCtlFaults::standardOutputThatTakesNothingIsTold()
{
    QFETCH(QStringList, arguments);
    const CtlWorld ctl(m_world.home());
    QCOMPARE(ctl.run(arguments).status, 0);
    const CtlRun run = ctl.run(arguments, "/dev/full");
    QCOMPARE(run.status, 5);
    QCOMPARE(run.faults, QByteArray("yestermarkctl: the standard output cannot be written\n"));
}

QTEST_MAIN(TestCtlFaults)
#include "ctlfaultstest.moc"
