#pragma once
// A Wayland compositor with one output that offers KWin's streams and answers as the test orders,
// for a KWin without a screen puts no picture into its own. It runs on a thread of its own, as its
// clients wait for answers. Test thread only.

#include "desktopbridge/filedescriptor.h"

#include <QByteArray>
#include <QSize>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

struct wl_client;
struct wl_display;
struct wl_event_source;
struct wl_resource;

class FakeCompositor
{
public:
    /// WAYLAND_DISPLAY names it from now on until the object goes.
    explicit FakeCompositor(const QSize &output);
    ~FakeCompositor();
    FakeCompositor(const FakeCompositor &) = delete;
    FakeCompositor &operator=(const FakeCompositor &) = delete;

    /// Answer to the streams asked for from now on: this node or, for 0, an error.
    void setNode(quint32 node) { m_node = node; }

    int asked() const { return m_asked; }                 ///< streams so far
    int open() const { return m_openCount; }              ///< streams now
    quint32 pointerMode() const { return m_pointerMode; } ///< of the last one

    /// Ends all streams, as KWin does when an output goes.
    void endStreams();

private:
    struct Requests;
    struct ServerDelete {
        void operator()(wl_display *display) const;
        void operator()(wl_event_source *source) const;
    };

    const QByteArray m_formerDisplay;
    const QSize m_size;
    std::atomic<quint32> m_node{0};
    std::atomic_int m_asked{0};
    std::atomic_int m_openCount{0};
    std::atomic<quint32> m_pointerMode{0};
    std::vector<wl_resource *> m_streams; // the thread's
    FileDescriptor m_end;                 // an event counter: end the streams
    FileDescriptor m_stop;                // another: end the thread
    std::unique_ptr<wl_display, ServerDelete> m_display;
    std::unique_ptr<wl_event_source, ServerDelete> m_endSource;
    std::unique_ptr<wl_event_source, ServerDelete> m_stopSource;
    std::thread m_thread;
};
