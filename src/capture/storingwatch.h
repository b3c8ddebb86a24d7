#pragma once
// Notices that recording is on and pictures come, yet none has become a stored frame for a long
// time, and says why on the log: once, not for every picture. Owner: the tracker, by value.
// Thread: main.

#include <QtGlobal>

class StoringWatch
{
public:
    enum class Loss {
        NoPicture,     ///< the screen gave none
        NoApplication, ///< no desktop entry for the application in front
        NotWritten,    ///< the safety copy or the row could not be written
    };

    /// Ten minutes: a window without an entry may well be in front for some.
    static constexpr qint64 PATIENCE_MS = qint64{10} * 60 * 1000;

    /// Without a loss for longer nothing was to be stored, as on a locked screen: a new span
    /// begins.
    static constexpr qint64 PAUSE_MS = qint64{5} * 60 * 1000;

    /// A frame that should have been kept was lost. @p nowMs on a clock that only goes forward.
    void lost(Loss loss, qint64 nowMs);

    /// A frame was stored: what was lost before it is forgotten.
    void stored();

    /// Recording was switched on or off: a new span begins.
    void reset();

private:
    qint64 m_firstLossMs = -1; ///< -1: nothing lost since the last stored frame
    qint64 m_lastLossMs = -1;
    bool m_isTold = false;
};
