#include "database/storedhistory.h"

#include "capture/capturefixture.h"
#include "database/databasemanager.h"
#include "support/pictures.h"
#include "vectordb/databaseloader.h"
#include "video/videocomposer.h"
#include "video/videofacts.h"

#include <QDir>
#include <QDirIterator>
#include <QTest>

#include <memory>
#include <utility>

namespace StoredHistory
{
namespace
{
constexpr int CONNECT_MS = 20000;
constexpr long ALL = 100000;

// The store on disk with a door before its deletions.
class WatchedStore : public VectorDB::Database
{
public:
    VectorDB::Status Connect(const VectorDB::ConnectParam &param) override
    {
        return m_store->Connect(param);
    }
    VectorDB::Status Disconnect() override { return m_store->Disconnect(); }
    VectorDB::Status CreateCollection(const VectorDB::CollectionSchema &schema,
                                      const VectorDB::IndexDesc &index) override
    {
        return m_store->CreateCollection(schema, index);
    }
    VectorDB::Status HasCollection(const std::string &name, bool &has) override
    {
        return m_store->HasCollection(name, has);
    }
    VectorDB::Status Insert(const std::string &name, const std::vector<VectorDB::FieldPtr> &columns,
                            VectorDB::DmlResults &results) override
    {
        return m_store->Insert(name, columns, results);
    }
    VectorDB::Status Delete(const std::string &name, const std::string &filter,
                            VectorDB::DmlResults &results) override
    {
        if (m_beforeDelete) {
            m_beforeDelete();
        }
        return m_refusesDelete ? VectorDB::Status(VectorDB::StatusCode::IO_ERROR, "refused")
                               : m_store->Delete(name, filter, results);
    }
    VectorDB::Status Search(const VectorDB::SearchArguments &arguments,
                            VectorDB::SearchResults &results, int timeout) override
    {
        return m_store->Search(arguments, results, timeout);
    }

