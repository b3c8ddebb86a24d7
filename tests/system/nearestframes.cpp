// nearestframes QUERY...: the frames below the home directory that are nearest to each query by
// their meaning, best first, one a line: query, score, video, index in it, divided by tabs. No
// recorder may run meanwhile: the store belongs to one process.

#include "ai/aiabilityprovider.h"

#include "vectordb/database.h"

#include <QGuiApplication>
#include <QTest>

#include <algorithm>
#include <cstdio>

namespace
{
constexpr long framesPerQuery = 5;
constexpr int bringUpMs = 30000;

/// The query's vector, as soon as the engines are there.
std::vector<float> vectorOf(const QString &query)
{
    QVector<float> vector;
    const bool embedded = QTest::qWaitFor(
        [&] {
            vector = AIAbilityProvider::getInstance()->embeddingText(query);
            return !vector.isEmpty();
        },
        bringUpMs);
    if (!embedded) {
        std::fprintf(stderr, "no vector for a query\n");
    }
    return {vector.cbegin(), vector.cend()};
}

template <typename FieldType>
const FieldType &output(const VectorDB::SingleResult &result, const char *name)
{
    return static_cast<const FieldType &>(*result.OutputField(name));
}

bool printNearest(VectorDB::Database &database, const QString &query)
{
    VectorDB::SearchArguments arguments;
    arguments.SetCollectionName("screenshots");
    arguments.SetTopK(framesPerQuery);
    arguments.AddOutputField("videoName");
    arguments.AddOutputField("frameIndexOfVideo");
    arguments.AddTargetVector("vector", vectorOf(query));
    VectorDB::SearchResults results;
    const VectorDB::Status status = database.Search(arguments, results, 0);
    if (!status.IsOk()) {
        std::fprintf(stderr, "%s\n", status.Message().c_str());
        return false;
    }
    for (const VectorDB::SingleResult &result : results.Results()) {
        const auto &videos = output<VectorDB::VarCharFieldData>(result, "videoName").Data();
        const auto &frames = output<VectorDB::Int32FieldData>(result, "frameIndexOfVideo").Data();
        for (std::size_t row = 0; row < videos.size(); ++row) {
            std::printf("%s\t%.4f\t%s\t%d\n", query.toUtf8().constData(),
                        static_cast<double>(result.Scores().at(row)), videos.at(row).c_str(),
                        frames.at(row));
        }
    }
    return true;
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const auto database = VectorDB::Database::Create();
    const VectorDB::Status status = database->Connect(VectorDB::ConnectParam());
    if (!status.IsOk()) {
        std::fprintf(stderr, "%s\n", status.Message().c_str());
        return 1;
    }
    const QStringList queries = QGuiApplication::arguments().mid(1);
    return std::all_of(queries.begin(), queries.end(),
                       [&](const QString &query) { return printNearest(*database, query); })
               ? 0
               : 1;
}
