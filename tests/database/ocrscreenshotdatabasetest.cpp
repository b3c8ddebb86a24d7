// The writing half of the month databases: files, months, rows, texts, deletion.

#include "database/ocrscreenshotdatabase.h"

#include "storetest.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <memory>

using TestStore::at;
using TestStore::frame;
using TestStore::query;
using TestStore::value;

namespace
{
constexpr char COUNT[] = "SELECT count(*) FROM screenshots;";
constexpr char TEXTS[] = "SELECT ocr_text FROM screenshots ORDER BY id;";
constexpr char TIMES[] =
    "SELECT datetime(real_time, 'unixepoch', 'localtime') FROM screenshots ORDER BY id;";
const QString NO_FILE = QStringLiteral("Database file does not exist: ");
const QString NOT_INITIALIZED = QStringLiteral("Database not initialized!");
const QString TABLE_EXISTS = QStringLiteral("Error creating table: ");
} // namespace

class OcrScreenshotDatabaseTest : public StoreTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { cleanupWithoutWarnings(); }

    // Start
    void startMakesThePresentMonthsFileWithTableAndIndex();
    void startAsksWhetherTheTableIsThere();
    void startKeepsTheRowsOfAFormerRun();
    void startCompletesAnEmptyFile();
    void directoryAndFilesBelongToTheUserAlone();
    void aDirectoryThatExistsKeepsItsMode();
    void columnsStandInTheOrderThatReadsRelyOn();
    void makingTheTableTwiceIsLoggedAndHarmless();
    void anIndexThatCannotBeMadeIsLoggedAndTheTableServes();

    // Connections
    void aMonthIsOpenedOnce();
    void readingNeverMakesAFile();
    void filesAreListedNewestFirst();

    // Saving
    void everyFieldIsStored();
    void aSavedFrameIsOnDiskAtOnce();
    void theSameFrameTwiceLeavesOneRow();
    void aFrameThatDiffersInOneFieldIsARowOfItsOwn_data();
    void aFrameThatDiffersInOneFieldIsARowOfItsOwn();
    void textsSurvive_data();
    void textsSurvive();
    void timesBeyond2038AreStoredWhole();

    // Months
    void theFirstFrameOfANewMonthMakesTheFileWithItsTable();
    void theMonthIsThatOfTheFrameNotOfTheClock();
    void anEarlierMonthWithoutAFileFailsUntilALaterMonth();
    void anEarlierMonthWithAFileIsContinued();
    void returningToALaterMonthOnlyLogs();

    // Updating
    void theTextOfAFrameIsFilledIn();
    void onlyTheFrameItselfIsUpdated_data();
    void onlyTheFrameItselfIsUpdated();
    void aTextThatComesAfterTheMonthTurnedChangesNothingAndSucceeds();
    void anUpdateWithoutAConnectionFails();
    void anUpdateThatWouldDoubleARowFails();

    // Deleting
    void deletionExcludesItsStartAndIncludesItsEnd();
    void deletionCrossesMonths();
    void deletionOfAnEmptyRangeTouchesNothing();
    void deletionPassesOverMonthsWithoutAFile();
    void deletionGoesOnAfterAMonthThatFails();
    void startZeroRemovesEveryMonthFile();
    void deletingAllLeavesOtherFiles();
    void afterDeletingAllAFreshMonthTakesFrames();

private:
    QString march() const { return m_home->monthFile(QStringLiteral("2024-03")); }
};

void OcrScreenshotDatabaseTest::startMakesThePresentMonthsFileWithTableAndIndex()
{
    const OcrScreenshotDatabase store;
    const QStringList schema =
        query(march(), "SELECT sql FROM sqlite_master WHERE name IN ('screenshots', "
                       "'idx_unique_screenshot') ORDER BY type DESC;");
    QCOMPARE(schema,
             (QStringList{
                 QStringLiteral("CREATE TABLE screenshots (id INTEGER PRIMARY KEY AUTOINCREMENT,"
                                "video_name TEXT NOT NULL,ocr_text TEXT,"
                                "frame_index_of_video INTEGER NOT NULL,"
                                "frame_index_of_day INTEGER NOT NULL,real_time INTEGER NOT NULL,"
                                "desktop_file_path TEXT)"),
                 // SQLite itself keeps the statement without "IF NOT EXISTS".
                 QStringLiteral("CREATE UNIQUE INDEX idx_unique_screenshot ON "
                                "screenshots(video_name, ocr_text, frame_index_of_video, "
                                "frame_index_of_day, real_time, desktop_file_path)")}));
    QCOMPARE(QDir(m_home->databaseDirectory()).entryList(QDir::Files),
             QStringList{QStringLiteral("2024-03.db")});
}

