// The vectors of frames: background connection, schema, saving, deleting, over a store that fails
// on command and over the real one.

#include "database/embeddingscreenshotdatabase.h"

#include "ai/aiabilityprovider.h"
#include "ai/coreaidouble/coreaidouble.h"
#include "ai/fakesleep.h"
#include "support/logcapture.h"
#include "teststore.h"
#include "vectordb/databaseloader.h"
#include "vectordb/fake/fakedatabase.h"

#include <QDate>
#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <limits>
#include <memory>
#include <set>

using namespace VectorDB;

namespace
{
const QString NOT_CONNECTED = QStringLiteral("向量数据库连接失败，无法保存数据");
const Status REFUSED{StatusCode::IO_ERROR, "refused by the test"};

QVector<float> embedding()
{
    QVector<float> vector(1024);
    vector[3] = 1.0F;
    return vector;
}

ScreenShotData frameAt(qint64 realTime)
{
    ScreenShotData data;
    data.videoName = QStringLiteral("2024-03-15_10-00-00.mp4");
    data.frameIndexOfVideo = 7;
    data.realTime = realTime;
    return data;
}

// The ids of everything that the real store below HOME holds.
std::vector<long> storedTimes()
{
    const std::shared_ptr<Database> database = DatabaseLoader::local();
    SearchArguments arguments;
    arguments.SetCollectionName("screenshots");
    arguments.SetTopK(100);
    arguments.AddOutputField("realTime");
    arguments.AddTargetVector("vector", std::vector<float>(1024, 1.0F));
    SearchResults results;
    if (!database->Connect(ConnectParam()).IsOk() ||
        !database->Search(arguments, results, 0).IsOk()) {
        return {-1};
    }
    const FieldPtr times = results.Results().front().OutputField("realTime");
    return static_cast<const Int64FieldData &>(*times).Data();
}
} // namespace

class EmbeddingScreenshotDatabaseTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void aSaveBeforeTheConnectionIsUpIsRefused();
    void anEmptyEmbeddingIsRefused();
    void deletingFromZeroToNowRemovesEverythingSoFar();
    void aSecondStartFindsTheCollectionAndCreatesNothing();
    void aVideoNameOverFortyCharactersIsAFailedInsert();

    void withoutAStoreEverythingIsRefused();
    void aFailedConnectionIsTriedOnceAndIsFinal();
    void everyFailedAttemptIsFollowedByAPause();
    void anInterruptedPauseIsSleptToItsEnd();
    void noAttemptsAreAFailure();
    void aStoreThatDoesNotTellItsCollectionsIsGivenOne();
    void aCollectionThatCannotBeMadeLeavesTheStoreUnconnected();
    void theCollectionHasItsSchemaAndIndex();

    void aRowGoesInColumnByColumn();
    void everyRowHasAnIdOfItsOwn();
    void aRefusedInsertIsLoggedWithCodeAndMessage();
    void aSaveTellsHowManyRowsWentIn();

    void theFilterNamesBothBounds_data();
    void theFilterNamesBothBounds();
    void bothBoundsAreDeleted();
    void aRefusedDeletionIsLoggedWithCodeAndMessage();
    void aDeletionDoesNotAskForTheConnection();

    void theDestructorWaitsAndDisconnectsOnce();
    void aFailedDisconnectionIsLogged();
    void queriesAreEmbeddedByTheProvider();
    void filesStandWhereTheStorePutsThem();

private:
    std::unique_ptr<EmbeddingScreenshotDatabase> connected()
    {
        auto store = std::make_unique<EmbeddingScreenshotDatabase>();
        awaitConnection(*store);
        return store;
    }

    // An empty embedding tells the two refusals apart and stores nothing.
    void awaitConnection(EmbeddingScreenshotDatabase &store)
    {
        QTRY_VERIFY([&] {
            m_log->clear();
            store.saveScreenShotEmbedding({}, {});
            return !m_log->contains(QtWarningMsg, NOT_CONNECTED);
        }());
        m_log->clear();
    }

    void useRealStore() { DatabaseLoader::force({}); }

    std::unique_ptr<TestStore::Home> m_home;
    std::unique_ptr<LogCapture> m_log;
    std::shared_ptr<FakeDatabase> m_fake;
};

// The provider logs while it starts.
void EmbeddingScreenshotDatabaseTest::initTestCase()
{
    QTRY_VERIFY(!AIAbilityProvider::getInstance()->embeddingText(QStringLiteral("x")).isEmpty());
}

