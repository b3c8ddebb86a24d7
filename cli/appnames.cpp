#include "cli/appnames.h"

#include "appinfo/desktopfile.h"

#include <QFileInfo>
#include <QLocale>

AppNames::AppNames()
    : m_localizedKey(QStringLiteral("Name[") + QLocale::system().name() + QLatin1Char(']'))
{
}

QString AppNames::nameOf(const QString &desktopEntry)
{
    const auto known = m_names.constFind(desktopEntry);
    if (known != m_names.constEnd()) {
        return *known;
    }
    QString name = getValueFromDesktopFile(desktopEntry, m_localizedKey);
    if (name.isEmpty()) {
        name = getValueFromDesktopFile(desktopEntry, QStringLiteral("Name"));
    }
    if (name.isEmpty()) {
        name = QFileInfo(desktopEntry).completeBaseName();
    }
    return *m_names.insert(desktopEntry, name);
}

bool AppNames::isMeant(const QString &desktopEntry, const QString &word)
{
    const QFileInfo entry(desktopEntry);
    const auto isWord = [&word](const QString &text) {
        return text.compare(word, Qt::CaseInsensitive) == 0;
    };
    return desktopEntry == word || isWord(entry.fileName()) || isWord(entry.completeBaseName()) ||
           isWord(nameOf(desktopEntry));
}
