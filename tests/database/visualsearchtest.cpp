// Frames by meaning: the cut-off over scores made exactly, what a store may answer, and the way
// from a vector back to its row.

#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/datahandler.h"
#include "database/embeddingscreenshotdatabase.h"
#include "database/storedhistory.h"
#include "teststore.h"

#include "ai/aiabilityprovider.h"
#include "ai/coreaidouble/coreaidouble.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "vectordb/databaseloader.h"
#include "vectordb/fake/fakedatabase.h"

#include <QDir>
#include <QTest>
#include <QThread>

#include <cmath>
#include <memory>
#include <mutex>

using namespace VectorDB;

Q_DECLARE_METATYPE(std::vector<float>)

namespace
{
const QString NOT_CONNECTED = QStringLiteral("向量数据库连接失败，无法保存数据");
const QString ILLEGAL = QStringLiteral("Illegal result!");

QVector<float> queryVector()
{
    QVector<float> vector(1024, 0.0F);
    vector[0] = 1.0F;
    return vector;
}

// Its cosine to the query's vector is @p score.
QVector<float> vectorWithScore(double score)
{
    QVector<float> vector(1024, 0.0F);
    vector[0] = static_cast<float>(score);
    vector[1] = static_cast<float>(std::sqrt(1.0 - score * score));
    return vector;
}

SearchQuery queryOf(const QString &text, quint32 limit = 0)
{
    SearchQuery query;
    query.text = text;
    query.limit = limit;
    return query;
}

/// The parts of an answer; each may be spoilt.
struct Answer {
    explicit Answer(const std::vector<float> &itsScores, const std::string &video = "v")
        : scores(itsScores)
    {
        for (std::size_t row = 0; row < scores.size(); ++row) {
            ids.push_back("id" + std::to_string(row));
            videos.push_back(video + std::to_string(row));
            frames.push_back(static_cast<int>(row) + 1);
            times.push_back(static_cast<long>(row) + 1000);
        }
    }

    SingleResult result() const
    {
        // Whole lists: GCC 12 takes one that grows for an overrun.
        const FieldPtr video = std::make_shared<VarCharFieldData>("videoName", videos);
        const FieldPtr frame = std::make_shared<Int32FieldData>("frameIndexOfVideo", frames);
        const FieldPtr time = std::make_shared<Int64FieldData>("realTime", times);
        const std::vector<FieldPtr> fields = hasTimes ? std::vector<FieldPtr>{video, frame, time}
                                                      : std::vector<FieldPtr>{video, frame};
        std::vector<std::string> copy = ids;
        return {IDArray(std::move(copy)), scores, fields};
    }

    std::vector<float> scores;
    std::vector<std::string> ids;
    std::vector<std::string> videos;
    std::vector<int> frames;
    std::vector<long> times;
    bool hasTimes = true;
};

SearchResults resultsOf(const std::vector<Answer> &answers)
{
    std::vector<SingleResult> list;
    list.reserve(answers.size());
    for (const Answer &answer : answers) {
        list.push_back(answer.result());
    }
    SearchResults results;
    results.SetResults(list);
    return results;
}

QStringList videosOf(const QVector<ScreenShotData> &hits)
{
    QStringList names;
    for (const ScreenShotData &hit : hits) {
        names << hit.videoName;
    }
    return names;
}

/// Runs on a thread that can be asked to stop.
void runOnThread(const std::function<void()> &work)
{
    std::mutex finished; // tells the thread sanitizer, which does not see the thread being joined
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        const std::lock_guard<std::mutex> lock(finished);
        work();
    }));
    thread->start();
    thread->wait();
    const std::lock_guard<std::mutex> lock(finished);
}
} // namespace

class VisualSearchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theBandAndTheFloorKeepWhatIsNearTheBest_data();
    void theBandAndTheFloorKeepWhatIsNearTheBest();
    void theRealStoresScoresAreCutOff_data();
    void theRealStoresScoresAreCutOff();
    void theFirstScoreIsTheBestAndTheOrderStays();

    void theStoreIsAskedForTheWholeCollection();
    void aLimitIsTheNumberOfRowsAskedFor();
    void anEmptyTextIsEmbeddedLikeAnyOther();
    void anyTextReachesTheModelAsItIs_data();
    void anyTextReachesTheModelAsItIs();
    void hitsBearTheThreeFieldsOfTheStoreAlone();

    void withoutAConnectionNothingIsFound();
    void aRefusedSearchIsLoggedWithCodeAndMessage();
    void aTextWithoutAVectorFindsNothing();
    void anEmptyCollectionIsAnIllegalResult();
    void aMalformedPartIsSkippedAndTheRestIsUsed_data();
    void aMalformedPartIsSkippedAndTheRestIsUsed();
    void anAnswerWithoutPartsFindsNothing();

    void hitsAreCompletedFromTheirRows();
    void aHitWhoseMonthFileWasDeletedBecomesAnEmptyRecord();
    void aHitWhoseRowIsGoneStaysInItsPlace();
    void theHandlerPassesTheSearchOn();
    void aStoppedThreadGivesUpTheLookUps();
    void theMainThreadLooksUpEverything();

private:
    std::unique_ptr<EmbeddingScreenshotDatabase> connected();
    void saveFrame(const QString &localTime, quint32 frame, double score);

    std::unique_ptr<TestStore::Home> m_home;
    std::unique_ptr<LogCapture> m_log;
    std::shared_ptr<FakeDatabase> m_fake;
};

void VisualSearchTest::initTestCase()
{
    FakeClock::freeze(QDateTime(QDate(2024, 3, 15), QTime(14, 0)));
    QTRY_VERIFY(!AIAbilityProvider::getInstance()->embeddingText(QStringLiteral("x")).isEmpty());
    StoredHistory::openVectorStore();
}

void VisualSearchTest::init()
{
    FakeClock::freeze(QDateTime(QDate(2024, 3, 15), QTime(14, 0)));
    StoredHistory::eraseEverything();
    CoreAiDouble::reset();
    CoreAiDouble::setEmbedder([](const QByteArray &) { return queryVector(); });
    m_fake = std::make_shared<FakeDatabase>();
    DatabaseLoader::force([this] { return m_fake; });
    m_log = std::make_unique<LogCapture>();
}

void VisualSearchTest::cleanup()
{
    m_log.reset();
    DatabaseLoader::force({});
    m_fake.reset();
    m_home.reset();
    FakeClock::reset();
}

// An empty embedding tells the two refusals apart and stores nothing.
std::unique_ptr<EmbeddingScreenshotDatabase> VisualSearchTest::connected()
{
    auto store = std::make_unique<EmbeddingScreenshotDatabase>();
    const bool isUp = QTest::qWaitFor(
        [&] {
            m_log->clear();
            store->saveScreenShotEmbedding({}, {});
            return !m_log->contains(QtWarningMsg, NOT_CONNECTED);
        },
        20000);
    if (!isUp) {
        qFatal("the vector store does not come up");
    }
    m_log->clear();
    return store;
}

// A row and a vector in the program's own databases.
void VisualSearchTest::saveFrame(const QString &localTime, quint32 frame, double score)
{
    const ScreenShotData data = TestStore::frame(localTime, frame, QStringLiteral("/app.desktop"),
                                                 QStringLiteral("text %1; ").arg(frame));
    QVERIFY(DatabaseManager::getInstance()->saveScreenShotData(data));
    QVERIFY(DatabaseManager::getInstance()->saveScreenShotEmbedding(vectorWithScore(score), data));
}