void EmbeddingScreenshotDatabaseTest::init()
{
    FakeSleep::reset();
    CoreAiDouble::reset();
    m_home = std::make_unique<TestStore::Home>();
    m_log = std::make_unique<LogCapture>();
    m_fake = std::make_shared<FakeDatabase>();
    DatabaseLoader::force([this] { return m_fake; });
}

void EmbeddingScreenshotDatabaseTest::cleanup()
{
    DatabaseLoader::force({});
    m_fake.reset();
    m_log.reset();
    m_home.reset();
}

void EmbeddingScreenshotDatabaseTest::aSaveBeforeTheConnectionIsUpIsRefused()
{
    m_fake->delayConnect(std::chrono::milliseconds(500));
    EmbeddingScreenshotDatabase store;
    QVERIFY(!store.saveScreenShotEmbedding(embedding(), frameAt(1)));
    QCOMPARE(m_log->texts(QtWarningMsg), QStringList{NOT_CONNECTED});
    QCOMPARE(m_fake->count("Insert"), 0);
    awaitConnection(store);
    QVERIFY(store.saveScreenShotEmbedding(embedding(), frameAt(1)));
}

void EmbeddingScreenshotDatabaseTest::anEmptyEmbeddingIsRefused()
{
    const auto store = connected();
    QVERIFY(!store->saveScreenShotEmbedding({}, frameAt(1)));
    QCOMPARE(m_log->texts(QtWarningMsg),
             QStringList{QStringLiteral(
                 "EmbeddingDatabase empty embedding data, will not save to database.")});
    QCOMPARE(m_fake->count("Insert"), 0);
}

void EmbeddingScreenshotDatabaseTest::deletingFromZeroToNowRemovesEverythingSoFar()
{
    useRealStore();
    const long now = static_cast<long>(QDateTime::currentSecsSinceEpoch());
    auto store = connected();
    for (long time : {1L, 1000L, now - 1, now}) {
        QVERIFY(store->saveScreenShotEmbedding(embedding(), frameAt(time)));
    }
    m_log->clear();
    QVERIFY(store->deleteVectorDatabase(0, now));
    QCOMPARE(m_log->texts().size(), 1);
    QCOMPARE(m_log->texts().first(), QStringLiteral("Successfully Delete  4  rows."));
    store.reset();
    QCOMPARE(storedTimes(), std::vector<long>());
}

void EmbeddingScreenshotDatabaseTest::aSecondStartFindsTheCollectionAndCreatesNothing()
{
    connected().reset();
    QCOMPARE(m_fake->count("CreateCollection"), 1);
    connected().reset();
    QCOMPARE(m_fake->count("CreateCollection"), 1);

    useRealStore();
    QVERIFY(connected()->saveScreenShotEmbedding(embedding(), frameAt(5)));
    connected().reset();
    QCOMPARE(storedTimes(), std::vector<long>{5});
}

void EmbeddingScreenshotDatabaseTest::aVideoNameOverFortyCharactersIsAFailedInsert()
{
    useRealStore();
    auto store = connected();
    ScreenShotData data = frameAt(1);
    data.videoName = QString(40, QLatin1Char('v'));
    QVERIFY(store->saveScreenShotEmbedding(embedding(), data));
    m_log->clear();
    data.videoName = QString(41, QLatin1Char('v'));
    QVERIFY(!store->saveScreenShotEmbedding(embedding(), data));
    QCOMPARE(m_log->texts().size(), 1);
    const QString line = m_log->texts().first();
    QVERIFY2(line.startsWith(QStringLiteral("Failed to insert:   7   ")), qPrintable(line));
    store.reset();
    QCOMPARE(storedTimes(), std::vector<long>{1});
}

void EmbeddingScreenshotDatabaseTest::withoutAStoreEverythingIsRefused()
{
    m_fake.reset();
    EmbeddingScreenshotDatabase store;
    QTRY_VERIFY(
        m_log->contains(QtWarningMsg, QStringLiteral("Failed to create milvus vector database.")));
    m_log->clear();
    QVERIFY(!store.saveScreenShotEmbedding(embedding(), frameAt(1)));
    QCOMPARE(m_log->texts(QtWarningMsg), QStringList{NOT_CONNECTED});
    QVERIFY(!store.deleteVectorDatabase(0, 1));
    QVERIFY(!store.hasCollection("screenshots"));
}

