#pragma once
// The C library's sleeps of a second and more, replaced in the test program: written down, and not
// slept. Shorter ones are slept as ever. Any thread.

#include <chrono>
#include <thread>
#include <vector>

namespace FakeSleep
{
struct Sleep {
    std::chrono::milliseconds asked{0};
    std::thread::id thread;
};

/// Forgets what was slept; interrupts and holds nothing any more.
void reset();

/// A signal interrupts the next @p times sleeps, each with half of its time still to go.
void interruptNext(int times);

/// Sleeps do not end until they are released.
void hold();
void release();

/// Every sleep so far, in order; one that was resumed stands here once for each time it was asked.
std::vector<Sleep> sleeps();
} // namespace FakeSleep
