#include "support/fakeclock.h"

#include <atomic>
#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace
{
std::atomic<qint64> offsetSeconds{0};
std::atomic<qint64> frozenSeconds{0}; // 0: the clock runs

int realClock(clockid_t clock, timespec *time)
{
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

bool isWallClock(clockid_t clock)
{
    return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
}
} // namespace

extern "C" {
int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    const int result = realClock(clock, time);
    if (result == 0 && isWallClock(clock)) {
        const qint64 frozen = frozenSeconds.load(std::memory_order_relaxed);
        if (frozen != 0) {
            *time = {static_cast<time_t>(frozen), 0};
        } else {
            time->tv_sec += offsetSeconds.load(std::memory_order_relaxed);
        }
    }
    return result;
}

int gettimeofday(timeval *time, void *zone) noexcept
{
    Q_UNUSED(zone)
    timespec now{};
    const int result = clock_gettime(CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return result;
}

time_t time(time_t *out) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (out) {
        *out = now.tv_sec;
    }
    return now.tv_sec;
}
}

namespace FakeClock
{
void set(const QDateTime &moment)
{
    timespec now{};
    realClock(CLOCK_REALTIME, &now);
    frozenSeconds = 0;
    offsetSeconds = moment.toSecsSinceEpoch() - now.tv_sec;
}

void freeze(const QDateTime &moment)
{
    frozenSeconds = moment.toSecsSinceEpoch();
}

void advance(qint64 seconds)
{
    if (frozenSeconds != 0) {
        frozenSeconds += seconds;
    } else {
        offsetSeconds += seconds;
    }
}

void reset()
{
    offsetSeconds = 0;
    frozenSeconds = 0;
}
} // namespace FakeClock
