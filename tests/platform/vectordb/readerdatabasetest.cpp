// The store opened for searches alone, beside a process that writes to it: what is whole is found,
// nothing is locked, made or changed.

#include "vectordb/databaseloader.h"
#include "vectorworld.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>

using namespace VectorWorld;
using VectorDB::ConnectParam;
using VectorDB::StatusCode;
using VectorDB::DatabaseLoader::local;
using VectorDB::DatabaseLoader::reader;

class TestReaderDatabase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_owner.reset(); }

    void findsWhatTheOwnerFinds();
    void findsWhatTheOwnerHasStoredSince();
    void doesNotFindWhatTheOwnerHasDeleted();
    void searchesWhileTheOwnerStoresAndDeletes();
    void refusesEveryChange();
    void changesNothing();
    void leavesTheStoreToAnOwner();
    void missingFileIsDamaged();
    void fileOfAnotherLayoutIsDamaged();
    void damagedCodesAreNoAnswer();
    void otherCollectionIsUnknown();

private:
    std::shared_ptr<Database> connected() const;
    ConnectParam place() const;
    QByteArray content() const;
    QString matrixFile() const { return m_folder->filePath("matrix_1.bin"); }
    void store(long first, long last);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<Database> m_owner;
};

void TestReaderDatabase::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_owner = local();
    QVERIFY(m_owner->Connect(place()).IsOk());
    QVERIFY(m_owner->CreateCollection(schema(), index()).IsOk());
    store(1, 50);
}

ConnectParam TestReaderDatabase::place() const
{
    ConnectParam param;
    param.SetDirectory(m_folder->path().toStdString());
    return param;
}

std::shared_ptr<Database> TestReaderDatabase::connected() const
{
    auto database = reader(schema(), index());
    return database->Connect(place()).IsOk() ? database : nullptr;
}

QByteArray TestReaderDatabase::content() const
{
    QByteArray all;
    for (const QFileInfo &info : QDir(m_folder->path()).entryInfoList(QDir::Files, QDir::Name)) {
        QFile file(info.filePath());
        all += info.fileName().toUtf8() + (file.open(QFile::ReadOnly) ? file.readAll() : "?");
    }
    return all;
}

void TestReaderDatabase::store(long first, long last)
{
    std::vector<Row> rows;
    for (long number = first; number <= last; ++number) {
        rows.push_back(row(number, randomVector(1024, static_cast<unsigned>(number))));
    }
    QVERIFY(insert(*m_owner, rows).IsOk());
}

void TestReaderDatabase::findsWhatTheOwnerFinds()
{
    store(51, 1500); // more than one segment
    const auto database = connected();
    QVERIFY(database);
    const Found expected = search(*m_owner, randomVector(1024, 9), 40);
    const Found found = search(*database, randomVector(1024, 9), 40);
    QCOMPARE(found.ids.front(), std::string("9"));
    QVERIFY(found.ids == expected.ids);
    QVERIFY(found.scores == expected.scores);
}

void TestReaderDatabase::findsWhatTheOwnerHasStoredSince()
{
    QVERIFY(search(*connected(), randomVector(1024, 60), 1).ids.front() != "60");
    store(60, 60);
    QCOMPARE(search(*connected(), randomVector(1024, 60), 1).ids.front(), std::string("60"));
}

void TestReaderDatabase::doesNotFindWhatTheOwnerHasDeleted()
{
    const auto before = connected();
    QCOMPARE(erase(*m_owner, 5, 5), 1);
    for (const auto &database : {before, connected()}) {
        const Found found = search(*database, randomVector(1024, 5), 100);
        QCOMPARE(found.ids.size(), std::size_t{49});
        QVERIFY(found.ids.front() != "5");
    }
}

