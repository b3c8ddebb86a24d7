// The interface: what each call does, what it refuses and that a refusal changes nothing.

#include "vectordb/databaseloader.h"
#include "vectorworld.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <cmath>
#include <limits>
#include <sys/stat.h>

using namespace VectorWorld;
using namespace VectorDB;

namespace
{
constexpr std::size_t DIMENSION = 4;

int code(StatusCode code)
{
    return static_cast<int>(code);
}

int modeOf(const QString &path)
{
    struct stat facts {
    };
    return stat(qPrintable(path), &facts) == 0 ? static_cast<int>(facts.st_mode & 07777) : -1;
}
} // namespace

Q_DECLARE_METATYPE(std::vector<Row>)
Q_DECLARE_METATYPE(std::vector<FieldPtr>)

class VectorDatabaseTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_directory = std::make_unique<QTemporaryDir>(); }

    void withoutAConnectionEveryCallIsRefused();
    void aSecondConnectionIsRefused();
    void aStoreInUseIsRefusedUntilItIsClosed();
    void theDefaultStoreLiesBelowHome();
    void foldersAndFilesAreTheUsersAlone();
    void aSecondStartFindsEverything();
    void aSecondStartKeepsTheMatrixInWhateverOrderTheTimesAre();
    void rowsBetweenDeletedOnesStayAsTheyAre();

    void aCollectionOfThatNameIsThereAlready();
    void aSchemaThatCannotBeHeldIsRefused_data();
    void aSchemaThatCannotBeHeldIsRefused();

    void limitsOfTheSchemaHold_data();
    void limitsOfTheSchemaHold();
    void columnsThatDoNotFitAreRefused_data();
    void columnsThatDoNotFitAreRefused();
    void oneBadRowKeepsAllOthersOut();
    void aKeyIsStoredOnce();
    void anUnknownCollectionIsRefusedByEveryCall();

    void aSearchCarriesTheFieldsThatItIsAskedFor();
    void everyTargetHasItsResult();
    void aSearchThatMakesNoSenseIsRefused_data();
    void aSearchThatMakesNoSenseIsRefused();
    void anEmptyCollectionFindsNothing();
    void zerosScoreZero();

    void aRangeIsDeletedWithBothBounds();
    void aFilterThatIsNoneDeletesNothing_data();
    void aFilterThatIsNoneDeletesNothing();
    void deletedKeysCanBeStoredAgain();

    void thePoliteStoreRefusesEverything();
    void theLoaderGivesWhatItIsForcedTo();

private:
    QString path() const { return m_directory->path(); }
    std::shared_ptr<Database> store() { return open(path(), DIMENSION); }
    /// Of the file: one that is built anew takes the other's place.
    ino_t matrixNumber() const
    {
        struct stat facts = {};
        return ::stat(QFile::encodeName(matrixFile(path())).constData(), &facts) == 0 ? facts.st_ino
                                                                                      : 0;
    }

    std::unique_ptr<QTemporaryDir> m_directory;
};

void VectorDatabaseTest::withoutAConnectionEveryCallIsRefused()
{
    const std::shared_ptr<Database> database = Database::Create();
    bool has = false;
    DmlResults results;
    Status status;
    QVERIFY(database->Disconnect().IsOk());
    const int expected = code(StatusCode::NOT_CONNECTED);
    QCOMPARE(database->HasCollection(COLLECTION, has).Code(), expected);
    QCOMPARE(database->CreateCollection(schema(), index()).Code(), expected);
    QCOMPARE(insert(*database, {row(1, {1, 0, 0, 0})}).Code(), expected);
    QCOMPARE(database->Delete(COLLECTION, "1 <= realTime && realTime <= 2", results).Code(),
             expected);
    search(*database, {1, 0, 0, 0}, 1, &status);
    QCOMPARE(status.Code(), expected);
    QVERIFY(!status.Message().empty());
}

