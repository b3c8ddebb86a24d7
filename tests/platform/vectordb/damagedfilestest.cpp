// What is left of a store whose files are damaged, old, missing or on a full disk.

#include "support/testfiles.h"
#include "vectordb/local/rowstore.h"
#include "vectorworld.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <algorithm>
#include <cstring>
#include <limits>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace VectorWorld;
using VectorDB::StatusCode;

namespace
{
constexpr std::size_t DIMENSION = 64;
constexpr long ROWS = 1500; // two segments

// What a matrix file is made of, in bytes: its head, one card, and the parts of a segment.
constexpr int HEAD = 4096;
constexpr int CARD = 136;
constexpr int CARDS = 1024 * CARD;
constexpr int CODES = 1024 * 64;
constexpr int FLOATS = 1024 * 256;

std::vector<Row> rowsFrom(long first, long last)
{
    std::vector<Row> rows;
    for (long number = first; number <= last; ++number) {
        rows.push_back(row(number, randomVector(DIMENSION, static_cast<unsigned>(number))));
    }
    return rows;
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

void flip(const QString &path, qint64 position, qint64 bytes)
{
    QByteArray all = contentOf(path);
    for (qint64 i = position; i < position + bytes; ++i) {
        all[static_cast<int>(i)] = static_cast<char>(all[static_cast<int>(i)] ^ 0x5a);
    }
    write(path, all);
}

int code(StatusCode code)
{
    return static_cast<int>(code);
}
} // namespace

class DamagedFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void aDamagedMatrixIsBuiltAnew_data();
    void aDamagedMatrixIsBuiltAnew();
    void anOlderMatrixIsBuiltAnew();
    void aMatrixWithDeletedRowsDoesNotBringThemBack();
    void theMatrixOfAnotherStoreIsBuiltAnew();
    void aHalfBuiltMatrixIsBuiltAnew();
    void damageWhileTheStoreIsOpenIsRepaired();

    void damagedRowsAreRefusedAndLeftAlone_data();
    void damagedRowsAreRefusedAndLeftAlone();
    void anotherProgramsDatabaseIsRefusedAndLeftAlone_data();
    void anotherProgramsDatabaseIsRefusedAndLeftAlone();
    void aVectorOfNoNumbersIsDamage();
    void aVectorOfAnotherLengthIsDamage_data();
    void aVectorOfAnotherLengthIsDamage();
    void deletedRowsAreWipedFromEveryFile_data();
    void deletedRowsAreWipedFromEveryFile();
    void aDeletionWithoutRoomIsWipedLater();
    void aDeletionAfterOneWithoutRoomIsWiped();
    void rowsBehindATornCardAreWiped_data();
    void rowsBehindATornCardAreWiped();
    void aFailedPreparationIsNotKept();
    void manyDeletionsAreCompacted();

    void aFullDiskStoresNothingByHalves();
    void aLimitOnFilesStoresNothingByHalves();
    void aFolderThatCannotBeMadeIsAnError();

private:
    void fill();
    void check(const std::vector<Row> &rows);

    std::unique_ptr<QTemporaryDir> m_directory;
};

void DamagedFilesTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
}

void DamagedFilesTest::fill()
{
    const auto database = open(m_directory->path(), DIMENSION);
    QVERIFY(database && insert(*database, rowsFrom(1, ROWS)).IsOk());
}

// That a start finds exactly those rows, ranks them right and takes more.
void DamagedFilesTest::check(const std::vector<Row> &rows)
{
    const auto database = open(m_directory->path(), DIMENSION);
    QVERIFY(database);
    const std::vector<float> query = randomVector(DIMENSION, 77777);
    QVERIFY(search(*database, query, 10000).ids == bruteForce(rows, query, 10000).ids);
    QVERIFY(insert(*database, rowsFrom(100000, 100000)).IsOk());
    QCOMPARE(search(*database, query, 10000).ids.size(), rows.size() + 1);
}

