// What a confined process can do and what not, tried from inside, with all that the kernel has and
// without Landlock or seccomp.

#include "confinement/confinement.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool SANITIZED = true;
#else
constexpr bool SANITIZED = false;
#endif

namespace
{
constexpr int REFUSED = EPERM;

bool kernelHasLandlock()
{
    return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, 1U) > 0;
}
} // namespace

class TestConfinement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void refuses_data();
    void refuses();
    void leavesWhatReadingNeeds_data();
    void leavesWhatReadingNeeds();
    void filesThatAreNotNamedAreClosed_data();
    void filesThatAreNotNamedAreClosed();
    void startsTheNamedProgramAlone();
    void whatItStartsIsConfinedAsWell();
    void itsMemoryIsWithheld();
    void withoutLandlockTheRestHolds();
    void withoutSeccompTheFilesAreClosed();
    void aMissingFileOfTheRightsIsNoError();

private:
    int attempt(const QStringList &words, const QStringList &options = {});
    QString inHome(const char *name) const { return QDir::home().filePath(QLatin1String(name)); }
    QString inFolder(const char *name) const { return m_folder.filePath(QLatin1String(name)); }

    QTemporaryDir m_folder;
    QByteArray m_log; // of the last attempt
};

void TestConfinement::initTestCase()
{
    for (const QString &path : {inHome("private"), inFolder("model")}) {
        QFile file(path);
        QVERIFY(file.open(QFile::WriteOnly));
        file.write("content");
    }
}

/// The error number that the probe ended with; -1 where it did not end by itself.
int TestConfinement::attempt(const QStringList &words, const QStringList &options)
{
    QProcess probe;
    probe.start(QStringLiteral(PROBE),
                options + QStringList{QStringLiteral("--read"), m_folder.path()} + words);
    if (!probe.waitForFinished(60000) || probe.exitStatus() != QProcess::NormalExit) {
        return -1;
    }
    m_log = probe.readAllStandardError();
    bool isNumber = false;
    const QByteArray output = probe.readAllStandardOutput().trimmed();
    const int error = output.split('\n').last().toInt(&isNumber); // a child prints first
    return isNumber ? error : -1;
}

void TestConfinement::refuses_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("sanitizersNeedIt");
    const auto row = [](const char *name, const QStringList &words, int error,
                        bool sanitizersNeedIt = false) {
        QTest::newRow(name) << words << error << sanitizersNeedIt;
    };
    for (const int domain : {AF_INET, AF_INET6, AF_NETLINK, AF_UNIX, AF_PACKET, AF_ALG, AF_VSOCK}) {
        QTest::addRow("socket of domain %d", domain)
            << QStringList{QStringLiteral("socket"), QString::number(domain)} << REFUSED << false;
    }
    row("pair of sockets", {"packets"}, REFUSED);
    row("another program in its place", {"become", "/bin/true"}, REFUSED);
    row("another program", {"start", "/bin/true"}, REFUSED, true);
    row("a copy of itself", {"fork"}, REFUSED, true);
    row("tracing", {"trace parent"}, REFUSED, true);
    row("memory of others", {"read parent"}, REFUSED);
    row("signals to others", {"signal parent"}, REFUSED);
    row("signals to threads of others", {"signal thread of parent"}, REFUSED);
    row("limits of others", {"limit parent"}, REFUSED);
    row("namespaces", {"namespace"}, REFUSED);
    row("keys of the kernel", {"keys"}, REFUSED);
    row("io_uring", {"rings"}, REFUSED);
    row("being dumped again", {"become dumpable"}, ENOSYS, true);
    row("reading a private file", {"read", inHome("private")}, EACCES);
    row("listing the home", {"list", QDir::homePath()}, EACCES);
    row("writing a readable file", {"write", inFolder("model")}, EACCES);
    row("updating a readable file", {"update", inFolder("model")}, EACCES);
    row("emptying a readable file", {"empty", inFolder("model")}, EACCES);
    row("a new file", {"create", inFolder("new")}, EACCES);
    row("a new folder", {"folder", inFolder("new")}, REFUSED);
    row("a new link", {"link", "/", inFolder("new")}, REFUSED);
    row("another name", {"rename", inFolder("model"), inFolder("new")}, REFUSED);
    row("removing", {"remove", inFolder("model")}, REFUSED);
    row("another mode", {"mode", inFolder("model")}, REFUSED);
}

void TestConfinement::refuses()
{
    QFETCH(QStringList, words);
    QFETCH(int, error);
    QFETCH(bool, sanitizersNeedIt);
    if (SANITIZED && sanitizersNeedIt) {
        QSKIP("the sanitizer of this build does it itself");
    }
    if (error == EACCES && words.first() != QLatin1String("create") && !kernelHasLandlock() &&
        words.size() == 2 && words.last().startsWith(QDir::homePath())) {
        QSKIP("the kernel of this machine has no Landlock");
    }
    // What the row says must be possible without the confinement, or it would prove nothing.
    if (words.first() == QLatin1String("read") || words.first() == QLatin1String("list")) {
        QCOMPARE(attempt(words, {QStringLiteral("--unconfined")}), 0);
    }
    QCOMPARE(attempt(words), error);
}

