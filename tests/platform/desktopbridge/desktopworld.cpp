#include "desktopworld.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace
{
const QString STYLE = QStringLiteral("org.vesk.style");
const QString HOURS = QStringLiteral("org.vesk.control-center.panel.plugins");
const QString OURS_STYLE = QStringLiteral(OUR_SCHEMAS "/yestermark-style.gschema.xml");
const QString OURS_HOURS = QStringLiteral(OUR_SCHEMAS "/yestermark-hoursystem.gschema.xml");
const QString DESKTOPS = QStringLiteral(TEST_SCHEMAS "/desktops.gschema.xml");
const QString VESK = QStringLiteral(TEST_SCHEMAS "/vesk.gschema.xml");
} // namespace

DesktopWorld::DesktopWorld(Schemas schemas)
    : m_environment(QProcessEnvironment::systemEnvironment())
{
    const QString prefix = path(QStringLiteral("prefix/glib-2.0/schemas"));
    const QString system = path(QStringLiteral("system/glib-2.0/schemas"));
    QStringList inPrefix{DESKTOPS};
    if (schemas == Schemas::Ours || schemas == Schemas::OursHidesDesktop) {
        inPrefix << OURS_STYLE << OURS_HOURS;
    } else if (schemas == Schemas::Desktop) {
        inPrefix << VESK;
    }
    m_valid = install(inPrefix, prefix) &&
              install({schemas == Schemas::OursHidesDesktop ? VESK : DESKTOPS}, system);
    setVariable(QStringLiteral("HOME"), m_folder.path());
    setVariable(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
    setVariable(QStringLiteral("XDG_DATA_HOME"), path(QStringLiteral("data")));
    setVariable(QStringLiteral("XDG_DATA_DIRS"),
                path(QStringLiteral("prefix")) + QLatin1Char(':') + path(QStringLiteral("system")));
    m_environment.remove(QStringLiteral("GSETTINGS_SCHEMA_DIR"));
    m_environment.remove(QStringLiteral("XDG_CURRENT_DESKTOP"));
    QDir().mkpath(path(QStringLiteral("config")));
}

bool DesktopWorld::install(const QStringList &files, const QString &folder) const
{
    bool copied = QDir().mkpath(folder);
    for (const QString &file : files) {
        copied =
            copied && QFile::copy(file, folder + QLatin1Char('/') + QFileInfo(file).fileName());
    }
    return copied && QProcess::execute(QStringLiteral("glib-compile-schemas"),
                                       {QStringLiteral("--strict"), folder}) == 0;
}

QString DesktopWorld::gsettings(const QStringList &arguments, bool *succeeded) const
{
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(QStringLiteral("gsettings"), arguments);
    *succeeded = process.waitForFinished() && process.exitCode() == 0;
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

QString DesktopWorld::get(const QString &schema, const QString &key) const
{
    bool succeeded = false;
    const QString value = gsettings({QStringLiteral("get"), schema, key}, &succeeded);
    return succeeded ? value : QString();
}

bool DesktopWorld::set(const QString &schema, const QString &key, const QString &value) const
{
    bool succeeded = false;
    gsettings({QStringLiteral("set"), schema, key, value}, &succeeded);
    return succeeded;
}

QString DesktopWorld::style() const
{
    return get(STYLE, QStringLiteral("style-name")).remove(QLatin1Char('\''));
}

QString DesktopWorld::hours() const
{
    return get(HOURS, QStringLiteral("hoursystem")).remove(QLatin1Char('\''));
}

QByteArray DesktopWorld::stored() const
{
    QFile file(path(QStringLiteral("config/glib-2.0/settings/keyfile")));
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

bool DesktopWorld::write(const QString &file, const QByteArray &text) const
{
    QFile target(path(file));
    return QDir().mkpath(QFileInfo(target).path()) && target.open(QFile::WriteOnly) &&
           target.write(text) == text.size();
}
