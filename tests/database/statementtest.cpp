// The small wrapper of a statement: binding, reading, and polite failure.

#include "database/statement.h"
#include "database/sqlite3connection.h"

#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

class StatementTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(m_memory.open(":memory:"), SQLITE_OK); }

    void sqliteSerialisesItsCallers() { QCOMPARE(sqlite3_threadsafe(), 1); }

    void valuesComeBackAsBound()
    {
        Statement echo(&m_memory, "SELECT ?, ?, ?;");
        QVERIFY(echo.isPrepared());
        echo.bindText(1, QStringLiteral("it's \U0001F600"));
        echo.bindInt(2, 4000000000U);
        echo.bindInt64(3, Q_INT64_C(1) << 40);
        QCOMPARE(echo.step(), SQLITE_ROW);
        QCOMPARE(echo.text(0), QStringLiteral("it's \U0001F600"));
        QCOMPARE(static_cast<quint32>(echo.int32(1)), 4000000000U);
        QCOMPARE(echo.int64(2), Q_INT64_C(1) << 40);
        QCOMPARE(echo.step(), SQLITE_DONE);
    }

    void aNullTextIsStoredAsEmpty()
    {
        Statement echo(&m_memory, "SELECT typeof(?1), length(?1);");
        echo.bindText(1, QString());
        QCOMPARE(echo.step(), SQLITE_ROW);
        QCOMPARE(echo.text(0), QStringLiteral("text"));
        QCOMPARE(echo.int32(1), 0);
    }

    void textEndsAtItsFirstNul()
    {
        Statement echo(&m_memory, "SELECT ?;");
        echo.bindText(1, QStringLiteral("before") + QChar(0) + QStringLiteral("after"));
        QCOMPARE(echo.step(), SQLITE_ROW);
        QCOMPARE(echo.text(0), QStringLiteral("before"));
    }

    void aNullColumnReadsAsEmpty()
    {
        Statement nothing(&m_memory, "SELECT NULL;");
        QCOMPARE(nothing.step(), SQLITE_ROW);
        QVERIFY(nothing.text(0).isEmpty());
        QCOMPARE(nothing.int64(0), Q_INT64_C(0));
    }

    void badSqlTellsItsReasonAndDoesNotStep()
    {
        Statement bad(&m_memory, "SELEKT 1;");
        QVERIFY(!bad.isPrepared());
        QVERIFY(QByteArray(bad.errorText()).contains("SELEKT"));
        QVERIFY(bad.step() != SQLITE_ROW);
    }

    void aMessageOutlivesLaterCallsOnTheConnection()
    {
        Statement bad(&m_memory, "SELEKT 1;");
        Statement good(&m_memory, "SELECT 1;");
        QCOMPARE(good.step(), SQLITE_ROW);
        QVERIFY(QByteArray(bad.errorText()).contains("SELEKT"));
        QCOMPARE(QByteArray(good.errorText()), QByteArray());
    }

    void withoutAConnectionNothingIsPrepared()
    {
        Statement none(nullptr, "SELECT 1;");
        QVERIFY(!none.isPrepared());
        QVERIFY(none.step() != SQLITE_ROW);
    }

    void aFileThatCannotBeOpenedPreparesNothing()
    {
        QTemporaryDir directory; // a directory is no database
        SQLite3Connection connection;
        QVERIFY(connection.open(QFile::encodeName(directory.path())) != SQLITE_OK);
        Statement none(&connection, "SELECT 1;");
        QVERIFY(!none.isPrepared());
        QVERIFY(!QByteArray(none.errorText()).isEmpty());
    }

    void onARetiredConnectionNothingBegins()
    {
        SQLite3Connection connection;
        QCOMPARE(connection.open(":memory:"), SQLITE_OK);
        Statement running(&connection, "VALUES (1), (2);");
        QCOMPARE(running.step(), SQLITE_ROW);
        Statement prepared(&connection, "SELECT 1;");
        QVERIFY(prepared.isPrepared());
        connection.retire();
        QCOMPARE(running.step(), SQLITE_ROW);
        QCOMPARE(running.int32(0), 2);
        QCOMPARE(prepared.step(), SQLITE_AUTH);
        QVERIFY(!Statement(&connection, "SELECT 1;").isPrepared());
        SQLite3Connection().retire(); // nothing to retire is no harm
    }

private:
    SQLite3Connection m_memory;
};

QTEST_GUILESS_MAIN(StatementTest)
#include "statementtest.moc"
