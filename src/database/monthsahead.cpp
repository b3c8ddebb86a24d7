#include "database/monthsahead.h"

#include "database/stoppablescan.h"

#include <QThread>

#include <pthread.h>

#include <system_error>
#include <utility>

MonthsAhead::MonthsAhead(int months, Scan scan) : m_scan(std::move(scan))
{
    if (months < 2 || QThread::idealThreadCount() < 2) {
        return;
    }
    m_months.resize(static_cast<std::size_t>(months));
    try {
        m_thread = std::thread(&MonthsAhead::scanBackwards, this, QThread::currentThread());
        pthread_setname_np(m_thread.native_handle(), "search months");
    } catch (const std::system_error &) {
        m_months.clear();
    }
}

MonthsAhead::~MonthsAhead()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

MonthsAhead::Rows MonthsAhead::take(int month)
{
    const auto place = static_cast<std::size_t>(month);
    if (place >= m_months.size() || begin(place)) {
        return m_scan(month);
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_done.wait(lock, [&] { return m_months[place].state == State::Done; });
    return std::move(m_months[place].rows);
}

bool MonthsAhead::begin(std::size_t month)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stop || m_months[month].state != State::Free) {
        return false;
    }
    m_months[month].state = State::Begun;
    return true;
}

void MonthsAhead::scanBackwards(QThread *asked)
{
    const StoppableScan stoppable(asked);
    for (std::size_t month = m_months.size(); month-- > 0 && begin(month);) {
        Rows rows = m_scan(static_cast<int>(month));
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_months[month].rows = std::move(rows);
            m_months[month].state = State::Done;
        }
        m_done.notify_all();
    }
}
