#include "window/desktop.h"

#include <QDBusInterface>
#include <QDBusReply>
#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>

namespace
{
constexpr int startMs = 20000;
const QString schema = QStringLiteral("com.tavel.yestermark");

/// The first line that a starting server prints: where it is to be found.
QString firstLine(QProcess *server)
{
    while (!server->canReadLine()) {
        if (!server->waitForReadyRead(startMs)) {
            return {};
        }
    }
    return QString::fromUtf8(server->readLine()).trimmed();
}
} // namespace

void Desktop::Disconnect::operator()(xcb_connection_t *connection) const
{
    xcb_disconnect(connection);
}

Desktop::Desktop(const QSize &size, int scale) : m_size(size), m_scale(scale)
{
    static int count = 0;
    m_busName = QStringLiteral("desktop %1").arg(++count);
    for (QProcess *process : {&m_server, &m_windowManager, &m_busDaemon}) {
        process->setStandardErrorFile(QProcess::nullDevice());
    }
}

Desktop::~Desktop()
{
    QDBusConnection::disconnectFromBus(m_busName);
    m_connection.reset();
    end(&m_busDaemon);
    end(&m_windowManager);
    end(&m_server);
}

void Desktop::end(QProcess *process)
{
    if (process->state() == QProcess::NotRunning) {
        return;
    }
    process->terminate();
    if (!process->waitForFinished()) {
        process->kill();
        process->waitForFinished();
    }
}

bool Desktop::start()
{
    makeEnvironment();
    return startServer() && startWindowManager() && startBus() && startAccessibility();
}

void Desktop::makeEnvironment()
{
    const QString runtime = m_home.filePath(QStringLiteral("run"));
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_environment = QProcessEnvironment::systemEnvironment();
    m_environment.insert(QStringLiteral("HOME"), m_home.path());
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    m_environment.insert(QStringLiteral("QT_SCREEN_SCALE_FACTORS"), QString::number(m_scale));
}

bool Desktop::startServer()
{
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                    QStringLiteral("0"),
                    QStringLiteral("%1x%2x24").arg(m_size.width()).arg(m_size.height()),
                    QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-noreset"),
                    QStringLiteral("+extension"), QStringLiteral("DAMAGE")});
    const QString number = firstLine(&m_server);
    if (number.isEmpty()) {
        return false;
    }
    const QString display = QLatin1Char(':') + number;
    m_environment.insert(QStringLiteral("DISPLAY"), display);
    m_connection.reset(xcb_connect(qPrintable(display), nullptr));
    return xcb_connection_has_error(m_connection.get()) == 0;
}

bool Desktop::startWindowManager()
{
    m_windowManager.setProcessEnvironment(m_environment);
    m_windowManager.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
    return QTest::qWaitFor(
        [this] {
            return outputOf(QStringLiteral("xprop"),
                            {QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK")})
                .contains(QLatin1String("window id"));
        },
        startMs);
}

bool Desktop::startBus()
{
    m_busDaemon.setProcessEnvironment(m_environment);
    m_busDaemon.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--session"), QStringLiteral("--nofork"),
                       QStringLiteral("--print-address=1")});
    const QString address = firstLine(&m_busDaemon);
    m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
    return QDBusConnection::connectToBus(address, m_busName).isConnected();
}

// As a session with a screen reader has it.
bool Desktop::startAccessibility() const
{
    QDBusInterface status(QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                          QStringLiteral("org.a11y.Status"), bus());
    return status.setProperty("IsEnabled", true);
}

QDBusConnection Desktop::bus() const
{
    return QDBusConnection(m_busName);
}

bool Desktop::paintHistory(const QStringList &days) const
{
    // Videos are as large as the display that they are made on.
    Desktop small(QSize(320, 180));
    small.makeEnvironment();
    if (!small.startServer()) {
        return false;
    }
    QProcessEnvironment environment = m_environment;
    environment.insert(QStringLiteral("DISPLAY"),
                       small.m_environment.value(QStringLiteral("DISPLAY")));
    environment.remove(QStringLiteral("QT_SCREEN_SCALE_FACTORS"));
    QProcess painter;
    painter.setProcessEnvironment(environment);
    painter.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    painter.start(QStringLiteral(PAINTEDHISTORY), days);
    return painter.waitForFinished(120000) && painter.exitStatus() == QProcess::NormalExit &&
           painter.exitCode() == 0;
}