    std::function<void()> m_beforeDelete;
    bool m_refusesDelete = false;

private:
    std::shared_ptr<VectorDB::Database> m_store = VectorDB::DatabaseLoader::local();
};

std::shared_ptr<WatchedStore> &vectorStore()
{
    static std::shared_ptr<WatchedStore> store = std::make_shared<WatchedStore>();
    return store;
}

ScreenShotData recordOf(const Video &video, const QString &name, int place)
{
    ScreenShotData record;
    record.videoName = name;
    record.frameIndexOfVideo = static_cast<quint32>(place) + 1;
    record.frameIndexOfDay = video.firstOfDay + static_cast<quint32>(place);
    record.realTime = video.begin.toSecsSinceEpoch() + qint64{place} * video.seconds;
    record.desktopFilePath = video.application;
    record.ocrText = QStringLiteral("picture %1; ").arg(video.firstPicture + place);
    return record;
}

QVector<float> vectorOf(const ScreenShotData &record)
{
    QVector<float> vector(1024, 0.0F);
    vector[static_cast<int>(record.frameIndexOfDay % 1024)] = 1.0F;
    return vector;
}

void storeRecords(const Video &video, const QString &name)
{
    DatabaseManager *databases = DatabaseManager::getInstance();
    for (int place = 0; place < video.frames; ++place) {
        const ScreenShotData record = recordOf(video, name, place);
        if (!databases->saveScreenShotData(record) ||
            !databases->saveScreenShotEmbedding(vectorOf(record), record)) {
            qFatal("row or vector of %s cannot be stored", qPrintable(name));
        }
    }
}

QString nameOf(const Video &video)
{
    return video.begin.toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss")) + QLatin1String(".mp4");
}

QString frame(const QString &video, long index)
{
    return QStringLiteral("%1#%2").arg(video).arg(index);
}
} // namespace

void openVectorStore()
{
    VectorDB::DatabaseLoader::force([] { return vectorStore(); });
    DatabaseManager *databases = DatabaseManager::getInstance();
    const ScreenShotData probe;
    VectorDB::DmlResults results;
    const bool connected = QTest::qWaitFor(
        [&] { return databases->saveScreenShotEmbedding(QVector<float>(1024, 1.0F), probe); },
        CONNECT_MS);
    if (!connected ||
        !vectorStore()->Delete("screenshots", "0 <= realTime && realTime <= 0", results).IsOk()) {
        qFatal("the vector store does not come up");
    }
}

void beforeVectorsAreDeleted(const std::function<void()> &action)
{
    vectorStore()->m_beforeDelete = action;
}

void refuseToDeleteVectors(bool refuse)
{
    vectorStore()->m_refusesDelete = refuse;
}

QString store(const Video &video)
{
    QVector<QImage> images;
    for (int place = 0; place < video.frames; ++place) {
        images.append(Pictures::numbered(video.firstPicture + place));
    }
    QString name = nameOf(video);
    QDir().mkpath(QFileInfo(pathOf(name)).absolutePath());
    VideoComposer composer(nullptr);
    if (!composer.convertImagesToVideo(images, pathOf(name))) {
        qFatal("%s cannot be written", qPrintable(name));
    }
    storeRecords(video, name);
    return name;
}

QString storeUnfinished(const Video &video)
{
    QString name = nameOf(video);
    QDir().mkpath(QFileInfo(pathOf(name)).absolutePath());
    for (int place = 0; place < video.frames; ++place) {
        const QString copy =
            pathOf(name) + QStringLiteral("_%1.png").arg(place + 1, 3, 10, QLatin1Char('0'));
        if (!Pictures::numbered(video.firstPicture + place).save(copy)) {
            qFatal("%s cannot be written", qPrintable(copy));
        }
    }
    storeRecords(video, name);
    return name;
}

QString root()
{
    return QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/screenshots");
}

QString pathOf(const QString &video)
{
    return root() + QLatin1Char('/') + video.left(7) + QLatin1Char('/') + video.left(10) +
           QLatin1Char('/') + video;
}

QStringList frames(const QString &video, int first, int last)
{
    QStringList names;
    for (int index = first; index <= last; ++index) {
        names << frame(video, index);
    }
    names.sort();
    return names;
}

QStringList rows()
{
    QStringList names;
    for (const ScreenShotData &row : CaptureFixture::storedRows()) {
        names << frame(row.videoName, row.frameIndexOfVideo);
    }
    names.sort();
    return names;
}

QStringList vectors()
{
    VectorDB::SearchArguments arguments;
    arguments.SetCollectionName("screenshots");
    arguments.SetTopK(ALL);
    arguments.AddOutputField("videoName");
    arguments.AddOutputField("frameIndexOfVideo");
    arguments.AddTargetVector("vector", std::vector<float>(1024, 1.0F));
    VectorDB::SearchResults results;
    if (!vectorStore()->Search(arguments, results, 0).IsOk() || results.Results().empty()) {
        return {QStringLiteral("the vector store does not answer")};
    }
    const VectorDB::SingleResult &found = results.Results().front();
    const VectorDB::FieldPtr videos = found.OutputField("videoName");
    const VectorDB::FieldPtr indexes = found.OutputField("frameIndexOfVideo");
    QStringList names;
    for (std::size_t row = 0; row < found.Scores().size(); ++row) {
        names << frame(
            QString::fromStdString(static_cast<VectorDB::VarCharFieldData &>(*videos).Data()[row]),
            static_cast<VectorDB::Int32FieldData &>(*indexes).Data()[row]);
    }
    names.sort();
    return names;
}

QStringList files()
{
    QStringList paths;
    const QDir directory(root());
    QDirIterator walk(root(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        paths << directory.relativeFilePath(walk.next());
    }
    paths.sort();
    return paths;
}

QVector<int> picturesIn(const QString &video)
{
    return VideoFacts::of(pathOf(video)).numbers();
}

void eraseEverything()
{
    refuseToDeleteVectors(false);
    beforeVectorsAreDeleted({});
    QDir(root()).removeRecursively();
    DatabaseManager::getInstance()->deleteDatabase(
        0, QDateTime(QDate(9999, 1, 1), QTime()).toSecsSinceEpoch());
}
} // namespace StoredHistory
