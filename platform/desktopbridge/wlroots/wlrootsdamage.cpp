#include "desktopbridge/wlroots/wlrootsdamage.h"

#include "desktopbridge/wlroots/framepixels.h"
#include "desktopbridge/wlroots/wlrootsgrabber.h"

namespace
{
// While a window covers the whole output, compositors until wlroots 0.16 hand its buffer to the
// hardware and report everything as drawn whenever they are asked.
constexpr int TIME_AFTER_NOTHING = 1000;
} // namespace

struct WlrootsDamage::Watch {
    WaylandOutput output; // as it was when the frame was asked for
    std::unique_ptr<ScreencopyFrame> frame;
    std::unique_ptr<SharedBuffer> buffer;
};

WlrootsDamage::WlrootsDamage(const std::shared_ptr<WaylandConnection> &connection,
                             const WaylandOutputs &outputs, const WlrootsGrabber &grabber,
                             int retry)
    : m_connection(connection)
    , m_outputs(outputs)
    , m_grabber(grabber)
    , m_shm(connection->bindFirst<wl_shm>(wl_shm_interface, 1))
    , m_manager(connection->bindFirst<zwlr_screencopy_manager_v1>(
          zwlr_screencopy_manager_v1_interface, SCREENCOPY_VERSION))
    , m_retryTime(retry)
{
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &WlrootsDamage::armAll);
}

WlrootsDamage::~WlrootsDamage() = default;

bool WlrootsDamage::start()
{
    if (zwlr_screencopy_manager_v1_get_version(m_manager.get()) <
        ZWLR_SCREENCOPY_FRAME_V1_COPY_WITH_DAMAGE_SINCE_VERSION) {
        return false;
    }
    m_isWatching = true;
    armAll();
    return true;
}

void WlrootsDamage::stop()
{
    m_isWatching = false;
    m_isTold = false;
    m_retry.stop();
    m_watches.clear();
    m_areas.clear();
    m_connection->flush();
}

QVector<QRect> WlrootsDamage::take()
{
    const QVector<QRect> areas = m_areas;
    m_areas.clear();
    if (m_isTold) {
        m_isTold = false;
        armAll();
    }
    return areas;
}

void WlrootsDamage::onOutputsChanged()
{
    m_watches.clear();
    m_areas.clear();
    m_isTold = false;
    if (m_isWatching) {
        armAll();
    }
}

void WlrootsDamage::armAll()
{
    for (const WaylandOutput &output : m_outputs.outputs()) {
        const auto watch = m_watches.find(output.global);
        if (watch == m_watches.end() || !watch->second->frame) {
            arm(output);
        }
    }
    m_connection->flush();
}

void WlrootsDamage::arm(const WaylandOutput &output)
{
    std::unique_ptr<Watch> &watch = m_watches[output.global];
    if (!watch) {
        watch = std::make_unique<Watch>();
    }
    watch->output = output;
    watch->frame = std::make_unique<ScreencopyFrame>(
        zwlr_screencopy_manager_v1_capture_output(m_manager.get(), 0, output.proxy),
        [this, global = output.global] { onFrameChanged(global); });
}

void WlrootsDamage::onFrameChanged(quint32 global)
{
    Watch &watch = *m_watches.at(global);
    ScreencopyFrame &frame = *watch.frame;
    if (frame.state() == ScreencopyFrame::State::Offered) {
        if (!watch.buffer || !frame.fits(*watch.buffer)) {
            watch.buffer =
                SharedBuffer::create(m_shm.get(), frame.size(), frame.stride(), frame.format());
        }
        if (watch.buffer) {
            frame.copyDamagedInto(*watch.buffer);
            m_connection->flush();
            return;
        }
    }
    const bool isReady = frame.state() == ScreencopyFrame::State::Ready;
    const bool isDifferent = isReady && differs(watch);
    if (isDifferent) {
        noteDamage(watch);
    }
    watch.frame.reset();
    if (!isDifferent) {
        m_retry.start(isReady ? TIME_AFTER_NOTHING : m_retryTime);
    } else if (!m_isTold) {
        m_isTold = true;
        Q_EMIT damaged();
    }
}

bool WlrootsDamage::differs(const Watch &watch) const
{
    const SharedBuffer &buffer = *watch.buffer;
    return !m_grabber.lastWas(watch.output,
                              {buffer.row(0), buffer.size(), buffer.stride(), buffer.format(),
                               watch.frame->isInverted(), watch.output.transform});
}

void WlrootsDamage::noteDamage(Watch &watch)
{
    const ScreencopyFrame &frame = *watch.frame;
    for (const QRect &area : frame.damage()) {
        if (!area.isEmpty()) {
            m_areas.append(seenArea(area, frame.size(), watch.output.transform)
                               .translated(watch.output.screen.topLeft()));
        }
    }
}