void OcrScreenshotDatabaseTest::startAsksWhetherTheTableIsThere()
{
    OcrScreenshotDatabase store;
    QCOMPARE(m_log->texts(QtDebugMsg),
             QStringList{QStringLiteral("Warning: Table 'screenshots' not found!")});
    QVERIFY(store.hasValidDatabaseAndTable());
}

void OcrScreenshotDatabaseTest::startKeepsTheRowsOfAFormerRun()
{
    {
        OcrScreenshotDatabase former;
        QVERIFY(former.saveScreenshotData(frame("2024-03-15 10:00:00")));
    }
    m_log->clear();
    const OcrScreenshotDatabase store;
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
    QCOMPARE(m_log->texts(), QStringList());
}

void OcrScreenshotDatabaseTest::startCompletesAnEmptyFile()
{
    m_home->writeFile(QStringLiteral("2024-03.db"), QByteArray());
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
}

void OcrScreenshotDatabaseTest::directoryAndFilesBelongToTheUserAlone()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-04-01 10:00:00")));
    constexpr QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                          QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    constexpr QFile::Permissions owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    QCOMPARE(QFile::permissions(m_home->databaseDirectory()) & owner, owner);
    QCOMPARE(QFile::permissions(m_home->databaseDirectory()) & others, QFile::Permissions());
    for (const char *month : {"2024-03", "2024-04"}) {
        QCOMPARE(QFile::permissions(m_home->monthFile(QString::fromLatin1(month))) &
                     (others | QFile::ExeOwner),
                 QFile::Permissions());
    }
}

void OcrScreenshotDatabaseTest::aDirectoryThatExistsKeepsItsMode()
{
    m_home->makeDatabaseDirectory();
    constexpr QFile::Permissions mode =
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup;
    QVERIFY(QFile::setPermissions(m_home->databaseDirectory(), mode));
    const OcrScreenshotDatabase store;
    QVERIFY(QFile::permissions(m_home->databaseDirectory()).testFlag(QFile::ReadGroup));
}

void OcrScreenshotDatabaseTest::columnsStandInTheOrderThatReadsRelyOn()
{
    const OcrScreenshotDatabase store;
    QCOMPARE(query(march(), "SELECT cid, name, type, \"notnull\" FROM "
                            "pragma_table_info('screenshots') ORDER BY cid;"),
             (QStringList{"0|id|INTEGER|0", "1|video_name|TEXT|1", "2|ocr_text|TEXT|0",
                          "3|frame_index_of_video|INTEGER|1", "4|frame_index_of_day|INTEGER|1",
                          "5|real_time|INTEGER|1", "6|desktop_file_path|TEXT|0"}));
}

void OcrScreenshotDatabaseTest::makingTheTableTwiceIsLoggedAndHarmless()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    query(march(), "DROP INDEX idx_unique_screenshot;");
    m_log->clear();
    store.initDatabaseTable();
    QCOMPARE(m_log->count(QtDebugMsg, TABLE_EXISTS), 1);
    QVERIFY(m_log->contains(QtDebugMsg, QStringLiteral("table screenshots already exists")));
    QCOMPARE(m_log->texts().size(), 1);
    QCOMPARE(value(march(), "SELECT count(*) FROM sqlite_master WHERE type = 'index';"),
             QStringLiteral("0")); // the index is not tried
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
}

void OcrScreenshotDatabaseTest::anIndexThatCannotBeMadeIsLoggedAndTheTableServes()
{
    m_home->writeFile(QStringLiteral("2024-03.db"), QByteArray());
    query(march(), "CREATE TABLE idx_unique_screenshot (taken TEXT);"); // the index's own name
    OcrScreenshotDatabase store;
    QCOMPARE(m_log->texts(QtDebugMsg).size(), 2);
    QVERIFY(m_log->texts().last().startsWith(QLatin1String("Error creating unique index:  ")));
    QVERIFY(m_log->texts().last().contains(
        QLatin1String("there is already a table named idx_unique_screenshot")));
    const ScreenShotData data = frame("2024-03-15 10:00:00");
    QVERIFY(store.saveScreenshotData(data));
    QVERIFY(store.saveScreenshotData(data)); // nothing makes the second one a double
    QCOMPARE(value(march(), COUNT), QStringLiteral("2"));
}