void DamagedFilesTest::aDamagedMatrixIsBuiltAnew_data()
{
    QTest::addColumn<qint64>("position"); // negative: from the end
    QTest::addColumn<qint64>("bytes");    // 0: cut there
    QTest::newRow("first byte") << qint64{0} << qint64{1};
    QTest::newRow("version") << qint64{12} << qint64{1};
    QTest::newRow("store") << qint64{20} << qint64{1};
    QTest::newRow("generation") << qint64{56} << qint64{1};
    QTest::newRow("first card") << qint64{4096} << qint64{1};
    QTest::newRow("number of a row") << qint64{HEAD + CARD + 8} << qint64{1};
    QTest::newRow("key in a card") << qint64{HEAD + 5 * CARD + 42} << qint64{1};
    QTest::newRow("name in a card") << qint64{HEAD + 5 * CARD + 80} << qint64{1};
    QTest::newRow("codes") << qint64{HEAD + CARDS + 10 * 64} << qint64{1};
    QTest::newRow("floats") << qint64{HEAD + CARDS + CODES + 1000 * 256 + 3} << qint64{1};
    QTest::newRow("everything") << qint64{0} << qint64{900000};
    QTest::newRow("zeros at its end") << qint64{-4096} << qint64{0};
    QTest::newRow("cut to one segment") << qint64{-(CARDS + CODES + FLOATS)} << qint64{0};
    QTest::newRow("cut to its head") << qint64{4096} << qint64{0};
    QTest::newRow("empty") << qint64{0} << qint64{0};
    QTest::newRow("gone") << qint64{-1} << qint64{-1};
}

void DamagedFilesTest::aDamagedMatrixIsBuiltAnew()
{
    QFETCH(qint64, position);
    QFETCH(qint64, bytes);
    fill();
    const QString path = matrixFile(m_directory->path());
    const QByteArray before = contentOf(path);
    QCOMPARE(before.size(), HEAD + 2 * (CARDS + CODES + FLOATS));
    if (bytes < 0) {
        QVERIFY(QFile::remove(path));
    } else if (bytes == 0) {
        QVERIFY(QFile::resize(path, position < 0 ? before.size() + position : position));
    } else {
        flip(path, position, bytes);
    }
    check(rowsFrom(1, ROWS));
}

void DamagedFilesTest::anOlderMatrixIsBuiltAnew()
{
    fill();
    const QByteArray old = contentOf(matrixFile(m_directory->path()));
    {
        const auto database = open(m_directory->path(), DIMENSION);
        QVERIFY(insert(*database, rowsFrom(ROWS + 1, ROWS + 10)).IsOk());
    }
    write(matrixFile(m_directory->path()), old);
    check(rowsFrom(1, ROWS + 10));
}

void DamagedFilesTest::aMatrixWithDeletedRowsDoesNotBringThemBack()
{
    fill();
    const QByteArray old = contentOf(matrixFile(m_directory->path()));
    {
        const auto database = open(m_directory->path(), DIMENSION);
        QCOMPARE(erase(*database, 101, ROWS), static_cast<int>(ROWS) - 100);
    }
    write(matrixFile(m_directory->path()), old);
    check(rowsFrom(1, 100));
}

void DamagedFilesTest::theMatrixOfAnotherStoreIsBuiltAnew()
{
    fill();
    const QTemporaryDir other;
    {
        const auto database = open(other.path(), DIMENSION);
        std::vector<Row> rows = rowsFrom(1, ROWS);
        std::reverse(rows.begin(), rows.end());
        QVERIFY(insert(*database, rows).IsOk());
    }
    write(matrixFile(m_directory->path()), contentOf(matrixFile(other.path())));
    check(rowsFrom(1, ROWS));
}

void DamagedFilesTest::aHalfBuiltMatrixIsBuiltAnew()
{
    fill();
    const QString path = matrixFile(m_directory->path());
    QVERIFY(QFile::rename(path, path + QStringLiteral(".new"))); // killed before its last step
    check(rowsFrom(1, ROWS));
    QVERIFY(!QFile::exists(path + QStringLiteral(".new")));
}

