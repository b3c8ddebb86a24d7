#include "desktopbridge/lockstate.h"

#include <algorithm>

std::optional<bool> LockState::report(Source source, bool locked)
{
    m_sources[source] = locked;
    if (m_locked == locked) {
        return std::nullopt;
    }
    m_locked = locked;
    return locked;
}

std::optional<bool> LockState::left(Source source)
{
    return m_sources[source] ? report(source, false) : std::nullopt;
}

bool LockState::isKnown() const
{
    return m_locked || std::all_of(m_answered.begin(), m_answered.end(),
                                   [](bool answered) { return answered; });
}
