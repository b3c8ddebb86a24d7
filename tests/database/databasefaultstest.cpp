// What is left of the month databases when files are damaged, disks are full, directories may not
// be written and the process is killed. Run with an argument it is the process that gets killed.

#include "database/ocrscreenshotdatabase.h"

#include "storetest.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/testfiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <memory>
#include <optional>
#include <sys/mount.h>
#include <unistd.h>

using TestStore::frame;
using TestStore::query;
using TestStore::value;

namespace
{
constexpr char COUNT[] = "SELECT count(*) FROM screenshots;";
constexpr char WRITE_FRAMES[] = "--write-frames";
constexpr uid_t NOBODY = 65534;
const QString DAY = QStringLiteral("2024-03-15");
const QString STEP_FAILED = QStringLiteral("Error executing statement: ");
const QString PREPARE_FAILED = QStringLiteral("Error preparing statement: ");

// Root may write anywhere: with permissions at stake the test goes on as an ordinary user.
class OrdinaryUser
{
public:
    explicit OrdinaryUser(const QString &home)
    {
        if (geteuid() == 0) {
            m_wasRoot = chown(QFile::encodeName(home).constData(), NOBODY, NOBODY) == 0 &&
                        seteuid(NOBODY) == 0;
        }
    }
    ~OrdinaryUser()
    {
        if (m_wasRoot && seteuid(0) != 0) {
            qFatal("cannot become root again");
        }
    }
    Q_DISABLE_COPY_MOVE(OrdinaryUser)

private:
    bool m_wasRoot = false;
};

// A file system of its own, too small for much.
class SmallDisk
{
public:
    explicit SmallDisk(const QString &directory) : m_path(QFile::encodeName(directory))
    {
        m_mounted =
            mount("yestermark-test", m_path.constData(), "tmpfs", 0, "size=192k,mode=0700") == 0;
    }
    ~SmallDisk()
    {
        if (m_mounted) {
            umount2(m_path.constData(), MNT_DETACH);
        }
    }
    Q_DISABLE_COPY_MOVE(SmallDisk)

    bool isMounted() const { return m_mounted; }
    void fill() const
    {
        QFile ballast(ballastPath());
        if (ballast.open(QFile::WriteOnly | QFile::Unbuffered)) {
            const QByteArray page(4096, 'b');
            while (ballast.write(page) == page.size()) {
            }
        }
    }
    void makeRoom() const { QFile::remove(ballastPath()); }

private:
    QString ballastPath() const { return QFile::decodeName(m_path) + QStringLiteral("/ballast"); }

    QByteArray m_path;
    bool m_mounted = false;
};

ScreenShotData numberedFrame(quint32 number)
{
    ScreenShotData data = frame(DAY + QStringLiteral(" 08:00:00"), number, "/a.desktop");
    data.realTime += number;
    return data;
}

// Saves frames until it is killed and tells the number of each that was saved.
int writeFrames()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    OcrScreenshotDatabase store;
    const uint first = store.getFrameNumOfDay(DAY) + 1;
    for (uint number = first; store.saveScreenshotData(numberedFrame(number)); ++number) {
        std::printf("%u\n", number);
        std::fflush(stdout);
    }
    return 1;
}
} // namespace

class DatabaseFaultsTest : public StoreTest
{
    Q_OBJECT

private Q_SLOTS:
    void aFileOfGarbageGivesNothingAndIsLeftAlone_data();
    void aFileOfGarbageGivesNothingAndIsLeftAlone();
    void damagedPagesFailTheStatementAndAreLeftAlone();
    void otherMonthsWorkBesideADamagedOne();
    void deletingAllReplacesADamagedFile();
    void aFailedWriteLosesThatFrameOnly();
    void aFullDiskLosesFramesUntilThereIsRoom();
    void aStoreStartedOnAFullDiskFailsUntilTheNextStart();
    void aDirectoryThatMayNotBeWrittenFailsUntilItMay();
    void aMonthThatCannotBeOpenedFailsUntilTheNextStart();
    void filesThatMayNotBeRemovedMakeDeletingAllFail();
    void savingFailsWithoutTheDirectoryUntilAllIsDeleted();
    void aKilledProcessLeavesEveryFinishedInsert();

private:
    QString march() const { return m_home->monthFile(QStringLiteral("2024-03")); }
    void saveFrames(quint32 first, quint32 last);
};