void OcrScreenshotDatabaseTest::aMonthIsOpenedOnce()
{
    const OcrScreenshotDatabase store;
    const auto first = store.openDatabase(QStringLiteral("2023-11"));
    QVERIFY(first);
    QCOMPARE(store.openDatabase(QStringLiteral("2023-11")), first);
    QCOMPARE(store.readDatabase(QStringLiteral("2023-11")), first);
    QVERIFY(QFile::exists(m_home->monthFile(QStringLiteral("2023-11"))));
}

void OcrScreenshotDatabaseTest::readingNeverMakesAFile()
{
    const OcrScreenshotDatabase store;
    m_log->clear();
    QVERIFY(!store.readDatabase(QStringLiteral("2023-11")));
    QVERIFY(!QFile::exists(m_home->monthFile(QStringLiteral("2023-11"))));
    QCOMPARE(m_log->count(QtDebugMsg, NO_FILE), 1);
    QVERIFY(m_log->contains(QtDebugMsg, m_home->monthFile(QStringLiteral("2023-11"))));
}

void OcrScreenshotDatabaseTest::filesAreListedNewestFirst()
{
    for (const char *name : {"2023-12.db", "2024-01.db", "2022-05.db", "2024-01.db-journal"}) {
        m_home->writeFile(QString::fromLatin1(name), QByteArray());
    }
    const OcrScreenshotDatabase store;
    QStringList names;
    for (const QFileInfo &file : store.getDatabaseFileInfo()) {
        names.append(file.fileName());
    }
    QCOMPARE(names, (QStringList{"2024-03.db", "2024-01.db", "2023-12.db", "2022-05.db"}));
}

void OcrScreenshotDatabaseTest::everyFieldIsStored()
{
    OcrScreenshotDatabase store;
    ScreenShotData data = frame("2024-03-15 10:11:12", 7, "/usr/share/applications/a.desktop");
    data.frameIndexOfDay = 4000000000U; // stored as 32 bits with a sign
    data.date = QStringLiteral("2024-03-15");
    QVERIFY(store.saveScreenshotData(data));
    QCOMPARE(query(march(), "SELECT *, typeof(ocr_text) FROM screenshots;"),
             QStringList{QStringLiteral("1|2024-03-15_10-00-00.mp4||7|-294967296|%1|"
                                        "/usr/share/applications/a.desktop|text")
                             .arg(at("2024-03-15 10:11:12"))});
}

void OcrScreenshotDatabaseTest::aSavedFrameIsOnDiskAtOnce()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1")); // through another connection
    QCOMPARE(value(march(), "PRAGMA journal_mode;"), QStringLiteral("delete"));
    QVERIFY(!QFile::exists(march() + QStringLiteral("-journal")));
}

void OcrScreenshotDatabaseTest::theSameFrameTwiceLeavesOneRow()
{
    OcrScreenshotDatabase store;
    const ScreenShotData data = frame("2024-03-15 10:00:00", 1, "/a.desktop", "text");
    QVERIFY(store.saveScreenshotData(data));
    QVERIFY(store.saveScreenshotData(data));
    QCOMPARE(query(march(), "SELECT id FROM screenshots;"), QStringList{QStringLiteral("1")});
}

void OcrScreenshotDatabaseTest::aFrameThatDiffersInOneFieldIsARowOfItsOwn_data()
{
    const ScreenShotData base = frame("2024-03-15 10:00:00", 1, "/a.desktop", "text");
    QTest::addColumn<ScreenShotData>("other");
    const auto row = [](const char *name, const ScreenShotData &data) {
        QTest::newRow(name) << data;
    };
    row("other text", frame("2024-03-15 10:00:00", 1, "/a.desktop", "other"));
    row("no text", frame("2024-03-15 10:00:00", 1, "/a.desktop"));
    row("other time", frame("2024-03-15 10:00:01", 1, "/a.desktop", "text"));
    row("other application", frame("2024-03-15 10:00:00", 1, "/b.desktop", "text"));
    ScreenShotData data = base;
    data.frameIndexOfVideo = 2;
    row("other index in the video", data);
    data = base;
    data.frameIndexOfDay = 2;
    row("other index in the day", data);
    data = base;
    data.videoName = QStringLiteral("2024-03-15_11-00-00.mp4");
    row("other video", data);
}

