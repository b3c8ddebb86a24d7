#include "app/windowsettings.h"

#include "windowmanager/windowmanager.h"

#include <KWindowInfo>
#include <KWindowSystem>
#include <QGuiApplication>
#include <QRegion>
#include <QScreen>
#include <QWindow>

#include <unistd.h>

namespace
{
QRect scaled(const QRect &area, qreal factor)
{
    return QRectF(QPointF(area.topLeft()) * factor, QSizeF(area.size()) * factor).toRect();
}

// The toolkit scales a screen's size; its corner stays in device pixels.
QRect inDevicePixels(const QScreen &screen)
{
    return scaled(QRect(QPoint(), screen.size()), screen.devicePixelRatio())
        .translated(screen.geometry().topLeft());
}

QRect inLogicalPixels(const QRect &area, const QScreen &screen)
{
    const QPoint corner = screen.geometry().topLeft();
    return scaled(area.translated(-corner), 1 / screen.devicePixelRatio()).translated(corner);
}
} // namespace

WindowSettings::WindowSettings(QObject *parent)
    : QObject(parent)
    , m_isWayland(QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
    , m_panelWindows(getPanelWindows())
{
    connect(tdk::WindowManager::self(), &tdk::WindowManager::windowAdded, this,
            &WindowSettings::onWindowAdded);
    connect(KWindowSystem::self(), &KWindowSystem::workAreaChanged, this,
            &WindowSettings::screenWorkAreaChanged);
    m_otherWindows.emplace(); // KWindowSystem has looked at all windows for that connection
    followPrimaryScreen();
    // Queued: of a screen that goes the toolkit tells before it moves the windows to another.
    connect(
        qGuiApp, &QGuiApplication::primaryScreenChanged, this,
        [this] {
            followPrimaryScreen();
            screenWorkAreaChanged();
        },
        Qt::QueuedConnection);
}

// The window manager may tell of a larger area before the toolkit knows the larger screen.
void WindowSettings::followPrimaryScreen()
{
    disconnect(m_screenGeometryChanged);
    m_screenGeometryChanged = connect(QGuiApplication::primaryScreen(), &QScreen::geometryChanged,
                                      this, &WindowSettings::screenWorkAreaChanged);
}

void WindowSettings::onWindowAdded(const QVariant &id)
{
    const QString title = tdk::WindowManager::self()->getWindowTitle(id);
    if (tdk::WindowManager::self()->getPid(id) == ::getpid() && title == tr("Yestermark")) {
        m_waylandWindowId = id;
    }
}

QList<quint64> WindowSettings::getPanelWindows()
{
    QList<quint64> panels;
    for (const WId id : KWindowSystem::windows()) {
        const KWindowInfo info(id, NET::WMWindowType);
        if (info.valid() && info.windowType(NET::DockMask) == NET::Dock) {
            panels.append(id);
        }
    }
    return panels;
}

QRect WindowSettings::getWorkArea() const
{
    const QScreen &primary = *QGuiApplication::primaryScreen();
    const QRect screen = inDevicePixels(primary); // in which panels tell their place
    const QRect free = scaled(KWindowSystem::workArea(-1), qGuiApp->devicePixelRatio()) & screen;
    QRegion area(free.isEmpty() ? screen : free);
    for (const quint64 id : m_panelWindows) {
        const KWindowInfo info(id, NET::WMGeometry);
        if (info.valid()) {
            area -= info.geometry();
        }
    }
    return inLogicalPixels(area.boundingRect(), primary);
}

void WindowSettings::screenWorkAreaChanged()
{
    Q_EMIT workAreaChanged(getWorkArea());
}

// A compositor without minimised windows ignores the toolkit's wish; the window manager's service
// knows what stands in for them.
void WindowSettings::onWindowStateChanged(Qt::WindowState state)
{
    if (m_isWayland && state == Qt::WindowMinimized) {
        requestShowMinimized();
    }
}

QList<QWindow *> WindowSettings::windowsOfTitle(const QString &title)
{
    QList<QWindow *> found;
    for (QWindow *window : QGuiApplication::allWindows()) {
        if (window->title() == title) {
            found.append(window);
        }
    }
    return found;
}

void WindowSettings::raiseWindow()
{
    if (m_isWayland) {
        tdk::WindowManager::self()->activateWindow(m_waylandWindowId);
        return;
    }
    for (QWindow *window : windowsOfTitle(tr("Yestermark"))) {
        KWindowSystem::forceActiveWindow(window->winId(), 0);
    }
}

void WindowSettings::requestShowMinimized()
{
    if (m_isWayland) {
        tdk::WindowManager::self()->minimizeWindow(m_waylandWindowId);
        return;
    }
    if (m_x11WindowId == 0) {
        const QList<QWindow *> windows = windowsOfTitle(tr("Yestermark"));
        if (windows.isEmpty()) {
            return;
        }
        m_x11WindowId = windows.first()->winId();
    }
    KWindowSystem::minimizeWindow(m_x11WindowId);
}
