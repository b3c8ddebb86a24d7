#include "desktopbridge/pipewire/streamparameters.h"

#include "desktopbridge/pipewire/videoframe.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/format.h>
#include <spa/param/video/raw.h>
#include <spa/pod/builder.h>

namespace
{
// One is kept as the last picture, one may be on its way, and the producer wants one to draw into.
constexpr int BUFFERS = 4, FEWEST_BUFFERS = 2, MOST_BUFFERS = 8;

// Producers join areas into fewer when there are more.
constexpr int DAMAGE_AREAS = 16, MOST_DAMAGE_AREAS = 64;

void addFormats(spa_pod_builder &builder)
{
    spa_pod_frame choice;
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_format, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
    spa_pod_builder_id(&builder, readableFormats().constFirst()); // the preferred one, then all
    for (const quint32 format : readableFormats()) {
        spa_pod_builder_id(&builder, format);
    }
    spa_pod_builder_pop(&builder, &choice);
}

const spa_pod *pictureFormat(spa_pod_builder &builder, quint32 framesPerSecond)
{
    const spa_rectangle smallest = SPA_RECTANGLE(1, 1);
    const spa_rectangle usual = SPA_RECTANGLE(1920, 1080);
    const spa_rectangle largest = SPA_RECTANGLE(LONGEST_EDGE, LONGEST_EDGE);
    const spa_fraction variable = SPA_FRACTION(0, 1); // a frame whenever something was drawn
    const spa_fraction fastest = SPA_FRACTION(1000, 1);
    const spa_fraction slow = SPA_FRACTION(1, 1);
    const spa_fraction limit = SPA_FRACTION(framesPerSecond, 1);

    spa_pod_frame object;
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                        SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), 0);
    addFormats(builder);
    spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size,
                        SPA_POD_CHOICE_RANGE_Rectangle(&usual, &smallest, &largest),
                        SPA_FORMAT_VIDEO_framerate,
                        SPA_POD_CHOICE_RANGE_Fraction(&variable, &variable, &fastest), 0);
    if (framesPerSecond > 0) {
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_maxFramerate,
                            SPA_POD_CHOICE_RANGE_Fraction(&limit, &slow, &limit), 0);
    }
    return static_cast<const spa_pod *>(spa_pod_builder_pop(&builder, &object));
}

const spa_pod *buffers(spa_pod_builder &builder)
{
    constexpr int mappable = 1 << SPA_DATA_MemPtr | 1 << SPA_DATA_MemFd;
    return static_cast<const spa_pod *>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(BUFFERS, FEWEST_BUFFERS, MOST_BUFFERS), SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int(mappable)));
}

const spa_pod *meta(spa_pod_builder &builder, quint32 type, size_t size)
{
    return static_cast<const spa_pod *>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(type),
        SPA_PARAM_META_size, SPA_POD_Int(int(size))));
}

const spa_pod *damage(spa_pod_builder &builder)
{
    constexpr int area = sizeof(spa_meta_region);
    return static_cast<const spa_pod *>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
        SPA_POD_Id(SPA_META_VideoDamage), SPA_PARAM_META_size,
        SPA_POD_CHOICE_RANGE_Int(area * DAMAGE_AREAS, area, area * MOST_DAMAGE_AREAS)));
}
} // namespace

void StreamParameters::offerFormats(quint32 framesPerSecond)
{
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, m_memory.data(), quint32(m_memory.size()));
    m_pods = {pictureFormat(builder, framesPerSecond), pictureFormat(builder, 0)};
}

void StreamParameters::askForBuffers()
{
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, m_memory.data(), quint32(m_memory.size()));
    m_pods = {buffers(builder), meta(builder, SPA_META_Header, sizeof(spa_meta_header)),
              damage(builder),
              meta(builder, SPA_META_VideoTransform, sizeof(spa_meta_videotransform))};
}
