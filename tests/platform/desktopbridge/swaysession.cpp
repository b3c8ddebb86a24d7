#include "swaysession.h"

#include <QDir>
#include <QStandardPaths>
#include <QTest>

namespace Sway
{
bool command(const QString &text)
{
    QProcess program;
    program.start(QStringLiteral("swaymsg"),
                  QStringList{QStringLiteral("--")} + text.split(QLatin1Char(' ')));
    return program.waitForFinished() && program.exitCode() == 0;
}

QImage grab(const QString &output)
{
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(QStringLiteral("grim"), {QStringLiteral("-t"), QStringLiteral("ppm"),
                                           QStringLiteral("-o"), output, QStringLiteral("-")});
    program.waitForFinished();
    return QImage::fromData(program.readAllStandardOutput(), "PPM")
        .convertToFormat(QImage::Format_RGB32);
}
} // namespace Sway

SessionVariable::SessionVariable(const char *name, const QByteArray &value)
    : m_name(name), m_former(qgetenv(name))
{
    qputenv(name, value);
}

SessionVariable::~SessionVariable()
{
    if (m_former.isNull()) {
        qunsetenv(m_name);
    } else {
        qputenv(m_name, m_former);
    }
}

PrivateSway::PrivateSway(Kind kind, const QSize &size) : m_outerSocket(qgetenv("SWAYSOCK"))
{
    const QString path = m_folder.filePath(QStringLiteral("config"));
    QFile file(path);
    if (!file.open(QFile::WriteOnly)) {
        return;
    }
    file.write(QStringLiteral("output HEADLESS-1 resolution %1x%2 position 0 0\nxwayland disable\n"
                              "default_border none\n")
                   .arg(size.width())
                   .arg(size.height())
                   .toUtf8());
    file.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("WLR_RENDERER"), QStringLiteral("pixman"));
    if (kind == Nested) {
        environment.insert(QStringLiteral("WLR_BACKENDS"), QStringLiteral("wayland"));
        // One at the start: sway 1.10 sets up all of them at once, and the session's sway then ends
        // the connection, since the second window has not been configured yet.
        environment.insert(QStringLiteral("WLR_WL_OUTPUTS"), QStringLiteral("1"));
        environment.insert(QStringLiteral("WAYLAND_DISPLAY"),
                           environment.value(QStringLiteral("XDG_RUNTIME_DIR")) + QLatin1Char('/') +
                               environment.value(QStringLiteral("WAYLAND_DISPLAY")));
    } else {
        environment.insert(QStringLiteral("WLR_BACKENDS"), QStringLiteral("headless"));
        environment.insert(QStringLiteral("WLR_LIBINPUT_NO_DEVICES"), QStringLiteral("1"));
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    }
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_folder.path());
    environment.remove(QStringLiteral("SWAYSOCK"));
    m_process.setProcessEnvironment(environment);
    m_process.setStandardErrorFile(m_folder.filePath(QStringLiteral("log")));
    m_process.start(QStringLiteral("sway"), {QStringLiteral("--config"), path});
    const QString socket = m_folder.filePath(QStringLiteral("wayland-1"));
    const QDir folder(m_folder.path());
    QStringList ipc;
    if (QTest::qWaitFor(
            [&] {
                ipc = folder.entryList({QStringLiteral("sway-ipc.*")}, QDir::System);
                return QFile::exists(socket) && !ipc.isEmpty();
            },
            10000)) {
        m_display = QFile::encodeName(socket);
        m_variables[0] = std::make_unique<SessionVariable>("WAYLAND_DISPLAY", m_display);
        m_variables[1] = std::make_unique<SessionVariable>(
            "SWAYSOCK", QFile::encodeName(folder.filePath(ipc.first())));
        if (kind == Nested && !Sway::command(QStringLiteral("create_output"))) {
            m_display.clear();
        }
    }
}

PrivateSway::~PrivateSway()
{
    kill();
}

void PrivateSway::kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

bool PrivateSway::unplug(const QString &output)
{
    const SessionVariable outer("SWAYSOCK", m_outerSocket);
    return Sway::command(QStringLiteral("[title=%1$] kill").arg(output));
}