void DatabaseFaultsTest::saveFrames(quint32 first, quint32 last)
{
    OcrScreenshotDatabase store;
    for (quint32 number = first; number <= last; ++number) {
        QVERIFY(store.saveScreenshotData(numberedFrame(number)));
    }
}

void DatabaseFaultsTest::aFileOfGarbageGivesNothingAndIsLeftAlone_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("text") << QByteArray(8192, 'x');
    QTest::newRow("less than a header") << QByteArray("SQLite format 3");
    QByteArray damagedHeader("SQLite format 3");
    damagedHeader.resize(4096);
    damagedHeader[16] = 3; // a page size that is no power of two
    QTest::newRow("damaged header") << damagedHeader;
}

void DatabaseFaultsTest::aFileOfGarbageGivesNothingAndIsLeftAlone()
{
    QFETCH(QByteArray, content);
    m_home->writeFile(QStringLiteral("2024-03.db"), content);
    OcrScreenshotDatabase store;
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Error checking table existence: ")), 1);
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Error creating table: ")), 1);
    QVERIFY(m_log->contains(QtDebugMsg, QStringLiteral("file is not a database")));

    m_log->clear();
    QVERIFY(!store.saveScreenshotData(numberedFrame(1)));
    QVERIFY(store.getAppListOfDay(DAY).isEmpty());
    QCOMPARE(store.getFrameNumOfDay(DAY), 0U);
    QCOMPARE(store.getLastScreenshotRealTime(), 0L);
    const qint64 noon = TestStore::at(QStringLiteral("2024-03-15 12:00:00"));
    QVERIFY(!store.deleteOcrDatabase(noon - 3600, noon));
    QCOMPARE(m_log->count(QtDebugMsg, PREPARE_FAILED), 5);
    QVERIFY(!store.updateScreenshotOCRText(numberedFrame(1)));
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Error preparing update statement: ")), 1);
    QCOMPARE(contentOf(march()), content);
}

void DatabaseFaultsTest::damagedPagesFailTheStatementAndAreLeftAlone()
{
    saveFrames(1, 40);
    QByteArray content = contentOf(march());
    QVERIFY(content.size() > 8192);
    std::fill(content.begin() + 4096, content.end(), '\xA5'); // all but the schema
    m_home->writeFile(QStringLiteral("2024-03.db"), content);

    m_log->clear();
    OcrScreenshotDatabase store;
    QVERIFY(store.hasValidDatabaseAndTable());
    QVERIFY(!store.saveScreenshotData(numberedFrame(41)));
    QVERIFY(m_log->contains(QtDebugMsg, STEP_FAILED));
    QVERIFY(m_log->contains(QtDebugMsg, QStringLiteral("malformed")));
    QVERIFY(store.getAppListOfDay(DAY).isEmpty());
    QCOMPARE(store.getFrameNumOfDay(DAY), 0U);
    QCOMPARE(store.getLastScreenshotRealTime(), 0L);
    QVERIFY(
        m_log->contains(QtDebugMsg, QStringLiteral("Error retrieving last screenshot real time")));
    QCOMPARE(contentOf(march()), content);
}

void DatabaseFaultsTest::otherMonthsWorkBesideADamagedOne()
{
    m_home->writeFile(QStringLiteral("2024-03.db"), QByteArray(8192, 'x'));
    OcrScreenshotDatabase store;
    QVERIFY(!store.saveScreenshotData(numberedFrame(1)));
    QVERIFY(store.saveScreenshotData(frame("2024-04-01 10:00:00", 1, "/a.desktop")));
    QCOMPARE(store.getFrameNumOfDay(QStringLiteral("2024-04-01")), 1U);
}

