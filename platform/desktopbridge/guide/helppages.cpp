#include "desktopbridge/guide/helppages.h"

#include <QDir>
#include <QFileInfo>

namespace
{
const QString FALLBACK = QStringLiteral("en");
}

HelpPages HelpPages::beside(const QString &program)
{
    return HelpPages(
        QDir::cleanPath(QFileInfo(program).dir().absoluteFilePath(QStringLiteral("../../share"))));
}

QString HelpPages::folderOf(const QString &application) const
{
    return m_folder + QLatin1Char('/') + application + QStringLiteral("/help");
}

bool HelpPages::knows(const QString &application) const
{
    // The id comes from another process and becomes a part of a path.
    return !application.isEmpty() && !application.startsWith(QLatin1Char('.')) &&
           !application.contains(QLatin1Char('/')) && QFileInfo(folderOf(application)).isDir();
}

QString HelpPages::page(const QString &application, const QStringList &languages) const
{
    if (!knows(application)) {
        return {};
    }
    const QDir folder(folderOf(application));
    for (const QString &language : languages + QStringList{FALLBACK}) {
        // Every Chinese locale reads the one Chinese page rather than the English one.
        const QString page = language.startsWith(QLatin1String("zh")) ? QStringLiteral("zh_CN")
                                                                      : language.section('_', 0, 0);
        const QString file = page.section('.', 0, 0) + QStringLiteral(".html");
        if (folder.exists(file)) {
            return folder.absoluteFilePath(file);
        }
    }
    return {};
}

QStringList textLanguagesOfEnvironment()
{
    QString locale;
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        locale = qEnvironmentVariable(variable);
        if (!locale.isEmpty()) {
            break;
        }
    }
    // As gettext has it: the list counts for nothing in the untranslated locale.
    if (locale.isEmpty() || locale == QLatin1String("C") || locale == QLatin1String("POSIX")) {
        return {};
    }
    return qEnvironmentVariable("LANGUAGE").split(QLatin1Char(':'), Qt::SkipEmptyParts) +
           QStringList{locale};
}