void OcrScreenshotDatabaseTest::aFrameThatDiffersInOneFieldIsARowOfItsOwn()
{
    QFETCH(ScreenShotData, other);
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00", 1, "/a.desktop", "text")));
    QVERIFY(store.saveScreenshotData(other));
    QCOMPARE(value(march(), COUNT), QStringLiteral("2"));
}

void OcrScreenshotDatabaseTest::textsSurvive_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("stored");
    const auto same = [](const char *name, const QString &text) {
        QTest::newRow(name) << text << text;
    };
    same("quotes", QStringLiteral("it's \"quoted\"; DROP TABLE screenshots; --"));
    same("emoji", QStringLiteral("\U0001F600 \U0001F468\u200D\U0001F469"));
    same("chinese", QStringLiteral("恭喜您，进入了新的一天！"));
    same("wildcards and lines", QStringLiteral("100%_\\\n\ttab\r\n"));
    same("a megabyte", QString(1024 * 1024, QLatin1Char('x')));
    QTest::newRow("a NUL ends it")
        << QString(QStringLiteral("before") + QChar(0) + "after") << QStringLiteral("before");
}

void OcrScreenshotDatabaseTest::textsSurvive()
{
    QFETCH(QString, text);
    QFETCH(QString, stored);
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00", 1, text, text)));
    ScreenShotData late = frame("2024-03-15 10:00:05", 2, "/a.desktop");
    QVERIFY(store.saveScreenshotData(late));
    late.ocrText = text;
    QVERIFY(store.updateScreenshotOCRText(late));
    QCOMPARE(query(march(), TEXTS), (QStringList{stored, stored}));
    QCOMPARE(value(march(), "SELECT desktop_file_path FROM screenshots WHERE id = 1;"), stored);
}

void OcrScreenshotDatabaseTest::timesBeyond2038AreStoredWhole()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2041-07-01 10:00:00")));
    QCOMPARE(value(m_home->monthFile(QStringLiteral("2041-07")), TIMES),
             QStringLiteral("2041-07-01 10:00:00"));
    QCOMPARE(static_cast<qint64>(store.getLastScreenshotRealTime()), at("2041-07-01 10:00:00"));
}

void OcrScreenshotDatabaseTest::theFirstFrameOfANewMonthMakesTheFileWithItsTable()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 31), QTime(23, 59, 58)));
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-31 23:59:59")));
    FakeClock::advance(2);
    m_log->clear();
    QVERIFY(store.saveScreenshotData(frame("2024-04-01 00:00:00")));
    QCOMPARE(value(march(), TIMES), QStringLiteral("2024-03-31 23:59:59"));
    QCOMPARE(value(m_home->monthFile(QStringLiteral("2024-04")), TIMES),
             QStringLiteral("2024-04-01 00:00:00"));
    QCOMPARE(m_log->texts(), QStringList());
}

void OcrScreenshotDatabaseTest::theMonthIsThatOfTheFrameNotOfTheClock()
{
    OcrScreenshotDatabase store;
    FakeClock::set(QDateTime(QDate(2024, 4, 1), QTime(0, 0, 5)));
    QVERIFY(store.saveScreenshotData(frame("2024-03-31 23:59:59")));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
    QVERIFY(!QFile::exists(m_home->monthFile(QStringLiteral("2024-04"))));
}

void OcrScreenshotDatabaseTest::anEarlierMonthWithoutAFileFailsUntilALaterMonth()
{
    OcrScreenshotDatabase store;
    m_log->clear();
    QVERIFY(!store.saveScreenshotData(frame("2024-02-10 10:00:00")));
    QCOMPARE(m_log->texts().size(), 2);
    QVERIFY(m_log->texts().at(0).startsWith(NO_FILE));
    QCOMPARE(m_log->texts().at(1), NOT_INITIALIZED);

    m_log->clear();
    QVERIFY(!store.saveScreenshotData(frame("2024-02-10 10:00:05")));
    QCOMPARE(m_log->texts(), QStringList{NOT_INITIALIZED});
    QVERIFY(!QFile::exists(m_home->monthFile(QStringLiteral("2024-02"))));

    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
}

void OcrScreenshotDatabaseTest::anEarlierMonthWithAFileIsContinued()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-04-02 10:00:00")));
    m_log->clear();
    QVERIFY(store.saveScreenshotData(frame("2024-03-20 10:00:00")));
    QCOMPARE(value(march(), TIMES), QStringLiteral("2024-03-20 10:00:00"));
    QCOMPARE(m_log->texts(), QStringList());
}

