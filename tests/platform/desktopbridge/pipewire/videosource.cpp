#include "pipewire/videosource.h"

#include <QTest>

#include <array>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>

namespace
{
constexpr int PIXEL_BYTES = 4;
constexpr int ROW_SLACK = 64; // rows of real producers are longer than their pixels
constexpr int DAMAGE_AREAS = 16;

int strideOf(const QSize &size)
{
    return size.width() * PIXEL_BYTES + ROW_SLACK;
}

// Places of red, green and blue in a pixel's four bytes.
std::array<int, 3> bytesOf(quint32 format)
{
    switch (format) {
    case SPA_VIDEO_FORMAT_RGBx:
    case SPA_VIDEO_FORMAT_RGBA:
        return {0, 1, 2};
    case SPA_VIDEO_FORMAT_xRGB:
    case SPA_VIDEO_FORMAT_ARGB:
        return {1, 2, 3};
    case SPA_VIDEO_FORMAT_xBGR:
    case SPA_VIDEO_FORMAT_ABGR:
        return {3, 2, 1};
    default:
        return {2, 1, 0};
    }
}

void writePixels(const QImage &picture, quint32 format, quint8 *memory, int stride)
{
    const auto [red, green, blue] = bytesOf(format);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            quint8 *pixel = memory + qptrdiff(y) * stride + qptrdiff(x) * PIXEL_BYTES;
            const QRgb colour = picture.pixel(x, y);
            pixel[0] = pixel[1] = pixel[2] = pixel[3] = 0x5a; // what the unused byte may hold
            pixel[red] = quint8(qRed(colour));
            pixel[green] = quint8(qGreen(colour));
            pixel[blue] = quint8(qBlue(colour));
        }
    }
}

void writeDamage(const spa_buffer *buffer, const QVector<QRect> &damage)
{
    const spa_meta *meta = spa_buffer_find_meta(buffer, SPA_META_VideoDamage);
    if (meta == nullptr) {
        return;
    }
    auto *area = static_cast<spa_meta_region *>(spa_meta_first(meta));
    for (const QRect &drawn : damage) {
        if (!spa_meta_check(area, meta)) {
            return;
        }
        area->region =
            SPA_REGION(drawn.x(), drawn.y(), quint32(drawn.width()), quint32(drawn.height()));
        ++area;
    }
    if (spa_meta_check(area, meta)) {
        area->region = SPA_REGION(0, 0, 0, 0);
    }
}

const spa_pod *formatOffer(spa_pod_builder &builder, quint32 format, const QSize &size)
{
    const spa_rectangle extent = SPA_RECTANGLE(quint32(size.width()), quint32(size.height()));
    const spa_fraction variable = SPA_FRACTION(0, 1);
    const spa_fraction slowest = SPA_FRACTION(1, 1);
    const spa_fraction fastest = SPA_FRACTION(60, 1);
    return static_cast<const spa_pod *>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
        SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype,
        SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format, SPA_POD_Id(format),
        SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&extent), SPA_FORMAT_VIDEO_framerate,
        SPA_POD_Fraction(&variable), SPA_FORMAT_VIDEO_maxFramerate,
        SPA_POD_CHOICE_RANGE_Fraction(&fastest, &slowest, &fastest)));
}

const spa_pod *metaOffer(spa_pod_builder &builder, quint32 type, size_t size)
{
    return static_cast<const spa_pod *>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(type),
        SPA_PARAM_META_size, SPA_POD_Int(int(size))));
}
} // namespace

QImage pattern(const QSize &size, int seed)
{
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            picture.setPixel(x, y, QRgb(0xff000000 | ((x * 7919 + y * 104729 + seed) & 0xffffff)));
        }
    }
    return picture;
}

struct VideoSource::Events {
    static void state(void *self, pw_stream_state /*before*/, pw_stream_state now, const char *)
    {
        static_cast<VideoSource *>(self)->m_streaming = now == PW_STREAM_STATE_STREAMING;
    }
    static void parameter(void *self, uint32_t id, const spa_pod *parameter)
    {
        static_cast<VideoSource *>(self)->onParameter(id, parameter);
    }
    static const pw_stream_events &table()
    {
        static const pw_stream_events events = [] {
            pw_stream_events all{};
            all.version = PW_VERSION_STREAM_EVENTS;
            all.state_changed = &Events::state;
            all.param_changed = &Events::parameter;
            return all;
        }();
        return events;
    }
};

VideoSource::VideoSource(PipeWireRemote &remote, const QSize &size)
    : VideoSource(remote, size, SPA_VIDEO_FORMAT_BGRx)
{
}

