#pragma once
// The wall clock of the test process, moved at will. The C library's clock functions are replaced
// in the test program, so Qt and the code under test see the moved time; timers, which run on the
// monotonic clock, are not touched. Any thread.

#include <QDateTime>

namespace FakeClock
{
/// From now on the wall clock shows @p moment and runs on from there.
void set(const QDateTime &moment);

/// From now on the wall clock shows @p moment and stands still, until it is moved or reset.
void freeze(const QDateTime &moment);

/// Moves the wall clock by @p seconds, backwards if negative.
void advance(qint64 seconds);

/// Back to the machine's own time.
void reset();
} // namespace FakeClock