void EmbeddingScreenshotDatabaseTest::aFailedConnectionIsTriedOnceAndIsFinal()
{
    m_fake->fail("Connect", REFUSED);
    EmbeddingScreenshotDatabase store;
    const QString final = QStringLiteral("Failed to connect to milvus vector database.");
    QTRY_VERIFY(m_log->contains(QtWarningMsg, final));
    QCOMPARE(m_log->texts(QtWarningMsg),
             (QStringList{QStringLiteral("Failed to connect milvus server, retry 0 times"),
                          QStringLiteral("Failed to connect milvus server"), final}));
    QCOMPARE(m_log->texts(QtDebugMsg).first(),
             QStringLiteral("Failed to connect milvus server:   14   refused by the test"));
    const std::vector<FakeSleep::Sleep> sleeps = FakeSleep::sleeps();
    QCOMPARE(sleeps.size(), std::size_t{1});
    QCOMPARE(sleeps.front().asked.count(), 5000);

    m_fake->succeed("Connect"); // too late
    QVERIFY(!store.saveScreenShotEmbedding(embedding(), frameAt(1)));
    QCOMPARE(m_fake->calls(), std::vector<std::string>{"Connect"});
}

void EmbeddingScreenshotDatabaseTest::everyFailedAttemptIsFollowedByAPause()
{
    const auto store = connected();
    m_fake->fail("Connect", REFUSED);
    QVERIFY(!store->connectEmbeddingDatabaseWithRetry(3));
    QCOMPARE(m_log->texts(QtWarningMsg),
             (QStringList{QStringLiteral("Failed to connect milvus server, retry 0 times"),
                          QStringLiteral("Failed to connect milvus server, retry 1 times"),
                          QStringLiteral("Failed to connect milvus server, retry 2 times"),
                          QStringLiteral("Failed to connect milvus server")}));
    QCOMPARE(FakeSleep::sleeps().size(), std::size_t{3});
}

void EmbeddingScreenshotDatabaseTest::anInterruptedPauseIsSleptToItsEnd()
{
    const auto store = connected();
    m_fake->fail("Connect", REFUSED);
    FakeSleep::interruptNext(2);
    QVERIFY(!store->connectEmbeddingDatabaseWithRetry(1));
    const std::vector<FakeSleep::Sleep> sleeps = FakeSleep::sleeps();
    QCOMPARE(sleeps.size(), std::size_t{3});
    QCOMPARE(sleeps[0].asked.count(), 5000);
    QCOMPARE(sleeps[1].asked.count(), 2500);
    QCOMPARE(sleeps[2].asked.count(), 1250);
}

void EmbeddingScreenshotDatabaseTest::noAttemptsAreAFailure()
{
    const auto store = connected();
    QVERIFY(!store->connectEmbeddingDatabaseWithRetry(0));
    QCOMPARE(m_log->texts(), QStringList{QStringLiteral("Failed to connect milvus server")});
    QCOMPARE(m_fake->count("Connect"), 1);
    QVERIFY(FakeSleep::sleeps().empty());
}

void EmbeddingScreenshotDatabaseTest::aStoreThatDoesNotTellItsCollectionsIsGivenOne()
{
    m_fake->setHasCollection(true);
    m_fake->fail("HasCollection", REFUSED);
    const auto store = connected();
    QVERIFY(!store->hasCollection("screenshots"));
    QCOMPARE(m_fake->count("CreateCollection"), 1);
}

void EmbeddingScreenshotDatabaseTest::aCollectionThatCannotBeMadeLeavesTheStoreUnconnected()
{
    m_fake->fail("CreateCollection", REFUSED);
    EmbeddingScreenshotDatabase store;
    const QString final = QStringLiteral("Failed to connect to milvus vector database.");
    QTRY_VERIFY(m_log->contains(QtWarningMsg, final));
    QCOMPARE(m_log->texts(QtWarningMsg), QStringList{final});
    QCOMPARE(m_log->texts(QtDebugMsg).first(),
             QStringLiteral("Failed to create collection:   14   refused by the test"));
    QVERIFY(!store.saveScreenShotEmbedding(embedding(), frameAt(1)));
}

