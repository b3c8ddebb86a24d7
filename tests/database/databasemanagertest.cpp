// The facade: spans of time, day validation, forwarding.

#include "database/databasemanager.h"

#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "teststore.h"
#include "vectordb/databaseloader.h"
#include "vectordb/fake/fakedatabase.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTest>

using TestStore::at;
using TestStore::frame;
using TestStore::query;

namespace
{
constexpr char TIMES[] =
    "SELECT datetime(real_time, 'unixepoch', 'localtime') FROM screenshots ORDER BY id;";
const QString DAY = QStringLiteral("2024-03-31");

/// What the vectors from @p start to @p end are asked for with.
QString filterOf(qint64 start, qint64 end)
{
    return QStringLiteral("%1 <= realTime && realTime <= %2").arg(start).arg(end);
}
} // namespace

class DatabaseManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The singleton settles its directory and its stores at first use: one home and one vector
    // store for the whole program.
    void initTestCase()
    {
        VectorDB::DatabaseLoader::force([this] { return m_vectors; });
        m_manager = DatabaseManager::getInstance();
        QTRY_VERIFY(m_manager->saveScreenShotEmbedding({1.0F}, {}));
    }
    void init()
    {
        m_vectors->succeed("Delete");
        FakeClock::set(QDateTime(QDate(2024, 2, 1), QTime(12, 0)));
        m_manager->deleteUserData(AllTime);
        FakeClock::set(QDateTime(QDate(2024, 3, 31), QTime(12, 0)));
    }
    void cleanupTestCase() { FakeClock::reset(); }

    void thereIsOneInstance();
    void aFrameIsSavedAndItsTextFilledIn();
    void aSpanEndsNowAndExcludesItsStart_data();
    void aSpanEndsNowAndExcludesItsStart();
    void spansAreCountedInDaysOfTheCalendar_data();
    void spansAreCountedInDaysOfTheCalendar();
    void allTimeRemovesEveryMonthFile();
    void aNumberThatIsNoRangeDeletesNothing_data();
    void aNumberThatIsNoRangeDeletesNothing();
    void aFailedDeletionWarns();
    void vectorsOfASpanGoAfterItsRows();
    void whenRowsCannotBeDeletedTheirVectorsStay();
    void aFailedDeletionOfVectorsWarns();
    void anEmbeddingIsForwarded();
    void aDayIsDeletedFromItsFirstToItsLastSecond();
    void whatIsNoDayIsRefused_data();
    void whatIsNoDayIsRefused();
    void aDaysReadsAreForwarded();
    void aSearchAndLookUpsAreForwarded();

private:
    QStringList times(const char *month) const
    {
        return query(m_home.monthFile(QString::fromLatin1(month)), TIMES);
    }

    /// Of the last deletion of vectors.
    QString vectorFilter() const { return QString::fromStdString(m_vectors->lastFilter()); }

    TestStore::Home m_home;
    std::shared_ptr<VectorDB::FakeDatabase> m_vectors = std::make_shared<VectorDB::FakeDatabase>();
    DatabaseManager *m_manager = nullptr;
};

void DatabaseManagerTest::thereIsOneInstance()
{
    QVERIFY(m_manager);
    QCOMPARE(DatabaseManager::getInstance(), m_manager);
}

void DatabaseManagerTest::aFrameIsSavedAndItsTextFilledIn()
{
    ScreenShotData data = frame("2024-03-31 10:00:00", 1, "/a.desktop");
    QVERIFY(m_manager->saveScreenShotData(data));
    data.ocrText = QStringLiteral("recognised");
    QVERIFY(m_manager->updateScreenshotOCRText(data));
    QCOMPARE(query(m_home.monthFile(QStringLiteral("2024-03")),
                   "SELECT video_name, ocr_text FROM screenshots;"),
             QStringList{QStringLiteral("2024-03-31_10-00-00.mp4|recognised")});
}

void DatabaseManagerTest::aSpanEndsNowAndExcludesItsStart_data()
{
    QTest::addColumn<int>("range");
    QTest::addColumn<QString>("start");
    QTest::newRow("hour") << int(LastHour) << "2024-03-31 11:00:00";
    QTest::newRow("day") << int(LastDay) << "2024-03-30 12:00:00";
    QTest::newRow("week") << int(LastWeek) << "2024-03-24 12:00:00";
    QTest::newRow("month, to a day that is not there") << int(LastMonth) << "2024-02-29 12:00:00";
}

void DatabaseManagerTest::aSpanEndsNowAndExcludesItsStart()
{
    QFETCH(int, range);
    QFETCH(QString, start);
    ScreenShotData kept = frame(start, 1);
    ScreenShotData deleted = frame(start, 2);
    deleted.realTime += 1;
    ScreenShotData present = frame("2024-03-31 12:00:00", 3);
    ScreenShotData future = frame("2024-03-31 12:10:00", 4);
    for (const ScreenShotData &data : {kept, deleted, present, future}) {
        QVERIFY(m_manager->saveScreenShotData(data));
    }
    FakeClock::freeze(QDateTime(QDate(2024, 3, 31), QTime(12, 0))); // whatever was spent
    QVERIFY(m_manager->deleteUserData(static_cast<TimeRange>(range)));
    QStringList left = times("2024-03");
    if (start.startsWith(QLatin1String("2024-02"))) {
        left = times("2024-02") + left;
    }
    QCOMPARE(left, (QStringList{start, QStringLiteral("2024-03-31 12:10:00")}));
    QCOMPARE(vectorFilter(), filterOf(at(start), at("2024-03-31 12:00:00")));
}

