#include "support/stall.h"

#include "support/figure.h"

#include <algorithm>
#include <ctime>

namespace Bench
{
namespace
{
constexpr int TICK_MS = 5;

double threadCpuMs()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}
} // namespace

Stall::Stall()
{
    m_ticks.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_ticks, &QTimer::timeout, &m_ticks, [this] {
        m_longest = std::max(m_longest, static_cast<double>(m_clock.nsecsElapsed()) / 1e6);
        m_clock.restart();
        const double cpu = threadCpuMs();
        m_longestCpu = std::max(m_longestCpu, cpu - m_cpu);
        m_cpu = cpu;
    });
    m_cpu = threadCpuMs();
    m_clock.start();
    m_ticks.start(TICK_MS);
}

double Stall::longestMs() const
{
    return std::max(0.0, m_longest - TICK_MS);
}

void Stall::print(const QString &name, double goal) const
{
    Bench::print({name, longestMs(), QStringLiteral("ms"), goal, m_longestCpu,
                  QStringLiteral("its CPU time")});
}
} // namespace Bench
