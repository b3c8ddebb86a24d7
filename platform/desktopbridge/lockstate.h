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

    /// The source has told all that it can tell without an event: a lock of which it knows was
    /// reported before.
    void answered(Source source) { m_answered[source] = true; }

    /// Whether an unlocked state is more than the lack of an answer.
    bool isKnown() const;

    bool isLocked() const { return m_locked; }

private:
    std::array<bool, SourceCount> m_sources{};
    std::array<bool, SourceCount> m_answered{};
    bool m_locked = false;
};