void EmbeddingScreenshotDatabaseTest::theCollectionHasItsSchemaAndIndex()
{
    connected().reset();
    QCOMPARE(m_fake->createdSchemas().size(), std::size_t{1});
    const CollectionSchema schema = m_fake->createdSchemas().front();
    QCOMPARE(schema.Name(), std::string("screenshots"));
    QCOMPARE(schema.Description(),
             std::string("This collection stores vectorized data of screen captures"));
    QStringList fields;
    for (const FieldSchema &field : schema.Fields()) {
        fields.append(QStringLiteral("%1|%2|%3|%4|%5|%6|%7")
                          .arg(QString::fromStdString(field.Name()))
                          .arg(static_cast<int>(field.Type()))
                          .arg(QString::fromStdString(field.Description()))
                          .arg(field.IsPrimary())
                          .arg(field.AutoId())
                          .arg(field.MaxLength())
                          .arg(field.Dimension()));
    }
    QCOMPARE(fields, (QStringList{
                         QStringLiteral("id|21|id field|1|0|40|0"),
                         QStringLiteral("vector|101|embedding field|0|0|0|1024"),
                         QStringLiteral("videoName|21|videoName field|0|0|40|0"),
                         QStringLiteral("frameIndexOfVideo|4|frameIndexOfVideo field|0|0|0|0"),
                         QStringLiteral("realTime|5|realTime field|0|0|0|0"),
                     }));
    const IndexDesc index = m_fake->createdIndexes().front();
    QCOMPARE(index.FieldName(), std::string("vector"));
    QCOMPARE(index.IndexName(), std::string("imageEmbedding"));
    QCOMPARE(index.IndexId(), 0L);
    QCOMPARE(static_cast<int>(index.IndexType()), 1);
    QCOMPARE(static_cast<int>(index.MetricType()), 3);
}

void EmbeddingScreenshotDatabaseTest::aRowGoesInColumnByColumn()
{
    const auto store = connected();
    ScreenShotData data = frameAt(1710493200);
    data.videoName = QStringLiteral("视频.mp4");
    QVERIFY(store->saveScreenShotEmbedding(embedding(), data));
    const std::vector<FieldPtr> columns = m_fake->lastColumns();
    QCOMPARE(columns.size(), std::size_t{5});
    QStringList names;
    for (const FieldPtr &column : columns) {
        names.append(QString::fromStdString(column->Name()));
        QCOMPARE(column->Count(), std::size_t{1});
    }
    QCOMPARE(names, (QStringList{"id", "vector", "videoName", "frameIndexOfVideo", "realTime"}));
    const auto *ids = dynamic_cast<VarCharFieldData *>(columns[0].get());
    const auto *vectors = dynamic_cast<FloatVectorFieldData *>(columns[1].get());
    const auto *videos = dynamic_cast<VarCharFieldData *>(columns[2].get());
    const auto *frames = dynamic_cast<Int32FieldData *>(columns[3].get());
    const auto *times = dynamic_cast<Int64FieldData *>(columns[4].get());
    QVERIFY(ids && vectors && videos && frames && times);
    const QRegularExpression uuid(
        QStringLiteral("^\\{[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\\}$"));
    QVERIFY(uuid.match(QString::fromStdString(ids->Data().front())).hasMatch());
    const QVector<float> expected = embedding();
    QVERIFY(vectors->Data().front() == std::vector<float>(expected.begin(), expected.end()));
    QCOMPARE(videos->Data().front(), std::string("视频.mp4"));
    QCOMPARE(frames->Data().front(), 7);
    QCOMPARE(times->Data().front(), 1710493200L);
}

void EmbeddingScreenshotDatabaseTest::everyRowHasAnIdOfItsOwn()
{
    const auto store = connected();
    std::set<std::string> ids;
    for (int save = 0; save < 20; ++save) {
        QVERIFY(store->saveScreenShotEmbedding(embedding(), frameAt(1)));
        ids.insert(static_cast<const VarCharFieldData &>(*m_fake->lastColumns()[0]).Data().front());
    }
    QCOMPARE(ids.size(), std::size_t{20});
}

void EmbeddingScreenshotDatabaseTest::aRefusedInsertIsLoggedWithCodeAndMessage()
{
    const auto store = connected();
    m_fake->fail("Insert", REFUSED);
    QVERIFY(!store->saveScreenShotEmbedding(embedding(), frameAt(1)));
    QCOMPARE(m_log->texts().size(), 1);
    QCOMPARE(m_log->texts().first(),
             QStringLiteral("Failed to insert:   14   refused by the test"));
}

void EmbeddingScreenshotDatabaseTest::aSaveTellsHowManyRowsWentIn()
{
    const auto store = connected();
    QVERIFY(store->saveScreenShotEmbedding(embedding(), frameAt(1)));
    QCOMPARE(m_log->texts().size(), 1);
    QCOMPARE(m_log->texts().first(), QStringLiteral("Successfully insert  1  rows."));
}

