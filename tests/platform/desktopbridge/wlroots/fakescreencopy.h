#pragma once
// A Wayland compositor with one output of a single colour that offers wlr-screencopy and fails as
// the test orders, for sway without a screen cannot put its output to sleep. Test thread only.

#include "waylandserver.h"

#include <atomic>

class FakeScreencopy : public WaylandServer
{
public:
    explicit FakeScreencopy(const QSize &output);
    ~FakeScreencopy() override;

    /// Fills the output. Who waits for something to be drawn gets its frame, unless it sleeps.
    void draw(quint32 colour);

    /// As when an output is switched off: every frame fails, those waited for too.
    void setAsleep(bool isAsleep);

    enum class Stage {
        Offer, ///< instead of being offered
        Copy   ///< instead of being copied
    };

    /// As many of the next frames fail.
    void failNext(int frames, Stage stage);

    /// Bytes that a row is told to have; 0 for what its pixels take.
    void setStride(int bytes);

    int asked() const { return m_asked; } ///< frames so far

private:
    struct Requests;

    bool takeFailure(Stage stage);
    void offer(wl_resource *frame, const QSize &size);
    void copy(wl_resource *frame, wl_resource *buffer, bool tellsDamage);

    // All but the counter belong to the serving thread.
    std::atomic_int m_asked{0};
    quint32 m_colour = 0;
    bool m_isAsleep = false;
    int m_failures = 0;
    Stage m_stage = Stage::Offer;
    int m_stride = 0;
    bool m_isDrawn = true; // since damage was last told
    struct Waiting {
        wl_resource *frame;
        wl_resource *buffer;
    };
    std::vector<Waiting> m_waiting; // for something to be drawn
};