void VectorDatabaseTest::aSecondConnectionIsRefused()
{
    const auto database = store();
    QCOMPARE(database->Connect(ConnectParam()).Code(), code(StatusCode::INVALID_ARGUMENT));
    QVERIFY(insert(*database, {row(1, {1, 0, 0, 0})}).IsOk());
}

void VectorDatabaseTest::aStoreInUseIsRefusedUntilItIsClosed()
{
    auto first = store();
    Status status;
    QVERIFY(!open(path(), DIMENSION, &status));
    QCOMPARE(status.Code(), code(StatusCode::STORE_IN_USE));
    QVERIFY(insert(*first, {row(1, {1, 0, 0, 0})}).IsOk());
    QVERIFY(first->Disconnect().IsOk());
    QVERIFY(open(path(), DIMENSION, &status));
}

void VectorDatabaseTest::theDefaultStoreLiesBelowHome()
{
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", path().toUtf8());
    const Status status = Database::Create()->Connect(ConnectParam());
    qputenv("HOME", home);
    QVERIFY(status.IsOk());
    QVERIFY(QFile::exists(rowsFile(path() + "/.cache/tavel-ai-yestermark/vector_database")));
}

void VectorDatabaseTest::foldersAndFilesAreTheUsersAlone()
{
    const mode_t former = umask(0);
    const QString directory = path() + QStringLiteral("/a/b/store");
    const auto database = open(directory, DIMENSION);
    const bool stored = database && insert(*database, {row(1, {1, 0, 0, 0})}).IsOk();
    umask(former);
    QVERIFY(stored);
    for (const char *part : {"/a", "/a/b", "/a/b/store"}) {
        QCOMPARE(modeOf(path() + part), 0700);
    }
    const QStringList files = QDir(directory).entryList(QDir::Files);
    QVERIFY(files.size() >= 3); // the log of the rows is there while the store is open
    for (const QString &file : files) {
        QCOMPARE(modeOf(directory + '/' + file), 0600);
    }

    // Left open by somebody, closed at the next start.
    database->Disconnect();
    QVERIFY(chmod(qPrintable(directory), 0755) == 0 &&
            chmod(qPrintable(rowsFile(directory)), 0644) == 0 &&
            chmod(qPrintable(matrixFile(directory)), 0644) == 0);
    const auto again = open(directory, DIMENSION);
    QVERIFY(again);
    QCOMPARE(modeOf(directory), 0700);
    QCOMPARE(modeOf(rowsFile(directory)), 0600);
    QCOMPARE(modeOf(matrixFile(directory)), 0600);
}

void VectorDatabaseTest::aSecondStartFindsEverything()
{
    QVERIFY(insert(*store(), {row(1, {1, 0, 0, 0}), row(2, {0, 1, 0, 0})}).IsOk());
    const auto database = Database::Create();
    ConnectParam param;
    param.SetDirectory(path().toStdString() + '/');
    QVERIFY(database->Connect(param).IsOk());
    bool has = false;
    QVERIFY(database->HasCollection(COLLECTION, has).IsOk());
    QVERIFY(has);
    QVERIFY(database->HasCollection("imagecollection", has).IsOk());
    QVERIFY(!has);
    QCOMPARE(search(*database, {0, 1, 0, 0}, 5).ids, (std::vector<std::string>{"2", "1"}));
}

void VectorDatabaseTest::aSecondStartKeepsTheMatrixInWhateverOrderTheTimesAre()
{
    {
        const auto database = open(path(), 4);
        for (const long time : {5, 1, 4, 2, 3}) {
            QVERIFY(insert(*database, {row(time, {1, 0, 0, 0})}).IsOk());
        }
    }
    const ino_t matrix = matrixNumber();
    QVERIFY(open(path(), 4));
    QCOMPARE(matrixNumber(), matrix);
}

