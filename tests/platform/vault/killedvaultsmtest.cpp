// The tool killed in the middle: the next run finishes or begins anew, no data are lost and no key
// is left that opens nothing.

#include "privatesystem.h"
#include "vaulttest.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>
#include <QThread>

class KilledVaultsmTest : public VaultTest
{
    Q_OBJECT

private Q_SLOTS:
    void aKillWhileABoxIsMade_data();
    void aKillWhileABoxIsMade();
    void aKillWhileABoxIsOpened_data();
    void aKillWhileABoxIsOpened();
    void aKeyWhoseBoxIsAwayOpensItWhenItIsBack();
    void aFailureAfterTheKeyForgetsTheKey();
    void killsAtRandomMoments();

private:
    void verifyOneWholeBox();
};

void KilledVaultsmTest::verifyOneWholeBox()
{
    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QVERIFY2(opened.status == 0, qPrintable(opened.errors));
    QVERIFY(write(mountPoint() + QStringLiteral("/file"), "content"));
    QCOMPARE(m_keyring->keysOf(BOX).size(), 1);
    QCOMPARE(QDir(home() + QStringLiteral("/.local/share/vaultsm"))
                 .entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{BOX});
}

void KilledVaultsmTest::aKillWhileABoxIsMade_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<int>("keys");
    QTest::newRow("before the key") << QStringLiteral("before the key") << 0;
    QTest::newRow("after the key") << QStringLiteral("after the key") << 1;
    QTest::newRow("before the ciphertext") << QStringLiteral("before the ciphertext") << 1;
    QTest::newRow("before the name") << QStringLiteral("before the name") << 1;
}

void KilledVaultsmTest::aKillWhileABoxIsMade()
{
    QFETCH(QString, step);
    QFETCH(int, keys);
    QCOMPARE(run(QStringLiteral(KILLEDVAULTSM), {QStringLiteral("create"), step}).status, -1);
    QVERIFY(!QFile::exists(ciphertext()));
    const QStringList kept = m_keyring->keysOf(BOX);
    QCOMPARE(kept.size(), keys);
    QCOMPARE(vaultsm({QStringLiteral("-i"), BOX}).status, 1);
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 1);

    const Run made = vaultsm({QStringLiteral("-c"), BOX});
    QVERIFY2(made.status == 0, qPrintable(made.errors));
    verifyOneWholeBox();
    QVERIFY(kept.isEmpty() || m_keyring->keysOf(BOX) == kept);
}

void KilledVaultsmTest::aKillWhileABoxIsOpened_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<bool>("isOpen");
    QTest::newRow("before the mount") << QStringLiteral("before the mount") << false;
    QTest::newRow("after the mount") << QStringLiteral("after the mount") << true;
}

void KilledVaultsmTest::aKillWhileABoxIsOpened()
{
    QFETCH(QString, step);
    QFETCH(bool, isOpen);
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QCOMPARE(run(QStringLiteral(KILLEDVAULTSM), {QStringLiteral("mount"), step}).status, -1);
    QCOMPARE(servers().size(), isOpen ? 1 : 0);
    verifyOneWholeBox();
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    QCOMPARE(modeOf(mountPoint()), 0500);
}

void KilledVaultsmTest::aKeyWhoseBoxIsAwayOpensItWhenItIsBack()
{
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    verifyOneWholeBox();
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    const QString away = home() + QStringLiteral("/away");
    QVERIFY(QDir().rename(ciphertext(), away));

    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QVERIFY(QDir(ciphertext()).removeRecursively());
    QVERIFY(QDir().rename(away, ciphertext()));
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
    QCOMPARE(read(mountPoint() + QStringLiteral("/file")), QByteArray("content"));
}

void KilledVaultsmTest::aFailureAfterTheKeyForgetsTheKey()
{
    const QString programs = home() + QStringLiteral("/programs");
    QVERIFY(QDir().mkpath(programs));
    QVERIFY(
        write(programs + QStringLiteral("/gocryptfs"), "#!/bin/sh\necho no room >&2\nexit 9\n"));
    QFile::setPermissions(programs + QStringLiteral("/gocryptfs"),
                          QFile::ReadOwner | QFile::ExeOwner);
    const QMap<QString, QByteArray> before = filesBelow(home());
    const Run made =
        vaultsm({QStringLiteral("-c"), BOX},
                {{QStringLiteral("PATH"), programs + QStringLiteral(":/usr/bin:/bin")}});
    QCOMPARE(made.status, 1);
    QCOMPARE(made.errors, QStringLiteral("vaultsm: gocryptfs failed: no room\n"));
    QCOMPARE(m_keyring->keysOf(BOX), QStringList());
    QMap<QString, QByteArray> after = filesBelow(home());
    QCOMPARE(after, before);
}

void KilledVaultsmTest::killsAtRandomMoments()
{
    constexpr int runs = 30;
    constexpr int longestRunUs = 40000; // a whole run takes about as long
    for (int killed = 0; killed < runs; ++killed) {
        QProcess tool;
        tool.start(QStringLiteral("/usr/bin/vaultsm"), {QStringLiteral("-c"), BOX});
        QVERIFY(tool.waitForStarted());
        QThread::usleep(QRandomGenerator::global()->bounded(longestRunUs));
        tool.kill();
        QVERIFY(tool.waitForFinished());
        if (vaultsm({QStringLiteral("-i"), BOX}).status == 0) {
            QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0); // whole if it is there
            QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
            QVERIFY(QDir(ciphertext()).removeRecursively());
        }
    }
    const Run made = vaultsm({QStringLiteral("-c"), BOX});
    QVERIFY2(made.status == 0, qPrintable(made.errors));
    verifyOneWholeBox();
}

int main(int argc, char **argv)
{
    PrivateSystem::enter(VAULTSM);
    QCoreApplication application(argc, argv);
    KilledVaultsmTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "killedvaultsmtest.moc"
