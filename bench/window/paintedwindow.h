#pragma once
// The program's window in this process, with its real pages, models and store: where things stand
// on it, and how long it takes until what the user did is on the screen. Owner: a measurement, on
// its stack. Thread: main; frames may be drawn on another one.

#include "app/yestermarkbackend.h"
#include "models/videopreviewitem.h"

#include <QObject>
#include <QPoint>

#include <atomic>
#include <chrono>
#include <functional>
#include <vector>

class QQuickItem;
class QQuickView;

/// What steps took, a value a step, in milliseconds.
struct StepTimes {
    std::vector<double> wall; ///< from the event to the frame on the screen
    std::vector<double> cpu;  ///< of this process, all threads
};

double percentile95(std::vector<double> values);

/// Prints median and 95th percentile of the wall time with its goal, and the median CPU time.
void printSteps(const QString &name, const StepTimes &steps, double goal);

class PaintedWindow : public QObject
{
    Q_OBJECT

public:
    /// Starts the backend and waits until its window has been painted and has the focus; ends the
    /// program with a message if it has not within 20 s. Recording is off.
    PaintedWindow();
    ~PaintedWindow() override;
    Q_DISABLE_COPY(PaintedWindow)

    QQuickView *view() const { return m_view; }
    QObject *axis() const { return m_axis; }
    qreal axisNumber(const char *property) const { return m_axis->property(property).toReal(); }
    VideoPreviewItem *shown() const { return m_shown; }

    /// Counts every signal of these as a change that a frame has to show.
    void watchPictures();
    void watchScrolling();
    void watch(const QObject *sender, const char *signal);

    /// The first item of the page that has this property; ends the program where there is none.
    QQuickItem *itemWith(const char *property) const;

    /// Runs @p action, which must lead to a change that is watched, and waits until the frame that
    /// shows it, and all that followed from it within the same turn, is on the screen. Ends the
    /// program with a message after 10 s.
    void step(const std::function<void()> &action, StepTimes *times);

    /// The same until @p isDone, which is asked after each event.
    void stepUntil(const std::function<bool()> &isDone, const std::function<void()> &action,
                   StepTimes *times);

    /// Lets everything that is still to be done come to an end.
    void settle();

    /// A place on the bars, @p visibleX pixels behind the axis' left end.
    QPoint onAxis(qreal visibleX) const;

    /// Turns the wheel by one notch, above 0 to the past.
    void turnWheel(int direction);

    /// "OpenGL" or "software".
    QString renderer() const;

private Q_SLOTS:
    void noteChange();

private:
    void noteSynchronized();
    void noteSwapped();

    YestermarkBackend m_backend;
    QQuickView *m_view = nullptr;
    QObject *m_axis = nullptr;
    VideoPreviewItem *m_shown = nullptr;
    std::atomic<int> m_changes{0};
    std::atomic<int> m_drawnChanges{0};
    std::atomic<int> m_shownChanges{0};
};