// As after a clock that was set back: a range of times is not one of rows.
void VectorDatabaseTest::rowsBetweenDeletedOnesStayAsTheyAre()
{
    std::vector<std::string> kept;
    {
        const auto database = open(path(), 4);
        for (const long time : {1, 100, 2, 101, 3, 102}) {
            QVERIFY(
                insert(*database, {row(time, {1, 0, 0, 0.01F * static_cast<float>(time)})}).IsOk());
        }
        const ino_t matrix = matrixNumber();
        QCOMPARE(erase(*database, 1, 3), 3);
        kept = search(*database, {1, 0, 0, 0}, 9).ids;
        QCOMPARE(kept, (std::vector<std::string>{"100", "101", "102"}));
        QCOMPARE(matrixNumber(), matrix); // nothing had to be repaired
    }
    const ino_t matrix = matrixNumber();
    QCOMPARE(search(*open(path(), 4), {1, 0, 0, 0}, 9).ids, kept);
    QCOMPARE(matrixNumber(), matrix);
}

void VectorDatabaseTest::aCollectionOfThatNameIsThereAlready()
{
    const auto database = store();
    QVERIFY(insert(*database, {row(1, {1, 0, 0, 0})}).IsOk());
    QCOMPARE(database->CreateCollection(schema(), index()).Code(),
             code(StatusCode::COLLECTION_EXISTS));
    QCOMPARE(search(*database, {1, 0, 0, 0}, 5).ids.size(), std::size_t{1});
}

void VectorDatabaseTest::aSchemaThatCannotBeHeldIsRefused_data()
{
    QTest::addColumn<int>("variant");
    QTest::addColumn<int>("expected");
    const char *names[] = {"no key",
                           "two keys",
                           "a number as key",
                           "a vector as key",
                           "two vectors",
                           "no vector",
                           "keys made here",
                           "no greatest length",
                           "no dimension",
                           "an unknown type",
                           "a name with a quote",
                           "an empty name",
                           "the same name twice",
                           "a collection without a name",
                           "an index of another field",
                           "another index",
                           "another metric",
                           "the store's own column",
                           "a name with a digit first",
                           "too great a length",
                           "too great a dimension"};
    const StatusCode unsupported = StatusCode::NOT_SUPPORTED;
    const StatusCode invalid = StatusCode::INVALID_ARGUMENT;
    const StatusCode codes[] = {
        unsupported, unsupported, unsupported, unsupported, unsupported, unsupported, unsupported,
        unsupported, unsupported, unsupported, invalid,     invalid,     invalid,     invalid,
        invalid,     unsupported, unsupported, invalid,     invalid,     unsupported, unsupported};
    for (int variant = 0; variant < 21; ++variant) {
        QTest::newRow(names[variant]) << variant << code(codes[variant]);
    }
}

