// VideoInfo's calls of the desktop: its style, user guide, package database and control centre.

#include "models/videoinfo.h"

#include "coreai/aisubsystem.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDebug>
#include <QGSettings>
#include <QProcess>
#include <QRegularExpression>

#include <unistd.h>

namespace
{
constexpr char STYLE_SCHEMA[] = "org.vesk.style";
constexpr char STYLE_PATH[] = "/org/vesk/style/";
constexpr char STYLE_NAME_KEY[] = "styleName";
constexpr char APPLICATION_ID[] = "tavel-ai-yestermark";
constexpr char CONTROL_CENTER[] = "vesk-control-center";
constexpr int commandTimeoutMs = 30000;
constexpr int darkTheme = 1;
constexpr int lightTheme = 2;

// What a command prints, up to a zero byte; empty if it does not start or end in time.
QString outputOf(const QString &command, const QStringList &arguments)
{
    QProcess process;
    process.start(command, arguments, QIODevice::ReadWrite);
    process.waitForFinished(commandTimeoutMs);
    return QString::fromUtf8(process.readAll().constData());
}
} // namespace

void VideoInfo::initGsettings()
{
    if (!QGSettings::isSchemaInstalled(STYLE_SCHEMA)) {
        qWarning() << "initGsettings"
                   << "Failed to find schema org.vesk.style";
        return;
    }
    m_styleSettings = new QGSettings(STYLE_SCHEMA, STYLE_PATH, this);
    connect(m_styleSettings, &QGSettings::changed, this, [this](const QString &key) {
        if (key == QLatin1String(STYLE_NAME_KEY)) {
            Q_EMIT themeChanged();
        }
    });
}

int VideoInfo::getThemeType()
{
    if (!m_styleSettings) {
        return lightTheme;
    }
    const QString style = m_styleSettings->get(QLatin1String(STYLE_NAME_KEY)).toString();
    return style == QLatin1String("vesk-dark") ? darkTheme : lightTheme;
}

void VideoInfo::showGuide()
{
    const QString service =
        QStringLiteral("com.tavelUserGuide.hotel_") + QString::number(::getuid());
    auto *guide =
        new QDBusInterface(service, QStringLiteral("/"), QStringLiteral("com.guide.hotel"),
                           QDBusConnection::sessionBus(), this);
    guide->call(QDBus::NoBlock, QStringLiteral("showGuide"), QLatin1String(APPLICATION_ID));
}

QString VideoInfo::getYestermarkVersion()
{
    const QString id = QLatin1String(APPLICATION_ID);
    const QStringList lines =
        outputOf(QStringLiteral("dpkg"), {QStringLiteral("-l"), id}).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.contains(id)) {
            // Status, name, version, architecture, description.
            return line.split(QRegularExpression(QStringLiteral("\\s+"))).value(2);
        }
    }
    return {};
}

void VideoInfo::adjustSystemTime()
{
    const QString version = outputOf(QStringLiteral("dpkg-query"),
                                     {QStringLiteral("-f='${Version}\\n'"), QStringLiteral("-W"),
                                      QLatin1String(CONTROL_CENTER)});
    const QStringList page = version.contains(QLatin1String("3.0"))
                                 ? QStringList{QStringLiteral("-t")}
                                 : QStringList{QStringLiteral("-m"), QStringLiteral("Date")};
    QProcess::startDetached(QLatin1String(CONTROL_CENTER), page);
    Q_EMIT calledAdjustSystemTime();
}

bool VideoInfo::isSubsystemAvailable()
{
    return is_ai_subsystem_inited();
}

void VideoInfo::openSubsystemInstallPage()
{
    QProcess::startDetached(QLatin1String(CONTROL_CENTER),
                            {QStringLiteral("-m"), QStringLiteral("aisubsystem")});
}
