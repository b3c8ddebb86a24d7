#include "database/embeddingscreenshotdatabase.h"

#include "ai/aiabilityprovider.h"
#include "database/nearestframes.h"
#include "database/vectorcollection.h"
#include "vectordb/database.h"

#include <QDate>
#include <QDebug>
#include <QDir>
#include <QUuid>

#include <pthread.h>

#include <chrono>
#include <cstdio>
#include <utility>
#include <vector>

using VectorCollection::checkStatus;
using VectorCollection::FRAME_INDEX;
using VectorCollection::ID;
using VectorCollection::REAL_TIME;
using VectorCollection::VECTOR;
using VectorCollection::VIDEO_NAME;

namespace
{
constexpr unsigned int CONNECT_ATTEMPTS = 1;
constexpr std::chrono::seconds RETRY_PAUSE{5};

std::string vectorIndexPath()
{
    const QString path =
        QDir::homePath() + QStringLiteral("/.cache/tavel-ai-yestermark/vector_database/") +
        QDate::currentDate().toString(QStringLiteral("yyyy-MM")) + QStringLiteral("_vector.index");
    return path.toStdString();
}

std::vector<VectorDB::FieldPtr> rowOf(const QVector<float> &embedding, const ScreenShotData &data)
{
    using Texts = std::vector<std::string>;
    using Vectors = std::vector<std::vector<float>>;
    return {std::make_shared<VectorDB::VarCharFieldData>(
                ID, Texts{QUuid::createUuid().toString().toStdString()}),
            std::make_shared<VectorDB::FloatVectorFieldData>(
                VECTOR, Vectors(1, std::vector<float>(embedding.begin(), embedding.end()))),
            std::make_shared<VectorDB::VarCharFieldData>(VIDEO_NAME,
                                                         Texts{data.videoName.toStdString()}),
            std::make_shared<VectorDB::Int32FieldData>(
                FRAME_INDEX, std::vector<int>{static_cast<int>(data.frameIndexOfVideo)}),
            std::make_shared<VectorDB::Int64FieldData>(
                REAL_TIME, std::vector<long>{static_cast<long>(data.realTime)})};
}

std::string timeFilter(long start, long end)
{
    char filter[96]; // two numbers of 20 characters at most and 36 between them
    std::snprintf(filter, sizeof(filter), "%ld <= realTime && realTime <= %ld", start, end);
    return filter;
}
} // namespace

EmbeddingScreenshotDatabase::EmbeddingScreenshotDatabase()
    : m_connected(false)
    , m_aiAbility(AIAbilityProvider::getInstance())
    , m_vectorIndexPath(vectorIndexPath())
    , m_collectionName("screenshots")
    , m_imageCollectionName("imagecollection")
{
    m_initThread = std::thread(&EmbeddingScreenshotDatabase::init, this);
    pthread_setname_np(m_initThread.native_handle(), "vector store");
}

EmbeddingScreenshotDatabase::~EmbeddingScreenshotDatabase()
{
    if (m_initThread.joinable()) {
        m_initThread.join();
    }
    if (m_database) {
        checkStatus("Failed to disconnect milvus server:", m_database->Disconnect());
        m_database.reset();
    }
}

void EmbeddingScreenshotDatabase::init()
{
    std::atomic_store(&m_database, VectorDB::Database::Create());
    if (!m_database) {
        qWarning() << "Failed to create milvus vector database.";
        m_connected = false;
    } else if (connectEmbeddingDatabaseWithRetry(CONNECT_ATTEMPTS)) {
        m_connected = true;
    } else {
        qWarning() << "Failed to connect to milvus vector database.";
        m_connected = false;
    }
}

bool EmbeddingScreenshotDatabase::connectEmbeddingDatabaseWithRetry(unsigned int times)
{
    bool isConnected = false;
    for (unsigned int attempt = 0; attempt < times && !isConnected; ++attempt) {
        isConnected = checkStatus("Failed to connect milvus server:",
                                  m_database->Connect(VectorDB::ConnectParam()));
        if (!isConnected) {
            qWarning() << "Failed to connect milvus server, retry" << attempt << "times";
            std::this_thread::sleep_for(RETRY_PAUSE);
        }
    }
    if (!isConnected) {
        qWarning() << "Failed to connect milvus server";
        return false;
    }
    if (hasCollection(m_collectionName)) {
        return true;
    }
    return checkStatus(
        "Failed to create collection:",
        m_database->CreateCollection(NearestFrames::collectionSchema(m_collectionName),
                                     NearestFrames::collectionIndex()));
}

bool EmbeddingScreenshotDatabase::hasCollection(const std::string &name)
{
    bool has = false;
    const std::shared_ptr<VectorDB::Database> store = database();
    return store && store->HasCollection(name, has).IsOk() && has;
}

// NOLINTBEGIN(performance-unnecessary-value-param): records are handed over by value
bool EmbeddingScreenshotDatabase::saveScreenShotEmbedding(QVector<float> embedding,
                                                          ScreenShotData data)
// NOLINTEND(performance-unnecessary-value-param)
{
    if (!m_connected) {
        qWarning() << "向量数据库连接失败，无法保存数据";
        return false;
    }
    if (embedding.isEmpty()) {
        qWarning() << "EmbeddingDatabase empty embedding data, will not save to database.";
        return false;
    }
    VectorDB::DmlResults results;
    if (!checkStatus("Failed to insert:",
                     database()->Insert(m_collectionName, rowOf(embedding, data), results))) {
        return false;
    }
    qDebug() << "Successfully insert " << results.IdArray().StrIDArray().size() << " rows.";
    return true;
}

bool EmbeddingScreenshotDatabase::deleteVectorDatabase(const long &start, const long &end)
{
    VectorDB::DmlResults results;
    const std::shared_ptr<VectorDB::Database> store = database();
    const VectorDB::Status status =
        store ? store->Delete(m_collectionName, timeFilter(start, end), results)
              : VectorDB::Status(VectorDB::StatusCode::NOT_CONNECTED, "no store is open");
    if (!checkStatus("Failed to delete data from milvus vector database", status)) {
        return false;
    }
    qDebug() << "Successfully Delete " << results.IdArray().StrIDArray().size() << " rows.";
    return true;
}

QVector<ScreenShotData>
EmbeddingScreenshotDatabase::getVisualScreenShotData(const SearchQuery &query) const
{
    if (!m_connected) {
        qWarning() << "向量数据库连接失败，无法保存数据";
        return {};
    }
    return NearestFrames::find(*database(), m_collectionName, query, embeddingText(query.text));
}

QVector<float> EmbeddingScreenshotDatabase::embeddingText(const QString &text) const
{
    return m_aiAbility->embeddingText(text);
}

std::shared_ptr<VectorDB::Database> EmbeddingScreenshotDatabase::database() const
{
    return std::atomic_load(&m_database);
}
