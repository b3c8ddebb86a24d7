#include "desktopbridge/kwin/kwinbackend.h"

#include <QDBusConnectionInterface>
#include <QDebug>

#include <cstring>
#include <functional>

namespace
{
constexpr int RETRY_MS = 1000;

// The first request makes KWin read all desktop files, which took half a second on a machine at
// rest.
constexpr int FIRST_PATIENCE_MS = 8000;

// Copies what an output shows in @p part, given in pixels of the virtual screen, to a place where
// rows are @p targetWidth pixels apart.
using CopyPart = std::function<bool(const WaylandOutput &output, const QRect &part, quint32 *target,
                                    int targetWidth)>;

// Between outputs of different scales there is nothing, which is black.
PicturePtr compose(const QVector<WaylandOutput> &outputs, const QRect &area, const CopyPart &copy)
{
    const size_t count = size_t(area.width()) * size_t(area.height());
    std::shared_ptr<quint32> pixels(new quint32[count](), std::default_delete<quint32[]>());
    for (const WaylandOutput &output : outputs) {
        const QRect part = output.screen.intersected(area);
        const QPoint place = part.topLeft() - area.topLeft();
        if (!part.isEmpty() &&
            !copy(output, part, pixels.get() + qptrdiff(place.y()) * area.width() + place.x(),
                  area.width())) {
            return nullptr;
        }
    }
    return std::make_shared<const Picture>(Picture{area, pixels});
}

// True if the session is one of KWin on Wayland, whether or not KWin answers. KWin on X11 has the
// name as well.
bool isStarting(const QDBusConnection &bus)
{
    return qEnvironmentVariableIsSet("WAYLAND_DISPLAY") &&
           bus.interface()->isServiceRegistered(QStringLiteral("org.kde.KWin")).value();
}

void copyRows(const Picture &source, const QRect &part, quint32 *target, int targetWidth)
{
    const QPoint place = part.topLeft() - source.area.topLeft();
    for (int y = 0; y < part.height(); ++y) {
        std::memcpy(target + qptrdiff(y) * targetWidth, source.row(place.y() + y) + place.x(),
                    size_t(part.width()) * sizeof(quint32));
    }
}
} // namespace

std::unique_ptr<KwinBackend> KwinBackend::connectToSession(QString &problem,
                                                           const QDBusConnection &bus)
{
    const auto connection = WaylandConnection::connectToDisplay(problem);
    if (!connection) {
        return isStarting(bus) ? std::make_unique<KwinBackend>(nullptr, bus) : nullptr;
    }
    std::unique_ptr<KwinSession> session = KwinSession::over(connection, problem);
    if (!session) {
        return nullptr;
    }
    problem = KwinScreenshots(bus, FIRST_PATIENCE_MS).captureOnePixel(QPoint());
    return problem.isEmpty() ? std::make_unique<KwinBackend>(std::move(session), bus) : nullptr;
}

KwinBackend::KwinBackend(std::unique_ptr<KwinSession> session, const QDBusConnection &bus,
                         int absence)
    : m_screenshots(bus), m_absence(absence)
{
    m_retry.setInterval(RETRY_MS);
    connect(&m_retry, &QTimer::timeout, this, &KwinBackend::tryAgain);
    if (session) {
        adopt(std::move(session));
    } else {
        waitForKwin(QStringLiteral("KWin does not answer"));
    }
}

KwinBackend::~KwinBackend() = default;

void KwinBackend::adopt(std::unique_ptr<KwinSession> session)
{
    m_session = std::move(session);
    m_problem.clear();
    // Queued: the objects that send these go with the session.
    connect(m_session->connection.get(), &WaylandConnection::lost, this, &KwinBackend::onGone,
            Qt::QueuedConnection);
    connect(&m_session->outputs, &WaylandOutputs::changed, this, &ScreenBackend::layoutChanged);
    connect(&m_session->screencast, &KwinScreencast::damaged, this, &ScreenBackend::damaged);
    connect(&m_session->screencast, &KwinScreencast::drawingNeeded, this,
            [this](const QPoint &place) { m_screenshots.captureOnePixel(place); });
    if (m_watching) {
        m_session->screencast.start();
    }
}