void VisualSearchTest::theBandAndTheFloorKeepWhatIsNearTheBest_data()
{
    QTest::addColumn<std::vector<float>>("scores");
    QTest::addColumn<int>("kept"); // so many from the front

    const auto add = [](const char *name, const std::vector<float> &scores, int kept) {
        QTest::newRow(name) << scores << kept;
    };
    const float low = std::nextafter(0.56F, 0.0F);
    add("the wide band above the boundary", {0.60F, 0.57F, 0.55F}, 2);
    // 0.56 as a float lies above 0.56 as a double; the next one below is the greatest weak score.
    add("the narrow band up to the boundary", {low, low - 0.0255F, low - 0.03F}, 2);
    add("the wide band right above it", {0.56F, 0.53F, 0.52F}, 2);
    add("the floor cuts into the band", {0.47F, 0.465F, 0.46F, 0.4599F, 0.45F}, 3);
    add("a best hit below the floor", {0.45F, 0.449F}, 0);
    add("a best hit at the floor", {0.46F, 0.4599F}, 1);
    add("only the best", {0.9F, 0.8F, 0.7F}, 1);
    add("equal ones", {0.5F, 0.5F, 0.5F}, 3);
    add("negative ones", {-0.2F, -0.2F}, 0);
    const float best = 0.75F; // differences to it are exact
    add("the wide band's edge", {best, best - 0.037F, std::nextafter(best - 0.037F, 0.0F)}, 2);
    const float weak = 0.5F; // the next float below the edge lies beyond the band
    add("the narrow band's edge", {weak, weak - 0.026F, std::nextafter(weak - 0.026F, 0.0F)}, 2);
}

void VisualSearchTest::theBandAndTheFloorKeepWhatIsNearTheBest()
{
    QFETCH(const std::vector<float>, scores);
    QFETCH(const int, kept);
    const auto store = connected();
    m_fake->setFound(resultsOf({Answer(scores)}));
    const QVector<ScreenShotData> hits = store->getVisualScreenShotData(queryOf("text"));
    QCOMPARE(hits.size(), kept);
    for (int hit = 0; hit < kept; ++hit) {
        QCOMPARE(hits.at(hit).videoName, QStringLiteral("v%1").arg(hit));
    }
}

void VisualSearchTest::theRealStoresScoresAreCutOff_data()
{
    QTest::addColumn<std::vector<float>>("scores");
    QTest::addColumn<QStringList>("kept");

    const auto add = [](const char *name, const std::vector<float> &scores,
                        const QStringList &kept) { QTest::newRow(name) << scores << kept; };
    add("best 0.60", {0.55F, 0.60F, 0.57F}, {"0.6", "0.57"});
    add("best below the boundary", {0.53F, 0.5599F, 0.54F}, {"0.5599", "0.54"});
    add("best 0.47", {0.458F, 0.461F, 0.47F}, {"0.47", "0.461"});
    add("best 0.45", {0.45F, 0.44F}, {});
}

void VisualSearchTest::theRealStoresScoresAreCutOff()
{
    QFETCH(const std::vector<float>, scores);
    QFETCH(const QStringList, kept);
    m_home = std::make_unique<TestStore::Home>();
    DatabaseLoader::force({});
    const auto store = connected();
    for (const float score : scores) {
        ScreenShotData data;
        data.videoName = QString::number(static_cast<double>(score));
        data.frameIndexOfVideo = 3;
        data.realTime = 77;
        QVERIFY(store->saveScreenShotEmbedding(vectorWithScore(static_cast<double>(score)), data));
    }
    const QVector<ScreenShotData> hits = store->getVisualScreenShotData(queryOf("text"));
    QCOMPARE(videosOf(hits), kept);
    for (const ScreenShotData &hit : hits) {
        QCOMPARE(hit.frameIndexOfVideo, 3U);
        QCOMPARE(hit.realTime, 77);
    }
}

void VisualSearchTest::theFirstScoreIsTheBestAndTheOrderStays()
{
    const auto store = connected();
    m_fake->setFound(resultsOf({Answer({0.6F, 0.58F}, "a"), Answer({0.7F, 0.59F, 0.5F}, "b")}));
    const QVector<ScreenShotData> hits = store->getVisualScreenShotData(queryOf("text"));
    QCOMPARE(videosOf(hits), (QStringList{"a0", "a1", "b0", "b1"}));
}

