#pragma once
// How a search learns that it is to end. Thread: that of the search.

#include <QThread>

/// Whether the calling thread was asked to end its search.
inline bool isSearchInterrupted()
{
    return QThread::currentThread()->isInterruptionRequested();
}
