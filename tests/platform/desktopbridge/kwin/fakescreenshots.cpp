#include "fakescreenshots.h"

#include <QDBusMessage>

#include <csignal>
#include <unistd.h>

namespace
{
const QString CONNECTION = QStringLiteral("fake KWin");
const QString SERVICE = QStringLiteral("org.kde.KWin.ScreenShot2");
const QString PATH = QStringLiteral("/org/kde/KWin/ScreenShot2");
} // namespace

FakeScreenshots::FakeScreenshots(const FakeBehaviour &behaviour)
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, CONNECTION))
    , m_behaviour(behaviour)
{
    std::signal(SIGPIPE, SIG_IGN); // KWin too survives a reader that closes early
    moveToThread(&m_thread);
    m_thread.start();
    m_bus.registerObject(PATH, this, QDBusConnection::ExportAllSlots);
    m_bus.registerService(SERVICE);
}

FakeScreenshots::~FakeScreenshots()
{
    m_bus.unregisterService(SERVICE);
    m_bus.unregisterObject(PATH);
    m_thread.quit();
    m_thread.wait();
    QDBusConnection::disconnectFromBus(CONNECTION);
}

QVariantMap FakeScreenshots::CaptureScreen(const QString &name, const QVariantMap &options,
                                           const QDBusUnixFileDescriptor &pipe)
{
    m_screen = name;
    m_options = options;
    setDelayedReply(true);
    if (m_behaviour.holdsPipe || m_behaviour.isSilent) {
        m_held = pipe;
    }
    if (m_behaviour.isSilent) {
        return {};
    }
    if (!m_behaviour.errorName.isEmpty()) {
        sendErrorReply(m_behaviour.errorName, QStringLiteral("as ordered"));
        return {};
    }
    m_bus.send(message().createReply(QVariant(m_behaviour.results)));
    const char *next = m_behaviour.bytes.constData();
    for (ssize_t left = m_behaviour.bytes.size(); left > 0;) {
        const ssize_t written = ::write(pipe.fileDescriptor(), next, size_t(left));
        if (written <= 0) {
            break;
        }
        next += written;
        left -= written;
    }
    return {};
}

QVariantMap FakeScreenshots::CaptureArea(int /*x*/, int /*y*/, uint /*width*/, uint /*height*/,
                                         const QVariantMap &options,
                                         const QDBusUnixFileDescriptor &pipe)
{
    return CaptureScreen(QString(), options, pipe);
}
