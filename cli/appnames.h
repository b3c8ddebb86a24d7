#pragma once
// Names of applications by their desktop entries, and whether a user's word means one. Owner: the
// command, on its stack. Thread: the one that made it.

#include <QHash>
#include <QString>

class AppNames
{
public:
    AppNames();

    /// In the user's language where the entry has it; the entry's file name where the application
    /// is gone.
    QString nameOf(const QString &desktopEntry);

    /// @p word is the entry's path, its file name with or without ".desktop", or the application's
    /// name, the latter two in either case.
    bool isMeant(const QString &desktopEntry, const QString &word);

private:
    QString m_localizedKey;
    QHash<QString, QString> m_names;
};
