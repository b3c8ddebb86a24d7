#include "database/stoppablescan.h"

#include <utility>

#include <sqlite3.h>

namespace
{
// Some hundred rows: asking takes under a microsecond, so many rows about a tenth of a millisecond.
constexpr int INSTRUCTIONS_BETWEEN_QUESTIONS = 1000;

thread_local QThread *askedThread = nullptr; // null outside of every scan

int askThread(void *)
{
    return StoppableScan::isToStop() ? 1 : 0;
}
} // namespace

StoppableScan::StoppableScan(QThread *asked) : m_former(std::exchange(askedThread, asked)) {}

StoppableScan::~StoppableScan()
{
    askedThread = m_former;
}

// SQLite calls the handler on the thread whose statement it runs. So it can stay for the life of
// the connection, where one set for a scan alone would stop other threads' statements too.
void StoppableScan::install(sqlite3 *handle)
{
    sqlite3_progress_handler(handle, INSTRUCTIONS_BETWEEN_QUESTIONS, askThread, nullptr);
}

// Qt takes no such request for the main thread.
bool StoppableScan::isToStop()
{
    return askedThread && askedThread->isInterruptionRequested();
}