void VectorDatabaseTest::aSchemaThatCannotBeHeldIsRefused()
{
    QFETCH(int, variant);
    QFETCH(int, expected);
    const auto text = [](const char *name, bool key = false, bool autoId = false) {
        return FieldSchema(name, DataType::VARCHAR, "", key, autoId).WithMaxLength(10);
    };
    const auto vector = [](const char *name, bool key = false) {
        return FieldSchema(name, DataType::FLOAT_VECTOR, "", key).WithDimension(4);
    };
    CollectionSchema schema(variant == 13 ? "" : "other", "");
    if (variant != 0 && variant != 2 && variant != 3) {
        schema.AddField(text("key", true, variant == 6));
    }
    if (variant != 5) {
        schema.AddField(variant == 8    ? FieldSchema("vector", DataType::FLOAT_VECTOR, "")
                        : variant == 20 ? vector("vector").WithDimension(16385)
                                        : vector("vector", variant == 3));
    }
    switch (variant) {
    case 1:
        schema.AddField(text("key2", true));
        break;
    case 2:
        schema.AddField(FieldSchema("key", DataType::INT64, "", true));
        break;
    case 4:
        schema.AddField(vector("vector2"));
        break;
    case 7:
        schema.AddField(FieldSchema("text", DataType::VARCHAR, ""));
        break;
    case 9:
        schema.AddField(FieldSchema("double", static_cast<DataType>(11), ""));
        break;
    case 10:
        schema.AddField(text("a\" TEXT); DROP TABLE store; --"));
        break;
    case 11:
        schema.AddField(text(""));
        break;
    case 12:
        schema.AddField(text("KEY"));
        break;
    case 17:
        schema.AddField(text("row_id"));
        break;
    case 18:
        schema.AddField(text("1st"));
        break;
    case 19:
        schema.AddField(text("text").WithMaxLength(1025));
        break;
    default:
        break;
    }
    const IndexDesc desc(variant == 14 ? "key" : "vector", "index", 0,
                         variant == 15 ? static_cast<IndexType>(2) : IndexType::FLAT,
                         variant == 16 ? static_cast<MetricType>(1) : MetricType::COSINE);
    const auto database = store();
    const Status status = database->CreateCollection(schema, desc);
    QCOMPARE(status.Code(), expected);
    QVERIFY(!status.Message().empty());
    bool has = true;
    QVERIFY(database->HasCollection("other", has).IsOk());
    QVERIFY(!has);
}

void VectorDatabaseTest::limitsOfTheSchemaHold_data()
{
    QTest::addColumn<std::vector<Row>>("rows");
    QTest::addColumn<int>("expected");
    const float infinity = std::numeric_limits<float>::infinity();
    const auto add = [](const char *name, Row row, StatusCode expected) {
        QTest::newRow(name) << std::vector<Row>{std::move(row)} << code(expected);
    };
    Row base = row(1, {1, 2, 3, 4});
    add("a plain row", base, StatusCode::OK);
    base.id = std::string(40, 'i');
    add("an id of 40 bytes", base, StatusCode::OK);
    base.id += 'i';
    add("an id of 41 bytes", base, StatusCode::STRING_TOO_LONG);
    base = row(1, {1, 2, 3, 4});
    base.videoName = std::string(40, 'v');
    add("a name of 40 bytes", base, StatusCode::OK);
    base.videoName += 'v';
    add("a name of 41 bytes", base, StatusCode::STRING_TOO_LONG);
    base.videoName.clear();
    for (int i = 0; i < 13; ++i) {
        base.videoName += "\xE8\xA7\x86"; // one character of three bytes
    }
    add("13 Chinese characters", base, StatusCode::OK);
    base.videoName += "\xE8\xA7\x86";
    add("14 Chinese characters", base, StatusCode::STRING_TOO_LONG);
    base.videoName.clear();
    add("an empty name", base, StatusCode::OK);
    base = row(1, {1, 2, 3});
    add("a float too few", base, StatusCode::WRONG_DIMENSION);
    base.vector = {1, 2, 3, 4, 5};
    add("a float too many", base, StatusCode::WRONG_DIMENSION);
    base.vector.clear();
    add("no floats", base, StatusCode::WRONG_DIMENSION);
    base.vector = {1, 2, 3, std::nanf("")};
    add("no number", base, StatusCode::INVALID_ARGUMENT);
    base.vector = {1, 2, -infinity, 4};
    add("infinity", base, StatusCode::INVALID_ARGUMENT);
    base.vector = {std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest(),
                   std::numeric_limits<float>::min(), std::numeric_limits<float>::denorm_min()};
    base.realTime = std::numeric_limits<long>::min();
    base.frame = std::numeric_limits<int>::max();
    add("extreme numbers", base, StatusCode::OK);
}