void OcrScreenshotDatabaseTest::returningToALaterMonthOnlyLogs()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-04-02 10:00:00")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-20 10:00:00")));
    m_log->clear();
    QVERIFY(store.saveScreenshotData(frame("2024-04-03 10:00:00")));
    QCOMPARE(m_log->count(QtDebugMsg, TABLE_EXISTS), 1);
    QCOMPARE(query(m_home->monthFile(QStringLiteral("2024-04")), TIMES),
             (QStringList{"2024-04-02 10:00:00", "2024-04-03 10:00:00"}));
}

void OcrScreenshotDatabaseTest::theTextOfAFrameIsFilledIn()
{
    OcrScreenshotDatabase store;
    ScreenShotData data = frame("2024-03-15 10:00:00", 3, "/a.desktop");
    QVERIFY(store.saveScreenshotData(data));
    data.ocrText = QStringLiteral("recognised");
    QVERIFY(store.updateScreenshotOCRText(data));
    QCOMPARE(query(march(), TEXTS), QStringList{QStringLiteral("recognised")});
}

void OcrScreenshotDatabaseTest::onlyTheFrameItselfIsUpdated_data()
{
    QTest::addColumn<ScreenShotData>("other");
    ScreenShotData data = frame("2024-03-15 10:00:00");
    data.videoName = QStringLiteral("2024-03-15_11-00-00.mp4");
    QTest::newRow("other video") << data;
    data = frame("2024-03-15 10:00:00");
    data.frameIndexOfVideo = 2;
    QTest::newRow("other index in the video") << data;
    QTest::newRow("other time") << frame("2024-03-15 10:00:01");
}

void OcrScreenshotDatabaseTest::onlyTheFrameItselfIsUpdated()
{
    QFETCH(ScreenShotData, other);
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    other.ocrText = QStringLiteral("recognised");
    QVERIFY(store.updateScreenshotOCRText(other)); // no row to update is no failure
    QCOMPARE(query(march(), TEXTS), QStringList{QString()});
}

void OcrScreenshotDatabaseTest::aTextThatComesAfterTheMonthTurnedChangesNothingAndSucceeds()
{
    OcrScreenshotDatabase store;
    ScreenShotData data = frame("2024-03-31 23:59:59");
    QVERIFY(store.saveScreenshotData(data));
    QVERIFY(store.saveScreenshotData(frame("2024-04-01 00:00:05")));
    data.ocrText = QStringLiteral("late");
    QVERIFY(store.updateScreenshotOCRText(data));
    QCOMPARE(query(march(), TEXTS), QStringList{QString()});
    QCOMPARE(query(m_home->monthFile(QStringLiteral("2024-04")), TEXTS), QStringList{QString()});
}

void OcrScreenshotDatabaseTest::anUpdateWithoutAConnectionFails()
{
    OcrScreenshotDatabase store;
    QVERIFY(!store.saveScreenshotData(frame("2024-02-10 10:00:00")));
    m_log->clear();
    QVERIFY(!store.updateScreenshotOCRText(frame("2024-02-10 10:00:00")));
    QCOMPARE(m_log->texts(), QStringList{NOT_INITIALIZED});
}

void OcrScreenshotDatabaseTest::anUpdateThatWouldDoubleARowFails()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00", 1, "/a.desktop", "one")));
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00", 1, "/a.desktop", "two")));
    m_log->clear();
    QVERIFY(!store.updateScreenshotOCRText(frame("2024-03-15 10:00:00", 1, "/a.desktop", "three")));
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Error executing update statement: ")), 1);
    QVERIFY(m_log->contains(QtDebugMsg, QStringLiteral("UNIQUE constraint failed")));
    QCOMPARE(query(march(), TEXTS), (QStringList{"one", "two"}));
}

void OcrScreenshotDatabaseTest::deletionExcludesItsStartAndIncludesItsEnd()
{
    OcrScreenshotDatabase store;
    for (const char *second : {"2024-03-15 10:00:00", "2024-03-15 10:00:01", "2024-03-15 10:00:02",
                               "2024-03-15 10:00:03"}) {
        QVERIFY(store.saveScreenshotData(frame(QString::fromLatin1(second))));
    }
    QVERIFY(store.deleteOcrDatabase(at("2024-03-15 10:00:00"), at("2024-03-15 10:00:02")));
    QCOMPARE(query(march(), TIMES), (QStringList{"2024-03-15 10:00:00", "2024-03-15 10:00:03"}));
}