void DamagedFilesTest::damageWhileTheStoreIsOpenIsRepaired()
{
    fill();
    const auto database = open(m_directory->path(), DIMENSION);
    QFile file(matrixFile(m_directory->path()));
    QVERIFY(file.open(QFile::ReadWrite));
    QVERIFY(file.seek(HEAD + CARDS + 64));
    QVERIFY(file.write(QByteArray(640, 'x')) == 640);
    file.close();
    const std::vector<float> query = randomVector(DIMENSION, 77777);
    QVERIFY(search(*database, query, 50).ids == bruteForce(rowsFrom(1, ROWS), query, 50).ids);
    QVERIFY(insert(*database, rowsFrom(ROWS + 1, ROWS + 1)).IsOk());
    QVERIFY(search(*database, query, 50).ids == bruteForce(rowsFrom(1, ROWS + 1), query, 50).ids);
}

void DamagedFilesTest::damagedRowsAreRefusedAndLeftAlone_data()
{
    QTest::addColumn<qint64>("position");
    QTest::addColumn<qint64>("bytes"); // 0: cut there; negative: all of it replaced
    QTest::newRow("head") << qint64{0} << qint64{16};
    QTest::newRow("whole first page") << qint64{0} << qint64{4096};
    QTest::newRow("another file") << qint64{0} << qint64{-1};
    QTest::newRow("cut short") << qint64{10000} << qint64{0};
    QTest::newRow("pages of the schema") << qint64{100} << qint64{3000};
}

void DamagedFilesTest::damagedRowsAreRefusedAndLeftAlone()
{
    QFETCH(qint64, position);
    QFETCH(qint64, bytes);
    fill();
    const QString path = rowsFile(m_directory->path());
    if (bytes < 0) {
        write(path, QByteArray("not a database, but somebody's notes\n").repeated(200));
    } else if (bytes == 0) {
        QVERIFY(QFile::resize(path, position));
    } else {
        flip(path, position, bytes);
    }
    const QByteArray damaged = contentOf(path);
    Status status;
    QVERIFY(!open(m_directory->path(), DIMENSION, &status));
    QCOMPARE(status.Code(), code(StatusCode::STORE_DAMAGED));
    QVERIFY2(status.Message().find(path.toStdString()) != std::string::npos,
             status.Message().c_str());
    QVERIFY(contentOf(path) == damaged);
}

void DamagedFilesTest::anotherProgramsDatabaseIsRefusedAndLeftAlone_data()
{
    QTest::addColumn<QByteArray>("sql");
    QTest::addColumn<bool>("isOpen"); // elsewhere, when it was copied: its log is still there
    const QByteArray notes = "CREATE TABLE notes (text); INSERT INTO notes VALUES ('mine');";
    QTest::newRow("with a rollback journal") << notes << false;
    QTest::newRow("with a log") << "PRAGMA journal_mode=WAL;" + notes << false;
    QTest::newRow("with a log not folded in yet") << "PRAGMA journal_mode=WAL;" + notes << true;
    QTest::newRow("of one page") << QByteArray("PRAGMA user_version=7;") << false;
    QTest::newRow("of a later version")
        << "PRAGMA application_id=1498825794; PRAGMA user_version=2;" + notes << false;
}

