#include "desktopbridge/portal/castpicture.h"

#include "desktopbridge/wayland/outputlayout.h"

#include <algorithm>
#include <tuple>
#include <utility>

struct CastPicture::Monitor {
    Monitor(PipeWireRemote &remote, const CastStream &facts)
        : logical(facts.logical), stream(remote, facts.node)
    {
    }

    QRect logical;
    PipeWireStream stream;
    QRect screen; // in device pixels; empty while not live
};

namespace
{
constexpr quint32 BLACK = 0;
}

std::unique_ptr<CastPicture> CastPicture::read(FileDescriptor connection,
                                               const QVector<CastStream> &streams, QString &problem)
{
    auto remote = PipeWireRemote::connectTo(std::move(connection), problem);
    if (!remote) {
        return nullptr;
    }
    std::unique_ptr<CastPicture> picture(new CastPicture(std::move(remote)));
    for (const CastStream &stream : streams) {
        picture->add(stream);
    }
    return picture;
}

CastPicture::CastPicture(std::unique_ptr<PipeWireRemote> remote) : m_remote(std::move(remote))
{
    connect(m_remote.get(), &PipeWireRemote::lost, this, &CastPicture::ended);
}

CastPicture::~CastPicture() = default;

void CastPicture::add(const CastStream &facts)
{
    m_monitors.push_back(std::make_unique<Monitor>(*m_remote, facts));
    PipeWireStream &stream = m_monitors.back()->stream;
    connect(&stream, &PipeWireStream::liveChanged, this, &CastPicture::layOut);
    connect(&stream, &PipeWireStream::ended, this, &CastPicture::onStreamEnded);
    connect(&stream, &PipeWireStream::damaged, this, [this] {
        if (isLive() && !std::exchange(m_damageTold, true)) {
            Q_EMIT damaged();
        }
    });
}

void CastPicture::setOrder(const QVector<QRect> &logicalPlaces)
{
    m_order = logicalPlaces;
    layOut();
}

void CastPicture::onStreamEnded()
{
    const auto firstGone = std::remove_if(m_monitors.begin(), m_monitors.end(),
                                          [](const auto &one) { return one->stream.hasEnded(); });
    const bool anyGone = firstGone != m_monitors.end();
    m_monitors.erase(firstGone, m_monitors.end());
    if (!anyGone) {
        return;
    }
    layOut();
    if (m_monitors.empty()) {
        Q_EMIT ended();
    }
}

// The compositor's own order first; a place that it does not name sorts behind, then by place.
void CastPicture::arrange(QVector<const Monitor *> &monitors) const
{
    const auto rank = [this](const Monitor &monitor) {
        const int index = m_order.indexOf(monitor.logical);
        return std::make_tuple(index < 0 ? m_order.size() : index, monitor.logical.top(),
                               monitor.logical.left());
    };
    std::stable_sort(monitors.begin(), monitors.end(),
                     [&rank](const Monitor *a, const Monitor *b) { return rank(*a) < rank(*b); });
}

QVector<QRect> CastPicture::place()
{
    QVector<OutputGeometry> geometries;
    int right = 0; // without places they stand side by side
    for (const auto &monitor : m_monitors) {
        const QSize pixels = monitor->stream.size();
        geometries.append(
            {monitor->logical.isEmpty() ? QRect(QPoint(right, 0), pixels) : monitor->logical,
             pixels});
        right += geometries.constLast().logical.width();
    }
    const QVector<QRect> places = layOutOutputs(geometries);
    QVector<const Monitor *> ordered;
    for (size_t index = 0; index < m_monitors.size(); ++index) {
        m_monitors[index]->screen = places.at(int(index));
        ordered.append(m_monitors[index].get());
    }
    arrange(ordered);
    QVector<QRect> screens;
    for (const Monitor *monitor : std::as_const(ordered)) {
        screens.append(monitor->screen);
    }
    const OutputGeometry primary{ordered.constFirst()->logical, screens.constFirst().size()};
    m_tileEdge = tileEdgeForScale(primary.scale());
    return screens;
}

void CastPicture::layOut()
{
    const bool complete =
        !m_monitors.empty() && std::all_of(m_monitors.cbegin(), m_monitors.cend(),
                                           [](const auto &one) { return one->stream.isLive(); });
    QVector<QRect> screens;
    if (complete) {
        screens = place();
    }
    if (screens != m_screens) {
        m_screens = screens;
        m_damageTold = false;
        Q_EMIT layoutChanged();
    }
}

PicturePtr CastPicture::fetch(const QRect &area) const
{
    const bool allLive = std::all_of(m_monitors.cbegin(), m_monitors.cend(), [](const auto &one) {
        return one->stream.isLive() && one->stream.size() == one->screen.size();
    });
    if (!isLive() || !allLive || area.isEmpty() || !spannedBy(m_screens).contains(area)) {
        return nullptr;
    }
    const size_t count = size_t(area.width()) * size_t(area.height());
    const std::shared_ptr<quint32> pixels(new quint32[count], std::default_delete<quint32[]>());
    const bool inOne = std::any_of(m_screens.cbegin(), m_screens.cend(),
                                   [&area](const QRect &one) { return one.contains(area); });
    if (!inOne) {
        std::fill_n(pixels.get(), count, BLACK);
    }
    for (const auto &monitor : m_monitors) {
        const QRect part = monitor->screen.intersected(area);
        if (!part.isEmpty()) {
            const QPoint offset = part.topLeft() - area.topLeft();
            monitor->stream.copy(part.translated(-monitor->screen.topLeft()),
                                 pixels.get() + qptrdiff(offset.y()) * area.width() + offset.x(),
                                 area.width());
        }
    }
    return std::make_shared<Picture>(Picture{area, pixels});
}

QVector<QRect> CastPicture::takeDamage()
{
    m_damageTold = false;
    QVector<QRect> areas;
    for (const auto &monitor : m_monitors) {
        for (const QRect &area : monitor->stream.takeDamage()) {
            areas.append(area.translated(monitor->screen.topLeft()));
        }
    }
    return areas;
}