void OcrScreenshotDatabaseTest::deletionCrossesMonths()
{
    FakeClock::set(QDateTime(QDate(2024, 1, 15), QTime(12, 0)));
    OcrScreenshotDatabase store;
    for (const char *day : {"2024-01-30", "2024-01-31", "2024-02-15", "2024-03-01", "2024-03-02"}) {
        QVERIFY(store.saveScreenshotData(frame(QString::fromLatin1(day) + " 10:00:00")));
    }
    QVERIFY(store.deleteOcrDatabase(at("2024-01-31 00:00:00"), at("2024-03-01 23:59:59")));
    QCOMPARE(query(m_home->monthFile(QStringLiteral("2024-01")), TIMES),
             QStringList{QStringLiteral("2024-01-30 10:00:00")});
    QCOMPARE(query(m_home->monthFile(QStringLiteral("2024-02")), TIMES), QStringList());
    QCOMPARE(query(march(), TIMES), QStringList{QStringLiteral("2024-03-02 10:00:00")});
}

void OcrScreenshotDatabaseTest::deletionOfAnEmptyRangeTouchesNothing()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    QVERIFY(store.deleteOcrDatabase(at("2024-03-15 10:00:00"), at("2024-03-15 10:00:00")));
    QCOMPARE(value(march(), COUNT), QStringLiteral("1"));
}

void OcrScreenshotDatabaseTest::deletionPassesOverMonthsWithoutAFile()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    m_log->clear();
    QVERIFY(store.deleteOcrDatabase(at("2024-01-10 00:00:00"), at("2024-03-31 00:00:00")));
    QCOMPARE(m_log->count(QtDebugMsg, NO_FILE), 2);
    QCOMPARE(value(march(), COUNT), QStringLiteral("0"));
    QCOMPARE(QDir(m_home->databaseDirectory()).entryList(QDir::Files).size(), 1);
}

void OcrScreenshotDatabaseTest::deletionGoesOnAfterAMonthThatFails()
{
    m_home->writeFile(QStringLiteral("2024-02.db"), QByteArray(8192, 'x'));
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    m_log->clear();
    QVERIFY(!store.deleteOcrDatabase(at("2024-02-10 00:00:00"), at("2024-03-31 00:00:00")));
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Error preparing statement: ")), 1);
    QCOMPARE(value(march(), COUNT), QStringLiteral("0"));
}

void OcrScreenshotDatabaseTest::startZeroRemovesEveryMonthFile()
{
    m_home->writeFile(QStringLiteral("2023-12.db"), QByteArray());
    m_home->writeFile(QStringLiteral("2023-12.db-journal"), QByteArray("pages of a killed write"));
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-04-01 10:00:00")));
    QVERIFY(store.deleteOcrDatabase(0, at("2024-03-01 00:00:00")));
    QCOMPARE(QDir(m_home->databaseDirectory()).entryList(QDir::Files),
             QStringList{QStringLiteral("2024-03.db")});
    QCOMPARE(value(march(), COUNT), QStringLiteral("0"));
}

void OcrScreenshotDatabaseTest::deletingAllLeavesOtherFiles()
{
    const QStringList others{"12024-01.db", "2024-1.db", "2024-01.db.bak", "notes.db"};
    for (const QString &name : others) {
        m_home->writeFile(name, QByteArray("mine"));
    }
    QVERIFY(QDir(m_home->databaseDirectory()).mkdir(QStringLiteral("2023-05.db")));
    OcrScreenshotDatabase store;
    QVERIFY(store.deleteAllDatabase());
    QCOMPARE(QDir(m_home->databaseDirectory()).entryList(QDir::Files, QDir::Name),
             (QStringList{"12024-01.db", "2024-01.db.bak", "2024-03.db", "2024-1.db", "notes.db"}));
    QVERIFY(QDir(m_home->databaseDirectory()).exists(QStringLiteral("2023-05.db")));
}

void OcrScreenshotDatabaseTest::afterDeletingAllAFreshMonthTakesFrames()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:00")));
    QVERIFY(store.deleteAllDatabase());
    QVERIFY(store.hasValidDatabaseAndTable());
    QCOMPARE(value(march(), COUNT), QStringLiteral("0"));
    QVERIFY(store.saveScreenshotData(frame("2024-03-15 10:00:05")));
    QCOMPARE(value(march(), TIMES), QStringLiteral("2024-03-15 10:00:05"));
}

QTEST_GUILESS_MAIN(OcrScreenshotDatabaseTest)
#include "ocrscreenshotdatabasetest.moc"
