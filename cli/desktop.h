#pragma once
// The desktop as the session bus and the environment tell it: who shows the screen, whether the
// session is locked, which process is in front. No service is started for the question. Plain
// functions, main thread; each call to the bus ends within two seconds.

#include <QString>

#include <optional>

namespace Desktop
{
struct ScreenService {
    QString provider; ///< "bridge" for ours, "desktop" for the desktop's own, empty for none
    QString backend;  ///< of our bridge, such as "x11"; empty where it does not tell
    bool seesScreen = false;
};

ScreenService screenService();

/// "x11", "wayland", "tty", or empty.
QString session();

bool isLocked();

/// The process whose window has the focus; nothing if that cannot be told.
std::optional<qint64> activeProcess();
} // namespace Desktop
