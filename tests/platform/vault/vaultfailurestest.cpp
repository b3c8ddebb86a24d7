// The tool where something is missing, locked, lost, damaged or gone: a clear message, a status,
// and nothing made or overwritten.

#include "privatesystem.h"
#include "vaulttest.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

class VaultFailuresTest : public VaultTest
{
    Q_OBJECT

private Q_SLOTS:
    void withoutAPartNothingIsMade_data();
    void withoutAPartNothingIsMade();
    void withoutFuseNothingIsMade();
    void withoutASecretServiceNothingIsMade();
    void aLockThatStaysShutMakesNothing();
    void aLockThatStaysShutOpensNothing();
    void aLostKeyLeavesTheBoxAsItIs();
    void aWrongKeyLeavesTheBoxAsItIs();
    void whatIsNoKeyIsNotUsed();
    void aDamagedBoxStaysAsItIs_data();
    void aDamagedBoxStaysAsItIs();
    void aDeadMountIsTakenAwayAndOpenedAnew();
    void aDeadMountIsClosed();
    void aBoxInUseIsNotClosed();
    void aClosedBoxTakesNoFile();
    void aMountPointTakenAwayTakesNoFile();
    void filesInTheMountPointAreNotHidden();
    void somethingElseAtTheMountPointIsLeftAlone();
    void aLinkInPlaceOfTheMountPointIsNotFollowed();
    void aReadOnlyBoxIsNotReady();
    void oneBadBoxLeavesTheOthersAsTheyWere_data();
    void oneBadBoxLeavesTheOthersAsTheyWere();

private:
    void makeBox(const QByteArray &content);
    QString programsWithout(const QString &missing);
};

void VaultFailuresTest::makeBox(const QByteArray &content)
{
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("-m"), BOX}).status, 0);
    QVERIFY(write(mountPoint() + QStringLiteral("/file"), content));
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
}

// A folder for PATH that holds what the tool runs, but for one program.
QString VaultFailuresTest::programsWithout(const QString &missing)
{
    QString folder = home() + QStringLiteral("/programs");
    QDir().mkpath(folder);
    for (const char *name : {"gocryptfs", "fusermount3"}) {
        const QString program = QString::fromLatin1(name);
        if (program != missing) {
            QFile::link(QStringLiteral("/usr/bin/") + program, folder + QLatin1Char('/') + program);
        }
    }
    return folder;
}

void VaultFailuresTest::withoutAPartNothingIsMade_data()
{
    QTest::addColumn<QString>("program");
    QTest::newRow("no gocryptfs") << QStringLiteral("gocryptfs");
    QTest::newRow("no fusermount3") << QStringLiteral("fusermount3");
}

void VaultFailuresTest::withoutAPartNothingIsMade()
{
    QFETCH(QString, program);
    const QMap<QString, QString> variables{{QStringLiteral("PATH"), programsWithout(program)}};
    const QMap<QString, QByteArray> before = filesBelow(home());
    const QString message =
        QStringLiteral("vaultsm: the program %1 is not installed\n").arg(program);

    const Run made = vaultsm({QStringLiteral("-c"), BOX}, variables);
    QCOMPARE(made.status, 1);
    QCOMPARE(made.errors, message);
    QCOMPARE(filesBelow(home()), before);
    QCOMPARE(m_keyring->keysOf(BOX), QStringList());

    makeBox("content");
    const Run opened = vaultsm({QStringLiteral("--upgrade")}, variables);
    QCOMPARE(opened.status, 1);
    QCOMPARE(opened.errors, message);
}

void VaultFailuresTest::withoutFuseNothingIsMade()
{
    const QMap<QString, QByteArray> before = filesBelow(home());
    const Run made =
        run(QStringLiteral("unshare"),
            {QStringLiteral("-m"), QStringLiteral("sh"), QStringLiteral("-c"),
             QStringLiteral("mount -t tmpfs none /dev && exec /usr/bin/vaultsm -c ") + BOX});
    QCOMPARE(made.status, 1);
    QCOMPARE(made.errors, QStringLiteral("vaultsm: FUSE is not available: /dev/fuse: "
                                         "No such file or directory\n"));
    QCOMPARE(filesBelow(home()), before);
    QCOMPARE(m_keyring->keysOf(BOX), QStringList());
}

