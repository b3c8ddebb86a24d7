#pragma once
// Opens a file in the viewer that the desktop has for it. Any thread.

#include <QString>

/// Starts "xdg-open", else "gio open", on @p file and does not wait for it. False if neither is
/// installed or can be started; what the started one then meets is not known here.
bool openInDesktopViewer(const QString &file);