void VisualSearchTest::theStoreIsAskedForTheWholeCollection()
{
    const auto store = connected();
    m_fake->setFound(resultsOf({Answer({0.6F})}));
    SearchQuery query = queryOf("text");
    query.startTime = 10;
    query.endTime = 20; // the frame found was taken at 1000
    query.extraText = "more";
    QCOMPARE(store->getVisualScreenShotData(query).size(), 1);
    const std::vector<SearchArguments> searches = m_fake->searches();
    QCOMPARE(searches.size(), std::size_t{1});
    const SearchArguments &asked = searches.front();
    QCOMPARE(asked.CollectionName(), std::string("screenshots"));
    QCOMPARE(asked.TopK(), 5000L);
    QCOMPARE(asked.OutputFields(),
             (std::vector<std::string>{"videoName", "frameIndexOfVideo", "realTime"}));
    QCOMPARE(asked.GuaranteeTimestamp(), 0UL);
    QCOMPARE(m_fake->lastTimeout(), 0);
    QCOMPARE(asked.Targets().size(), std::size_t{1});
    QCOMPARE(asked.Targets().front().field, std::string("vector"));
    const QVector<float> vector = queryVector();
    QCOMPARE(asked.Targets().front().vector, std::vector<float>(vector.begin(), vector.end()));
}

void VisualSearchTest::aLimitIsTheNumberOfRowsAskedFor()
{
    const auto store = connected();
    store->getVisualScreenShotData(queryOf("text", 7));
    QCOMPARE(m_fake->searches().front().TopK(), 7L);
}

void VisualSearchTest::anEmptyTextIsEmbeddedLikeAnyOther()
{
    const auto store = connected();
    m_fake->setFound(resultsOf({Answer({0.6F})}));
    QCOMPARE(store->getVisualScreenShotData(queryOf(QString())).size(), 1);
    QCOMPARE(CoreAiDouble::embeddedTexts(), QVector<QByteArray>{QByteArray("")});
}

void VisualSearchTest::anyTextReachesTheModelAsItIs_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("quotes") << "it's a \"text\"";
    QTest::newRow("percent signs") << "100%";
    QTest::newRow("underscores") << "a_b";
    QTest::newRow("emoji") << QString::fromUtf8("🦊 and 👩‍💻");
    QTest::newRow("10,000 characters") << QString(10000, QChar(0x4E2D));
    QTest::newRow("right to left") << QString::fromUtf8("שלום עולם");
}

void VisualSearchTest::anyTextReachesTheModelAsItIs()
{
    QFETCH(const QString, text);
    const auto store = connected();
    m_fake->setFound(resultsOf({Answer({0.6F})}));
    QCOMPARE(store->getVisualScreenShotData(queryOf(text)).size(), 1);
    QCOMPARE(CoreAiDouble::embeddedTexts(), QVector<QByteArray>{text.toUtf8()});
    QVERIFY2(m_log->texts().filter(text.left(20)).isEmpty(), "a query stands on the log");
}

void VisualSearchTest::hitsBearTheThreeFieldsOfTheStoreAlone()
{
    const auto store = connected();
    m_fake->setFound(resultsOf({Answer({0.6F})}));
    const ScreenShotData hit = store->getVisualScreenShotData(queryOf("text")).value(0);
    QCOMPARE(hit.videoName, QString("v0"));
    QCOMPARE(hit.frameIndexOfVideo, 1U);
    QCOMPARE(hit.realTime, 1000);
    QCOMPARE(hit.date, QString());
    QCOMPARE(hit.frameIndexOfDay, 0U);
    QCOMPARE(hit.desktopFilePath, QString());
    QCOMPARE(hit.ocrText, QString());
}

void VisualSearchTest::withoutAConnectionNothingIsFound()
{
    m_fake->delayConnect(std::chrono::milliseconds(500));
    m_fake->setFound(resultsOf({Answer({0.6F})}));
    const EmbeddingScreenshotDatabase store;
    QVERIFY(store.getVisualScreenShotData(queryOf("text")).isEmpty());
    QCOMPARE(m_log->texts(QtWarningMsg), QStringList{NOT_CONNECTED});
    QCOMPARE(m_fake->count("Search"), 0);
    QVERIFY(CoreAiDouble::embeddedTexts().isEmpty());
}

