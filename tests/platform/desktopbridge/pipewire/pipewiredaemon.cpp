#include "pipewire/pipewiredaemon.h"

#include <QFile>
#include <QStandardPaths>
#include <QTest>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace
{
const QString DAEMON = QStringLiteral("pipewire");
const QString SESSION_MANAGER = QStringLiteral("wireplumber");
constexpr int PATIENCE_MS = 10000;

std::unique_ptr<ChildProcess> started(const QString &program)
{
    auto process = std::make_unique<ChildProcess>();
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(program, QStringList());
    process->waitForStarted();
    return process;
}

void killAndWait(std::unique_ptr<ChildProcess> &process)
{
    if (process) {
        process->kill();
        process->waitForFinished();
        process.reset();
    }
}
} // namespace

PipeWireDaemon::PipeWireDaemon(const QString &runtimeFolder)
    : m_runtimeFolder(runtimeFolder.isEmpty() ? m_folder.path() : runtimeFolder)
{
    qputenv("PIPEWIRE_RUNTIME_DIR", QFile::encodeName(m_runtimeFolder));
}

PipeWireDaemon::~PipeWireDaemon()
{
    kill();
}

QString PipeWireDaemon::missing()
{
    for (const QString &program : {DAEMON, SESSION_MANAGER}) {
        if (QStandardPaths::findExecutable(program).isEmpty()) {
            return program + QStringLiteral(" is not installed");
        }
    }
    return {};
}

bool PipeWireDaemon::start()
{
    QFile::remove(socketPath());
    m_daemon = started(DAEMON);
    if (!QTest::qWaitFor([this] { return connection().isValid(); }, PATIENCE_MS)) {
        return false;
    }
    m_sessionManager = started(SESSION_MANAGER);
    return true;
}

void PipeWireDaemon::kill()
{
    killAndWait(m_daemon);
    killAndWait(m_sessionManager);
}

FileDescriptor PipeWireDaemon::connection() const
{
    FileDescriptor end(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(socketPath());
    std::strncpy(address.sun_path, path.constData(), sizeof(address.sun_path) - 1);
    if (::connect(end.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        return FileDescriptor();
    }
    return end;
}

QString PipeWireDaemon::socketPath() const
{
    return m_runtimeFolder + QStringLiteral("/pipewire-0");
}
