#include "vectorworld.h"

#include "support/testfiles.h"

#include <QDir>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace VectorWorld
{
using namespace VectorDB;

namespace
{
constexpr float MARKED_FLOAT = 12345.678F;
} // namespace

CollectionSchema schema(std::size_t dimension)
{
    CollectionSchema schema(COLLECTION, "rows of a test", true, 0);
    schema.AddField(
        FieldSchema("id", DataType::VARCHAR, "id field", true, false).WithMaxLength(40));
    schema.AddField(FieldSchema("vector", DataType::FLOAT_VECTOR, "embedding field", false, false)
                        .WithDimension(dimension));
    schema.AddField(FieldSchema("videoName", DataType::VARCHAR, "videoName field", false, false)
                        .WithMaxLength(40));
    schema.AddField(FieldSchema("frameIndexOfVideo", DataType::INT32, "frame field", false, false));
    schema.AddField(FieldSchema("realTime", DataType::INT64, "realTime field", false, false));
    return schema;
}

IndexDesc index()
{
    return {"vector", "imageEmbedding", 0, IndexType::FLAT, MetricType::COSINE};
}

Row row(long number, std::vector<float> vector)
{
    Row row;
    row.id = std::to_string(number);
    row.vector = std::move(vector);
    row.frame = static_cast<int>(number);
    row.realTime = number;
    return row;
}

std::vector<FieldPtr> columns(const std::vector<Row> &rows)
{
    std::vector<std::string> ids;
    std::vector<std::vector<float>> vectors;
    std::vector<std::string> names;
    std::vector<int> frames;
    std::vector<long> times;
    for (const Row &row : rows) {
        ids.push_back(row.id);
        vectors.push_back(row.vector);
        names.push_back(row.videoName);
        frames.push_back(row.frame);
        times.push_back(row.realTime);
    }
    return {std::make_shared<VarCharFieldData>("id", std::move(ids)),
            std::make_shared<FloatVectorFieldData>("vector", std::move(vectors)),
            std::make_shared<VarCharFieldData>("videoName", std::move(names)),
            std::make_shared<Int32FieldData>("frameIndexOfVideo", std::move(frames)),
            std::make_shared<Int64FieldData>("realTime", std::move(times))};
}

Status insert(Database &database, const std::vector<Row> &rows)
{
    DmlResults results;
    return database.Insert(COLLECTION, columns(rows), results);
}

int erase(Database &database, long start, long end)
{
    DmlResults results;
    const std::string filter =
        std::to_string(start) + " <= realTime && realTime <= " + std::to_string(end);
    return database.Delete(COLLECTION, filter, results).IsOk()
               ? static_cast<int>(results.IdArray().StrIDArray().size())
               : -1;
}

std::vector<float> randomVector(std::size_t dimension, unsigned seed)
{
    std::mt19937 random(seed);
    std::normal_distribution<float> normal;
    std::vector<float> vector(dimension);
    std::generate(vector.begin(), vector.end(), [&] { return normal(random); });
    return vector;
}

std::vector<Row> markedRows(std::size_t dimension, long first, long last)
{
    std::vector<Row> rows;
    for (long number = first; number <= last; ++number) {
        rows.push_back(row(number, std::vector<float>(dimension, MARKED_FLOAT)));
        rows.back().videoName = MARK;
    }
    return rows;
}

int marksIn(const QString &directory)
{
    const float value = MARKED_FLOAT;
    const QByteArray vector =
        QByteArray(reinterpret_cast<const char *>(&value), sizeof(value)).repeated(8);
    int count = 0;
    for (const QString &file : QDir(directory).entryList(QDir::Files)) {
        const QByteArray all = contentOf(QDir(directory).filePath(file));
        count += all.count(vector) + all.count(MARK);
    }
    return count;
}

Found search(Database &database, std::vector<float> vector, long count, Status *status)
{
    SearchArguments arguments;
    arguments.SetCollectionName(COLLECTION);
    arguments.SetTopK(count);
    arguments.AddTargetVector("vector", std::move(vector));
    SearchResults results;
    const Status answer = database.Search(arguments, results, 0);
    if (status) {
        *status = answer;
    }
    if (!answer.IsOk() || results.Results().size() != 1) {
        return {};
    }
    return {results.Results().front().Ids().StrIDArray(), results.Results().front().Scores()};
}

Found bruteForce(const std::vector<Row> &rows, const std::vector<float> &vector, long count)
{
    const auto product = [](const std::vector<float> &a, const std::vector<float> &b) {
        return std::inner_product(a.begin(), a.end(), b.begin(), 0.0, std::plus<>(),
                                  [](double x, double y) { return x * y; });
    };
    const double length = std::sqrt(product(vector, vector));
    std::vector<std::pair<double, std::size_t>> scores;
    for (std::size_t place = 0; place < rows.size(); ++place) {
        const std::vector<float> &row = rows[place].vector;
        const double lengths = length * std::sqrt(product(row, row));
        // Negated, so that sorting puts the best first and equal ones in their order.
        scores.emplace_back(lengths == 0.0 ? 0.0 : -product(row, vector) / lengths, place);
    }
    std::sort(scores.begin(), scores.end());
    scores.resize(std::min(scores.size(), static_cast<std::size_t>(count)));
    Found found;
    for (const auto &[score, place] : scores) {
        found.ids.push_back(rows[place].id);
        found.scores.push_back(static_cast<float>(-score));
    }
    return found;
}

std::shared_ptr<Database> open(const QString &directory, std::size_t dimension, Status *status)
{
    std::shared_ptr<Database> database = Database::Create();
    ConnectParam param;
    param.SetDirectory(directory.toStdString());
    Status answer = database->Connect(param);
    bool has = false;
    if (answer.IsOk()) {
        answer = database->HasCollection(COLLECTION, has);
    }
    if (answer.IsOk() && !has) {
        answer = database->CreateCollection(schema(dimension), index());
    }
    if (status) {
        *status = answer;
    }
    return answer.IsOk() ? database : nullptr;
}

QString rowsFile(const QString &directory)
{
    return directory + QStringLiteral("/vectors.db");
}

QString matrixFile(const QString &directory)
{
    return directory + QStringLiteral("/matrix_1.bin");
}
} // namespace VectorWorld
