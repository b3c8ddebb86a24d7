#include "database/nearestframes.h"

#include "database/vectorcollection.h"

#include <QDebug>

#include <vector>

using VectorCollection::checkStatus;

namespace
{
// They fit the scores that the embedding model and the store's metric give.
constexpr double HIGH_SCORE = 0.56; // the best score above it selects the wide band
constexpr float WIDE_BAND = 0.037F; // greatest distance to the best score
constexpr float NARROW_BAND = 0.026F;
constexpr double SCORE_FLOOR = 0.46;
constexpr std::size_t LONGEST_TEXT = 40; // a UUID with its braces takes 38
constexpr std::size_t DIMENSION = 1024;  // of the embedding model's vectors
constexpr long MOST_HITS = 5000;         // where the query has no limit

struct Hits {
    std::vector<float> scores; ///< the others have as many
    std::vector<std::string> videoNames;
    std::vector<int> frameIndices;
    std::vector<long> realTimes;
};

VectorDB::SearchArguments argumentsOf(const std::string &collection, const SearchQuery &query,
                                      const QVector<float> &embedding)
{
    VectorDB::SearchArguments arguments;
    arguments.SetCollectionName(collection);
    arguments.SetTopK(query.limit != 0 ? static_cast<long>(query.limit) : MOST_HITS);
    arguments.AddOutputField(VectorCollection::VIDEO_NAME);
    arguments.AddOutputField(VectorCollection::FRAME_INDEX);
    arguments.AddOutputField(VectorCollection::REAL_TIME);
    arguments.SetGuaranteeTimestamp(0);
    arguments.AddTargetVector(VectorCollection::VECTOR,
                              std::vector<float>(embedding.begin(), embedding.end()));
    return arguments;
}

// Null unless the result has the field, of this type and with a value for each of its rows.
template <typename Column>
std::shared_ptr<const Column> column(const VectorDB::SingleResult &result, const char *name)
{
    auto found = std::dynamic_pointer_cast<const Column>(result.OutputField(name));
    return found && found->Count() == result.Scores().size() ? found : nullptr;
}

template <typename T>
void append(std::vector<T> &list, const std::vector<T> &values)
{
    list.insert(list.end(), values.begin(), values.end());
}

bool appendResult(const VectorDB::SingleResult &result, Hits &hits)
{
    const std::size_t rows = result.Scores().size();
    const auto videoNames =
        column<VectorDB::VarCharFieldData>(result, VectorCollection::VIDEO_NAME);
    const auto frameIndices =
        column<VectorDB::Int32FieldData>(result, VectorCollection::FRAME_INDEX);
    const auto realTimes = column<VectorDB::Int64FieldData>(result, VectorCollection::REAL_TIME);
    if (rows == 0 || rows != result.Ids().StrIDArray().size() || !videoNames || !frameIndices ||
        !realTimes) {
        return false;
    }
    append(hits.scores, result.Scores());
    append(hits.videoNames, videoNames->Data());
    append(hits.frameIndices, frameIndices->Data());
    append(hits.realTimes, realTimes->Data());
    return true;
}

Hits hitsOf(const VectorDB::SearchResults &results)
{
    Hits hits;
    for (const VectorDB::SingleResult &result : results.Results()) {
        if (!appendResult(result, hits)) {
            qWarning() << "Illegal result!";
        }
    }
    return hits;
}

// The first score is taken for the best one; the store's order stays.
QVector<ScreenShotData> cutOff(const Hits &hits)
{
    QVector<ScreenShotData> found;
    if (hits.scores.empty()) {
        return found;
    }
    const float best = hits.scores.front();
    const float band = static_cast<double>(best) > HIGH_SCORE ? WIDE_BAND : NARROW_BAND;
    for (std::size_t hit = 0; hit < hits.scores.size(); ++hit) {
        const float score = hits.scores[hit];
        if (best - score > band || SCORE_FLOOR > static_cast<double>(score)) {
            continue;
        }
        ScreenShotData data;
        data.videoName = QString::fromStdString(hits.videoNames[hit]);
        data.frameIndexOfVideo = static_cast<quint32>(hits.frameIndices[hit]);
        data.realTime = hits.realTimes[hit];
        found.append(data);
    }
    return found;
}
} // namespace

VectorDB::CollectionSchema NearestFrames::collectionSchema(const std::string &name)
{
    using namespace VectorCollection;
    using VectorDB::DataType;
    using VectorDB::FieldSchema;
    VectorDB::CollectionSchema schema(
        name, "This collection stores vectorized data of screen captures", true, 0);
    schema.AddField(
        FieldSchema(ID, DataType::VARCHAR, "id field", true, false).WithMaxLength(LONGEST_TEXT));
    schema.AddField(FieldSchema(VECTOR, DataType::FLOAT_VECTOR, "embedding field", false, false)
                        .WithDimension(DIMENSION));
    schema.AddField(FieldSchema(VIDEO_NAME, DataType::VARCHAR, "videoName field", false, false)
                        .WithMaxLength(LONGEST_TEXT));
    schema.AddField(
        FieldSchema(FRAME_INDEX, DataType::INT32, "frameIndexOfVideo field", false, false));
    schema.AddField(FieldSchema(REAL_TIME, DataType::INT64, "realTime field", false, false));
    return schema;
}

VectorDB::IndexDesc NearestFrames::collectionIndex()
{
    // The store's enumerators with the numbers 1 and 3.
    return {VectorCollection::VECTOR, "imageEmbedding", 0, VectorDB::IndexType::FLAT,
            VectorDB::MetricType::COSINE};
}

QVector<ScreenShotData> NearestFrames::find(VectorDB::Database &store,
                                            const std::string &collection, const SearchQuery &query,
                                            const QVector<float> &embedding,
                                            VectorDB::Status *status)
{
    VectorDB::SearchResults results;
    const VectorDB::Status answer =
        store.Search(argumentsOf(collection, query, embedding), results, 0);
    if (status) {
        *status = answer;
    }
    return checkStatus("Failed to search:", answer) ? cutOff(hitsOf(results))
                                                    : QVector<ScreenShotData>();
}