void VectorDatabaseTest::limitsOfTheSchemaHold()
{
    QFETCH(std::vector<Row>, rows);
    QFETCH(int, expected);
    auto database = store();
    const Status status = insert(*database, rows);
    QCOMPARE(status.Code(), expected);
    QCOMPARE(status.Message().empty(), status.IsOk());
    const std::size_t stored = status.IsOk() ? 1 : 0;
    QCOMPARE(search(*database, {1, 0, 0, 0}, 5).ids.size(), stored);
    database.reset();
    QCOMPARE(search(*store(), {1, 0, 0, 0}, 5).ids.size(), stored);
}

void VectorDatabaseTest::columnsThatDoNotFitAreRefused_data()
{
    QTest::addColumn<std::vector<FieldPtr>>("columns");
    const std::vector<FieldPtr> fitting = columns({row(1, {1, 2, 3, 4})});
    const auto with = [&fitting](std::size_t place, FieldPtr column) {
        std::vector<FieldPtr> changed = fitting;
        changed[place] = std::move(column);
        return changed;
    };
    std::vector<FieldPtr> less(fitting.begin(), fitting.end() - 1);
    std::vector<FieldPtr> more = fitting;
    more.push_back(std::make_shared<Int64FieldData>("extra", std::vector<long>{1}));
    QTest::newRow("none") << std::vector<FieldPtr>();
    QTest::newRow("one missing") << less;
    QTest::newRow("one too many") << more;
    QTest::newRow("one null") << with(2, nullptr);
    QTest::newRow("one twice") << with(4, fitting[3]);
    QTest::newRow("another name") << with(
        4, std::make_shared<Int64FieldData>("time", std::vector<long>{1}));
    QTest::newRow("another type") << with(
        4, std::make_shared<Int32FieldData>("realTime", std::vector<int>{1}));
    QTest::newRow("two values") << with(
        4, std::make_shared<Int64FieldData>("realTime", std::vector<long>{1, 2}));
    QTest::newRow("no values") << with(
        4, std::make_shared<Int64FieldData>("realTime", std::vector<long>{}));
    QTest::newRow("no rows") << columns({});
}

void VectorDatabaseTest::columnsThatDoNotFitAreRefused()
{
    QFETCH(std::vector<FieldPtr>, columns);
    const auto database = store();
    DmlResults results;
    const Status status = database->Insert(COLLECTION, columns, results);
    QCOMPARE(status.Code(), code(StatusCode::COLUMN_MISMATCH));
    QVERIFY(!status.Message().empty());
    QVERIFY(results.IdArray().StrIDArray().empty());
    QVERIFY(search(*database, {1, 0, 0, 0}, 5).ids.empty());
}

void VectorDatabaseTest::oneBadRowKeepsAllOthersOut()
{
    const auto database = store();
    Row bad = row(3, {1, 2, 3, 4});
    bad.id = "1"; // found out by SQLite, after the first two are written
    QVERIFY(!insert(*database, {row(1, {1, 2, 3, 4}), row(2, {1, 2, 3, 4}), bad}).IsOk());
    QVERIFY(search(*database, {1, 0, 0, 0}, 5).ids.empty());
    QVERIFY(insert(*database, {row(1, {1, 2, 3, 4})}).IsOk());
    QCOMPARE(search(*database, {1, 0, 0, 0}, 5).ids, std::vector<std::string>{"1"});
}

void VectorDatabaseTest::aKeyIsStoredOnce()
{
    const auto database = store();
    QVERIFY(insert(*database, {row(1, {1, 0, 0, 0})}).IsOk());
    const Status status = insert(*database, {row(1, {0, 1, 0, 0})});
    QCOMPARE(status.Code(), code(StatusCode::DUPLICATE_KEY));
    QVERIFY(insert(*database, {row(2, {0, 0, 1, 0})}).IsOk());
    QCOMPARE(search(*database, {0, 1, 0, 0}, 5).scores, (std::vector<float>{0.0F, 0.0F}));
}

