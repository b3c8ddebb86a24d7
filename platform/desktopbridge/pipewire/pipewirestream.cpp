#include "desktopbridge/pipewire/pipewirestream.h"

#include "desktopbridge/peerarea.h"
#include "desktopbridge/pipewire/streamparameters.h"

#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>

#include <utility>

namespace
{
constexpr int PIXEL_BYTES = 4;
constexpr int MOST_AREAS = 64; // more are joined into one
constexpr auto FIRST_DATA = 0;

template <typename Meta>
const Meta *metaOf(const pw_buffer *buffer, quint32 type)
{
    return static_cast<const Meta *>(spa_buffer_find_meta_data(buffer->buffer, type, sizeof(Meta)));
}

// The producer shares the memory that it tells this in and may write there at any time, so each
// number is read once.
spa_chunk copyOf(const spa_data &data)
{
    const volatile spa_chunk *shared = data.chunk;
    spa_chunk chunk{};
    chunk.offset = shared->offset;
    chunk.size = shared->size;
    chunk.stride = shared->stride;
    chunk.flags = shared->flags;
    return chunk;
}

QRect areaOf(const spa_region &region, const QSize &whole)
{
    return PeerArea{region.position.x, region.position.y, region.size.width, region.size.height}
        .within(whole);
}
} // namespace

// The library's calls, on their way to the object.
struct PipeWireStream::Events {
    static PipeWireStream *of(void *self) { return static_cast<PipeWireStream *>(self); }

    static void state(void *self, pw_stream_state /*before*/, pw_stream_state now, const char *)
    {
        of(self)->onState(now);
    }
    static void parameter(void *self, uint32_t id, const spa_pod *parameter)
    {
        of(self)->onParameter(id, parameter);
    }
    static void removed(void *self, pw_buffer *buffer) { of(self)->onBufferRemoved(buffer); }
    static void process(void *self) { of(self)->onProcess(); }

    static const pw_stream_events &table()
    {
        static const pw_stream_events events = [] {
            pw_stream_events all{};
            all.version = PW_VERSION_STREAM_EVENTS;
            all.state_changed = &Events::state;
            all.param_changed = &Events::parameter;
            all.remove_buffer = &Events::removed;
            all.process = &Events::process;
            return all;
        }();
        return events;
    }
};

PipeWireStream::PipeWireStream(PipeWireRemote &remote, quint32 node, quint32 framesPerSecond)
    // WirePlumber 0.5 tells the end of the producer only to streams that take no other.
    : m_stream(pw_stream_new(remote.core(), "Yestermark",
                             pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY,
                                               "Capture", PW_KEY_MEDIA_ROLE, "Screen",
                                               "node.dont-fallback", "true", nullptr)))
{
    if (m_stream) {
        start(node, framesPerSecond);
    } else {
        end();
    }
}

PipeWireStream::~PipeWireStream()
{
    if (m_stream) {
        spa_hook_remove(&m_listener);
    }
}

void PipeWireStream::start(quint32 node, quint32 framesPerSecond)
{
    pw_stream_add_listener(m_stream.get(), &m_listener, &Events::table(), this);
    StreamParameters formats;
    formats.offerFormats(framesPerSecond);
    // Without the real-time flag the library calls on this thread.
    const auto flags = pw_stream_flags(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                       PW_STREAM_FLAG_DONT_RECONNECT);
    if (pw_stream_connect(m_stream.get(), PW_DIRECTION_INPUT, node, flags, formats.data(),
                          formats.count()) < 0) {
        end();
    }
}

QSize PipeWireStream::size() const
{
    return isLive() ? m_layout.uprightSize() : QSize();
}

bool PipeWireStream::copy(const QRect &area, quint32 *target, int targetWidth) const
{
    if (!isLive() || area.isEmpty() || !QRect(QPoint(), size()).contains(area)) {
        return false;
    }
    copyUpright(m_layout, m_memory, area, target, targetWidth);
    return true;
}

QVector<QRect> PipeWireStream::takeDamage()
{
    m_damageTold = false;
    return std::exchange(m_damage, {});
}

void PipeWireStream::onState(pw_stream_state state)
{
    m_streaming = state == PW_STREAM_STATE_STREAMING;
    if (!m_streaming) {
        drop(true);
    }
    if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
        end();
    }
}

void PipeWireStream::onParameter(uint32_t id, const spa_pod *parameter)
{
    if (id != SPA_PARAM_Format) {
        return;
    }
    drop(true);
    m_format = 0;
    spa_video_info_raw info{};
    if (parameter == nullptr || spa_format_video_raw_parse(parameter, &info) < 0 ||
        info.size.width - 1 >= LONGEST_EDGE || info.size.height - 1 >= LONGEST_EDGE) {
        return;
    }
    m_format = info.format;
    m_bufferSize = QSize(int(info.size.width), int(info.size.height));
    StreamParameters wishes;
    wishes.askForBuffers();
    pw_stream_update_params(m_stream.get(), wishes.data(), wishes.count());
}

