#pragma once
// What the X server tells this program of other programs' windows. KWindowSystem, asked for the
// work area, has itself told of every property of every window, to learn of panels; but toolkits
// note the time of each key press in a property of the window in front, and for each of these two
// threads woke up here: 8 to 230 wake-ups a second while somebody types elsewhere. Owner: the
// window's settings. Thread: main.

#include <QObject>
#include <QtGui/qwindowdefs.h>

class OtherWindows : public QObject
{
    Q_OBJECT

public:
    /// After KWindowSystem was asked for the work area. Does nothing on Wayland.
    explicit OtherWindows(QObject *parent = nullptr);

private:
    /// Of @p window only its place, size and end are told from now on, unless it reserves room on
    /// the screen or is a panel, which may come to do so.
    static void silence(WId window);
};
