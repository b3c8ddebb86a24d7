#pragma once
// What the tests of the vector store share: a folder of its own, the program's collection, rows to
// store and the search that everything is compared with. Thread: any, where nothing else is told.

#include "vectordb/database.h"

#include <QString>
#include <QTemporaryDir>

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace VectorWorld
{
using VectorDB::Database;
using VectorDB::Status;

constexpr char COLLECTION[] = "screenshots";

/// The program's collection, with another dimension where that saves a test time.
VectorDB::CollectionSchema schema(std::size_t dimension = 1024);
VectorDB::IndexDesc index();

struct Row {
    std::string id;
    std::vector<float> vector;
    std::string videoName = "2024-03-15_10-00-00.mp4";
    int frame = 1;
    long realTime = 0;
};

/// A row whose id is @p number as a text and whose frame and time are @p number.
Row row(long number, std::vector<float> vector);

std::vector<VectorDB::FieldPtr> columns(const std::vector<Row> &rows);
Status insert(Database &database, const std::vector<Row> &rows);

/// Deletes by the filter that the program writes; the number of rows, or -1.
int erase(Database &database, long start, long end);

/// Numbers of a normal distribution, the same for the same @p seed.
std::vector<float> randomVector(std::size_t dimension, unsigned seed);

/// Rows by which a test tells whether anything of them can be read in a file; their text and a part
/// of their vector.
constexpr char MARK[] = "marked-for-deletion";
std::vector<Row> markedRows(std::size_t dimension, long first, long last);

/// How often a marked row's text or vector stands in the files of @p directory.
int marksIn(const QString &directory);

struct Found {
    std::vector<std::string> ids;
    std::vector<float> scores;
};

/// The ids and scores of the best @p count; nothing, and @p status where it is asked for, if the
/// search fails.
Found search(Database &database, std::vector<float> vector, long count, Status *status = nullptr);

/// The same by the plainest means: every row's cosine in double precision, sorted.
Found bruteForce(const std::vector<Row> &rows, const std::vector<float> &vector, long count);

/// A connected store below @p directory with the collection made if it was missing; null if the
/// connection fails, @p status then tells why.
std::shared_ptr<Database> open(const QString &directory, std::size_t dimension = 1024,
                               Status *status = nullptr);

/// The names of the files that a store below @p directory has.
QString rowsFile(const QString &directory);
QString matrixFile(const QString &directory);
} // namespace VectorWorld
