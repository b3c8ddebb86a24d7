#pragma once
// What the desktop knows of the program's window: the area that panels leave free, raising and
// minimising, by KWindowSystem on X11 and by the desktop's window manager on Wayland. The window is
// found by its title. Owner: the backend, by value. Thread: main.

#include "app/otherwindows.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QRect>
#include <QVariant>

#include <optional>

class QWindow;

class WindowSettings : public QObject
{
    Q_OBJECT

public:
    /// Takes the list of panels once: those that appear later are not left free.
    explicit WindowSettings(QObject *parent = nullptr);

    /// The primary screen without what the desktop reserves and without panels, in logical pixels;
    /// the whole of it where the desktop does not tell, as on Wayland.
    QRect getWorkArea() const;

public Q_SLOTS:
    void raiseWindow();
    void requestShowMinimized();
    void screenWorkAreaChanged();

    /// The program's window has changed to @p state by the toolkit's means.
    void onWindowStateChanged(Qt::WindowState state);

Q_SIGNALS:
    void workAreaChanged(QRect workArea);

private:
    static QList<quint64> getPanelWindows();
    static QList<QWindow *> windowsOfTitle(const QString &title);
    void onWindowAdded(const QVariant &id);
    void followPrimaryScreen();

    bool m_isWayland;
    QMap<QWindow *, QVariant> m_windowProperties; ///< always empty
    QVariant m_waylandWindowId;                   ///< invalid until the window has been told of
    QList<quint64> m_panelWindows;                ///< docks at the time of construction
    quint64 m_x11WindowId = 0;                    ///< 0 until the window was minimised once
    std::optional<OtherWindows> m_otherWindows;
    QMetaObject::Connection m_screenGeometryChanged; ///< of the primary screen
};
