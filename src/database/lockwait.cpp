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
    if (result == SQLITE_ROW || result == SQLITE_DONE) { // a statement can be prepared all the same
        remember(false);
    }
    if ((result & PRIMARY_CODE) != SQLITE_BUSY) {
        return false;
    }
    if (StoppableScan::isToStop()) {
        return false;
    }
    if (isOver()) {
        remember(true);
        return false;
    }
    sqlite3_sleep(STEP_MS);
    return true;
}

bool LockWait::isOver()
{
    if (!m_clock.isValid()) {
        if (m_memory && *m_memory) {
            return true;
        }
        m_clock.start();
    }
    return m_clock.hasExpired(LONGEST_MS);
}

void LockWait::remember(bool wasInVain)
{
    if (m_memory && *m_memory != wasInVain) { // looked at for every row of a search
        *m_memory = wasInVain;
    }
}
