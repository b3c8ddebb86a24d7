#include "window/paintedwindow.h"

#include "support/figure.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMetaProperty>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <ctime>

namespace
{
constexpr int stepLimitMs = 10000;
constexpr int startLimitMs = 20000;
constexpr int wheelNotch = 120;

double processCpuMs()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return time.tv_sec * 1e3 + time.tv_nsec / 1e6;
}

QQuickView *mainView()
{
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (auto *view = qobject_cast<QQuickView *>(window)) {
            return view;
        }
    }
    return nullptr;
}

QQuickItem *itemBelow(QQuickItem *item, const char *property)
{
    if (item->property(property).isValid()) {
        return item;
    }
    for (QQuickItem *child : item->childItems()) {
        if (QQuickItem *found = itemBelow(child, property)) {
            return found;
        }
    }
    return nullptr;
}

// The server answers after it has carried out all that was asked for before.
void waitForServer(const QWindow *window)
{
    window->screen()->grabWindow(0, 0, 0, 1, 1);
}
} // namespace

double percentile95(std::vector<double> values)
{
    const auto place =
        static_cast<std::ptrdiff_t>(std::ceil(static_cast<double>(values.size()) * 0.95)) - 1;
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values.at(static_cast<std::size_t>(place));
}

void printSteps(const QString &name, const StepTimes &steps, double goal)
{
    const QString unit = QStringLiteral("ms");
    Bench::print({name + QStringLiteral(", p95"), percentile95(steps.wall), unit, goal,
                  percentile95(steps.cpu), QStringLiteral("CPU time")});
    Bench::print({name + QStringLiteral(", median"), Bench::median(steps.wall), unit, 0.0,
                  Bench::median(steps.cpu), QStringLiteral("CPU time")});
    Bench::print({name + QStringLiteral(", worst of %1").arg(steps.wall.size()),
                  *std::max_element(steps.wall.begin(), steps.wall.end()), unit, 0.0,
                  *std::max_element(steps.cpu.begin(), steps.cpu.end()),
                  QStringLiteral("CPU time")});
}

PaintedWindow::PaintedWindow() : m_view(mainView())
{
    if (!m_view || m_view->status() != QQuickView::Ready) {
        qFatal("the pages cannot be shown");
    }
    m_axis = itemBelow(m_view->rootObject(), "clickImageFlickableContentX");
    m_shown =
        qobject_cast<VideoPreviewItem *>(m_view->rootContext()
                                             ->contextProperty(QStringLiteral("VideoPreviewItem"))
                                             .value<QObject *>());
    if (!m_axis || !m_shown) {
        qFatal("the pages have no axis");
    }
    // Direct: a frame may be drawn on a thread of its own, while the main one stands still.
    connect(m_view, &QQuickWindow::afterSynchronizing, this, &PaintedWindow::noteSynchronized,
            Qt::DirectConnection);
    connect(m_view, &QQuickWindow::frameSwapped, this, &PaintedWindow::noteSwapped,
            Qt::DirectConnection);
    if (!QTest::qWaitForWindowActive(m_view, startLimitMs)) {
        qFatal("the window did not come to the front");
    }
    settle();
}

PaintedWindow::~PaintedWindow()
{
    m_view->disconnect(this);
}

void PaintedWindow::watchPictures()
{
    connect(m_shown, &VideoPreviewItem::videoPreviewImageSourceChanged, this,
            &PaintedWindow::noteChange, Qt::UniqueConnection);
    connect(m_shown, &VideoPreviewItem::curShowImageSourceChanged, this, &PaintedWindow::noteChange,
            Qt::UniqueConnection);
}

void PaintedWindow::watchScrolling()
{
    const QMetaObject *type = m_axis->metaObject();
    const QMetaProperty position = type->property(type->indexOfProperty("contentX"));
    connect(m_axis, position.notifySignal(), this,
            metaObject()->method(metaObject()->indexOfSlot("noteChange()")), Qt::UniqueConnection);
}

void PaintedWindow::watch(const QObject *sender, const char *signal)
{
    const QMetaObject *type = sender->metaObject();
    connect(sender, type->method(type->indexOfSignal(QMetaObject::normalizedSignature(signal))),
            this, metaObject()->method(metaObject()->indexOfSlot("noteChange()")),
            Qt::UniqueConnection);
}

QQuickItem *PaintedWindow::itemWith(const char *property) const
{
    QQuickItem *found = itemBelow(m_view->rootObject(), property);
    if (!found) {
        qFatal("the pages have nothing with the property %s", property);
    }
    return found;
}

void PaintedWindow::noteChange()
{
    ++m_changes;
}

void PaintedWindow::noteSynchronized()
{
    m_drawnChanges = m_changes.load();
}

void PaintedWindow::noteSwapped()
{
    m_shownChanges = m_drawnChanges.load();
    QAbstractEventDispatcher::instance(thread())->wakeUp();
}

void PaintedWindow::step(const std::function<void()> &action, StepTimes *times)
{
    stepUntil([this, before = m_changes.load()] { return m_changes != before; }, action, times);
}

void PaintedWindow::stepUntil(const std::function<bool()> &isDone,
                              const std::function<void()> &action, StepTimes *times)
{
    const double cpuBefore = processCpuMs();
    QTimer limit;
    limit.setSingleShot(true);
    limit.start(stepLimitMs);
    QElapsedTimer clock;
    clock.start();
    action();
    // What is shown must be all that changed by then: a change may come with an event of its own.
    while (!isDone() || m_shownChanges != m_changes) {
        if (!limit.isActive()) {
            qFatal("nothing was painted");
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    waitForServer(m_view);
    times->wall.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    times->cpu.push_back(processCpuMs() - cpuBefore);
}

void PaintedWindow::settle()
{
    QTest::qWait(300);
}

QPoint PaintedWindow::onAxis(qreal visibleX) const
{
    const qreal y = axisNumber("barTop") + axisNumber("timeAxisHeight") / 2;
    return qobject_cast<QQuickItem *>(m_axis)
        ->mapToScene(QPointF(axisNumber("listViewLeftMargin") + visibleX, y))
        .toPoint();
}

void PaintedWindow::turnWheel(int direction)
{
    const QPointF place = onAxis(axisNumber("listViewWidth") / 2);
    QWheelEvent event(place, m_view->mapToGlobal(place.toPoint()), QPoint(),
                      QPoint(0, direction * wheelNotch), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(m_view, &event);
}

QString PaintedWindow::renderer() const
{
    return m_view->rendererInterface()->graphicsApi() == QSGRendererInterface::Software
               ? QStringLiteral("software")
               : QStringLiteral("OpenGL");
}
