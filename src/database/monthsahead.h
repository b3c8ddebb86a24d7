#pragma once
// The month files of one search, scanned by two threads: the search's own takes them one after the
// other from the first, while another one works from the last towards it. So everything comes in
// the order in which it would come from one thread.
// Owner: the search, on its stack. Thread: the one that made it; the scan runs on both.

#include "database/screenshotdata.h"

#include <QByteArray>
#include <QVector>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

class QThread;

class MonthsAhead
{
public:
    struct Rows {
        QVector<ScreenShotData> found;
        QByteArray failure; ///< why the statement could not be prepared; empty if it could
        int result = 0;     ///< SQLite's code that ended the rows
    };
    using Scan = std::function<Rows(int month)>;

    /// With fewer than two months, or where no thread can be had, take() alone scans. The other
    /// thread's scan ends early when the calling one is asked to stop, where that is in a
    /// StoppableScan.
    MonthsAhead(int months, Scan scan);

    /// Waits for the month that the other thread is scanning.
    ~MonthsAhead();
    Q_DISABLE_COPY_MOVE(MonthsAhead)

    /// The rows of a month, counted from 0; each may be taken once. Scans it if the other thread
    /// has not begun to, else waits for that.
    Rows take(int month);

private:
    enum class State { Free, Begun, Done };
    struct Month {
        State state = State::Free;
        Rows rows;
    };

    void scanBackwards(QThread *asked);
    bool begin(std::size_t month);

    const Scan m_scan;
    std::mutex m_mutex; ///< over the months and m_stop
    std::condition_variable m_done;
    std::vector<Month> m_months;
    bool m_stop = false;
    std::thread m_thread;
};
