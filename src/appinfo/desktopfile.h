#pragma once
// Single keys of desktop files, for an application's name and icon. Thread: any.

#include <QString>

/// The value of @p key in the group "Desktop Entry" of @p desktopFile; empty if the file or the key
/// is missing. The key is taken as it stands: no translation is looked for.
QString getValueFromDesktopFile(const QString &desktopFile, const QString &key);