void VaultFailuresTest::withoutASecretServiceNothingIsMade()
{
    const QMap<QString, QByteArray> before = filesBelow(home());
    const Run noBus =
        vaultsm({QStringLiteral("-c"), BOX},
                {{QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/none")}});
    QCOMPARE(noBus.status, 1);
    QCOMPARE(noBus.errors,
             QStringLiteral("vaultsm: there is no session bus, so no Secret Service\n"));

    const QTemporaryDir configuration;
    const Run noService =
        run(QStringLiteral("dbus-run-session"),
            Keyring::onEmptyBus(configuration.path(),
                                {QStringLiteral("/usr/bin/vaultsm"), QStringLiteral("-c"), BOX}));
    QCOMPARE(noService.status, 1);
    QVERIFY2(noService.errors.endsWith(
                 QLatin1String("vaultsm: there is no Secret Service to keep the key\n")),
             qPrintable(noService.errors));
    QCOMPARE(filesBelow(home()), before);
}

void VaultFailuresTest::aLockThatStaysShutMakesNothing()
{
    QVERIFY(m_keyring->lock());
    const QMap<QString, QByteArray> before = filesBelow(home());
    const Run made = vaultsm({QStringLiteral("-c"), BOX});
    QCOMPARE(made.status, 1);
    QVERIFY2(made.errors.startsWith(QLatin1String("vaultsm: the Secret Service ")),
             qPrintable(made.errors));
    QCOMPARE(filesBelow(home()), before);
}

void VaultFailuresTest::aLockThatStaysShutOpensNothing()
{
    makeBox("content");
    QVERIFY(m_keyring->lock());
    const QMap<QString, QByteArray> before = filesBelow(ciphertext());
    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(opened.status, 1);
    QCOMPARE(opened.errors, QStringLiteral("vaultsm: the Secret Service stays locked, its keys "
                                           "cannot be used\n"));
    QCOMPARE(filesBelow(ciphertext()), before);
    QTRY_COMPARE_WITH_TIMEOUT(servers().size(), 0, 20000); // the one that filled it ends late
}

void VaultFailuresTest::aLostKeyLeavesTheBoxAsItIs()
{
    makeBox("content");
    m_keyring->forget(BOX);
    const QMap<QString, QByteArray> before = filesBelow(ciphertext());

    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(opened.status, 1);
    QVERIFY2(
        opened.errors.contains(QLatin1String("the key of the box tavel-ai-yestermark is lost")),
        qPrintable(opened.errors));
    const Run made = vaultsm({QStringLiteral("-c"), BOX});
    QCOMPARE(made.status, 1);
    QVERIFY(made.errors.contains(QLatin1String("stays as it is")));

    QCOMPARE(filesBelow(ciphertext()), before);
    QCOMPARE(m_keyring->keysOf(BOX), QStringList());
}

void VaultFailuresTest::aWrongKeyLeavesTheBoxAsItIs()
{
    makeBox("content");
    const QByteArray right = m_keyring->keysOf(BOX).value(0).toLatin1();
    m_keyring->forget(BOX);
    QVERIFY(m_keyring->keep(BOX, QByteArray(64, 'a')));
    const QMap<QString, QByteArray> before = filesBelow(ciphertext());

    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(opened.status, 1);
    QVERIFY2(opened.errors.contains(QLatin1String("Password incorrect")),
             qPrintable(opened.errors));
    QCOMPARE(filesBelow(ciphertext()), before);

    m_keyring->forget(BOX);
    QVERIFY(m_keyring->keep(BOX, right));
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
    QCOMPARE(read(mountPoint() + QStringLiteral("/file")), QByteArray("content"));
}

void VaultFailuresTest::whatIsNoKeyIsNotUsed()
{
    QVERIFY(m_keyring->keep(BOX, "short"));
    const Run made = vaultsm({QStringLiteral("-c"), BOX});
    QCOMPARE(made.status, 1);
    QVERIFY(made.errors.contains(QLatin1String("is no key")));
    QVERIFY(!QFile::exists(ciphertext()));
    QCOMPARE(m_keyring->keysOf(BOX), QStringList{QStringLiteral("short")});
}

void VaultFailuresTest::aDamagedBoxStaysAsItIs_data()
{
    QTest::addColumn<bool>("isThere");
    QTest::addColumn<QByteArray>("configuration");
    QTest::addColumn<QString>("message");
    const QString missing = QStringLiteral("the box is damaged, ");
    QTest::newRow("missing") << false << QByteArray() << missing;
    QTest::newRow("empty") << true << QByteArray() << missing;
    QTest::newRow("garbled") << true << QByteArray("{\"Creator\": \"goc\x01\x02")
                             << QStringLiteral("gocryptfs failed: ");
    QTest::newRow("cut short") << true << QByteArray("{ }") << QStringLiteral("gocryptfs failed: ");
}

void VaultFailuresTest::aDamagedBoxStaysAsItIs()
{
    QFETCH(bool, isThere);
    QFETCH(QByteArray, configuration);
    QFETCH(QString, message);
    makeBox("content");
    const QString path = ciphertext() + QStringLiteral("/gocryptfs.conf");
    const QByteArray whole = read(path);
    QVERIFY(QFile::remove(path));
    QVERIFY(!isThere || write(path, configuration));
    const QMap<QString, QByteArray> before = filesBelow(ciphertext());
    const QStringList keys = m_keyring->keysOf(BOX);

    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(opened.status, 1);
    QVERIFY2(opened.errors.startsWith(QLatin1String("vaultsm: ") + message),
             qPrintable(opened.errors));
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 1);
    QCOMPARE(filesBelow(ciphertext()), before);
    QCOMPARE(m_keyring->keysOf(BOX), keys);
    QCOMPARE(modeOf(mountPoint()), 0500);

    QFile::remove(path);
    QVERIFY(write(path, whole));
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
    QCOMPARE(read(mountPoint() + QStringLiteral("/file")), QByteArray("content"));
}

void VaultFailuresTest::aDeadMountIsTakenAwayAndOpenedAnew()
{
    makeBox("content");
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
    QVERIFY(killServer());
    QVERIFY(!write(mountPoint() + QStringLiteral("/in-the-clear"), "text"));

    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QVERIFY2(opened.status == 0, qPrintable(opened.errors));
    QCOMPARE(read(mountPoint() + QStringLiteral("/file")), QByteArray("content"));
    QVERIFY(!QFile::exists(mountPoint() + QStringLiteral("/in-the-clear")));
}

void VaultFailuresTest::aDeadMountIsClosed()
{
    makeBox("content");
    QCOMPARE(vaultsm({QStringLiteral("-m"), BOX}).status, 0);
    QVERIFY(killServer());
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    QCOMPARE(modeOf(mountPoint()), 0500);
}

void VaultFailuresTest::aBoxInUseIsNotClosed()
{
    makeBox("content");
    QCOMPARE(vaultsm({QStringLiteral("-m"), BOX}).status, 0);
    QFile inUse(mountPoint() + QStringLiteral("/file"));
    QVERIFY(inUse.open(QIODevice::ReadOnly));
    const Run closed = vaultsm({QStringLiteral("-t"), BOX});
    QCOMPARE(closed.status, 1);
    QVERIFY2(closed.errors.startsWith(QLatin1String("vaultsm: fusermount3 failed: ")),
             qPrintable(closed.errors));
    QCOMPARE(inUse.readAll(), QByteArray("content"));
}

void VaultFailuresTest::aClosedBoxTakesNoFile()
{
    makeBox("content");
    QCOMPARE(modeOf(mountPoint()), 0500);
    QVERIFY(!write(mountPoint() + QStringLiteral("/in-the-clear"), "text"));
    QVERIFY(!QDir().mkpath(mountPoint() + QStringLiteral("/screenshots/2024-03")));
}

void VaultFailuresTest::aMountPointTakenAwayTakesNoFile()
{
    makeBox("content");
    QCOMPARE(vaultsm({QStringLiteral("--upgrade")}).status, 0);
    QFile inUse(mountPoint() + QStringLiteral("/open"));
    QVERIFY(inUse.open(QIODevice::WriteOnly));
    QCOMPARE(run(QStringLiteral("fusermount3"), {QStringLiteral("-uz"), mountPoint()}).status, 0);

    QVERIFY(!write(mountPoint() + QStringLiteral("/in-the-clear"), "text"));
    QVERIFY(!QDir().mkpath(mountPoint() + QStringLiteral("/screenshots/2024-03")));
    QCOMPARE(inUse.write("text"), 4); // still into the box, which goes with its last user
    inUse.close();
}

void VaultFailuresTest::filesInTheMountPointAreNotHidden()
{
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QVERIFY(QDir().mkpath(mountPoint()));
    QVERIFY(write(mountPoint() + QStringLiteral("/stray"), "text"));
    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(opened.status, 1);
    QVERIFY2(opened.errors.contains(QLatin1String("holds unencrypted files")),
             qPrintable(opened.errors));
    QCOMPARE(read(mountPoint() + QStringLiteral("/stray")), QByteArray("text"));
}

void VaultFailuresTest::somethingElseAtTheMountPointIsLeftAlone()
{
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QVERIFY(QDir().mkpath(mountPoint()));
    QCOMPARE(mount("other", QFile::encodeName(mountPoint()).constData(), "tmpfs", 0, nullptr), 0);
    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(opened.status, 1);
    QVERIFY(opened.errors.contains(QLatin1String("something else is mounted at ")));
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    QVERIFY(write(mountPoint() + QStringLiteral("/of-the-other"), "text"));
}

void VaultFailuresTest::aLinkInPlaceOfTheMountPointIsNotFollowed()
{
    QCOMPARE(vaultsm({QStringLiteral("-c"), BOX}).status, 0);
    QVERIFY(QDir().mkpath(home() + QStringLiteral("/.vault")));
    QVERIFY(QDir().mkpath(home() + QStringLiteral("/elsewhere")));
    QVERIFY(QFile::link(home() + QStringLiteral("/elsewhere"), mountPoint()));
    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(opened.status, 1);
    QVERIFY(opened.errors.contains(QLatin1String("is in the way, it is no folder")));
    QCOMPARE(servers().size(), 0);
}

void VaultFailuresTest::aReadOnlyBoxIsNotReady()
{
    makeBox("content");
    QCOMPARE(vaultsm({QStringLiteral("-m"), BOX}).status, 0);
    QCOMPARE(mount(nullptr, QFile::encodeName(mountPoint()).constData(), nullptr,
                   MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
             0);
    const Run checked = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(checked.status, 1);
    QVERIFY2(checked.errors.contains(QLatin1String("Read-only file system")),
             qPrintable(checked.errors));
}

void VaultFailuresTest::oneBadBoxLeavesTheOthersAsTheyWere_data()
{
    QTest::addColumn<QString>("bad");
    QTest::addColumn<bool>("isOpen");
    for (const bool isOpen : {false, true}) {
        const char *state = isOpen ? "open" : "closed";
        QTest::addRow("%s, the first one bad", state) << QStringLiteral("a-bad-one") << isOpen;
        QTest::addRow("%s, the last one bad", state) << QStringLiteral("z-bad-one") << isOpen;
    }
}

// A box that stayed open after a failure would be taken for ready by whoever looks for its mount.
void VaultFailuresTest::oneBadBoxLeavesTheOthersAsTheyWere()
{
    QFETCH(QString, bad);
    QFETCH(bool, isOpen);
    QVERIFY(QDir().mkpath(home() + QStringLiteral("/.local/share/vaultsm/") + bad));
    makeBox("content");
    QVERIFY(!isOpen || vaultsm({QStringLiteral("-m"), BOX}).status == 0);
    const Run opened = vaultsm({QStringLiteral("--upgrade")});
    QCOMPARE(opened.status, 1);
    QVERIFY(opened.errors.contains(bad + QLatin1String("/gocryptfs.conf is missing or empty")));
    QCOMPARE(QFile::exists(mountPoint() + QStringLiteral("/file")), isOpen);
    QCOMPARE(modeOf(mountPoint()), isOpen ? 0700 : 0500);
    QCOMPARE(vaultsm({QStringLiteral("-m"), BOX}).status, 0);
    QCOMPARE(read(mountPoint() + QStringLiteral("/file")), QByteArray("content"));
}

int main(int argc, char **argv)
{
    PrivateSystem::enter(VAULTSM);
    QCoreApplication application(argc, argv);
    VaultFailuresTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "vaultfailurestest.moc"