void VectorDatabaseTest::anUnknownCollectionIsRefusedByEveryCall()
{
    const auto database = store();
    DmlResults dml;
    SearchResults results;
    SearchArguments arguments;
    arguments.SetCollectionName("other");
    arguments.AddTargetVector("vector", {1, 0, 0, 0});
    const int expected = code(StatusCode::UNKNOWN_COLLECTION);
    QCOMPARE(database->Insert("other", columns({row(1, {1, 2, 3, 4})}), dml).Code(), expected);
    QCOMPARE(database->Delete("other", "1 <= realTime && realTime <= 2", dml).Code(), expected);
    QCOMPARE(database->Search(arguments, results, 0).Code(), expected);
}

void VectorDatabaseTest::aSearchCarriesTheFieldsThatItIsAskedFor()
{
    const auto database = store();
    Row first = row(1, {1, 0, 0, 0});
    first.videoName = "视频";
    first.realTime = -5;
    first.frame = -7;
    QVERIFY(insert(*database, {first, row(2, {1, 1, 0, 0}), row(3, {0, 1, 0, 0})}).IsOk());
    SearchArguments arguments;
    arguments.SetCollectionName(COLLECTION);
    arguments.SetTopK(2);
    arguments.SetGuaranteeTimestamp(0);
    for (const char *name : {"videoName", "frameIndexOfVideo", "realTime", "vector"}) {
        arguments.AddOutputField(name);
    }
    arguments.AddTargetVector("vector", {1, 0, 0, 0});
    SearchResults results;
    QVERIFY(database->Search(arguments, results, 0).IsOk());
    QCOMPARE(results.Results().size(), std::size_t{1});
    const SingleResult &result = results.Results().front();
    QCOMPARE(result.Ids().StrIDArray(), (std::vector<std::string>{"1", "2"}));
    QCOMPARE(result.Scores(), (std::vector<float>{1.0F, static_cast<float>(std::sqrt(0.5))}));
    const auto names = std::dynamic_pointer_cast<VarCharFieldData>(result.OutputField("videoName"));
    const auto frames =
        std::dynamic_pointer_cast<Int32FieldData>(result.OutputField("frameIndexOfVideo"));
    const auto times = std::dynamic_pointer_cast<Int64FieldData>(result.OutputField("realTime"));
    const auto vectors =
        std::dynamic_pointer_cast<FloatVectorFieldData>(result.OutputField("vector"));
    QVERIFY(names && frames && times && vectors);
    QCOMPARE(names->Data(), (std::vector<std::string>{"视频", "2024-03-15_10-00-00.mp4"}));
    QCOMPARE(frames->Data(), (std::vector<int>{-7, 2}));
    QCOMPARE(times->Data(), (std::vector<long>{-5, 2}));
    QVERIFY(vectors->Data() == (std::vector<std::vector<float>>{{1, 0, 0, 0}, {1, 1, 0, 0}}));
    QVERIFY(!result.OutputField("id")); // not asked for
}

void VectorDatabaseTest::everyTargetHasItsResult()
{
    const auto database = store();
    QVERIFY(insert(*database, {row(1, {1, 0, 0, 0}), row(2, {0, 1, 0, 0})}).IsOk());
    SearchArguments arguments;
    arguments.SetCollectionName(COLLECTION);
    arguments.SetTopK(1);
    arguments.AddTargetVector("vector", {1, 0, 0, 0});
    arguments.AddTargetVector("vector", {0, 1, 0, 0});
    SearchResults results;
    QVERIFY(database->Search(arguments, results, 0).IsOk());
    QCOMPARE(results.Results().size(), std::size_t{2});
    QCOMPARE(results.Results()[0].Ids().StrIDArray(), std::vector<std::string>{"1"});
    QCOMPARE(results.Results()[1].Ids().StrIDArray(), std::vector<std::string>{"2"});
}

