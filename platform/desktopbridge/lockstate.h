#pragma once
// One lock out of several that tell of it. Plain value, any one thread.

#include <array>
#include <optional>

class LockState
{
public:
    enum Source { Freedesktop, Gnome, Logind, SourceCount };

    /// The latest event wins, from whichever source. Gives the new state if that changed the lock.
    std::optional<bool> report(Source source, bool locked);

    /// A source that had reported a lock and left counts as unlocked.
    std::optional<bool> left(Source source);

    bool isLocked() const { return m_locked; }

private:
    std::array<bool, SourceCount> m_sources{};
    bool m_locked = false;
};