void TestReaderDatabase::searchesWhileTheOwnerStoresAndDeletes()
{
    std::atomic<bool> isToStop{false};
    const std::unique_ptr<QThread> owner(QThread::create([&] {
        for (long number = 100; !isToStop; ++number) {
            insert(*m_owner, {row(number, randomVector(1024, static_cast<unsigned>(number)))});
            erase(*m_owner, number - 20, number - 20);
        }
    }));
    owner->start();
    for (int round = 0; round < 50; ++round) {
        const auto database = connected();
        QVERIFY(database);
        Status status;
        const Found found = search(*database, randomVector(1024, 7), 3, &status);
        QVERIFY2(status.IsOk(), status.Message().c_str());
        QCOMPARE(found.ids.front(), std::string("7"));
    }
    isToStop = true;
    owner->wait();
}

void TestReaderDatabase::refusesEveryChange()
{
    const auto database = connected();
    const int refused = static_cast<int>(StatusCode::NOT_SUPPORTED);
    QCOMPARE(insert(*database, {row(70, randomVector(1024, 70))}).Code(), refused);
    VectorDB::DmlResults results;
    QCOMPARE(database->Delete(COLLECTION, "0 <= realTime && realTime <= 9", results).Code(),
             refused);
    QCOMPARE(database->CreateCollection(schema(), index()).Code(), refused);
    bool has = false;
    QVERIFY(database->HasCollection(COLLECTION, has).IsOk() && has);
}

void TestReaderDatabase::changesNothing()
{
    const QByteArray before = content();
    search(*connected(), randomVector(1024, 3), 5);
    QVERIFY(content() == before);
    m_owner.reset();
    const QByteArray closed = content();
    search(*connected(), randomVector(1024, 3), 5);
    QVERIFY(content() == closed);
}

void TestReaderDatabase::leavesTheStoreToAnOwner()
{
    m_owner.reset();
    const auto database = connected();
    const auto owner = local();
    QVERIFY(owner->Connect(place()).IsOk());
    QCOMPARE(search(*database, randomVector(1024, 3), 1).ids.front(), std::string("3"));
}

void TestReaderDatabase::missingFileIsDamaged()
{
    QVERIFY(QFile::remove(matrixFile()));
    const auto database = reader(schema(), index());
    QCOMPARE(database->Connect(place()).Code(), static_cast<int>(StatusCode::STORE_DAMAGED));
    Status status;
    search(*database, randomVector(1024, 3), 1, &status);
    QCOMPARE(status.Code(), static_cast<int>(StatusCode::NOT_CONNECTED));
    QVERIFY(!QFile::exists(matrixFile()));
    QVERIFY(!QDir(m_folder->filePath("none")).exists());
}

void TestReaderDatabase::fileOfAnotherLayoutIsDamaged()
{
    const int damaged = static_cast<int>(StatusCode::STORE_DAMAGED);
    QCOMPARE(reader(schema(64), index())->Connect(place()).Code(), damaged);
    QFile file(matrixFile());
    QVERIFY(file.open(QFile::ReadWrite));
    file.write("YVMATRIY");
    file.close();
    QCOMPARE(reader(schema(), index())->Connect(place()).Code(), damaged);
    QVERIFY(QFile::resize(matrixFile(), 100));
    QCOMPARE(reader(schema(), index())->Connect(place()).Code(), damaged);
}

void TestReaderDatabase::damagedCodesAreNoAnswer()
{
    m_owner.reset();
    const qint64 codesAt = 143360; // of the first row: docs/formats.md
    QFile file(matrixFile());
    QVERIFY(file.open(QFile::ReadWrite));
    QVERIFY(file.seek(codesAt));
    file.write(QByteArray(1024, '\x55'));
    file.close();
    Status status;
    search(*connected(), randomVector(1024, 1), 1, &status);
    QCOMPARE(status.Code(), static_cast<int>(StatusCode::STORE_DAMAGED));
}

void TestReaderDatabase::otherCollectionIsUnknown()
{
    VectorDB::SearchArguments arguments;
    arguments.SetCollectionName("pictures");
    VectorDB::SearchResults results;
    QCOMPARE(connected()->Search(arguments, results, 0).Code(),
             static_cast<int>(StatusCode::UNKNOWN_COLLECTION));
    QCOMPARE(connected()->Search(arguments, results, 5).Code(),
             static_cast<int>(StatusCode::INVALID_ARGUMENT));
}

QTEST_MAIN(TestReaderDatabase)
#include "readerdatabasetest.moc"
