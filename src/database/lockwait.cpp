#include "database/lockwait.h"

#include "database/stoppablescan.h"

#include <sqlite3.h>

namespace
{
constexpr int STEP_MS = 5;
constexpr int PRIMARY_CODE = 0xff; // above it lie the details of extended codes
} // namespace

bool LockWait::isToGoOn(int result)
{
    if ((result & PRIMARY_CODE) != SQLITE_BUSY || StoppableScan::isToStop()) {
        return false;
    }
    if (!m_clock.isValid()) {
        m_clock.start();
    }
    if (m_clock.hasExpired(LONGEST_MS)) {
        return false;
    }
    sqlite3_sleep(STEP_MS);
    return true;
}
