#include "desktopbridge/wayland/waylandoutputs.h"

#include <algorithm>

namespace
{
constexpr quint32 OUTPUT_VERSION = 4; // with which outputs have names
constexpr quint32 XDG_VERSION = 3;    // since which changes end with wl_output.done
} // namespace

// One announced output: what is being told, and what was told up to the last "done".
class WaylandOutputs::Entry
{
public:
    Entry(WaylandOutputs &owner, quint32 global, wl_output *output);

    void askForLogicalPlace(zxdg_output_manager_v1 *manager);
    quint32 global() const { return m_output.global; }

    /// Everything but the screen, which depends on the others. Without a size nothing was told yet.
    const WaylandOutput &output() const { return m_output; }

private:
    static Entry &of(void *data) { return *static_cast<Entry *>(data); }
    void finishChange();

    static const wl_output_listener OUTPUT_LISTENER;
    static const zxdg_output_v1_listener XDG_LISTENER;

    WaylandOutputs &m_owner;
    WaylandPtr<wl_output> m_proxy;
    std::unique_ptr<zxdg_output_v1, XdgOutputDelete> m_xdgOutput;
    OutputTransform m_transform = OutputTransform::Normal;
    QSize m_mode;
    int m_scale = 1;
    QPoint m_position; // for compositors that do not tell the logical place
    QRect m_logical;
    WaylandOutput m_output;
};

const wl_output_listener WaylandOutputs::Entry::OUTPUT_LISTENER = {
    [](void *data, wl_output * /*output*/, int32_t x, int32_t y, int32_t /*width*/,
       int32_t /*height*/, int32_t /*subpixel*/, const char * /*make*/, const char * /*model*/,
       int32_t transform) {
        of(data).m_position = QPoint(x, y);
        of(data).m_transform = OutputTransform(transform);
    },
    [](void *data, wl_output * /*output*/, uint32_t flags, int32_t width, int32_t height,
       int32_t /*refresh*/) {
        if ((flags & WL_OUTPUT_MODE_CURRENT) != 0) {
            of(data).m_mode = QSize(width, height);
        }
    },
    [](void *data, wl_output * /*output*/) { of(data).finishChange(); },
    [](void *data, wl_output * /*output*/, int32_t factor) { of(data).m_scale = factor; },
    [](void *data, wl_output * /*output*/, const char *name) {
        of(data).m_output.name = QString::fromUtf8(name);
    },
    [](void * /*data*/, wl_output * /*output*/, const char * /*description*/) {}};

const zxdg_output_v1_listener WaylandOutputs::Entry::XDG_LISTENER = {
    [](void *data, zxdg_output_v1 * /*output*/, int32_t x, int32_t y) {
        of(data).m_logical.moveTopLeft(QPoint(x, y));
    },
    [](void *data, zxdg_output_v1 * /*output*/, int32_t width, int32_t height) {
        of(data).m_logical.setSize(QSize(width, height));
    },
    [](void *data, zxdg_output_v1 * /*output*/) { of(data).finishChange(); },
    [](void * /*data*/, zxdg_output_v1 * /*output*/, const char * /*name*/) {},
    [](void * /*data*/, zxdg_output_v1 * /*output*/, const char * /*description*/) {}};

WaylandOutputs::Entry::Entry(WaylandOutputs &owner, quint32 global, wl_output *output)
    : m_owner(owner), m_proxy(output)
{
    m_output.global = global;
    m_output.proxy = output;
    wl_output_add_listener(output, &OUTPUT_LISTENER, this);
}

void WaylandOutputs::Entry::askForLogicalPlace(zxdg_output_manager_v1 *manager)
{
    m_xdgOutput.reset(zxdg_output_manager_v1_get_xdg_output(manager, m_proxy.get()));
    zxdg_output_v1_add_listener(m_xdgOutput.get(), &XDG_LISTENER, this);
}

void WaylandOutputs::Entry::finishChange()
{
    OutputGeometry &geometry = m_output.geometry;
    m_output.transform = m_transform;
    geometry.devicePixels = transformedSize(m_mode, m_transform);
    geometry.logical = m_logical.isEmpty()
                           ? QRect(m_position, geometry.devicePixels / std::max(1, m_scale))
                           : m_logical;
    m_owner.updateLater();
}

WaylandOutputs::WaylandOutputs(std::shared_ptr<WaylandConnection> connection)
    : m_connection(std::move(connection))
    , m_xdgManager(m_connection->bindFirst<zxdg_output_manager_v1>(zxdg_output_manager_v1_interface,
                                                                   XDG_VERSION))
{
    const QVector<WaylandGlobal> globals = m_connection->globals();
    for (const WaylandGlobal &global : globals) {
        add(global);
    }
    m_connection->roundTrip();
    m_outputs = readyOutputs();
    connect(m_connection.get(), &WaylandConnection::globalAdded, this, &WaylandOutputs::add);
    connect(m_connection.get(), &WaylandConnection::globalRemoved, this, &WaylandOutputs::remove);
}

WaylandOutputs::~WaylandOutputs() = default;

QVector<QRect> WaylandOutputs::screens() const
{
    QVector<QRect> screens;
    for (const WaylandOutput &output : m_outputs) {
        screens.append(output.screen);
    }
    return screens;
}

QRect WaylandOutputs::virtualScreen() const
{
    return spannedBy(screens());
}

int WaylandOutputs::tileEdge() const
{
    return tileEdgeForScale(m_outputs.isEmpty() ? 1.0 : m_outputs.first().geometry.scale());
}

void WaylandOutputs::add(const WaylandGlobal &global)
{
    if (global.interface != wl_output_interface.name) {
        return;
    }
    auto *output = m_connection->bind<wl_output>(global, wl_output_interface, OUTPUT_VERSION);
    m_entries.push_back(std::make_unique<Entry>(*this, global.name, output));
    if (m_xdgManager) {
        m_entries.back()->askForLogicalPlace(m_xdgManager.get());
    }
    m_connection->flush();
}

// The proxy goes after changed() has been heard, for others may still hold requests on it.
void WaylandOutputs::remove(quint32 name)
{
    const auto gone = std::find_if(
        m_entries.begin(), m_entries.end(),
        [name](const std::unique_ptr<Entry> &entry) { return entry->global() == name; });
    if (gone == m_entries.end()) {
        return;
    }
    const std::unique_ptr<Entry> kept = std::move(*gone);
    m_entries.erase(gone);
    update();
}

// Outputs change together, as when one moves because another was turned.
void WaylandOutputs::updateLater()
{
    if (!m_updateComes) {
        m_updateComes = true;
        QMetaObject::invokeMethod(this, &WaylandOutputs::update, Qt::QueuedConnection);
    }
}

void WaylandOutputs::update()
{
    m_updateComes = false;
    const QVector<WaylandOutput> outputs = readyOutputs();
    if (!(outputs == m_outputs)) {
        m_outputs = outputs;
        Q_EMIT changed();
    }
}

QVector<WaylandOutput> WaylandOutputs::readyOutputs() const
{
    QVector<WaylandOutput> outputs;
    QVector<OutputGeometry> geometries;
    for (const std::unique_ptr<Entry> &entry : m_entries) {
        const WaylandOutput &output = entry->output();
        if (!output.geometry.devicePixels.isEmpty() && !output.geometry.logical.isEmpty()) {
            outputs.append(output);
            geometries.append(output.geometry);
        }
    }
    const QVector<QRect> screens = layOutOutputs(geometries);
    for (int index = 0; index < outputs.size(); ++index) {
        outputs[index].screen = screens.at(index);
    }
    return outputs;
}