void VisualSearchTest::aRefusedSearchIsLoggedWithCodeAndMessage()
{
    const auto store = connected();
    m_fake->setFound(resultsOf({Answer({0.6F})}));
    m_fake->fail("Search", Status(StatusCode::IO_ERROR, "refused by the test"));
    QVERIFY(store->getVisualScreenShotData(queryOf("text")).isEmpty());
    const QStringList lines = m_log->texts(QtDebugMsg).filter("Failed to search:");
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().simplified(), QString("Failed to search: 14 refused by the test"));
}

void VisualSearchTest::aTextWithoutAVectorFindsNothing()
{
    m_home = std::make_unique<TestStore::Home>();
    DatabaseLoader::force({});
    const auto store = connected();
    ScreenShotData data;
    data.videoName = "v";
    QVERIFY(store->saveScreenShotEmbedding(queryVector(), data));
    CoreAiDouble::failEmbeddings();
    QVERIFY(store->getVisualScreenShotData(queryOf("text")).isEmpty());
    QCOMPARE(m_log->texts(QtDebugMsg).filter("Failed to search:").size(), 1);
}

void VisualSearchTest::anEmptyCollectionIsAnIllegalResult()
{
    m_home = std::make_unique<TestStore::Home>();
    DatabaseLoader::force({});
    const auto store = connected();
    QVERIFY(store->getVisualScreenShotData(queryOf("text")).isEmpty());
    QCOMPARE(m_log->texts(QtWarningMsg), QStringList{ILLEGAL});
}

void VisualSearchTest::aMalformedPartIsSkippedAndTheRestIsUsed_data()
{
    QTest::addColumn<QString>("fault");

    for (const char *fault : {"no scores", "an ID too few", "an ID too many", "a video too few",
                              "a frame too few", "no times"}) {
        QTest::newRow(fault) << QString(fault);
    }
}

void VisualSearchTest::aMalformedPartIsSkippedAndTheRestIsUsed()
{
    QFETCH(const QString, fault);
    Answer spoilt({0.9F, 0.89F}, "spoilt");
    if (fault == "no scores") {
        spoilt = Answer(std::vector<float>());
    } else if (fault == "an ID too few") {
        spoilt.ids.pop_back();
    } else if (fault == "an ID too many") {
        spoilt.ids.emplace_back("more");
    } else if (fault == "a video too few") {
        spoilt.videos.pop_back();
    } else if (fault == "a frame too few") {
        spoilt.frames.pop_back();
    } else {
        spoilt.hasTimes = false;
    }
    const auto store = connected();
    m_fake->setFound(resultsOf({Answer({0.6F}, "a"), spoilt, Answer({0.59F}, "b")}));
    QCOMPARE(videosOf(store->getVisualScreenShotData(queryOf("text"))), (QStringList{"a0", "b0"}));
    QCOMPARE(m_log->texts(QtWarningMsg), QStringList{ILLEGAL});
}

void VisualSearchTest::anAnswerWithoutPartsFindsNothing()
{
    const auto store = connected();
    QVERIFY(store->getVisualScreenShotData(queryOf("text")).isEmpty());
    QVERIFY(m_log->texts(QtWarningMsg).isEmpty());
}

void VisualSearchTest::hitsAreCompletedFromTheirRows()
{
    saveFrame("2024-03-15 09:00:00", 1, 0.58);
    saveFrame("2024-03-15 09:01:00", 2, 0.60);
    saveFrame("2024-03-15 09:02:00", 3, 0.30);
    const QVector<ScreenShotData> hits =
        DatabaseManager::getInstance()->getVisualScreenShotData(queryOf("text"));
    QCOMPARE(hits.size(), 2);
    for (int hit = 0; hit < 2; ++hit) {
        const uint frame = hit == 0 ? 2 : 1; // best first, not newest first
        QCOMPARE(hits.at(hit).videoName, QString("2024-03-15_10-00-00.mp4"));
        QCOMPARE(hits.at(hit).frameIndexOfVideo, frame);
        QCOMPARE(hits.at(hit).frameIndexOfDay, frame);
        QCOMPARE(hits.at(hit).date, QString("2024-03-15"));
        QCOMPARE(hits.at(hit).realTime,
                 TestStore::at(QStringLiteral("2024-03-15 09:0%1:00").arg(frame - 1)));
        QCOMPARE(hits.at(hit).desktopFilePath, QString("/app.desktop"));
        QCOMPARE(hits.at(hit).ocrText, QStringLiteral("text %1; ").arg(frame));
    }
}