void VectorDatabaseTest::aSearchThatMakesNoSenseIsRefused_data()
{
    QTest::addColumn<long>("count");
    QTest::addColumn<QString>("field");
    QTest::addColumn<int>("floats");
    QTest::addColumn<float>("first");
    QTest::addColumn<QString>("output");
    QTest::addColumn<int>("timeout");
    QTest::addColumn<int>("expected");
    const int invalid = code(StatusCode::INVALID_ARGUMENT);
    const int dimension = code(StatusCode::WRONG_DIMENSION);
    QTest::newRow("top 0") << 0L << "vector" << 4 << 1.0F << "realTime" << 0 << invalid;
    QTest::newRow("top -1") << -1L << "vector" << 4 << 1.0F << "realTime" << 0 << invalid;
    QTest::newRow("no vector field") << 1L << "id" << 4 << 1.0F << "realTime" << 0 << invalid;
    QTest::newRow("a float less") << 1L << "vector" << 3 << 1.0F << "realTime" << 0 << dimension;
    QTest::newRow("a float more") << 1L << "vector" << 5 << 1.0F << "realTime" << 0 << dimension;
    QTest::newRow("no floats") << 1L << "vector" << 0 << 1.0F << "realTime" << 0 << dimension;
    QTest::newRow("no number") << 1L << "vector" << 4 << std::nanf("") << "realTime" << 0
                               << invalid;
    QTest::newRow("no such field") << 1L << "vector" << 4 << 1.0F << "other" << 0 << invalid;
    QTest::newRow("a timeout") << 1L << "vector" << 4 << 1.0F << "realTime" << 100 << invalid;
    QTest::newRow("no target") << 1L << "" << 4 << 1.0F << "realTime" << 0 << invalid;
}

void VectorDatabaseTest::aSearchThatMakesNoSenseIsRefused()
{
    QFETCH(long, count);
    QFETCH(QString, field);
    QFETCH(int, floats);
    QFETCH(float, first);
    QFETCH(QString, output);
    QFETCH(int, timeout);
    QFETCH(int, expected);
    const auto database = store();
    QVERIFY(insert(*database, {row(1, {1, 0, 0, 0})}).IsOk());
    SearchArguments arguments;
    arguments.SetCollectionName(COLLECTION);
    arguments.SetTopK(count);
    arguments.AddOutputField(output.toStdString());
    if (!field.isEmpty()) {
        arguments.AddTargetVector(field.toStdString(),
                                  std::vector<float>(static_cast<std::size_t>(floats), first));
    }
    SearchResults results;
    const Status status = database->Search(arguments, results, timeout);
    QCOMPARE(status.Code(), expected);
    QVERIFY(!status.Message().empty());
    QVERIFY(results.Results().empty());
}

void VectorDatabaseTest::anEmptyCollectionFindsNothing()
{
    const auto database = store();
    Status status;
    QVERIFY(search(*database, {1, 0, 0, 0}, 5, &status).ids.empty());
    QVERIFY(status.IsOk());
}

void VectorDatabaseTest::zerosScoreZero()
{
    const auto database = store();
    QVERIFY(insert(*database, {row(1, {0, 0, 0, 0}), row(2, {1, 0, 0, 0}), row(3, {-1, 0, 0, 0})})
                .IsOk());
    const Found found = search(*database, {1, 0, 0, 0}, 5);
    QCOMPARE(found.ids, (std::vector<std::string>{"2", "1", "3"}));
    QCOMPARE(found.scores, (std::vector<float>{1.0F, 0.0F, -1.0F}));
    QCOMPARE(search(*database, {0, 0, 0, 0}, 5).ids, (std::vector<std::string>{"1", "2", "3"}));
}

