// The tool with a real gocryptfs, a real Secret Service and a real FUSE.

#include "privatesystem.h"
#include "vaulttest.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <vector>

class VaultsmTest : public VaultTest
{
    Q_OBJECT

private Q_SLOTS:
    void aBoxIsMadeOnceAndFoundFromThenOn();
    void anOpenBoxShowsWhatIsEncryptedBeneath();
    void openingAndClosingTwiceIsNoFailure();
    void foldersAreOpenToTheirOwnerAlone();
    void theKeyStandsInTheSecretServiceAndNowhereElse();
    void upgradeWithoutABoxFails();
    void namesThatAShellWouldReadAreRefused_data();
    void namesThatAShellWouldReadAreRefused();
    void unknownArgumentsAreRefused_data();
    void unknownArgumentsAreRefused();
    void twoToolsAtOnceMakeOneBox();
    void anOrdinaryUsersMountPointTakesNoFileWithoutTheBox();
};

void VaultsmTest::aBoxIsMadeOnceAndFoundFromThenOn()
{
    Run asked = vaultsm({QStringLiteral("-i"), BOX});
    QCOMPARE(asked.status, 1);
    QCOMPARE(asked.errors, QStringLiteral("vaultsm: there is no box tavel-ai-yestermark\n"));

    const Run made = vaultsm({QStringLiteral("-c"), BOX});
    QVERIFY2(made.status == 0, qPrintable(made.errors));
    QCOMPARE(vaultsm({QStringLiteral("-i"), BOX}).status, 0);
    const QStringList keys = m_keyring->keysOf(BOX);
    QCOMPARE(keys.size(), 1);
    QCOMPARE(keys.first().size(), 64); // 256 bits

    const QMap<QString, QByteArray> before = filesBelow(home());
    const Run again = vaultsm({QStringLiteral("-c"), BOX});
    QCOMPARE(again.status, 1);
    QVERIFY(again.errors.contains(QLatin1String("is there already")));
    QCOMPARE(filesBelow(home()), before);
    QCOMPARE(m_keyring->keysOf(BOX), keys);
}

void VaultsmTest::anOpenBoxShowsWhatIsEncryptedBeneath()
{
    const QByteArray text = "words that nobody else shall read";
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QVERIFY2(opened.status == 0, qPrintable(opened.errors));
    QVERIFY(write(mountPoint() + QStringLiteral("/speaking-name"), text));

    const QMap<QString, QByteArray> beneath = filesBelow(ciphertext());
    QVERIFY(beneath.size() >= 3);
    for (auto file = beneath.begin(); file != beneath.end(); ++file) {
        QVERIFY2(!file.key().contains(QLatin1String("speaking-name")), qPrintable(file.key()));
        QVERIFY2(!file->contains(text), qPrintable(file.key()));
    }

    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    QVERIFY(!QFile::exists(mountPoint() + QStringLiteral("/speaking-name")));
    QCOMPARE(vaultsm({QStringLiteral("-m"), BOX}).status, 0);
    QCOMPARE(read(mountPoint() + QStringLiteral("/speaking-name")), text);
}

void VaultsmTest::openingAndClosingTwiceIsNoFailure()
{
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("-m"), BOX}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("-m"), BOX}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
    QCOMPARE(servers().size(), 1);
    QCOMPARE(QDir(mountPoint()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList());
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    QTRY_COMPARE_WITH_TIMEOUT(servers().size(), 0, 20000);
}

void VaultsmTest::foldersAreOpenToTheirOwnerAlone()
{
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
    QCOMPARE(modeOf(home() + QStringLiteral("/.local/share/vaultsm")), 0700);
    QCOMPARE(modeOf(ciphertext()), 0700);
    QCOMPARE(modeOf(home() + QStringLiteral("/.vault")), 0700);
    QCOMPARE(modeOf(mountPoint()), 0700);
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    QCOMPARE(modeOf(mountPoint()), 0500);
}

void VaultsmTest::theKeyStandsInTheSecretServiceAndNowhereElse()
{
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
    const QStringList keys = m_keyring->keysOf(BOX);
    QCOMPARE(keys.size(), 1);
    const QByteArray key = keys.first().toLatin1();

    const QMap<QString, QByteArray> files = filesBelow(home());
    for (auto file = files.begin(); file != files.end(); ++file) {
        QVERIFY2(!file->contains(key) && !file->contains(QByteArray::fromHex(key)),
                 qPrintable(file.key()));
    }
    const QList<qint64> pids = servers();
    QCOMPARE(pids.size(), 1);
    for (const char *part : {"cmdline", "environ"}) {
        const QByteArray shown =
            read(QStringLiteral("/proc/%1/%2").arg(pids.first()).arg(QLatin1String(part)));
        QVERIFY(!shown.isEmpty());
        QVERIFY(!shown.contains(key));
    }
}

void VaultsmTest::upgradeWithoutABoxFails()
{
    const Run upgraded = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(upgraded.status, 1);
    QCOMPARE(upgraded.errors, QStringLiteral("vaultsm: there is no box\n"));
}

