#pragma once
// What tests of the window share: what the window manager tells of it, and input that comes through
// the X server as a user's does. Main thread of a test.

#include <QPoint>
#include <QString>
#include <QStringList>
#include <QWindow>

namespace WindowFixture
{
/// Runs xdotool, which sends real input events. False if it fails.
bool input(const QStringList &arguments);

/// Moves the pointer to @p global, in device pixels, and clicks @p button.
bool click(const QPoint &global, int button = 1);

/// State of @p window as the window manager tells it: whether @p atom, such as
/// "_NET_WM_STATE_HIDDEN", is set.
bool hasState(const QWindow &window, const QString &atom);

/// Id of the window that has the input focus, 0 if none.
quint64 activeWindow();
} // namespace WindowFixture