void PipeWireStream::onProcess()
{
    pw_buffer *newest = nullptr;
    FrameMemory newestMemory;
    while (pw_buffer *buffer = pw_stream_dequeue_buffer(m_stream.get())) {
        const std::optional<FrameMemory> memory = memoryOf(buffer);
        if (!memory) {
            pw_stream_queue_buffer(m_stream.get(), buffer);
            continue;
        }
        addDamageOf(buffer, layoutOf(buffer));
        if (newest != nullptr) {
            pw_stream_queue_buffer(m_stream.get(), newest);
        }
        newest = buffer;
        newestMemory = *memory;
    }
    if (newest != nullptr) {
        hold(newest, newestMemory);
    }
}

void PipeWireStream::onBufferRemoved(const pw_buffer *buffer)
{
    if (buffer == m_held) {
        drop(false);
    }
}

// A frame that carries only a pointer, or that the producer knows to be broken, is no picture.
std::optional<FrameMemory> PipeWireStream::memoryOf(const pw_buffer *buffer) const
{
    const auto *header = metaOf<spa_meta_header>(buffer, SPA_META_Header);
    if (m_format == 0 || buffer->buffer->n_datas == 0 ||
        (header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0)) {
        return std::nullopt;
    }
    const spa_data &data = buffer->buffer->datas[FIRST_DATA];
    const spa_chunk chunk = copyOf(data);
    if (data.data == nullptr || chunk.size == 0 || chunk.offset % PIXEL_BYTES != 0 ||
        (chunk.flags & SPA_CHUNK_FLAG_CORRUPTED) != 0) {
        return std::nullopt;
    }
    const int pixelBytes = m_bufferSize.width() * PIXEL_BYTES; // of a row
    const int rowBytes = chunk.stride > 0 ? chunk.stride : pixelBytes;
    const qint64 needed =
        qint64(rowBytes) * (m_bufferSize.height() - 1) + pixelBytes + chunk.offset;
    if (rowBytes % PIXEL_BYTES != 0 || rowBytes < pixelBytes || needed > qint64(data.maxsize)) {
        return std::nullopt;
    }
    return FrameMemory{static_cast<const quint8 *>(data.data) + chunk.offset, rowBytes};
}

FrameLayout PipeWireStream::layoutOf(const pw_buffer *buffer) const
{
    const auto *transform = metaOf<spa_meta_videotransform>(buffer, SPA_META_VideoTransform);
    const quint32 number = transform != nullptr ? transform->transform : 0;
    return {m_format, m_bufferSize,
            number <= quint32(FrameTransform::Mirror270) ? FrameTransform(number)
                                                         : FrameTransform::None};
}

// A frame that the daemon lost takes the knowledge of its damage along. Producers that do not count
// their frames leave the number as it is.
bool PipeWireStream::followsALostFrame(const pw_buffer *buffer)
{
    const auto *header = metaOf<spa_meta_header>(buffer, SPA_META_Header);
    if (header == nullptr) {
        return false;
    }
    const quint64 before = std::exchange(m_sequence, header->seq);
    return header->seq > before + 1;
}

void PipeWireStream::addDamageOf(const pw_buffer *buffer, const FrameLayout &layout)
{
    const QRect whole(QPoint(), layout.bufferSize);
    QVector<QRect> areas;
    const spa_meta *meta = spa_buffer_find_meta(buffer->buffer, SPA_META_VideoDamage);
    if (!followsALostFrame(buffer) && meta != nullptr) {
        const auto *area = static_cast<const spa_meta_region *>(spa_meta_first(meta));
        for (; spa_meta_check(area, meta) && spa_meta_region_is_valid(area); ++area) {
            areas.append(areaOf(area->region, layout.bufferSize));
        }
    }
    if (areas.isEmpty()) {
        areas = {whole}; // not told
    }
    for (const QRect &area : std::as_const(areas)) {
        if (!area.isEmpty()) {
            m_damage.append(layout.upright(area));
        }
    }
    if (m_damage.size() > MOST_AREAS) {
        QRect all;
        for (const QRect &area : std::as_const(m_damage)) {
            all = all.united(area);
        }
        m_damage = {all};
    }
}

void PipeWireStream::hold(pw_buffer *buffer, const FrameMemory &memory)
{
    const FrameLayout layout = layoutOf(buffer);
    const bool isNew = m_held == nullptr || !(layout == m_layout);
    if (m_held != nullptr) {
        pw_stream_queue_buffer(m_stream.get(), m_held);
    }
    m_held = buffer;
    m_layout = layout;
    m_memory = memory;
    if (isNew) {
        m_damage = {QRect(QPoint(), size())};
        QMetaObject::invokeMethod(this, &PipeWireStream::liveChanged, Qt::QueuedConnection);
    }
    if (!m_damageTold) {
        m_damageTold = true;
        QMetaObject::invokeMethod(this, &PipeWireStream::damaged, Qt::QueuedConnection);
    }
}

void PipeWireStream::drop(bool giveBack)
{
    if (m_held == nullptr) {
        return;
    }
    pw_buffer *buffer = std::exchange(m_held, nullptr);
    if (giveBack) {
        pw_stream_queue_buffer(m_stream.get(), buffer);
    }
    m_damage.clear();
    QMetaObject::invokeMethod(this, &PipeWireStream::liveChanged, Qt::QueuedConnection);
}

void PipeWireStream::end()
{
    if (!std::exchange(m_ended, true)) {
        QMetaObject::invokeMethod(this, &PipeWireStream::ended, Qt::QueuedConnection);
    }
}
