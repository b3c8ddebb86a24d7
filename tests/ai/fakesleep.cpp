#include "fakesleep.h"

#include <cerrno>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
std::mutex mutex;
std::condition_variable released;
std::vector<FakeSleep::Sleep> slept;
int interruptions = 0;
bool holding = false;

std::chrono::milliseconds durationOf(const timespec &time)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

timespec half(const timespec &time)
{
    const auto nanoseconds =
        (std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec)) / 2;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(nanoseconds);
    return {seconds.count(), (nanoseconds - seconds).count()};
}

// 0, or EINTR.
int sleepFor(const timespec &asked, timespec *remaining)
{
    std::unique_lock<std::mutex> lock(mutex);
    slept.push_back({durationOf(asked), std::this_thread::get_id()});
    if (interruptions > 0) {
        --interruptions;
        if (remaining) {
            *remaining = half(asked);
        }
        return EINTR;
    }
    released.wait(lock, [] { return !holding; });
    return 0;
}
} // namespace

extern "C" {
int clock_nanosleep(clockid_t clock, int flags, const timespec *asked, timespec *remaining)
{
    if (flags == 0 && asked->tv_sec >= 1) {
        return sleepFor(*asked, remaining);
    }
    return syscall(SYS_clock_nanosleep, clock, flags, asked, remaining) == 0 ? 0 : errno;
}

int nanosleep(const timespec *asked, timespec *remaining)
{
    const int result = clock_nanosleep(CLOCK_MONOTONIC, 0, asked, remaining);
    if (result != 0) {
        errno = result;
        return -1;
    }
    return 0;
}
}

namespace FakeSleep
{
void reset()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        slept.clear();
        interruptions = 0;
        holding = false;
    }
    released.notify_all();
}

void interruptNext(int times)
{
    const std::lock_guard<std::mutex> lock(mutex);
    interruptions = times;
}

void hold()
{
    const std::lock_guard<std::mutex> lock(mutex);
    holding = true;
}

void release()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        holding = false;
    }
    released.notify_all();
}

std::vector<Sleep> sleeps()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return slept;
}
} // namespace FakeSleep