void DamagedFilesTest::anotherProgramsDatabaseIsRefusedAndLeftAlone()
{
    QFETCH(QByteArray, sql);
    QFETCH(bool, isOpen);
    const QTemporaryDir elsewhere;
    const QString original = elsewhere.filePath(QStringLiteral("notes.db"));
    sqlite3 *handle = nullptr;
    QCOMPARE(sqlite3_open(QFile::encodeName(original), &handle), SQLITE_OK);
    std::unique_ptr<sqlite3, int (*)(sqlite3 *)> closing(handle, &sqlite3_close);
    QCOMPARE(sqlite3_exec(handle, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    const QString log = QStringLiteral("-wal");
    if (!isOpen) {
        closing.reset();
    }
    const QString path = rowsFile(m_directory->path());
    QVERIFY(QFile::copy(original, path));
    QCOMPARE(isOpen && QFile::copy(original + log, path + log), isOpen);
    const QByteArray file = contentOf(path);
    const QByteArray pending = contentOf(path + log);
    QCOMPARE(pending.isEmpty(), !isOpen);
    Status status;
    QVERIFY(!open(m_directory->path(), DIMENSION, &status));
    QCOMPARE(status.Code(), code(StatusCode::STORE_DAMAGED));
    QVERIFY(contentOf(path) == file);
    QVERIFY(contentOf(path + log) == pending);
}

// Its scores would have no order, and sorting them no end that is known.
void DamagedFilesTest::aVectorOfNoNumbersIsDamage()
{
    QVERIFY(insert(*open(m_directory->path(), DIMENSION), rowsFrom(1, 20)).IsOk());
    const QString rows = rowsFile(m_directory->path());
    const std::vector<float> vector = randomVector(DIMENSION, 7);
    QByteArray all = contentOf(rows);
    const int place = all.indexOf(QByteArray(reinterpret_cast<const char *>(vector.data()),
                                             static_cast<int>(DIMENSION * sizeof(float))));
    QVERIFY(place > 0);
    const float noNumber = std::numeric_limits<float>::quiet_NaN();
    std::memcpy(all.data() + place, &noNumber, sizeof(noNumber));
    write(rows, all);
    QVERIFY(QFile::remove(matrixFile(m_directory->path())));
    Status status;
    QVERIFY(!open(m_directory->path(), DIMENSION, &status));
    QCOMPARE(status.Code(), code(StatusCode::STORE_DAMAGED));
}

void DamagedFilesTest::aVectorOfAnotherLengthIsDamage_data()
{
    QTest::addColumn<int>("bytes");
    QTest::newRow("none") << 0;
    QTest::newRow("a float less") << static_cast<int>((DIMENSION - 1) * sizeof(float));
    QTest::newRow("a byte more") << static_cast<int>(DIMENSION * sizeof(float)) + 1;
}

void DamagedFilesTest::aVectorOfAnotherLengthIsDamage()
{
    QFETCH(int, bytes);
    QVERIFY(insert(*open(m_directory->path(), DIMENSION), rowsFrom(1, 20)).IsOk());
    sqlite3 *handle = nullptr;
    QCOMPARE(sqlite3_open(QFile::encodeName(rowsFile(m_directory->path())), &handle), SQLITE_OK);
    const QByteArray sql =
        "UPDATE rows_1 SET vector = zeroblob(" + QByteArray::number(bytes) + ") WHERE row_id = 7";
    const int result = sqlite3_exec(handle, sql, nullptr, nullptr, nullptr);
    const int changes = sqlite3_changes(handle);
    sqlite3_close(handle);
    QCOMPARE(result, SQLITE_OK);
    QCOMPARE(changes, 1);
    QVERIFY(QFile::remove(matrixFile(m_directory->path())));
    Status status;
    QVERIFY(!open(m_directory->path(), DIMENSION, &status));
    QCOMPARE(status.Code(), code(StatusCode::STORE_DAMAGED));
}

void DamagedFilesTest::deletedRowsAreWipedFromEveryFile_data()
{
    QTest::addColumn<long>("kept");
    QTest::newRow("some of many") << 3000L;
    QTest::newRow("nearly all") << 5L;
    QTest::newRow("all") << 0L;
}

void DamagedFilesTest::deletedRowsAreWipedFromEveryFile()
{
    QFETCH(long, kept);
    const auto database = open(m_directory->path(), DIMENSION);
    QVERIFY(database);
    QVERIFY(kept == 0 || insert(*database, rowsFrom(1, kept)).IsOk());
    QVERIFY(insert(*database, markedRows(DIMENSION, kept + 1, kept + 2500)).IsOk());
    QVERIFY(marksIn(m_directory->path()) >= 2500);
    QCOMPARE(erase(*database, kept + 1, kept + 2500), 2500);
    QCOMPARE(marksIn(m_directory->path()), 0);
    QCOMPARE(search(*database, randomVector(DIMENSION, 1), 10000).ids.size(),
             static_cast<std::size_t>(kept));
}

// Where the file is to be written anew and the disk is full, what was deleted waits for room.
void DamagedFilesTest::aDeletionWithoutRoomIsWipedLater()
{
    constexpr long KEPT = 1500;
    constexpr long LAST = KEPT + 2500;
    {
        const auto database = open(m_directory->path(), DIMENSION);
        QVERIFY(insert(*database, rowsFrom(1, KEPT)).IsOk());
        QVERIFY(insert(*database, markedRows(DIMENSION, KEPT + 1, LAST)).IsOk());
    }
    {
        const auto database = open(m_directory->path(), DIMENSION);
        QVERIFY(database);
        const FileSizeLimit limit(600000); // enough to commit, too little for a new file
        QCOMPARE(erase(*database, KEPT + 1, LAST), static_cast<int>(LAST - KEPT));
        QVERIFY(contentOf(rowsFile(m_directory->path())).contains(MARK));
    }
    const auto database = open(m_directory->path(), DIMENSION);
    QVERIFY(database);
    const QString rows = rowsFile(m_directory->path());
    QVERIFY(!contentOf(rows).contains(MARK));
    QVERIFY(!contentOf(rows + QStringLiteral("-wal")).contains(MARK));
}

// The same while the store stays open: what came in and went meanwhile is wiped too.
void DamagedFilesTest::aDeletionAfterOneWithoutRoomIsWiped()
{
    constexpr long KEPT = 1500;
    constexpr long LAST = KEPT + 2500;
    QVERIFY(insert(*open(m_directory->path(), DIMENSION), rowsFrom(1, LAST)).IsOk());
    const auto database = open(m_directory->path(), DIMENSION); // with an empty log
    QVERIFY(database);
    {
        const FileSizeLimit limit(600000);
        QCOMPARE(erase(*database, KEPT + 1, LAST), static_cast<int>(LAST - KEPT));
    }
    QVERIFY(insert(*database, markedRows(DIMENSION, LAST + 1, LAST + 100)).IsOk());
    QCOMPARE(erase(*database, LAST + 1, LAST + 100), 100);
    QCOMPARE(marksIn(m_directory->path()), 0);
}

void DamagedFilesTest::rowsBehindATornCardAreWiped_data()
{
    QTest::addColumn<bool>("hasRoom");
    QTest::newRow("room for a new file") << true;
    QTest::newRow("no room: what is left can be searched") << false;
}

// As a full disk leaves the file in the middle of a deletion: one card cut in two, the rows behind
// it untouched.
void DamagedFilesTest::rowsBehindATornCardAreWiped()
{
    QFETCH(bool, hasRoom);
    constexpr long KEPT = 1500;
    constexpr long LAST = KEPT + 100;
    {
        const auto database = open(m_directory->path(), DIMENSION);
        QVERIFY(insert(*database, rowsFrom(1, KEPT)).IsOk());
        QVERIFY(insert(*database, markedRows(DIMENSION, KEPT + 1, LAST)).IsOk());
    }
    const QString matrix = matrixFile(m_directory->path());
    const QByteArray before = contentOf(matrix);
    QCOMPARE(erase(*open(m_directory->path(), DIMENSION), KEPT + 1, LAST),
             static_cast<int>(LAST - KEPT));
    write(matrix, before);
    constexpr int SECOND_SEGMENT = HEAD + CARDS + CODES + FLOATS;
    flip(matrix, SECOND_SEGMENT + (KEPT - 1024) * CARD + CARD / 2, CARD / 2);
    if (!hasRoom) {
        const FileSizeLimit limit(600000); // too little for a new file
        const auto database = open(m_directory->path(), DIMENSION);
        QVERIFY(database);
        QCOMPARE(search(*database, randomVector(DIMENSION, 1), 10000).ids.size(),
                 static_cast<std::size_t>(KEPT));
        return;
    }
    check(rowsFrom(1, KEPT));
    QCOMPARE(marksIn(m_directory->path()), 0);
}

// Where a statement could not be prepared once, the next insert tries again.
void DamagedFilesTest::aFailedPreparationIsNotKept()
{
    VectorDB::RowStore rows;
    VectorDB::CollectionDefinition definition{schema(DIMENSION), index(), 0, 0, 0, 0, {}};
    QVERIFY(VectorDB::defineCollection(definition).IsOk());
    QVERIFY(rows.open(rowsFile(m_directory->path()).toStdString()).IsOk());
    QVERIFY(rows.create(definition).IsOk());
    const std::vector<float> vector = randomVector(DIMENSION, 1);
    const VectorDB::RowValues row{{"id", "video", std::int64_t{1}, std::int64_t{1}}, vector.data()};
    const auto rename = [&rows](const char *sql) {
        return sqlite3_exec(rows.handle(), sql, nullptr, nullptr, nullptr);
    };
    std::int64_t rowId = 0;
    QCOMPARE(rename("ALTER TABLE rows_1 RENAME TO away"), SQLITE_OK);
    QVERIFY(!rows.insert(definition, row, rowId).IsOk());
    QCOMPARE(rename("ALTER TABLE away RENAME TO rows_1"), SQLITE_OK);
    QVERIFY(rows.insert(definition, row, rowId).IsOk());
}

void DamagedFilesTest::manyDeletionsAreCompacted()
{
    const QString path = matrixFile(m_directory->path());
    {
        const auto database = open(m_directory->path(), DIMENSION);
        QVERIFY(insert(*database, rowsFrom(1, 9000)).IsOk());
        QCOMPARE(erase(*database, 1, 6000), 6000);
    }
    const qint64 before = QFile(path).size();
    check(rowsFrom(6001, 9000));
    QVERIFY(QFile(path).size() < before / 2);
}

void DamagedFilesTest::aFullDiskStoresNothingByHalves()
{
    const QByteArray place = QFile::encodeName(m_directory->path());
    if (geteuid() != 0 || mount("tmpfs", place.constData(), "tmpfs", 0, "size=3m,mode=0700") != 0) {
        QSKIP("only root may mount a small disk");
    }
    std::size_t stored = 0;
    Status status;
    {
        const auto database = open(m_directory->path(), DIMENSION);
        for (long number = 1; database && status.IsOk() && number < 5000; number += 20) {
            status = insert(*database, rowsFrom(number, number + 19));
            stored += status.IsOk() ? 20 : 0;
        }
        const bool isWhole =
            database && search(*database, randomVector(DIMENSION, 5), 10000).ids.size() == stored;
        if (!isWhole) {
            stored = 0;
        }
    }
    std::size_t after = 0;
    {
        const auto database = open(m_directory->path(), DIMENSION);
        after = database ? search(*database, randomVector(DIMENSION, 5), 10000).ids.size() : 0;
    }
    umount2(place.constData(), MNT_DETACH);
    QCOMPARE(status.Code(), code(StatusCode::STORE_FULL));
    QVERIFY(!status.Message().empty());
    QVERIFY(stored > 0);
    QCOMPARE(after, stored);
}

void DamagedFilesTest::aLimitOnFilesStoresNothingByHalves()
{
    const auto database = open(m_directory->path(), DIMENSION);
    QVERIFY(database && insert(*database, rowsFrom(1, 20)).IsOk());
    Status status;
    std::size_t stored = 20;
    std::size_t found = 0;
    {
        const FileSizeLimit limit(300000); // below what the log of the rows comes to
        for (long number = 21; status.IsOk() && number < 5000; number += 20) {
            status = insert(*database, rowsFrom(number, number + 19));
            stored += status.IsOk() ? 20 : 0;
        }
        found = search(*database, randomVector(DIMENSION, 5), 10000).ids.size();
    }
    QVERIFY2(status.Code() == code(StatusCode::STORE_FULL), status.Message().c_str());
    QCOMPARE(found, stored);
    QVERIFY(insert(*database, rowsFrom(9000, 9001)).IsOk()); // room again
    QCOMPARE(search(*database, randomVector(DIMENSION, 5), 10000).ids.size(), stored + 2);
}

void DamagedFilesTest::aFolderThatCannotBeMadeIsAnError()
{
    write(m_directory->filePath(QStringLiteral("file")), "x");
    Status status;
    QVERIFY(!open(m_directory->filePath(QStringLiteral("file/store")), DIMENSION, &status));
    QCOMPARE(status.Code(), code(StatusCode::IO_ERROR));
    QVERIFY(!open(m_directory->filePath(QStringLiteral("file")), DIMENSION, &status));
    QCOMPARE(status.Code(), code(StatusCode::IO_ERROR));
}

QTEST_GUILESS_MAIN(DamagedFilesTest)
#include "damagedfilestest.moc"