void VectorDatabaseTest::aRangeIsDeletedWithBothBounds()
{
    auto database = store();
    std::vector<Row> rows;
    for (long number = 1; number <= 10; ++number) {
        rows.push_back(row(number, {1, 0, 0, 0}));
    }
    QVERIFY(insert(*database, rows).IsOk());
    DmlResults results;
    QVERIFY(database->Delete(COLLECTION, "3 <= realTime && realTime <= 5", results).IsOk());
    QCOMPARE(results.IdArray().StrIDArray(), (std::vector<std::string>{"3", "4", "5"}));
    QCOMPARE(erase(*database, 3, 5), 0);
    QCOMPARE(erase(*database, 8, 7), 0);
    QVERIFY(
        database->Delete(COLLECTION, "9 <= frameIndexOfVideo && frameIndexOfVideo <= 9", results)
            .IsOk());
    const std::vector<std::string> left{"1", "2", "6", "7", "8", "10"};
    QCOMPARE(search(*database, {1, 0, 0, 0}, 20).ids, left);
    database.reset();
    QCOMPARE(search(*store(), {1, 0, 0, 0}, 20).ids, left);
}

void VectorDatabaseTest::aFilterThatIsNoneDeletesNothing_data()
{
    QTest::addColumn<QString>("filter");
    for (const char *filter :
         {"", "true", "realTime", "1 <= realTime",
          "1 <= realTime && realTime <= ", "1 <= other && other <= 5", "1 <= id && id <= 5",
          "1 <= vector && vector <= 5", "1 <= row_id && row_id <= 5",
          "1 <= realTime || realTime <= 5", "1 <= realTime && realTime <= 5 OR 1=1",
          "99999999999999999999 <= realTime && realTime <= 1"}) {
        QTest::newRow(filter) << QString::fromLatin1(filter);
    }
}

void VectorDatabaseTest::aFilterThatIsNoneDeletesNothing()
{
    QFETCH(QString, filter);
    const auto database = store();
    QVERIFY(insert(*database, {row(1, {1, 0, 0, 0}), row(2, {1, 0, 0, 0})}).IsOk());
    DmlResults results;
    const Status status = database->Delete(COLLECTION, filter.toStdString(), results);
    QCOMPARE(status.Code(), code(StatusCode::INVALID_FILTER));
    QVERIFY(!status.Message().empty());
    QCOMPARE(search(*database, {1, 0, 0, 0}, 5).ids.size(), std::size_t{2});
}

void VectorDatabaseTest::deletedKeysCanBeStoredAgain()
{
    const auto database = store();
    QVERIFY(insert(*database, {row(1, {1, 0, 0, 0})}).IsOk());
    QCOMPARE(erase(*database, 0, 10), 1);
    QVERIFY(insert(*database, {row(1, {0, 1, 0, 0})}).IsOk());
    QCOMPARE(search(*database, {0, 1, 0, 0}, 5).scores, std::vector<float>{1.0F});
}

void VectorDatabaseTest::thePoliteStoreRefusesEverything()
{
    DatabaseLoader::force(DatabaseLoader::null);
    const auto database = Database::Create();
    DatabaseLoader::force({});
    bool has = false;
    DmlResults results;
    Status status;
    const int expected = code(StatusCode::NO_BACKEND);
    QCOMPARE(database->Connect(ConnectParam()).Code(), expected);
    QCOMPARE(database->HasCollection(COLLECTION, has).Code(), expected);
    QCOMPARE(database->CreateCollection(schema(), index()).Code(), expected);
    QCOMPARE(insert(*database, {row(1, {1, 0, 0, 0})}).Code(), expected);
    QCOMPARE(database->Delete(COLLECTION, "1 <= a && a <= 2", results).Code(), expected);
    search(*database, {1, 0, 0, 0}, 1, &status);
    QCOMPARE(status.Code(), expected);
    QVERIFY(database->Disconnect().IsOk());
}

void VectorDatabaseTest::theLoaderGivesWhatItIsForcedTo()
{
    DatabaseLoader::force([] { return std::shared_ptr<Database>(); });
    QVERIFY(!Database::Create());
    DatabaseLoader::force({});
    QVERIFY(Database::Create());
}

QTEST_GUILESS_MAIN(VectorDatabaseTest)
#include "vectordatabasetest.moc"