void DatabaseFaultsTest::deletingAllReplacesADamagedFile()
{
    m_home->writeFile(QStringLiteral("2024-03.db"), QByteArray(8192, 'x'));
    OcrScreenshotDatabase store;
    QVERIFY(store.deleteAllDatabase());
    QVERIFY(store.saveScreenshotData(numberedFrame(1)));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
}

void DatabaseFaultsTest::aFailedWriteLosesThatFrameOnly()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(numberedFrame(1)));
    {
        const FileSizeLimit limit(4096);
        QVERIFY(!store.saveScreenshotData(numberedFrame(2)));
    }
    QCOMPARE(m_log->count(QtDebugMsg, STEP_FAILED), 1);
    QVERIFY(store.saveScreenshotData(numberedFrame(3)));
    QCOMPARE(query(march(), "SELECT frame_index_of_video FROM screenshots ORDER BY id;"),
             (QStringList{"1", "3"}));
    QCOMPARE(value(march(), "PRAGMA integrity_check;"), QStringLiteral("ok"));
}

void DatabaseFaultsTest::aFullDiskLosesFramesUntilThereIsRoom()
{
    m_home->makeDatabaseDirectory();
    const SmallDisk disk(m_home->databaseDirectory());
    if (!disk.isMounted()) {
        QSKIP("mounting a small file system is not permitted here");
    }
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(numberedFrame(1)));
    disk.fill();
    m_log->clear();
    QVERIFY(!store.saveScreenshotData(numberedFrame(2)));
    QCOMPARE(m_log->count(QtDebugMsg, STEP_FAILED), 1);
    QVERIFY(m_log->contains(QtDebugMsg, QStringLiteral("database or disk is full")));
    QCOMPARE(store.getFrameNumOfDay(DAY), 1U); // what is there can still be read
    disk.makeRoom();
    QVERIFY(store.saveScreenshotData(numberedFrame(3)));
    QCOMPARE(query(march(), "SELECT frame_index_of_video FROM screenshots ORDER BY id;"),
             (QStringList{"1", "3"}));
}

void DatabaseFaultsTest::aStoreStartedOnAFullDiskFailsUntilTheNextStart()
{
    m_home->makeDatabaseDirectory();
    const SmallDisk disk(m_home->databaseDirectory());
    if (!disk.isMounted()) {
        QSKIP("mounting a small file system is not permitted here");
    }
    disk.fill();
    std::optional<OcrScreenshotDatabase> store;
    store.emplace();
    QVERIFY(m_log->contains(QtDebugMsg, QStringLiteral("Error creating table: ")));
    QVERIFY(!store->saveScreenshotData(numberedFrame(1)));
    disk.makeRoom();
    QVERIFY(!store->saveScreenshotData(numberedFrame(2))); // the table is made at a start only
    QVERIFY(m_log->contains(QtDebugMsg, QStringLiteral("no such table: screenshots")));
    store.emplace();
    QVERIFY(store->saveScreenshotData(numberedFrame(3)));
}