void EmbeddingScreenshotDatabaseTest::theFilterNamesBothBounds_data()
{
    QTest::addColumn<qlonglong>("start");
    QTest::addColumn<qlonglong>("end");
    QTest::addColumn<QString>("filter");
    using Limits = std::numeric_limits<long>;
    QTest::newRow("a span") << 10LL << 20LL << "10 <= realTime && realTime <= 20";
    QTest::newRow("a moment") << 5LL << 5LL << "5 <= realTime && realTime <= 5";
    QTest::newRow("from the beginning")
        << 0LL << 1710493200LL << "0 <= realTime && realTime <= 1710493200";
    QTest::newRow("before the epoch") << -10LL << -5LL << "-10 <= realTime && realTime <= -5";
    QTest::newRow("extremes") << qlonglong{Limits::min()} << qlonglong{Limits::max()}
                              << "-9223372036854775808 <= realTime && realTime <= "
                                 "9223372036854775807";
}

void EmbeddingScreenshotDatabaseTest::theFilterNamesBothBounds()
{
    QFETCH(qlonglong, start);
    QFETCH(qlonglong, end);
    QFETCH(QString, filter);
    const auto store = connected();
    QVERIFY(store->deleteVectorDatabase(start, end));
    QCOMPARE(QString::fromStdString(m_fake->lastFilter()), filter);

    useRealStore(); // which has to understand it
    QVERIFY(connected()->deleteVectorDatabase(start, end));
}

void EmbeddingScreenshotDatabaseTest::bothBoundsAreDeleted()
{
    useRealStore();
    auto store = connected();
    for (long time : {99L, 100L, 150L, 200L, 201L}) {
        QVERIFY(store->saveScreenShotEmbedding(embedding(), frameAt(time)));
    }
    QVERIFY(store->deleteVectorDatabase(100, 200));
    store.reset();
    QCOMPARE(storedTimes(), (std::vector<long>{99, 201}));
}

void EmbeddingScreenshotDatabaseTest::aRefusedDeletionIsLoggedWithCodeAndMessage()
{
    const auto store = connected();
    m_fake->fail("Delete", REFUSED);
    QVERIFY(!store->deleteVectorDatabase(1, 2));
    QCOMPARE(m_log->texts().size(), 1);
    QCOMPARE(m_log->texts().first(),
             QStringLiteral(
                 "Failed to delete data from milvus vector database   14   refused by the test"));
}

void EmbeddingScreenshotDatabaseTest::aDeletionDoesNotAskForTheConnection()
{
    m_fake->fail("CreateCollection", REFUSED);
    EmbeddingScreenshotDatabase store;
    QTRY_VERIFY(m_log->contains(QtWarningMsg,
                                QStringLiteral("Failed to connect to milvus vector database.")));
    QVERIFY(store.deleteVectorDatabase(1, 2));
    QCOMPARE(m_fake->count("Delete"), 1);
}

void EmbeddingScreenshotDatabaseTest::theDestructorWaitsAndDisconnectsOnce()
{
    m_fake->delayConnect(std::chrono::milliseconds(200));
    {
        const EmbeddingScreenshotDatabase store;
    }
    QCOMPARE(m_fake->calls(), (std::vector<std::string>{"Connect", "HasCollection",
                                                        "CreateCollection", "Disconnect"}));
    QCOMPARE(m_fake.use_count(), 1L);
    QCOMPARE(m_log->texts(), QStringList());
}

void EmbeddingScreenshotDatabaseTest::aFailedDisconnectionIsLogged()
{
    auto store = connected();
    m_fake->fail("Disconnect", REFUSED);
    store.reset();
    QCOMPARE(m_log->texts().size(), 1);
    QCOMPARE(m_log->texts().first(),
             QStringLiteral("Failed to disconnect milvus server:   14   refused by the test"));
}

void EmbeddingScreenshotDatabaseTest::queriesAreEmbeddedByTheProvider()
{
    CoreAiDouble::setEmbedder([](const QByteArray &input) {
        return input == "预算" ? QVector<float>{1.0F, 2.0F} : QVector<float>{};
    });
    const auto store = connected();
    QTRY_COMPARE(store->embeddingText(QStringLiteral("预算")), (QVector<float>{1.0F, 2.0F}));
}

void EmbeddingScreenshotDatabaseTest::filesStandWhereTheStorePutsThem()
{
    useRealStore();
    connected().reset();
    const QDir directory(m_home->path() +
                         QStringLiteral("/.cache/tavel-ai-yestermark/vector_database"));
    QCOMPARE(directory.entryList(QDir::Files, QDir::Name),
             (QStringList{QStringLiteral("matrix_1.bin"), QStringLiteral("vectors.db")}));
}

QTEST_GUILESS_MAIN(EmbeddingScreenshotDatabaseTest)
#include "embeddingscreenshotdatabasetest.moc"
