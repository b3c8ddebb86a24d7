#include "desktopbridge/x11/x11layout.h"

#include <QList>
#include <QtMath>

#include <xcb/randr.h>

#include <algorithm>

namespace
{
constexpr uint32_t MOST_RESOURCE_WORDS = 64 * 1024 / 4;
constexpr double UNSCALED_DPI = 96.0;

// Newer ones tell what they are and name their outputs like any other server.
bool hasXwaylandExtension(const XcbConnection &connection)
{
    const char name[] = "XWAYLAND";
    const auto reply = xcbReply(connection, xcb_query_extension_reply,
                                xcb_query_extension(connection.get(), sizeof(name) - 1, name));
    return reply && reply->present != 0;
}

QRect rootArea(const XcbConnection &connection, xcb_window_t root)
{
    const auto geometry =
        xcbReply(connection, xcb_get_geometry_reply, xcb_get_geometry(connection.get(), root));
    return geometry ? QRect(0, 0, geometry->width, geometry->height) : QRect();
}

X11Output readOutput(const XcbConnection &connection, xcb_randr_output_t output,
                     xcb_timestamp_t time)
{
    X11Output result;
    const auto info = xcbReply(connection, xcb_randr_get_output_info_reply,
                               xcb_randr_get_output_info(connection.get(), output, time));
    if (!info) {
        return result;
    }
    result.name =
        QByteArray(reinterpret_cast<const char *>(xcb_randr_get_output_info_name(info.get())),
                   xcb_randr_get_output_info_name_length(info.get()));
    if (info->connection != XCB_RANDR_CONNECTION_CONNECTED || info->crtc == XCB_NONE) {
        return result;
    }
    const auto crtc = xcbReply(connection, xcb_randr_get_crtc_info_reply,
                               xcb_randr_get_crtc_info(connection.get(), info->crtc, time));
    if (crtc) {
        result.isOn = true;
        result.area = QRect(crtc->x, crtc->y, crtc->width, crtc->height);
    }
    return result;
}

QVector<X11Output> readOutputs(const XcbConnection &connection, xcb_window_t root)
{
    QVector<X11Output> outputs;
    const auto resources = xcbReply(connection, xcb_randr_get_screen_resources_current_reply,
                                    xcb_randr_get_screen_resources_current(connection.get(), root));
    const auto primary = xcbReply(connection, xcb_randr_get_output_primary_reply,
                                  xcb_randr_get_output_primary(connection.get(), root));
    if (!resources) {
        return outputs;
    }
    const auto *ids = xcb_randr_get_screen_resources_current_outputs(resources.get());
    for (int index = 0; index < resources->num_outputs; ++index) {
        X11Output output = readOutput(connection, ids[index], resources->config_timestamp);
        output.isPrimary = primary && primary->output == ids[index];
        outputs.append(output);
    }
    return outputs;
}
} // namespace

QVector<QRect> orderScreens(const QVector<X11Output> &outputs, const QRect &virtualScreen)
{
    QVector<QRect> screens;
    for (const X11Output &output : outputs) {
        const QRect area = output.area.intersected(virtualScreen);
        if (!output.isOn || area.isEmpty()) {
            continue;
        }
        if (output.isPrimary) {
            screens.prepend(area);
        } else {
            screens.append(area);
        }
    }
    if (screens.isEmpty() && !virtualScreen.isEmpty()) {
        screens.append(virtualScreen);
    }
    return screens;
}

bool looksLikeXwayland(const QVector<X11Output> &outputs)
{
    return std::any_of(outputs.begin(), outputs.end(),
                       [](const X11Output &output) { return output.name.startsWith("XWAYLAND"); });
}

int scaleFromResources(const QByteArray &resources)
{
    const QByteArray key("Xft.dpi:");
    const QList<QByteArray> lines = resources.split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(key)) {
            const double dpi = line.mid(key.size()).trimmed().toDouble();
            return std::clamp(qRound(dpi / UNSCALED_DPI), 1, 8);
        }
    }
    return 1;
}

X11Layout readX11Layout(const XcbConnection &connection, xcb_window_t root, bool hasRandr)
{
    X11Layout layout;
    layout.virtualScreen = rootArea(connection, root);
    QVector<X11Output> outputs;
    if (hasRandr) {
        outputs = readOutputs(connection, root);
    }
    layout.screens = orderScreens(outputs, layout.virtualScreen);
    layout.isXwayland = hasXwaylandExtension(connection) || looksLikeXwayland(outputs);
    return layout;
}

int readX11Scale(const XcbConnection &connection, xcb_window_t root)
{
    const auto property =
        xcbReply(connection, xcb_get_property_reply,
                 xcb_get_property(connection.get(), 0, root, XCB_ATOM_RESOURCE_MANAGER,
                                  XCB_ATOM_STRING, 0, MOST_RESOURCE_WORDS));
    if (!property) {
        return 1;
    }
    return scaleFromResources(
        QByteArray(static_cast<const char *>(xcb_get_property_value(property.get())),
                   xcb_get_property_value_length(property.get())));
}
