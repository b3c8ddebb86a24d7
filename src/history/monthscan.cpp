#include "history/monthscan.h"

#include "database/stoppablescan.h"

#include <QThread>

#include <algorithm>

namespace
{
// A scan from memory waits for the memory; more threads than this add nothing.
constexpr int MOST_THREADS = 4;
} // namespace

MonthScan::MonthScan(QString folder, QStringList months, MonthRows::Wanted wanted)
    : m_folder(std::move(folder)), m_months(std::move(months)), m_wanted(std::move(wanted))
{
    const int threads =
        std::min({MOST_THREADS, std::max(1, QThread::idealThreadCount()), m_months.size()});
    for (int number = 0; number < threads; ++number) {
        m_threads.emplace_back(QThread::create([this] { work(); }));
    }
    for (const std::unique_ptr<QThread> &thread : m_threads) {
        thread->start();
    }
}

MonthScan::~MonthScan()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isToStop = true;
    }
    m_changed.notify_all();
    for (const std::unique_ptr<QThread> &thread : m_threads) {
        thread->requestInterruption();
    }
    for (const std::unique_ptr<QThread> &thread : m_threads) {
        thread->wait();
    }
    // A thread sanitizer does not see the toolkit's wait for a thread that has ended already.
    const std::lock_guard afterAll(m_mutex);
}

void MonthScan::work()
{
    const StoppableScan stoppable;
    std::unique_lock lock(m_mutex);
    while (true) {
        // No further ahead than there are threads: the rows of a year can be more than the memory.
        m_changed.wait(lock, [this] {
            return m_isToStop || m_begun == m_months.size() ||
                   m_begun < m_given + static_cast<int>(m_threads.size());
        });
        if (m_isToStop || m_begun == m_months.size()) {
            return;
        }
        const int place = m_begun++;
        lock.unlock();
        Month month = read(m_months.at(place));
        lock.lock();
        m_done.emplace(place, std::move(month));
        m_changed.notify_all();
    }
}

MonthScan::Month MonthScan::read(const QString &name) const
{
    Month month;
    month.name = name;
    MonthRows rows(m_folder, name);
    rows.forEach(m_wanted, [&month](const ScreenShotData &frame) { month.rows.append(frame); });
    month.state = rows.state();
    month.errorText = rows.errorText();
    return month;
}

std::optional<MonthScan::Month> MonthScan::next()
{
    std::unique_lock lock(m_mutex);
    if (m_given == m_months.size()) {
        return {};
    }
    m_changed.wait(lock, [this] { return m_done.count(m_given) > 0; });
    Month month = std::move(m_done.at(m_given));
    m_done.erase(m_given);
    ++m_given;
    m_changed.notify_all();
    return month;
}