void VisualSearchTest::aHitWhoseMonthFileWasDeletedBecomesAnEmptyRecord()
{
    saveFrame("2024-03-15 09:00:00", 1, 0.60);
    ScreenShotData old = TestStore::frame("2023-07-01 09:00:00", 4);
    QVERIFY(DatabaseManager::getInstance()->saveScreenShotEmbedding(vectorWithScore(0.61), old));
    const QVector<ScreenShotData> hits =
        DatabaseManager::getInstance()->getVisualScreenShotData(queryOf("text"));
    QCOMPARE(videosOf(hits), (QStringList{QString(), "2024-03-15_10-00-00.mp4"}));
    QCOMPARE(hits.first().realTime, 0);
    QCOMPARE(hits.first().frameIndexOfVideo, 0U);
    QVERIFY(m_log->contains(QtDebugMsg, "Database file does not exist: "));
    QVERIFY(m_log->contains(QtDebugMsg, "Database not initialized!"));
}

void VisualSearchTest::aHitWhoseRowIsGoneStaysInItsPlace()
{
    saveFrame("2024-03-15 09:00:00", 1, 0.60);
    const ScreenShotData gone = TestStore::frame("2024-03-15 09:01:00", 2);
    QVERIFY(DatabaseManager::getInstance()->saveScreenShotEmbedding(vectorWithScore(0.59), gone));
    saveFrame("2024-03-15 09:02:00", 3, 0.58);
    const QVector<ScreenShotData> hits =
        DatabaseManager::getInstance()->getVisualScreenShotData(queryOf("text"));
    QCOMPARE(hits.size(), 3);
    QCOMPARE(hits.at(0).frameIndexOfDay, 1U);
    QCOMPARE(hits.at(1).videoName, QString());
    QCOMPARE(hits.at(1).realTime, 0);
    QCOMPARE(hits.at(2).frameIndexOfDay, 3U);
}

void VisualSearchTest::theHandlerPassesTheSearchOn()
{
    saveFrame("2024-03-15 09:00:00", 1, 0.60);
    ScreenHistoryTracker tracker;
    const DataHandler handler(tracker);
    const QVector<ScreenShotData> hits = handler.getVisualScreenShotData(queryOf("text"));
    QCOMPARE(hits.size(), 1);
    QCOMPARE(hits.first().ocrText, QString("text 1; "));
}

void VisualSearchTest::aStoppedThreadGivesUpTheLookUps()
{
    saveFrame("2024-03-15 09:00:00", 1, 0.60);
    saveFrame("2024-03-15 09:01:00", 2, 0.60);
    QVector<ScreenShotData> whole;
    QVector<ScreenShotData> stopped;
    runOnThread([&] {
        whole = DatabaseManager::getInstance()->getVisualScreenShotData(queryOf("text"));
        QThread::currentThread()->requestInterruption();
        stopped = DatabaseManager::getInstance()->getVisualScreenShotData(queryOf("text"));
    });
    QCOMPARE(whole.size(), 2);
    QCOMPARE(stopped.size(), 0);
    // Rows can be looked up again by whoever is not stopped.
    QCOMPARE(DatabaseManager::getInstance()->getVisualScreenShotData(queryOf("text")).size(), 2);
}

void VisualSearchTest::theMainThreadLooksUpEverything()
{
    for (quint32 frame = 1; frame <= 50; ++frame) {
        saveFrame("2024-03-15 09:00:00", frame, 0.60);
    }
    const QVector<ScreenShotData> hits =
        DatabaseManager::getInstance()->getVisualScreenShotData(queryOf("text"));
    QCOMPARE(hits.size(), 50);
    for (int hit = 0; hit < hits.size(); ++hit) { // equal scores in the order of saving
        QCOMPARE(hits.at(hit).frameIndexOfVideo, static_cast<quint32>(hit) + 1);
    }
}

QTEST_MAIN(VisualSearchTest)
#include "visualsearchtest.moc"
