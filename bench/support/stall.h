#pragma once
// How long the main thread does not answer. Owner: a measurement, on its stack, on the main thread.

#include <QElapsedTimer>
#include <QString>
#include <QTimer>

namespace Bench
{
/// The longest time for which the thread that made it has not come to its events, while this lives.
class Stall
{
public:
    Stall();
    Q_DISABLE_COPY_MOVE(Stall)

    double longestMs() const;

    /// The most CPU time that it took meanwhile, which other programs do not stretch.
    double longestCpuMs() const { return m_longestCpu; }

    /// Both; the goal is for the time on the clock.
    void print(const QString &name, double goal) const;

private:
    QTimer m_ticks;
    QElapsedTimer m_clock;
    double m_longest = 0.0;
    double m_cpu = 0.0; ///< of the thread so far
    double m_longestCpu = 0.0;
};
} // namespace Bench
