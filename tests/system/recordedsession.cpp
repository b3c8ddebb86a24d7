#include "system/recordedsession.h"

#include "support/commandoutput.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QTest>

#include <csignal>

namespace RecordedSession
{
namespace
{
const QString schema = QStringLiteral("com.tavel.yestermark");
} // namespace

Program::Program()
{
    m_process.setProgram(QStringLiteral(PROGRAM));
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    QObject::connect(&m_process, &QProcess::readyRead, &m_process,
                     [this] { m_output += m_process.readAll(); });
}

Program::~Program()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

void Program::runUnder(const QStringList &command)
{
    m_process.setProgram(command.first());
    m_before = command.mid(1) + QStringList{QStringLiteral(PROGRAM)};
}

bool Program::start(const QStringList &arguments)
{
    return startInFront(arguments) && giveWay();
}

bool Program::startInFront(const QStringList &arguments)
{
    launch(arguments);
    return waitForLog(QStringLiteral("ScreenHistoryTracker setScreenshotInterval to"), 30000);
}

bool Program::giveWay()
{
    const auto minimize = [this] {
        const QString window = windowOf(m_process.processId());
        return !window.isEmpty() &&
               QProcess::execute(QStringLiteral("xdotool"),
                                 {QStringLiteral("windowminimize"), window}) == 0;
    };
    return QTest::qWaitFor(minimize, 20000) &&
           QTest::qWaitFor([this] { return !isInFront(); }, 10000);
}

bool Program::isInFront() const
{
    const QString owner = outputOf(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow"),
                                                               QStringLiteral("getwindowpid")});
    return owner.toLongLong() == m_process.processId();
}

void Program::launch(const QStringList &arguments)
{
    m_output.clear();
    m_process.setArguments(m_before + arguments);
    m_process.start();
    m_process.waitForStarted();
}

bool Program::waitForLog(const QString &text, int milliseconds)
{
    return QTest::qWaitFor([&] { return log().contains(text); }, milliseconds);
}

void Program::sendSignal(int number)
{
    ::kill(static_cast<pid_t>(m_process.processId()), number);
}

bool Program::waitForEnd(int milliseconds)
{
    return QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }, milliseconds);
}

QString Program::log() const
{
    return QString::fromUtf8(m_output);
}

QString windowOf(qint64 pid)
{
    return outputOf(QStringLiteral("xdotool"),
                    {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                     QStringLiteral("--pid"), QString::number(pid)})
        .section(QLatin1Char('\n'), 0, 0);
}

bool setSetting(const QString &key, const QString &value)
{
    return QProcess::execute(QStringLiteral("gsettings"),
                             {QStringLiteral("set"), schema, key, value}) == 0;
}

QString setting(const QString &key)
{
    return outputOf(QStringLiteral("gsettings"), {QStringLiteral("get"), schema, key});
}

BusyTerminal::BusyTerminal()
{
    m_process.start(QStringLiteral("xterm"),
                    {QStringLiteral("-fullscreen"), QStringLiteral("-e"), QStringLiteral("sh"),
                     QStringLiteral("-c"),
                     QStringLiteral("while :; do clear; head -c 5000 /dev/urandom | base64; "
                                    "sleep 0.5; done")});
    m_process.waitForStarted();
}

BusyTerminal::~BusyTerminal()
{
    m_process.terminate();
    m_process.waitForFinished();
}

QString BusyTerminal::desktopEntry()
{
    return QStringLiteral("/usr/share/applications/debian-xterm.desktop");
}

uint ownerOf(const QString &service)
{
    const QDBusReply<uint> pid = QDBusConnection::sessionBus().interface()->servicePid(service);
    return pid.isValid() ? pid.value() : 0;
}
} // namespace RecordedSession
