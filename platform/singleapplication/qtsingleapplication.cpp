#include "singleapplication/qtsingleapplication.h"

#include "singleapplication/instanceclient.h"
#include "singleapplication/instanceplace.h"
#include "singleapplication/instanceserver.h"

#include <QDebug>

namespace
{
constexpr const char *PLATFORM = "QT_QPA_PLATFORM";

// Qt 5's QApplication has no parameter for this any more; the platform decides.
int &withoutDisplay(int &argc, bool GUIenabled)
{
    if (!GUIenabled) {
        qputenv(PLATFORM, "minimal");
    }
    return argc;
}
} // namespace

QtSingleApplication::QtSingleApplication(int &argc, char **argv, bool GUIenabled)
    : QApplication(withoutDisplay(argc, GUIenabled), argv)
    , m_directory(InstancePlace::directory(QCoreApplication::applicationName()))
    , m_lock(m_directory)
{
    isRunning();
}

QtSingleApplication::~QtSingleApplication() = default;

bool QtSingleApplication::isRunning()
{
    if (m_lock.isHeld()) {
        return false;
    }
    switch (m_lock.take()) {
    case InstanceLock::State::Held:
        listen();
        return false;
    case InstanceLock::State::HeldByOther:
        return true;
    case InstanceLock::State::Unavailable:
        break;
    }
    if (!m_warned) {
        m_warned = true;
        qWarning().noquote() << "No lock in" << m_directory << '(' + m_lock.errorString() + "),"
                             << "another start of the program won't be noticed";
    }
    return false;
}

bool QtSingleApplication::sendMessage(const QString &message, int timeout)
{
    return isRunning() && InstanceClient::send(socketPath(), message, timeout);
}

void QtSingleApplication::listen()
{
    m_server = std::make_unique<InstanceServer>();
    connect(m_server.get(), &InstanceServer::messageReceived, this,
            &QtSingleApplication::messageReceived);
    if (!m_server->listen(socketPath())) {
        qWarning().noquote() << "No socket at" << socketPath()
                             << '(' + m_server->errorString() + "),"
                             << "another start of the program can't send its message";
    }
}

QString QtSingleApplication::socketPath() const
{
    return InstancePlace::socketPath(m_directory);
}
