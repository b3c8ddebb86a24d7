#include "privatebus.h"

PrivateBus::PrivateBus(const QProcessEnvironment &environment)
{
    m_process.setProcessEnvironment(environment);
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.start(QStringLiteral("dbus-daemon"),
                    {QStringLiteral("--session"), QStringLiteral("--nofork"),
                     QStringLiteral("--print-address")});
    while (!m_process.canReadLine() && m_process.waitForReadyRead(10000)) {
    }
    m_address = QString::fromLocal8Bit(m_process.readLine().trimmed());
}

PrivateBus::~PrivateBus()
{
    stop();
}

void PrivateBus::stop()
{
    m_process.terminate();
    m_process.waitForFinished();
}

QDBusConnection PrivateBus::connect(const QString &name) const
{
    return QDBusConnection::connectToBus(m_address, name);
}
