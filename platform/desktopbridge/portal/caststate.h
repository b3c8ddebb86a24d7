#pragma once
// What has become of a screen cast. Plain value, any thread.

#include <QString>

enum class CastState {
    Unasked,     ///< nothing is watched
    Asked,       ///< the portal, or by it the user, has not answered
    Expected,    ///< allowed, but there was no picture yet
    Live,        ///< the only one in which there are pictures
    Unsettled,   ///< the pictures stopped; why is seen in a moment
    Paused,      ///< by the compositor, which may go on
    Interrupted, ///< is taken up again in a while
    Locked,      ///< is taken up again when the session is unlocked
    Refused,     ///< this one and those below need the user, or a portal
    Revoked,
    NeedsUser,
    Absent,
    Broken
};

inline bool isFinal(CastState state)
{
    return state >= CastState::Refused;
}

/// Why there are no pictures, in words for a log or an error reply; empty for Live.
QString problemOf(CastState state);
