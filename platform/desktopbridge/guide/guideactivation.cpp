#include "desktopbridge/guide/guideactivation.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>

namespace
{
// Empty where the session has no folder of its own.
QString pathOf(const QString &name)
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return runtime.isEmpty() ? QString()
                             : runtime + QStringLiteral("/dbus-1/services/%1.service").arg(name);
}

// The bus takes words apart as a shell does, after it has resolved the backslashes of its files.
QString quoted(QString program)
{
    static const QRegularExpression special(QStringLiteral("([\"\\\\$`])"));
    program.replace(special, QStringLiteral("\\\\1"));
    program.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    return QLatin1Char('"') + program + QLatin1Char('"');
}

QDBusMessage busCall(const QString &method)
{
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    return QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus,
                                          method);
}

bool isListed(const QDBusConnection &session, const QString &name)
{
    const QDBusReply<QStringList> names = session.interface()->activatableServiceNames();
    return names.isValid() && names.value().contains(name);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &path, const QByteArray &text)
{
    QSaveFile file(path);
    return file.open(QFile::WriteOnly) &&
           file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
           file.write(text) == text.size() && file.commit();
}
} // namespace

bool anotherGuideCanBeStarted(const QDBusConnection &session, const QString &name)
{
    if (QFile::exists(pathOf(name)) || !isListed(session, name)) {
        return false;
    }
    // The bus lists what it once read, a file of ours that is gone too.
    session.call(busCall(QStringLiteral("ReloadConfig")));
    return isListed(session, name);
}

bool writeGuideActivation(const QDBusConnection &session, const QString &name,
                          const QString &program)
{
    const QString path = pathOf(name);
    if (path.isEmpty()) {
        return false;
    }
    const QByteArray text =
        QStringLiteral("[D-BUS Service]\nName=%1\nExec=%2\n").arg(name, quoted(program)).toUtf8();
    if (contentOf(path) == text) {
        return true;
    }
    // The bus makes the folder itself where it can; else it is as private as the one above it.
    if (!QDir().mkpath(QFileInfo(path).path()) || !write(path, text)) {
        return false;
    }
    // Some buses read their folders once and then when they are told to.
    session.asyncCall(busCall(QStringLiteral("ReloadConfig")));
    return true;
}
