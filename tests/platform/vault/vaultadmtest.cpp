// What the library says of systems that have all parts of an encrypted box, and of others.

#include "keyring.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

class VaultadmTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void aServiceThatTheBusCanStartCounts();
    void aRunningServiceCounts();
    void noGocryptfsIsNoBox();
    void noFuseProgramIsNoBox();
    void noServiceIsNoBox();
    void noBusIsNoBox();

private:
    static QString answer(const QString &name = QString(), const QString &value = QString());
    QString programsWithout(const QString &missing) const;

    QTemporaryDir m_home;
};

// A process of its own: the library keeps its connection to the bus.
QString VaultadmTest::answer(const QString &name, const QString &value)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!name.isEmpty()) {
        environment.insert(name, value);
    }
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(VAULTPROBE), QStringList());
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

QString VaultadmTest::programsWithout(const QString &missing) const
{
    QString folder = m_home.filePath(QStringLiteral("without-") + missing);
    QDir().mkpath(folder);
    for (const char *name : {"gocryptfs", "fusermount3"}) {
        const QString program = QString::fromLatin1(name);
        if (program != missing) {
            QFile::link(QStringLiteral("/usr/bin/") + program, folder + QLatin1Char('/') + program);
        }
    }
    return folder;
}

void VaultadmTest::initTestCase()
{
    if (access("/dev/fuse", R_OK | W_OK) != 0) {
        QSKIP("this machine has no usable /dev/fuse");
    }
}

void VaultadmTest::aServiceThatTheBusCanStartCounts()
{
    QCOMPARE(answer(), QStringLiteral("1"));
    QVERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(
        QStringLiteral("org.freedesktop.secrets"))); // and is not started by the question
}

void VaultadmTest::aRunningServiceCounts()
{
    const QByteArray former = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(m_home.path()));
    const Keyring keyring;
    qputenv("HOME", former);
    QVERIFY(keyring.isRunning());
    QCOMPARE(answer(), QStringLiteral("1"));
}

void VaultadmTest::noGocryptfsIsNoBox()
{
    QCOMPARE(answer(QStringLiteral("PATH"), programsWithout(QStringLiteral("nothing"))),
             QStringLiteral("1"));
    QCOMPARE(answer(QStringLiteral("PATH"), programsWithout(QStringLiteral("gocryptfs"))),
             QStringLiteral("0"));
}

void VaultadmTest::noFuseProgramIsNoBox()
{
    QCOMPARE(answer(QStringLiteral("PATH"), programsWithout(QStringLiteral("fusermount3"))),
             QStringLiteral("0"));
}

void VaultadmTest::noServiceIsNoBox()
{
    QProcess process;
    process.start(QStringLiteral("dbus-run-session"),
                  Keyring::onEmptyBus(m_home.path(), {QStringLiteral(VAULTPROBE)}));
    QVERIFY(process.waitForFinished());
    QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()), QStringLiteral("0"));
}

void VaultadmTest::noBusIsNoBox()
{
    QCOMPARE(answer(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/none")),
             QStringLiteral("0"));
}

QTEST_GUILESS_MAIN(VaultadmTest)

#include "vaultadmtest.moc"