void TestConfinement::leavesWhatReadingNeeds_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("a named file") << QStringList{"read", inFolder("model")};
    QTest::newRow("a named folder") << QStringList{"list", m_folder.path()};
    QTest::newRow("libraries") << QStringList{"list", "/usr/lib"};
    QTest::newRow("the processor") << QStringList{"read", "/sys/devices/system/cpu/online"};
    QTest::newRow("threads") << QStringList{"thread"};
    QTest::newRow("shared memory") << QStringList{"memory"};
    QTest::newRow("a signal to itself") << QStringList{"signal itself"};
}

void TestConfinement::leavesWhatReadingNeeds()
{
    QFETCH(QStringList, words);
    QCOMPARE(attempt(words), 0);
}

void TestConfinement::filesThatAreNotNamedAreClosed_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("users") << "/etc/passwd";
    QTest::newRow("a program") << "/bin/true";
    QTest::newRow("another process") << "/proc/1/cmdline";
    QTest::newRow("itself") << "/proc/self/environ";
    QTest::newRow("a device") << "/dev/zero";
}

void TestConfinement::filesThatAreNotNamedAreClosed()
{
    QFETCH(QString, path);
    if (!kernelHasLandlock()) {
        QSKIP("the kernel of this machine has no Landlock");
    }
    if (SANITIZED && path.startsWith(QLatin1String("/proc"))) {
        QSKIP("the sanitizer of this build reads it itself");
    }
    QCOMPARE(attempt({QStringLiteral("read"), path}, {QStringLiteral("--unconfined")}), 0);
    QCOMPARE(attempt({QStringLiteral("read"), path}), EACCES);
}

void TestConfinement::startsTheNamedProgramAlone()
{
    const QStringList options{QStringLiteral("--start"), QStringLiteral("/bin/true")};
    QCOMPARE(attempt({"start", "/bin/true"}, options), 0);
    QCOMPARE(attempt({"packets"}, options), 0); // to speak with it
    QCOMPARE(attempt({"datagrams"}, options), ENOSYS);
    QCOMPARE(attempt({"socket", QString::number(AF_INET)}, options), REFUSED);
    if (!kernelHasLandlock()) {
        QSKIP("the kernel of this machine has no Landlock");
    }
    QCOMPARE(attempt({"start", "/bin/false"}, options), EACCES);
    QCOMPARE(attempt({"become", "/bin/sh"}, options), EACCES);
}

void TestConfinement::whatItStartsIsConfinedAsWell()
{
    const QStringList options{QStringLiteral("--start"), QStringLiteral(PROBE)};
    const QStringList child{QStringLiteral("start"), QStringLiteral(PROBE),
                            QStringLiteral("--unconfined")};
    QCOMPARE(attempt(child + QStringList{"nothing"}, options), 0);
    QCOMPARE(attempt(child + QStringList{"socket", QString::number(AF_INET)}, options), REFUSED);
    QCOMPARE(attempt(child + QStringList{"create", inFolder("new")}, options), EACCES);
    QCOMPARE(attempt(child + QStringList{"privileges"}, options), 1);
}

void TestConfinement::itsMemoryIsWithheld()
{
    QCOMPARE(attempt({QStringLiteral("dumpable")}), 0);
    QCOMPARE(attempt({QStringLiteral("core limit")}), 1); // no file, and no pipe either
}

void TestConfinement::withoutLandlockTheRestHolds()
{
    const QStringList options{QStringLiteral("--without"), QStringLiteral("landlock")};
    QCOMPARE(attempt({"socket", QString::number(AF_INET)}, options), REFUSED);
    QCOMPARE(m_log.count('\n'), 1);
    QVERIFY(m_log.contains("Confinement: no Landlock here"));
    QCOMPARE(attempt({"become", "/bin/true"}, options), REFUSED);
    QCOMPARE(attempt({"create", inHome("new")}, options), EACCES);
    QCOMPARE(attempt({"remove", inHome("private")}, options), REFUSED);
    QCOMPARE(attempt({"read", inFolder("model")}, options), 0);
    QCOMPARE(attempt({"read", inHome("private")}, options), 0); // as README.md says
}

void TestConfinement::withoutSeccompTheFilesAreClosed()
{
    if (!kernelHasLandlock()) {
        QSKIP("the kernel of this machine has no Landlock");
    }
    const QStringList options{QStringLiteral("--without"), QStringLiteral("seccomp")};
    QCOMPARE(attempt({"read", inHome("private")}, options), EACCES);
    QCOMPARE(m_log.count('\n'), 1);
    QVERIFY(m_log.contains("Confinement: no seccomp here"));
    QCOMPARE(attempt({"become", "/bin/true"}, options), EACCES);
    QCOMPARE(attempt({"create", inFolder("new")}, options), EACCES);
    QCOMPARE(attempt({"read", inFolder("model")}, options), 0);
}

void TestConfinement::aMissingFileOfTheRightsIsNoError()
{
    const QStringList options{QStringLiteral("--read"), inHome("nothing/here")};
    QCOMPARE(attempt({"read", inFolder("model")}, options), 0);
    QVERIFY(m_log.isEmpty());
}

QTEST_GUILESS_MAIN(TestConfinement)
#include "confinementtest.moc"
