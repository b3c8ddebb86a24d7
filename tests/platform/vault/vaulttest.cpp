#include "vaulttest.h"

#include "privatesystem.h"

#include <QDir>
#include <QDirIterator>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

const QString VaultTest::BOX = QStringLiteral("tavel-ai-yestermark");

namespace
{
constexpr int limitMs = 60000;
} // namespace

void VaultTest::initTestCase()
{
    if (!PrivateSystem::whyNot().isEmpty()) {
        QSKIP(qPrintable(PrivateSystem::whyNot()));
    }
    if (PrivateSystem::wasEnteredByOrdinaryUser()) {
        QSKIP("an ordinary user's own mounts need a user namespace, in which the session bus does "
              "not know the user; root's run of vaultsmtest becomes an ordinary user");
    }
    if (access("/dev/fuse", R_OK | W_OK) != 0) {
        QSKIP("this machine has no usable /dev/fuse");
    }
    for (const char *program :
         {"gocryptfs", "fusermount3", "gnome-keyring-daemon", "secret-tool"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty()) {
            QSKIP(qPrintable(QString::fromLatin1(program) + QStringLiteral(" is not installed")));
        }
    }
}

void VaultTest::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("HOME", QFile::encodeName(m_home->path()));
    m_keyring = std::make_unique<Keyring>();
    QVERIFY(m_keyring->isRunning());
}

void VaultTest::cleanup()
{
    if (m_home) {
        run(QStringLiteral("fusermount3"), {QStringLiteral("-uz"), mountPoint()});
        run(QStringLiteral("umount"), {mountPoint()}); // what keeps root out of it
    }
    m_keyring.reset();
    m_home.reset();
}

QString VaultTest::ciphertext() const
{
    return home() + QStringLiteral("/.local/share/vaultsm/") + BOX;
}

QString VaultTest::mountPoint() const
{
    return home() + QStringLiteral("/.vault/") + BOX;
}

VaultTest::Run VaultTest::vaultsm(const QStringList &arguments) const
{
    return run(QStringLiteral("/usr/bin/vaultsm"), arguments);
}

VaultTest::Run VaultTest::vaultsm(const QStringList &arguments,
                                  const QMap<QString, QString> &variables) const
{
    return run(QStringLiteral("/usr/bin/vaultsm"), arguments, variables);
}

VaultTest::Run VaultTest::run(const QString &program, const QStringList &arguments,
                              const QMap<QString, QString> &variables)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto variable = variables.begin(); variable != variables.end(); ++variable) {
        environment.insert(variable.key(), variable.value());
    }
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(limitMs) || process.exitStatus() != QProcess::NormalExit) {
        return {-1, QString::fromUtf8(process.readAllStandardError())};
    }
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardError())};
}

QMap<QString, QByteArray> VaultTest::filesBelow(const QString &folder)
{
    QMap<QString, QByteArray> files;
    QDirIterator paths(folder,
                       QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (paths.hasNext()) {
        const QString path = paths.next();
        if (path.contains(QLatin1String("/keyrings")) || path.endsWith(QLatin1String("/.lock"))) {
            continue;
        }
        files.insert(path, paths.fileInfo().isFile() ? read(path) : QByteArray());
    }
    return files;
}

bool VaultTest::write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
}

QByteArray VaultTest::read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

int VaultTest::modeOf(const QString &path)
{
    struct stat facts {
    };
    return lstat(QFile::encodeName(path).constData(), &facts) == 0
               ? static_cast<int>(facts.st_mode & 07777)
               : -1;
}

QList<qint64> VaultTest::servers() const
{
    QList<qint64> found;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        bool isNumber = false;
        const qint64 pid = entry.toLongLong(&isNumber);
        if (!isNumber) {
            continue;
        }
        const QByteArray line = read(QStringLiteral("/proc/%1/cmdline").arg(pid));
        if (line.contains("gocryptfs") && line.contains(QFile::encodeName(ciphertext()))) {
            found.append(pid);
        }
    }
    return found;
}

bool VaultTest::killServer() const
{
    const QList<qint64> pids = servers();
    for (const qint64 pid : pids) {
        kill(static_cast<pid_t>(pid), SIGKILL);
    }
    return !pids.isEmpty() && QTest::qWaitFor([this] { return servers().isEmpty(); }, limitMs);
}
