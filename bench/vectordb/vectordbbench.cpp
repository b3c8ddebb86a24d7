// The vector store as it is after months: a durable insert, the best 5000 of everything, a start, a
// deletion. The rows are made in the temporary folder and are gone afterwards.
// Arguments: the sizes of the stores, 150000 and 500000 by default.

#include "numkongkernel.h"
#include "support/figure.h"
#include "vectordb/database.h"
#include "vectordb/matrix/rowcode.h"
#include "vectordb/matrix/scankernel.h"

#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>

using namespace VectorDB;

namespace
{
constexpr char COLLECTION[] = "screenshots";
constexpr std::size_t DIMENSION = 1024;
constexpr long COUNT = 5000;
constexpr int ROUNDS = 11;
constexpr long BATCH = 1000;

// Vectors of frames are no noise: neighbours in time look alike, and all share a common part.
class Frames
{
public:
    std::vector<float> next()
    {
        if (m_made++ % 40 == 0) { // another window comes to the front
            m_scene = noise();
        }
        const std::vector<float> own = noise();
        std::vector<float> vector(DIMENSION);
        for (std::size_t i = 0; i < DIMENSION; ++i) {
            vector[i] = m_common[i] + m_scene[i] + 0.5F * own[i];
        }
        return vector;
    }
    std::vector<float> noise()
    {
        std::vector<float> vector(DIMENSION);
        for (float &value : vector) {
            // The sum of a few uniform numbers is normal enough, and quickly made.
            const std::uint64_t bits = m_random();
            value = static_cast<float>((bits & 0xffff) + (bits >> 16 & 0xffff) +
                                       (bits >> 32 & 0xffff) + (bits >> 48)) /
                        65536.0F -
                    2.0F;
        }
        return vector;
    }

private:
    std::mt19937_64 m_random{1};
    std::vector<float> m_common = noise();
    std::vector<float> m_scene;
    long m_made = 0;
};

CollectionSchema schema()
{
    CollectionSchema schema(COLLECTION, "", true, 0);
    schema.AddField(FieldSchema("id", DataType::VARCHAR, "", true).WithMaxLength(40));
    schema.AddField(FieldSchema("vector", DataType::FLOAT_VECTOR, "").WithDimension(DIMENSION));
    schema.AddField(FieldSchema("videoName", DataType::VARCHAR, "").WithMaxLength(40));
    schema.AddField(FieldSchema("frameIndexOfVideo", DataType::INT32, ""));
    schema.AddField(FieldSchema("realTime", DataType::INT64, ""));
    return schema;
}

std::string idOf(long number)
{
    char id[40]; // as long as a UUID, and as scattered
    std::snprintf(id, sizeof(id), "{%08lx-0000-4000-8000-%012lx}",
                  static_cast<unsigned long>(number) * 2654435761UL & 0xffffffffUL,
                  static_cast<unsigned long>(number));
    return id;
}

std::vector<FieldPtr> rows(Frames &frames, long first, long count)
{
    std::vector<std::string> ids;
    std::vector<std::vector<float>> vectors;
    std::vector<std::string> names;
    std::vector<int> indices;
    std::vector<long> times;
    for (long number = first; number < first + count; ++number) {
        ids.push_back(idOf(number));
        vectors.push_back(frames.next());
        names.emplace_back("2024-03-15_10-00-00.mp4");
        indices.push_back(static_cast<int>(number % 100) + 1);
        times.push_back(1700000000L + number);
    }
    return {std::make_shared<VarCharFieldData>("id", std::move(ids)),
            std::make_shared<FloatVectorFieldData>("vector", std::move(vectors)),
            std::make_shared<VarCharFieldData>("videoName", std::move(names)),
            std::make_shared<Int32FieldData>("frameIndexOfVideo", std::move(indices)),
            std::make_shared<Int64FieldData>("realTime", std::move(times))};
}

void must(const Status &status)
{
    if (!status.IsOk()) {
        std::printf("failed: %d %s\n", status.Code(), status.Message().c_str());
        std::exit(1);
    }
}

std::shared_ptr<Database> connect(const QString &directory)
{
    std::shared_ptr<Database> database = Database::Create();
    ConnectParam param;
    param.SetDirectory(directory.toStdString());
    must(database->Connect(param));
    return database;
}

SearchResults search(Database &database, std::vector<float> query)
{
    SearchArguments arguments;
    arguments.SetCollectionName(COLLECTION);
    arguments.SetTopK(COUNT);
    arguments.AddOutputField("videoName");
    arguments.AddOutputField("frameIndexOfVideo");
    arguments.AddOutputField("realTime");
    arguments.AddTargetVector("vector", std::move(query));
    SearchResults results;
    must(database.Search(arguments, results, 0));
    return results;
}

// Memory of this process that is no mapping of a file, in MB.
double ownMemory()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        if (word == "RssAnon:") {
            double kilobytes = 0.0;
            status >> kilobytes;
            return kilobytes / 1024.0;
        }
    }
    return 0.0;
}

double greatestMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

double percentile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
}

void print(const QString &name, double value, const char *unit, double goal = 0.0,
           double floor = 0.0, const char *floorName = "")
{
    Bench::print(
        {name, value, QString::fromLatin1(unit), goal, floor, QString::fromUtf8(floorName)});
}