VideoSource::VideoSource(PipeWireRemote &remote, const QSize &size, quint32 format)
    : m_stream(pw_stream_new(remote.core(), "test screen",
                             pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", nullptr)))
    , m_size(size)
    , m_format(format)
{
    pw_stream_add_listener(m_stream.get(), &m_listener, &Events::table(), this);
    std::array<quint8, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), quint32(memory.size()));
    const spa_pod *offer = formatOffer(builder, m_format, m_size);
    pw_stream_connect(m_stream.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY,
                      pw_stream_flags(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS), &offer,
                      1);
}

VideoSource::~VideoSource()
{
    spa_hook_remove(&m_listener);
}

quint32 VideoSource::node()
{
    const bool numbered = QTest::qWaitFor(
        [this] { return pw_stream_get_node_id(m_stream.get()) != SPA_ID_INVALID; }, 10000);
    return numbered ? pw_stream_get_node_id(m_stream.get()) : SPA_ID_INVALID;
}

void VideoSource::onParameter(uint32_t id, const spa_pod *parameter)
{
    spa_video_info_raw info{};
    if (id != SPA_PARAM_Format || parameter == nullptr ||
        spa_format_video_raw_parse(parameter, &info) < 0) {
        return;
    }
    m_agreedSize = QSize(int(info.size.width), int(info.size.height));
    m_mostFrames = info.max_framerate.denom != 0 ? info.max_framerate.num : 0;
    std::array<quint8, 2048> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), quint32(memory.size()));
    const int stride = strideOf(m_agreedSize);
    const std::array<const spa_pod *, 4> wishes{
        static_cast<const spa_pod *>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_CHOICE_RANGE_Int(4, 2, 8), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
            SPA_PARAM_BUFFERS_size, SPA_POD_Int(stride * m_agreedSize.height()),
            SPA_PARAM_BUFFERS_stride, SPA_POD_Int(stride), SPA_PARAM_BUFFERS_dataType,
            SPA_POD_CHOICE_FLAGS_Int(1 << SPA_DATA_MemFd | 1 << SPA_DATA_MemPtr))),
        metaOffer(builder, SPA_META_Header, sizeof(spa_meta_header)),
        metaOffer(builder, SPA_META_VideoDamage, sizeof(spa_meta_region) * DAMAGE_AREAS),
        metaOffer(builder, SPA_META_VideoTransform, sizeof(spa_meta_videotransform))};
    pw_stream_update_params(m_stream.get(), const_cast<const spa_pod **>(wishes.data()),
                            quint32(wishes.size()));
}

bool VideoSource::send(const QImage &picture, const Extras &extras)
{
    pw_buffer *buffer = m_streaming ? pw_stream_dequeue_buffer(m_stream.get()) : nullptr;
    if (buffer == nullptr) {
        return false;
    }
    spa_data &data = buffer->buffer->datas[0];
    const int stride = strideOf(m_agreedSize);
    writePixels(picture, m_format, static_cast<quint8 *>(data.data), stride);
    m_lastChunk = data.chunk;
    data.chunk->offset = 0;
    data.chunk->stride = stride;
    data.chunk->flags = 0;
    data.chunk->size = extras.isWithoutPixels ? 0 : quint32(stride * picture.height());
    writeDamage(buffer->buffer, extras.damage);
    if (auto *header = static_cast<spa_meta_header *>(
            spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header)))) {
        m_sequence += extras.isAfterALostOne ? 2 : 1;
        header->seq = m_sequence;
        header->flags = extras.isCorrupted ? SPA_META_HEADER_FLAG_CORRUPTED : 0;
    }
    if (auto *turn = static_cast<spa_meta_videotransform *>(spa_buffer_find_meta_data(
            buffer->buffer, SPA_META_VideoTransform, sizeof(spa_meta_videotransform)))) {
        turn->transform = extras.transform;
    }
    // A driver's buffer goes out at once, by another thread: positive numbers stand for that.
    return pw_stream_queue_buffer(m_stream.get(), buffer) >= 0;
}

void VideoSource::spoilLast()
{
    m_lastChunk->offset = 0x40000000;
    m_lastChunk->stride = 0x7ffffffc;
}

void VideoSource::resize(const QSize &size)
{
    m_size = size;
    std::array<quint8, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), quint32(memory.size()));
    const spa_pod *offer = formatOffer(builder, m_format, m_size);
    pw_stream_update_params(m_stream.get(), &offer, 1);
}

void VideoSource::setActive(bool active)
{
    pw_stream_set_active(m_stream.get(), active);
}