void KwinBackend::onGone()
{
    m_session.reset();
    waitForKwin(QStringLiteral("KWin is gone"));
    Q_EMIT layoutChanged();
}

void KwinBackend::waitForKwin(const QString &problem)
{
    m_problem = problem;
    qWarning("%s: waiting for it", qPrintable(problem));
    m_lostAfter.setRemainingTime(m_absence);
    m_retry.start();
}

void KwinBackend::tryAgain()
{
    QString problem;
    std::unique_ptr<KwinSession> session = KwinSession::open(problem);
    if (session) {
        problem = m_screenshots.captureOnePixel(QPoint());
    }
    if (problem.isEmpty()) {
        m_retry.stop();
        adopt(std::move(session));
        qInfo() << "KWin is back";
        Q_EMIT layoutChanged();
    } else if (m_lostAfter.hasExpired()) {
        m_retry.stop();
        Q_EMIT lost();
    }
}

QVector<QRect> KwinBackend::screens()
{
    return m_session ? m_session->outputs.screens() : QVector<QRect>();
}

QRect KwinBackend::virtualScreen()
{
    return m_session ? m_session->outputs.virtualScreen() : QRect();
}

int KwinBackend::tileEdge()
{
    return m_session ? m_session->outputs.tileEdge() : tileEdgeForScale(1.0);
}

bool KwinBackend::canShow(const QRect &area)
{
    return m_session && !area.isEmpty() && virtualScreen().contains(area);
}

PicturePtr KwinBackend::fetch(const QRect &area)
{
    if (!canShow(area)) {
        return nullptr;
    }
    const QVector<WaylandOutput> outputs = m_session->outputs.outputs();
    for (const WaylandOutput &output : outputs) {
        if (output.screen == area) {
            return m_screenshots.capture(output.name, area);
        }
    }
    // Whole outputs also for a small area: KWin counts in logical pixels, which are no whole number
    // of pixels at fractional scales.
    return compose(
        outputs, area,
        [this](const WaylandOutput &output, const QRect &part, quint32 *target, int targetWidth) {
            const PicturePtr whole = m_screenshots.capture(output.name, output.screen);
            if (whole) {
                copyRows(*whole, part, target, targetWidth);
            }
            return whole != nullptr;
        });
}

// A screenshot makes KWin draw the whole output once more, which its stream then reports: compared
// by screenshots a screen would never be still.
PicturePtr KwinBackend::fetchForComparison(const QRect &area)
{
    if (!canShow(area)) {
        return nullptr;
    }
    const KwinScreencast &screencast = m_session->screencast;
    const PicturePtr picture =
        compose(m_session->outputs.outputs(), area,
                [&screencast](const WaylandOutput &output, const QRect &part, quint32 *target,
                              int targetWidth) {
                    return screencast.copy(output.global, part.translated(-output.screen.topLeft()),
                                           target, targetWidth);
                });
    return picture ? picture : fetch(area);
}

bool KwinBackend::startWatching()
{
    if (!m_watching && m_session) {
        m_session->screencast.start();
    }
    m_watching = true;
    return true;
}

void KwinBackend::stopWatching()
{
    m_watching = false;
    if (m_session) {
        m_session->screencast.stop();
    }
}

QVector<QRect> KwinBackend::takeDamage()
{
    return m_session ? m_session->screencast.takeDamage() : QVector<QRect>();
}

std::optional<quint32> KwinBackend::activeWindowPid()
{
    return m_session ? std::optional<quint32>(m_session->windows.activeProcess()) : std::nullopt;
}

bool KwinBackend::hasStreams() const
{
    return m_session && m_session->screencast.isLive();
}