void DatabaseFaultsTest::aDirectoryThatMayNotBeWrittenFailsUntilItMay()
{
    const OrdinaryUser user(m_home->path());
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(numberedFrame(1)));
    const QString directory = m_home->databaseDirectory();
    QVERIFY(QFile::setPermissions(directory, QFile::ReadOwner | QFile::ExeOwner));
    m_log->clear();
    QVERIFY(!store.saveScreenshotData(numberedFrame(2)));
    QCOMPARE(m_log->count(QtDebugMsg, STEP_FAILED), 1);
    const qint64 noon = TestStore::at(QStringLiteral("2024-03-15 12:00:00"));
    QVERIFY(!store.deleteOcrDatabase(noon - 86400, noon));
    QCOMPARE(m_log->count(QtDebugMsg, STEP_FAILED), 2);
    ScreenShotData read = numberedFrame(1);
    read.ocrText = QStringLiteral("recognised");
    QVERIFY(!store.updateScreenshotOCRText(read));
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Error executing update statement: ")), 1);
    QCOMPARE(store.getFrameNumOfDay(DAY), 1U);
    QVERIFY(
        QFile::setPermissions(directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QVERIFY(store.saveScreenshotData(numberedFrame(3)));
    QCOMPARE(value(march(), COUNT), QStringLiteral("2"));
}

void DatabaseFaultsTest::aMonthThatCannotBeOpenedFailsUntilTheNextStart()
{
    QVERIFY(QDir().mkpath(march())); // a directory in the file's place
    std::optional<OcrScreenshotDatabase> store;
    store.emplace();
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Can't open existing database: ")), 1);
    QVERIFY(!store->saveScreenshotData(numberedFrame(1)));
    QVERIFY(m_log->contains(QtDebugMsg, PREPARE_FAILED));
    QVERIFY(store->getAppListOfDay(DAY).isEmpty());
    QVERIFY(QDir().rmdir(march()));
    QVERIFY(!store->saveScreenshotData(numberedFrame(2))); // a month's connection is kept
    store.emplace();
    QVERIFY(store->saveScreenshotData(numberedFrame(3)));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
}

void DatabaseFaultsTest::filesThatMayNotBeRemovedMakeDeletingAllFail()
{
    const OrdinaryUser user(m_home->path());
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(numberedFrame(1)));
    const QString directory = m_home->databaseDirectory();
    QVERIFY(QFile::setPermissions(directory, QFile::ReadOwner | QFile::ExeOwner));
    QVERIFY(!store.deleteAllDatabase());
    QVERIFY(
        QFile::setPermissions(directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
    QVERIFY(store.saveScreenshotData(numberedFrame(2)));
    QVERIFY(store.deleteAllDatabase());
    QCOMPARE(value(march(), COUNT), QStringLiteral("0"));
}

void DatabaseFaultsTest::savingFailsWithoutTheDirectoryUntilAllIsDeleted()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(numberedFrame(1)));
    QVERIFY(QDir(m_home->databaseDirectory()).removeRecursively());
    QVERIFY(!store.saveScreenshotData(numberedFrame(2)));
    QVERIFY(store.deleteAllDatabase());
    QVERIFY(store.saveScreenshotData(numberedFrame(3)));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
}

void DatabaseFaultsTest::aKilledProcessLeavesEveryFinishedInsert()
{
    uint finished = 0;
    for (int round = 1; round <= 10; ++round) {
        QProcess writer;
        writer.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(WRITE_FRAMES)},
                     QIODevice::ReadOnly);
        const uint goal = finished + 3U * static_cast<uint>(round);
        while (finished < goal) {
            QVERIFY2(writer.canReadLine() || writer.waitForReadyRead(20000), "no frame was saved");
            if (writer.canReadLine()) {
                finished = writer.readLine().trimmed().toUInt();
            }
        }
        writer.kill();
        QVERIFY(writer.waitForFinished());
        QCOMPARE(writer.exitStatus(), QProcess::CrashExit);
        while (writer.canReadLine()) {
            finished = writer.readLine().trimmed().toUInt();
        }

        OcrScreenshotDatabase store;
        const uint stored = store.getFrameNumOfDay(DAY);
        // One insert may have ended after the last report.
        QVERIFY2(stored == finished || stored == finished + 1,
                 qPrintable(QStringLiteral("%1 told, %2 stored").arg(finished).arg(stored)));
        QCOMPARE(value(march(), COUNT), QString::number(stored));
        QCOMPARE(value(march(), "PRAGMA integrity_check;"), QStringLiteral("ok"));
        finished = stored;
    }
}

int main(int argc, char *argv[])
{
    if (argc == 2 && qstrcmp(argv[1], WRITE_FRAMES) == 0) {
        return writeFrames();
    }
    QCoreApplication application(argc, argv);
    DatabaseFaultsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "databasefaultstest.moc"
