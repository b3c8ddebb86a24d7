#include "privatebus.h"

#include <QFile>

PrivateBus::PrivateBus(const QProcessEnvironment &environment, Services services)
{
    m_process.setProcessEnvironment(environment);
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.start(QStringLiteral("dbus-daemon"),
                    {services == Services::None
                         ? QStringLiteral("--config-file=") + writeConfiguration()
                         : QStringLiteral("--session"),
                     QStringLiteral("--nofork"), QStringLiteral("--print-address")});
    while (!m_process.canReadLine() && m_process.waitForReadyRead(10000)) {
    }
    m_address = QString::fromLocal8Bit(m_process.readLine().trimmed());
}

// As the usual one, but without folders of services.
QString PrivateBus::writeConfiguration() const
{
    QFile file(m_folder.filePath(QStringLiteral("bus.conf")));
    if (file.open(QFile::WriteOnly)) {
        file.write("<busconfig><type>session</type><keep_umask/><listen>unix:tmpdir=/tmp</listen>"
                   "<auth>EXTERNAL</auth><policy context=\"default\">"
                   "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                   "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
    }
    return file.fileName();
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
