// The vector store in a real box, and when the box goes away under it.

#include "platform/vectordb/vectorworld.h"
#include "privatesystem.h"
#include "vaulttest.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>

class VectorsInBoxTest : public VaultTest
{
    Q_OBJECT

private Q_SLOTS:
    void anOpenBoxHoldsTheVectors();
    void aClosedBoxIsNotUsed_data();
    void aClosedBoxIsNotUsed();
    void aStoreWhoseBoxGoesFailsAndNothingElse_data();
    void aStoreWhoseBoxGoesFailsAndNothingElse();

private:
    QString inBox() const { return mountPoint() + QStringLiteral("/vector_database"); }
    QString inCache() const
    {
        return home() + QStringLiteral("/.cache/tavel-ai-yestermark/vector_database");
    }
    void openBox();
    std::shared_ptr<VectorDB::Database> openStore();
};

void VectorsInBoxTest::openBox()
{
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
}

std::shared_ptr<VectorDB::Database> VectorsInBoxTest::openStore()
{
    std::shared_ptr<VectorDB::Database> store = VectorDB::Database::Create();
    bool hasCollection = false;
    const bool isOpen =
        store->Connect(VectorDB::ConnectParam()).IsOk() &&
        store->HasCollection(VectorWorld::COLLECTION, hasCollection).IsOk() &&
        (hasCollection ||
         store->CreateCollection(VectorWorld::schema(), VectorWorld::index()).IsOk());
    return isOpen ? store : nullptr;
}

void VectorsInBoxTest::anOpenBoxHoldsTheVectors()
{
    openBox();
    const auto store = openStore();
    QVERIFY(store);
    QVERIFY(VectorWorld::insert(*store, {VectorWorld::row(1, VectorWorld::randomVector(1024, 1))})
                .IsOk());
    QVERIFY(QFile::exists(VectorWorld::rowsFile(inBox())));
    QVERIFY(QFile::exists(VectorWorld::matrixFile(inBox())));
    QVERIFY(!QFile::exists(inCache()));
}

void VectorsInBoxTest::aClosedBoxIsNotUsed_data()
{
    QTest::addColumn<bool>("isDead");
    QTest::newRow("closed") << false;
    QTest::newRow("dead") << true;
}

void VectorsInBoxTest::aClosedBoxIsNotUsed()
{
    QFETCH(bool, isDead);
    openBox();
    if (isDead) {
        QVERIFY(killServer());
    } else {
        QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    }
    QVERIFY(openStore());
    QVERIFY(QFile::exists(VectorWorld::rowsFile(inCache())));
}

void VectorsInBoxTest::aStoreWhoseBoxGoesFailsAndNothingElse_data()
{
    QTest::addColumn<int>("rows");
    QTest::newRow("no rows") << 0;
    QTest::newRow("few rows") << 10;
    QTest::newRow("many rows") << 500;
}

void VectorsInBoxTest::aStoreWhoseBoxGoesFailsAndNothingElse()
{
    QFETCH(int, rows);
    openBox();
    const auto store = openStore();
    QVERIFY(store);
    std::vector<VectorWorld::Row> stored;
    stored.reserve(static_cast<std::size_t>(rows));
    for (int row = 0; row < rows; ++row) {
        stored.push_back(
            VectorWorld::row(row, VectorWorld::randomVector(1024, static_cast<unsigned>(row))));
    }
    QVERIFY(stored.empty() || VectorWorld::insert(*store, stored).IsOk());
    QVERIFY(killServer());

    VectorDB::Status status;
    QVERIFY(
        VectorWorld::search(*store, VectorWorld::randomVector(1024, 1), 5, &status).ids.empty());
    QCOMPARE(status.Code(), static_cast<int>(VectorDB::StatusCode::IO_ERROR));
    QVERIFY2(QByteArray(status.Message().c_str()).contains("cannot reach the matrix file"),
             status.Message().c_str());
    QVERIFY(!VectorWorld::insert(*store, {VectorWorld::row(-1, VectorWorld::randomVector(1024, 1))})
                 .IsOk());
    QVERIFY(rows == 0 || VectorWorld::erase(*store, 0, rows) == -1);
    QVERIFY(store->Disconnect().IsOk());

    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QVERIFY2(opened.status == 0, qPrintable(opened.errors));
    const auto again = openStore();
    QVERIFY(again);
    QCOMPARE(VectorWorld::search(*again, VectorWorld::randomVector(1024, 1), rows + 1).ids.size(),
             static_cast<std::size_t>(rows));
}

int main(int argc, char **argv)
{
    PrivateSystem::enter(VAULTSM);
    QCoreApplication application(argc, argv);
    VectorsInBoxTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "vectorsinboxtest.moc"