void VaultsmTest::namesThatAShellWouldReadAreRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("empty") << QString();
    QTest::newRow("path") << QStringLiteral("a/b");
    QTest::newRow("parent") << QStringLiteral("..");
    QTest::newRow("hidden") << QStringLiteral(".hidden");
    QTest::newRow("blank") << QStringLiteral("a b");
    QTest::newRow("option") << QStringLiteral("-a");
    QTest::newRow("line end") << QStringLiteral("a\n");
    QTest::newRow("too long") << QString(65, QLatin1Char('a'));
}

void VaultsmTest::namesThatAShellWouldReadAreRefused()
{
    QFETCH(QString, name);
    const QMap<QString, QByteArray> before = filesBelow(home());
    const Run made = vaultsm({QStringLiteral("-c"), name});
    QCOMPARE(made.status, 1);
    QVERIFY(made.errors.contains(QLatin1String("is no name for a box")));
    QCOMPARE(filesBelow(home()), before);
}

void VaultsmTest::unknownArgumentsAreRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("none") << QStringList();
    QTest::newRow("unknown option") << QStringList{QStringLiteral("-x"), BOX};
    QTest::newRow("no name") << QStringList{QStringLiteral("-c")};
    QTest::newRow("two names") << QStringList{QStringLiteral("-c"), BOX, BOX};
    QTest::newRow("upgrade of one") << QStringList{QStringLiteral("--upgrade"), BOX};
}

void VaultsmTest::unknownArgumentsAreRefused()
{
    QFETCH(QStringList, arguments);
    const Run misused = vaultsm(arguments);
    QCOMPARE(misused.status, 2);
    QVERIFY(misused.errors.startsWith(QLatin1String("usage: vaultsm ")));
}

void VaultsmTest::twoToolsAtOnceMakeOneBox()
{
    std::vector<std::unique_ptr<QProcess>> tools;
    for (int started = 0; started < 6; ++started) {
        tools.push_back(std::make_unique<QProcess>());
        tools.back()->start(QStringLiteral("/usr/bin/vaultsm"), {QStringLiteral("-c"), BOX});
    }
    int made = 0;
    for (const auto &tool : tools) {
        QVERIFY(tool->waitForFinished(60000));
        made += tool->exitCode() == 0 ? 1 : 0;
    }
    QVERIFY(made >= 1);
    QCOMPARE(m_keyring->keysOf(BOX).size(), 1);

    for (auto &tool : tools) {
        tool->start(QStringLiteral("/usr/bin/vaultsm"), {QStringLiteral("--upgrade")});
    }
    for (const auto &tool : tools) {
        QVERIFY(tool->waitForFinished(60000));
        QVERIFY2(tool->exitCode() == 0, tool->readAllStandardError().constData());
    }
    QCOMPARE(servers().size(), 1);
}

// Root, whom no mode stops, is what the other tests mostly run as.
void VaultsmTest::anOrdinaryUsersMountPointTakesNoFileWithoutTheBox()
{
    constexpr uint nobody = 65534;
    if (geteuid() != 0) {
        QSKIP("only root can become another user");
    }
    if ((modeOf(QStringLiteral("/dev/fuse")) & 0006) != 0006) {
        QSKIP("/dev/fuse is closed to ordinary users");
    }
    const QTemporaryDir folder(QStringLiteral("/tmp/yestermark-XXXXXX"));
    QVERIFY(QDir().mkpath(folder.filePath(QStringLiteral("run"))));
    for (const QString &path : {folder.path(), folder.filePath(QStringLiteral("run"))}) {
        QCOMPARE(chown(QFile::encodeName(path).constData(), nobody, nobody), 0);
        QCOMPARE(chmod(QFile::encodeName(path).constData(), 0700), 0);
    }
    QFile script(QStringLiteral(ORDINARY_USER));
    QVERIFY(script.open(QIODevice::ReadOnly));
    QProcess session;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), folder.path());
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder.filePath(QStringLiteral("run")));
    session.setProcessEnvironment(environment);
    session.setWorkingDirectory(QStringLiteral("/"));
    session.start(QStringLiteral("setpriv"),
                  {QStringLiteral("--reuid"), QString::number(nobody), QStringLiteral("--regid"),
                   QString::number(nobody), QStringLiteral("--clear-groups"),
                   QStringLiteral("dbus-run-session"), QStringLiteral("--"), QStringLiteral("sh"),
                   QStringLiteral("-c"), QString::fromUtf8(script.readAll())});
    QVERIFY(session.waitForFinished(60000));
    const QByteArray errors = session.readAllStandardError();
    const QStringList words =
        QString::fromUtf8(session.readAllStandardOutput()).split(QLatin1Char('\n'));
    for (const char *word : {"opened", "closed", "guarded", "kept", "shut"}) {
        QVERIFY2(words.contains(QLatin1String(word)), word + QByteArray(": ") + errors);
    }
}

int main(int argc, char **argv)
{
    PrivateSystem::enter(VAULTSM);
    QCoreApplication application(argc, argv);
    VaultsmTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "vaultsmtest.moc"