QString Desktop::outputOf(const QString &program, const QStringList &arguments) const
{
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(program, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

bool Desktop::run(const QString &program, const QStringList &arguments) const
{
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(program, arguments);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

bool Desktop::setSetting(const QString &key, const QString &value) const
{
    return run(QStringLiteral("gsettings"), {QStringLiteral("set"), schema, key, value});
}

QString Desktop::setting(const QString &key) const
{
    return outputOf(QStringLiteral("gsettings"), {QStringLiteral("get"), schema, key});
}

QImage Desktop::picture() const
{
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data;
    const std::unique_ptr<xcb_get_geometry_reply_t, decltype(&std::free)> geometry(
        xcb_get_geometry_reply(m_connection.get(),
                               xcb_get_geometry(m_connection.get(), screen->root), nullptr),
        &std::free);
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(m_connection.get(),
                            xcb_get_image(m_connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                          screen->root, 0, 0, geometry->width, geometry->height,
                                          ~0U),
                            nullptr),
        &std::free);
    QImage image(geometry->width, geometry->height, QImage::Format_RGB32);
    if (!reply || xcb_get_image_data_length(reply.get()) != image.sizeInBytes()) {
        return {};
    }
    std::memcpy(image.bits(), xcb_get_image_data(reply.get()),
                static_cast<std::size_t>(image.sizeInBytes()));
    return image;
}

namespace
{
const QString xdotool = QStringLiteral("xdotool");

QStringList moveTo(const QPoint &point)
{
    return {QStringLiteral("mousemove"), QString::number(point.x()), QString::number(point.y())};
}
} // namespace

bool Desktop::movePointer(const QPoint &to) const
{
    return run(xdotool, moveTo(to));
}

bool Desktop::click(const QPoint &at, int button) const
{
    return run(xdotool, moveTo(at) << QStringLiteral("click") << QString::number(button));
}

bool Desktop::press(const QPoint &at) const
{
    return run(xdotool, moveTo(at) << QStringLiteral("mousedown") << QStringLiteral("1"));
}

bool Desktop::release() const
{
    return run(xdotool, {QStringLiteral("mouseup"), QStringLiteral("1")});
}

bool Desktop::key(const QString &name) const
{
    return run(xdotool, {QStringLiteral("key"), name});
}

bool Desktop::keyDown(const QString &name) const
{
    return run(xdotool, {QStringLiteral("keydown"), name});
}

bool Desktop::keyUp(const QString &name) const
{
    return run(xdotool, {QStringLiteral("keyup"), name});
}

bool Desktop::closeWindow(quint32 window) const
{
    const QByteArray name = "_NET_CLOSE_WINDOW";
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> atom(
        xcb_intern_atom_reply(m_connection.get(),
                              xcb_intern_atom(m_connection.get(), 0,
                                              static_cast<std::uint16_t>(name.size()),
                                              name.constData()),
                              nullptr),
        &std::free);
    if (!atom) {
        return false;
    }
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom->atom;
    message.data.data32[1] = 2; // from a pager or task bar
    const xcb_window_t root =
        xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
    xcb_send_event(m_connection.get(), 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&message));
    return xcb_flush(m_connection.get()) > 0;
}

QVector<quint32> Desktop::windowsOf(qint64 process) const
{
    QVector<quint32> windows;
    const QStringList lines =
        outputOf(xdotool, {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                           QStringLiteral("--pid"), QString::number(process)})
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        windows.append(line.toUInt());
    }
    return windows;
}

QRect Desktop::geometryOf(quint32 window) const
{
    static const QRegularExpression corner(QStringLiteral("Absolute upper-left X:\\s+(-?\\d+)\\s+"
                                                          "Absolute upper-left Y:\\s+(-?\\d+)"));
    static const QRegularExpression size(QStringLiteral("Width: (\\d+)\\s+Height: (\\d+)"));
    const QString told =
        outputOf(QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::number(window)});
    const QRegularExpressionMatch at = corner.match(told);
    const QRegularExpressionMatch extent = size.match(told);
    return {at.captured(1).toInt(), at.captured(2).toInt(), extent.captured(1).toInt(),
            extent.captured(2).toInt()};
}

qint64 Desktop::processInFront() const
{
    return outputOf(xdotool, {QStringLiteral("getactivewindow"), QStringLiteral("getwindowpid")})
        .toLongLong();
}
