#include "desktopbridge/x11/x11backend.h"

#include <xcb/randr.h>

namespace
{
constexpr int TILE_PIXELS = 16;
constexpr uint8_t SENT_EVENT_BIT = 0x80;

const xcb_screen_t *screenOf(const XcbConnection &connection, int number)
{
    auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    for (; screen.rem > 0 && number > 0; --number) {
        xcb_screen_next(&screen);
    }
    return screen.rem > 0 ? screen.data : nullptr;
}
} // namespace

std::unique_ptr<X11Backend> X11Backend::connectToDisplay(QString &problem)
{
    int number = 0;
    const XcbConnection connection(xcb_connect(nullptr, &number), xcb_disconnect);
    if (xcb_connection_has_error(connection.get()) != 0) {
        problem = QStringLiteral("no X display can be reached");
        return nullptr;
    }
    const xcb_screen_t *screen = screenOf(connection, number);
    if (screen == nullptr || !X11Grabber::canRead(xcb_get_setup(connection.get()), screen)) {
        problem = QStringLiteral("the X display does not show 24 bit colours");
        return nullptr;
    }
    std::unique_ptr<X11Backend> backend(new X11Backend(connection, screen));
    if (backend->m_layout.isXwayland) {
        problem = QStringLiteral("the X display sees only a part of a Wayland session");
        return nullptr;
    }
    return backend;
}

X11Backend::X11Backend(const XcbConnection &connection, const xcb_screen_t *screen)
    : m_connection(connection)
    , m_root(screen->root)
    , m_grabber(connection, screen)
    , m_damage(connection, screen->root)
    , m_activeWindow(connection, screen->root)
    , m_notifier(xcb_get_file_descriptor(connection.get()), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &X11Backend::readEvents);
    selectLayoutEvents();
    m_layout = readX11Layout(m_connection, m_root, m_hasRandr);
}

void X11Backend::selectLayoutEvents()
{
    const auto *extension = xcb_get_extension_data(m_connection.get(), &xcb_randr_id);
    if (extension != nullptr && extension->present != 0) {
        const auto version = xcbReply(m_connection, xcb_randr_query_version_reply,
                                      xcb_randr_query_version(m_connection.get(), 1, 3));
        m_hasRandr = version && (version->major_version > 1 || version->minor_version >= 3);
    }
    if (m_hasRandr) {
        m_firstRandrEvent = extension->first_event;
        xcb_randr_select_input(m_connection.get(), m_root,
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
    }
    xcb_flush(m_connection.get());
}

QVector<QRect> X11Backend::screens()
{
    readEvents();
    return m_layout.screens;
}

QRect X11Backend::virtualScreen()
{
    return m_layout.virtualScreen;
}

int X11Backend::tileEdge()
{
    return TILE_PIXELS * readX11Scale(m_connection, m_root);
}

PicturePtr X11Backend::fetch(const QRect &area)
{
    readEventsLater();
    return m_grabber.fetch(area);
}

bool X11Backend::startWatching()
{
    return m_damage.start();
}

void X11Backend::stopWatching()
{
    m_damage.stop();
}

QVector<QRect> X11Backend::takeDamage()
{
    readEventsLater();
    return m_damage.take();
}

std::optional<quint32> X11Backend::activeWindowPid()
{
    readEventsLater();
    return m_activeWindow.processId();
}

// While XCB waits for a reply it also takes events off the socket, which then never becomes
// readable for them.
void X11Backend::readEventsLater()
{
    QMetaObject::invokeMethod(this, &X11Backend::readEvents, Qt::QueuedConnection);
}

void X11Backend::readEvents()
{
    while (const XcbPtr<xcb_generic_event_t> event{xcb_poll_for_event(m_connection.get())}) {
        handleEvent(*event);
    }
    if (m_layoutStale) {
        m_layoutStale = false;
        updateLayout();
    }
    if (!m_lost && xcb_connection_has_error(m_connection.get()) != 0) {
        m_lost = true;
        m_notifier.setEnabled(false); // a closed socket stays readable
        Q_EMIT lost();
    }
}

void X11Backend::handleEvent(const xcb_generic_event_t &event)
{
    const int type = event.response_type & ~SENT_EVENT_BIT;
    if (m_damage.isReport(event)) {
        Q_EMIT damaged();
    } else if (m_hasRandr && (type == m_firstRandrEvent + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                              type == m_firstRandrEvent + XCB_RANDR_NOTIFY)) {
        m_layoutStale = true;
    }
}

void X11Backend::updateLayout()
{
    const X11Layout layout = readX11Layout(m_connection, m_root, m_hasRandr);
    readEventsLater();
    if (!(layout == m_layout) && !layout.virtualScreen.isEmpty()) {
        m_layout = layout;
        Q_EMIT layoutChanged();
    }
}
