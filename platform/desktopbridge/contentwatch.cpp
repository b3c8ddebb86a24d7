#include "desktopbridge/contentwatch.h"

#include <algorithm>

namespace
{
// More requests than this cost more than the pixels between the areas.
constexpr int MOST_AREAS = 24;

// A recorder lets some signals pass until its own interval has run out, and must not wait longer
// for the next one then: by default it takes a picture every five seconds.
constexpr int PROMPT_SIGNALS = 10;
constexpr int LONGEST_PAUSE = 30; // intervals, reached by doubling
constexpr int MOST_DOUBLINGS = 5;
} // namespace

ContentWatch::ContentWatch(ScreenBackend &backend, int interval)
    : m_backend(backend), m_interval(interval)
{
    m_tiles.clear(backend.virtualScreen(), backend.tileEdge());
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer); // a coarse one may come early
    connect(&m_timer, &QTimer::timeout, this, &ContentWatch::step);
    connect(&backend, &ScreenBackend::damaged, this, &ContentWatch::onDamaged);
    connect(&backend, &ScreenBackend::layoutChanged, this, &ContentWatch::onLayoutChanged);
}

bool ContentWatch::watch(double threshold)
{
    if (!m_threshold) {
        if (!m_backend.startWatching()) {
            return false;
        }
        // Nobody watched until now, so anything may have been drawn.
        m_pending = m_everything = true;
    }
    m_threshold = threshold;
    m_unanswered = 0;
    schedule();
    return true;
}

void ContentWatch::unwatch()
{
    if (m_threshold) {
        m_threshold.reset();
        m_backend.stopWatching();
        schedule();
    }
}

PicturePtr ContentWatch::takePicture(const QRect &area)
{
    m_unanswered = 0;
    // Taken off before the pixels are fetched: what is drawn in between is reported again.
    if (m_threshold) {
        m_backend.takeDamage();
        m_pending = false;
    }
    PicturePtr picture = m_backend.fetch(area);
    if (picture) {
        m_tiles.setReference(picture, m_backend.tileEdge());
        m_everything = false;
    } else {
        m_pending = m_everything = m_threshold.has_value();
    }
    schedule();
    return picture;
}

void ContentWatch::onDamaged()
{
    m_pending = true;
    m_unanswered = 0;
    schedule();
}

void ContentWatch::onLayoutChanged()
{
    m_tiles.clear(m_backend.virtualScreen(), m_backend.tileEdge());
    m_unanswered = 0;
    schedule();
}

void ContentWatch::step()
{
    m_sinceStep.start();
    if (m_pending) {
        compare();
    }
    if (aboveThreshold()) {
        ++m_unanswered;
        Q_EMIT changed(TileMap::changeRate(m_tiles.differing()));
    }
    schedule();
}

QVector<QRect> ContentWatch::takeAreasToCompare()
{
    const QVector<QRect> damage = m_backend.takeDamage();
    if (m_everything) {
        return {m_tiles.area()};
    }
    QVector<QRect> areas;
    QRect all;
    for (const QRect &drawn : damage) {
        const QRect tiles = m_tiles.wholeTiles(drawn);
        all = all.united(tiles);
        if (!tiles.isEmpty() && areas.size() <= MOST_AREAS && !areas.contains(tiles)) {
            areas.append(tiles);
        }
    }
    return areas.size() <= MOST_AREAS ? areas : QVector<QRect>{all};
}

void ContentWatch::compare()
{
    const QVector<QRect> areas = takeAreasToCompare();
    m_pending = m_everything = false;
    if (!m_tiles.hasReference()) {
        return;
    }
    for (const QRect &area : areas) {
        const PicturePtr now = m_backend.fetchForComparison(area);
        if (!now) {
            m_pending = m_everything = true;
            return;
        }
        m_tiles.update(*now);
    }
}

bool ContentWatch::aboveThreshold() const
{
    return m_threshold && m_tiles.differing() > 0 &&
           TileMap::changeRate(m_tiles.differing()) >= *m_threshold;
}

int ContentWatch::pause() const
{
    const int doublings = std::clamp(m_unanswered - PROMPT_SIGNALS, 0, MOST_DOUBLINGS);
    return m_interval * std::min(1 << doublings, LONGEST_PAUSE);
}

// A step that is due later than what has come to be known asks for is brought forward.
void ContentWatch::schedule()
{
    if (!m_threshold || !(m_pending || aboveThreshold())) {
        m_timer.stop();
        return;
    }
    const qint64 passed = m_sinceStep.isValid() ? m_sinceStep.elapsed() : pause();
    const int left = int(std::max<qint64>(0, pause() - passed));
    if (!m_timer.isActive() || m_timer.remainingTime() > left) {
        m_timer.start(left);
    }
}
