#pragma once
// One vector a kept frame in the vector store, so that frames can be found by meaning. Owner:
// DatabaseManager, by value. Thread: any; the store takes saving, searching and deleting at once.
// Nothing throws: a failure is a line on the log and a false or an empty value.

#include "database/screenshotdata.h"

#include <QVector>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

class AIAbilityProvider;
namespace VectorDB
{
class Database;
}

class EmbeddingScreenshotDatabase
{
public:
    /// Connects in the background and returns at once. A connection that fails is final for the
    /// process.
    EmbeddingScreenshotDatabase();

    /// Waits for the background connection to end and disconnects. That is the pause after a failed
    /// attempt, or an opening that has to build the store's matrix anew: seconds for a long
    /// history.
    ~EmbeddingScreenshotDatabase();
    Q_DISABLE_COPY_MOVE(EmbeddingScreenshotDatabase)

    /// Connects and makes the collection on first use; what the background thread runs.
    void init();

    /// True once the collection is there. Pauses for five seconds after every failed attempt, the
    /// last one too. False after @p times of them.
    bool connectEmbeddingDatabaseWithRetry(unsigned int times);

    /// False too if the store does not answer.
    bool hasCollection(const std::string &name);

    /// Stores the vector of a frame with the video's name, the frame's number in it and its time.
    /// False, with a line on the log, until the store is connected, for an empty vector and for
    /// whatever the store refuses.
    bool saveScreenShotEmbedding(QVector<float> embedding, ScreenShotData data);

    /// Deletes what was taken from @p start to @p end, both included, in seconds since the epoch.
    bool deleteVectorDatabase(const long &start, const long &end);

    /// The frames whose pictures match the query's text, best first: those hardly worse than the
    /// best one, none if that is weak. Only videoName, frameIndexOfVideo and realTime are filled
    /// in, and the query's times bound nothing. Empty too on failure, which the log tells. Blocks
    /// for the model.
    QVector<ScreenShotData> getVisualScreenShotData(const SearchQuery &query) const;

    /// The vector of a query text; blocks until the model has answered, empty on failure.
    QVector<float> embeddingText(const QString &text) const;

private:
    /// The store, null before the background thread has got one and if there is none.
    std::shared_ptr<VectorDB::Database> database() const;

    std::thread m_initThread;
    std::atomic<bool> m_connected; ///< the collection can be used
    AIAbilityProvider *m_aiAbility;
    std::string m_vectorIndexPath; ///< nothing reads it: the store settles its own files
    std::string m_collectionName;
    std::string m_imageCollectionName; ///< nothing reads it
    /// Written once by the background thread, with std::atomic_store; read through database().
    std::shared_ptr<VectorDB::Database> m_database;
};
