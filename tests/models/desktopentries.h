#pragma once
// Desktop files and an icon theme of a test's own. Main thread.

#include <QString>
#include <QTemporaryDir>

class DesktopEntries
{
public:
    /// Makes the theme the one that icons come from.
    DesktopEntries();

    /// Writes @p lines into the group "Desktop Entry" of @p name and gives its full path.
    QString add(const QString &name, const QString &lines) const;

    /// Path of the picture of the theme's one icon, "kept-icon".
    QString iconFile() const;

private:
    QTemporaryDir m_folder;
};