void fill(Database &database, Frames &frames, long size)
{
    for (long first = 0; first < size; first += BATCH) {
        DmlResults results;
        must(database.Insert(COLLECTION, rows(frames, first, std::min(BATCH, size - first)),
                             results));
    }
}

void measureInserts(Database &database, Frames &frames, long size, const QString &of)
{
    std::vector<double> times;
    for (long number = size; number < size + 2000; ++number) {
        const std::vector<FieldPtr> row = rows(frames, number, 1);
        times.push_back(Bench::milliseconds([&] {
            DmlResults results;
            must(database.Insert(COLLECTION, row, results));
        }));
    }
    print("durable insert into " + of + ", median", percentile(times, 0.5), "ms", 5.0);
    print("durable insert into " + of + ", 95th percentile", percentile(times, 0.95), "ms", 5.0);
    print("durable insert into " + of + ", slowest of 2000", percentile(times, 1.0), "ms");
}

// Every cosine in double precision, one thread, over as many rows as this machine holds at ease;
// the time is scaled up to the store's size.
double plainSearch(Frames &frames, long size)
{
    constexpr long HELD = 20000;
    std::vector<std::vector<float>> held;
    for (long number = 0; number < HELD; ++number) {
        held.push_back(frames.next());
    }
    const std::vector<float> query = frames.next();
    const double time = Bench::medianMilliseconds(3, [&] {
        std::vector<double> scores;
        for (const std::vector<float> &row : held) {
            double product = 0.0;
            double squares = 0.0;
            for (std::size_t i = 0; i < DIMENSION; ++i) {
                product += double{row[i]} * query[i];
                squares += double{row[i]} * row[i];
            }
            scores.push_back(product / std::sqrt(squares));
        }
        std::nth_element(scores.begin(), scores.begin() + COUNT, scores.end());
    });
    return time * static_cast<double>(size) / HELD;
}

void measure(long size)
{
    const QString of = QString::number(size);
    const double goal = size <= 150000 ? 40.0 : 120.0;
    const QTemporaryDir directory;
    Frames frames;
    {
        const std::shared_ptr<Database> database = connect(directory.path());
        must(database->CreateCollection(
            schema(), {"vector", "imageEmbedding", 0, IndexType::FLAT, MetricType::COSINE}));
        fill(*database, frames, size);
        measureInserts(*database, frames, size, of);
    }
    std::shared_ptr<Database> database;
    print("start with " + of, Bench::milliseconds([&] { database = connect(directory.path()); }),
          "ms");
    // What a frame is like, and what nothing is like.
    const std::vector<float> likely = frames.next();
    const std::vector<float> unlikely = frames.noise();
    print("first best 5000 of " + of + " after a start",
          Bench::milliseconds([&] { search(*database, likely); }), "ms");
    search(*database, unlikely);
    print("memory beyond the mapping after searches in " + of, ownMemory(), "MB", 100.0);
    const double plain = plainSearch(frames, size);
    print("best 5000 of " + of + ", a query like the frames",
          Bench::medianMilliseconds(ROUNDS, [&] { search(*database, likely); }), "ms", goal, plain,
          "plain double precision, one thread");
    print("best 5000 of " + of + ", a query like none",
          Bench::medianMilliseconds(ROUNDS, [&] { search(*database, unlikely); }), "ms", goal,
          plain, "plain double precision, one thread");
    print("greatest resident memory, mapping included", greatestMemory(), "MB");

    DmlResults results;
    print("deletion of 2000 of " + of, Bench::milliseconds([&] {
              must(database->Delete(COLLECTION, "1700000000 <= realTime && realTime <= 1700001999",
                                    results));
          }),
          "ms");
    print("deletion of everything else", Bench::milliseconds([&] {
              must(
                  database->Delete(COLLECTION, "0 <= realTime && realTime <= 9999999999", results));
          }),
          "ms");
}

void measureKernels()
{
    constexpr std::size_t ROWS = 20000;
    std::vector<std::int8_t> codes(ROWS * DIMENSION);
    Frames frames;
    const QueryCode query = encodeQuery(frames.next());
    for (std::size_t row = 0; row < ROWS; ++row) {
        encodeRow(frames.next().data(), DIMENSION, codes.data() + row * DIMENSION);
    }
    const auto time = [&](ScanKernel kernel) {
        return Bench::medianMilliseconds(21, [&] {
            std::int64_t sum = 0;
            for (std::size_t row = 0; row < ROWS; ++row) {
                sum += kernel(codes.data() + row * DIMENSION, query);
            }
            volatile std::int64_t keep = sum;
            static_cast<void>(keep);
        });
    };
    const QString name = QStringLiteral("products of 20000 rows, one thread");
    if (numKongScanKernel()) {
        print(name, time(scanKernel()), "ms", 0.0, time(numKongScanKernel()), "NumKong");
    } else {
        print(name, time(scanKernel()), "ms");
    }
}
} // namespace

int main(int argc, char **argv)
{
    measureKernels();
    if (argc < 2) {
        measure(150000);
        measure(500000);
    }
    for (int argument = 1; argument < argc; ++argument) {
        measure(std::atol(argv[argument]));
    }
    return 0;
}