void DatabaseManagerTest::spansAreCountedInDaysOfTheCalendar_data()
{
    QTest::addColumn<int>("range");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("now");
    const auto span = [](const char *name, TimeRange range, const char *start, const char *now) {
        QTest::newRow(name) << int(range) << QString::fromLatin1(start) << QString::fromLatin1(now);
    };
    // In the night before, the clock went forward: this day has 23 hours.
    span("day", LastDay, "2024-03-30 12:00:00", "2024-03-31 12:00:00");
    span("week", LastWeek, "2024-03-24 12:00:00", "2024-03-31 12:00:00");
    span("month", LastMonth, "2024-03-05 12:00:00", "2024-04-05 12:00:00");
    span("short month", LastMonth, "2024-02-05 12:00:00", "2024-03-05 12:00:00");
    span("hour", LastHour, "2024-03-31 01:30:00", "2024-03-31 03:30:00");
}

void DatabaseManagerTest::spansAreCountedInDaysOfTheCalendar()
{
    QFETCH(int, range);
    QFETCH(QString, start);
    QFETCH(QString, now);
    const TestStore::Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    FakeClock::freeze(QDateTime::fromSecsSinceEpoch(at(now)));
    QVERIFY(m_manager->deleteUserData(static_cast<TimeRange>(range)));
    QCOMPARE(vectorFilter(), filterOf(at(start), at(now)));
}

void DatabaseManagerTest::allTimeRemovesEveryMonthFile()
{
    QVERIFY(m_manager->saveScreenShotData(frame("2024-02-10 10:00:00")));
    QVERIFY(m_manager->saveScreenShotData(frame("2024-03-31 10:00:00")));
    QVERIFY(m_manager->saveScreenShotData(frame("2024-05-01 10:00:00"))); // of the future, too
    FakeClock::freeze(QDateTime(QDate(2024, 3, 31), QTime(12, 0)));
    QVERIFY(m_manager->deleteUserData(AllTime));
    QCOMPARE(QDir(m_home.databaseDirectory()).entryList(QDir::Files),
             QStringList{QStringLiteral("2024-03.db")});
    QCOMPARE(times("2024-03"), QStringList());
    QCOMPARE(vectorFilter(), filterOf(0, at("2024-03-31 12:00:00")));
}

void DatabaseManagerTest::aNumberThatIsNoRangeDeletesNothing_data()
{
    QTest::addColumn<int>("range");
    QTest::newRow("5") << 5;
    QTest::newRow("1000") << 1000;
    QTest::newRow("-1") << -1;
}

void DatabaseManagerTest::aNumberThatIsNoRangeDeletesNothing()
{
    QFETCH(int, range);
    QVERIFY(m_manager->saveScreenShotData(frame("2024-03-31 11:59:00")));
    const int before = m_vectors->count("Delete");
    QVERIFY(!m_manager->deleteUserData(static_cast<TimeRange>(range)));
    QCOMPARE(times("2024-03").size(), 1);
    QCOMPARE(m_vectors->count("Delete"), before);
}

void DatabaseManagerTest::aFailedDeletionWarns()
{
    m_home.writeFile(QStringLiteral("2024-01.db"), QByteArray(8192, 'x'));
    LogCapture log;
    QVERIFY(!m_manager->deleteDatabase(at("2024-01-05 00:00:00"), at("2024-01-06 00:00:00")));
    QCOMPARE(log.texts(QtWarningMsg), QStringList{QStringLiteral("Delete ocr database failed")});
}

void DatabaseManagerTest::vectorsOfASpanGoAfterItsRows()
{
    QVERIFY(m_manager->saveScreenShotData(frame("2024-03-31 11:00:00")));
    QVERIFY(m_manager->deleteDatabase(at("2024-03-31 10:00:00"), at("2024-03-31 11:00:00")));
    QCOMPARE(times("2024-03"), QStringList());
    QCOMPARE(vectorFilter(), filterOf(at("2024-03-31 10:00:00"), at("2024-03-31 11:00:00")));
}

void DatabaseManagerTest::whenRowsCannotBeDeletedTheirVectorsStay()
{
    m_home.writeFile(QStringLiteral("2024-01.db"), QByteArray(8192, 'x'));
    const int before = m_vectors->count("Delete");
    QVERIFY(!m_manager->deleteDatabase(at("2024-01-05 00:00:00"), at("2024-01-06 00:00:00")));
    QCOMPARE(m_vectors->count("Delete"), before);
}

