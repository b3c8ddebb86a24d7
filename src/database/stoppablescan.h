#pragma once
// Lets one thread's statement end early when that thread is asked to stop, on a connection that
// other threads use as well. Owner: the function that scans, on its stack. Thread: the one that
// made it, and only that one is affected.

#include <QThread>

struct sqlite3;

class StoppableScan
{
public:
    /// From now until its end, statements that this thread runs end with SQLITE_INTERRUPT soon
    /// after QThread::requestInterruption() was called for it, or for @p asked where it works for
    /// another thread, which must outlive this. The main thread, and a thread without a scan, run
    /// their statements to the end.
    explicit StoppableScan(QThread *asked = QThread::currentThread());
    ~StoppableScan();
    Q_DISABLE_COPY_MOVE(StoppableScan)

    /// Makes this connection ask, once and for all its threads.
    static void install(sqlite3 *handle);

    /// Whether the calling thread is in a scan that is to end.
    static bool isToStop();

private:
    QThread *m_former;
};
