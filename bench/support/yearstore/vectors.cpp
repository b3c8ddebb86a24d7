#include "support/yearstore/vectors.h"

#include "vectordb/database.h"

#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <cmath>
#include <utility>

namespace YearStore
{
namespace
{
constexpr char COLLECTION[] = "screenshots";
constexpr std::size_t DIMENSION = 1024;
constexpr std::size_t LONGEST_TEXT = 40;
constexpr int ROWS_AT_ONCE = 500;

void require(const VectorDB::Status &status)
{
    if (!status.IsOk()) {
        qFatal("year store: %s", status.Message().c_str());
    }
}

// The program's own collection: see src/database/embeddingscreenshotdatabase.cpp.
void createCollection(VectorDB::Database &database)
{
    using VectorDB::DataType;
    using VectorDB::FieldSchema;
    VectorDB::CollectionSchema schema(
        COLLECTION, "This collection stores vectorized data of screen captures", true, 0);
    schema.AddField(
        FieldSchema("id", DataType::VARCHAR, "id field", true, false).WithMaxLength(LONGEST_TEXT));
    schema.AddField(FieldSchema("vector", DataType::FLOAT_VECTOR, "embedding field", false, false)
                        .WithDimension(DIMENSION));
    schema.AddField(FieldSchema("videoName", DataType::VARCHAR, "videoName field", false, false)
                        .WithMaxLength(LONGEST_TEXT));
    schema.AddField(
        FieldSchema("frameIndexOfVideo", DataType::INT32, "frameIndexOfVideo field", false, false));
    schema.AddField(FieldSchema("realTime", DataType::INT64, "realTime field", false, false));
    const VectorDB::IndexDesc index("vector", "imageEmbedding", 0, VectorDB::IndexType::FLAT,
                                    VectorDB::MetricType::COSINE);
    require(database.CreateCollection(schema, index));
}

std::vector<float> unitVector(QRandomGenerator &random)
{
    std::vector<float> vector(DIMENSION);
    double squares = 0.0;
    for (float &value : vector) {
        value = static_cast<float>(random.generate()) - 2147483648.0F;
        squares += static_cast<double>(value) * value;
    }
    const auto scale = static_cast<float>(1.0 / std::sqrt(squares));
    for (float &value : vector) {
        value *= scale;
    }
    return vector;
}

class Rows
{
public:
    void add(const PlannedVideo &video, const PlannedFrame &frame, std::vector<float> vector)
    {
        // As long as the texts that the program gives.
        const QString number = QStringLiteral("%1").arg(++m_number, 12, 10, QLatin1Char('0'));
        m_ids.push_back("{00000000-0000-4000-8000-" + number.toStdString() + '}');
        m_vectors.push_back(std::move(vector));
        m_videos.push_back(video.name.toStdString());
        m_indexes.push_back(frame.indexOfVideo);
        m_times.push_back(static_cast<long>(frame.time));
    }

    int size() const { return static_cast<int>(m_ids.size()); }

    void insertInto(VectorDB::Database &database)
    {
        using namespace VectorDB;
        const std::vector<FieldPtr> columns{
            std::make_shared<VarCharFieldData>("id", std::exchange(m_ids, {})),
            std::make_shared<FloatVectorFieldData>("vector", std::exchange(m_vectors, {})),
            std::make_shared<VarCharFieldData>("videoName", std::exchange(m_videos, {})),
            std::make_shared<Int32FieldData>("frameIndexOfVideo", std::exchange(m_indexes, {})),
            std::make_shared<Int64FieldData>("realTime", std::exchange(m_times, {}))};
        DmlResults results;
        require(database.Insert(COLLECTION, columns, results));
    }

private:
    qlonglong m_number = 0;
    std::vector<std::string> m_ids;
    std::vector<std::vector<float>> m_vectors;
    std::vector<std::string> m_videos;
    std::vector<int> m_indexes;
    std::vector<long> m_times;
};
} // namespace

void makeVectors(const QString &directory, const Plan &plan, quint32 seed)
{
    const std::shared_ptr<VectorDB::Database> database = VectorDB::Database::Create();
    if (!database) {
        qFatal("year store: there is no vector store");
    }
    VectorDB::ConnectParam place;
    place.SetDirectory(QFile::encodeName(directory).toStdString());
    require(database->Connect(place));
    createCollection(*database);
    QRandomGenerator random(seed);
    Rows rows;
    for (const PlannedFrame &frame : plan.frames) {
        rows.add(plan.videos[frame.video], frame, unitVector(random));
        if (rows.size() == ROWS_AT_ONCE) {
            rows.insertInto(*database);
        }
    }
    if (rows.size() > 0) {
        rows.insertInto(*database);
    }
    require(database->Disconnect());
}
} // namespace YearStore