void DatabaseManagerTest::aFailedDeletionOfVectorsWarns()
{
    m_vectors->fail("Delete", {VectorDB::StatusCode::IO_ERROR, "refused by the test"});
    QVERIFY(m_manager->saveScreenShotData(frame("2024-03-31 11:00:00")));
    LogCapture log;
    QVERIFY(!m_manager->deleteDatabase(at("2024-03-31 10:00:00"), at("2024-03-31 12:00:00")));
    QCOMPARE(log.texts(QtWarningMsg), QStringList{QStringLiteral("Delete vector database failed")});
    QCOMPARE(times("2024-03"), QStringList());
}

void DatabaseManagerTest::anEmbeddingIsForwarded()
{
    const int before = m_vectors->count("Insert");
    QVERIFY(m_manager->saveScreenShotEmbedding({1.0F, 2.0F}, frame("2024-03-31 11:00:00", 9)));
    QCOMPARE(m_vectors->count("Insert"), before + 1);
    const auto columns = m_vectors->lastColumns();
    QCOMPARE(static_cast<const VectorDB::Int32FieldData &>(*columns[3]).Data().front(), 9);
    QVERIFY(!m_manager->saveScreenShotEmbedding({}, frame("2024-03-31 11:00:00")));
}

void DatabaseManagerTest::aDayIsDeletedFromItsFirstToItsLastSecond()
{
    for (const char *time : {"2024-03-29 23:59:59", "2024-03-30 00:00:00", "2024-03-30 00:00:01",
                             "2024-03-30 23:59:59", "2024-03-31 00:00:00"}) {
        QVERIFY(m_manager->saveScreenShotData(frame(QString::fromLatin1(time))));
    }
    m_manager->deleteDataAtDate(QStringLiteral("2024-03-30"));
    // The first second of the day is the excluded start.
    QCOMPARE(times("2024-03"),
             (QStringList{"2024-03-29 23:59:59", "2024-03-30 00:00:00", "2024-03-31 00:00:00"}));
    // The vectors' one is included.
    QCOMPARE(vectorFilter(), filterOf(at("2024-03-30 00:00:00"), at("2024-03-30 23:59:59")));
}

void DatabaseManagerTest::whatIsNoDayIsRefused_data()
{
    QTest::addColumn<QString>("day");
    QTest::newRow("no such day") << "2024-02-30";
    QTest::newRow("one digit") << "2024-2-1";
    QTest::newRow("empty") << "";
    QTest::newRow("a path") << "../../x";
}

void DatabaseManagerTest::whatIsNoDayIsRefused()
{
    QFETCH(QString, day);
    QVERIFY(m_manager->saveScreenShotData(frame("2024-02-29 10:00:00")));
    const int before = m_vectors->count("Delete");
    LogCapture log;
    QVERIFY(m_manager->getAppListOfDay(day).isEmpty());
    QCOMPARE(m_manager->getFrameNumOfDay(day), 0U);
    QCOMPARE(m_manager->getScreenShotDataOfDay(day, 1).videoName, QString());
    m_manager->deleteDataAtDate(day);
    const QStringList lines = log.texts();
    QCOMPARE(lines.size(), 4); // the warnings alone: no store was asked
    for (const QString &line : lines) {
        QVERIFY(line.startsWith(QStringLiteral("Invalid date string:")));
        QVERIFY(line.contains(day));
    }
    QCOMPARE(log.texts(QtWarningMsg), lines);
    QCOMPARE(times("2024-02").size(), 1);
    QCOMPARE(m_vectors->count("Delete"), before);
}

void DatabaseManagerTest::aDaysReadsAreForwarded()
{
    QVERIFY(m_manager->saveScreenShotData(frame("2024-03-31 10:00:00", 1, "/a.desktop")));
    QVERIFY(m_manager->saveScreenShotData(frame("2024-03-31 10:00:05", 2, "/a.desktop")));
    const QList<ActiveAppInfo> runs = m_manager->getAppListOfDay(DAY);
    QCOMPARE(runs.size(), 1);
    QCOMPARE(runs.first().desktopFilePath, QStringLiteral("/a.desktop"));
    QCOMPARE(runs.first().frameCount, 2U);
    QCOMPARE(m_manager->getFrameNumOfDay(DAY), 2U);
    QCOMPARE(static_cast<qint64>(m_manager->getLastScreenshotRealTime()),
             at("2024-03-31 10:00:05"));
}

void DatabaseManagerTest::aSearchAndLookUpsAreForwarded()
{
    const ScreenShotData saved = frame("2024-03-31 10:00:05", 2, "/a.desktop", "a text");
    QVERIFY(m_manager->saveScreenShotData(frame("2024-03-31 10:00:00", 1)));
    QVERIFY(m_manager->saveScreenShotData(saved));
    SearchQuery query;
    query.text = QStringLiteral("text");
    const QVector<ScreenShotData> found = m_manager->getOcrScreenShotData(query);
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().frameIndexOfVideo, 2U);
    QCOMPARE(m_manager->getScreenShotDataOfDay(DAY, 2).ocrText, saved.ocrText);
}

QTEST_GUILESS_MAIN(DatabaseManagerTest)
#include "databasemanagertest.moc"
