#pragma once
// A Wayland compositor with one output that offers KWin's streams and answers as the test orders,
// for a KWin without a screen puts no picture into its own. Test thread only.

#include "waylandserver.h"

#include <atomic>

class FakeCompositor : public WaylandServer
{
public:
    explicit FakeCompositor(const QSize &output);
    ~FakeCompositor() override;

    /// Answer to the streams asked for from now on: this node or, for 0, an error.
    void setNode(quint32 node) { m_node = node; }

    int asked() const { return m_asked; }                 ///< streams so far
    int open() const { return m_openCount; }              ///< streams now
    quint32 pointerMode() const { return m_pointerMode; } ///< of the last one

    /// Ends all streams, as KWin does when an output goes.
    void endStreams();

private:
    struct Requests;

    std::atomic<quint32> m_node{0};
    std::atomic_int m_asked{0};
    std::atomic_int m_openCount{0};
    std::atomic<quint32> m_pointerMode{0};
    std::vector<wl_resource *> m_streams; // the serving thread's
};
