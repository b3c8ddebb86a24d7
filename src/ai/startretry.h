#pragma once
// How the sessions with the AI runtime pause after a failed start. Any thread.

#include <chrono>
#include <thread>

namespace StartRetry
{
constexpr std::chrono::seconds PAUSE{5};

/// Blocks the calling thread for PAUSE, however often a signal interrupts the sleep.
inline void pause()
{
    std::this_thread::sleep_for(PAUSE);
}
} // namespace StartRetry
