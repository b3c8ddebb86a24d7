#include "cli/history.h"

#include "cli/console.h"
#include "cli/exitstatus.h"
#include "database/daytext.h"

#include <QFileInfo>

History::History(Console &console)
    : m_console(console), m_place(StorePlace::find()), m_status(ExitStatus::Done)
{
}

bool History::isThere()
{
    if (m_place.exists()) {
        if (QFileInfo(m_place.databases).isReadable()) {
            return true;
        }
        m_console.fault(QStringLiteral("%1 cannot be read").arg(m_place.databases));
        m_status = ExitStatus::Unreadable;
    } else if (m_place.isBoxClosed) {
        m_console.fault(QStringLiteral("the encrypted box of the history is not open"));
        m_status = ExitStatus::Unreadable;
    } else {
        m_console.fault(QStringLiteral("nothing has been recorded yet"));
        m_status = ExitStatus::Nothing;
    }
    return false;
}

void History::tell(const MonthRows &month, const QString &name)
{
    if (month.state() == ReadOnlyDatabase::State::Open) {
        return;
    }
    m_console.fault(month.state() == ReadOnlyDatabase::State::Busy
                        ? QStringLiteral("%1.db is locked by another program").arg(name)
                        : QStringLiteral("%1.db cannot be read: %2").arg(name, month.errorText()));
    m_status = ExitStatus::Unreadable;
}

void History::forEachMonth(const std::function<bool(MonthRows &)> &read)
{
    for (const QString &name : MonthRows::months(m_place.databases)) {
        MonthRows month(m_place.databases, name);
        const bool goesOn = read(month);
        tell(month, name);
        if (!goesOn) {
            return;
        }
    }
}

void History::forEachRow(const MonthRows::Wanted &wanted, const MonthRows::Use &use)
{
    forEachMonth([&](MonthRows &month) {
        month.forEach(wanted, use);
        return true;
    });
}

std::optional<ScreenShotData> History::frame(const QString &video, uint index)
{
    const QString name = DayText::monthOfDayOrVideo(video);
    if (!QFileInfo::exists(m_place.databases + QLatin1Char('/') + name + QLatin1String(".db"))) {
        return {};
    }
    MonthRows month(m_place.databases, name);
    const auto found = month.ofFrame(video, index);
    tell(month, name);
    return found;
}

std::optional<ScreenShotData> History::frameOfDay(const QString &day, uint number)
{
    const QString name = DayText::monthOfDayOrVideo(day);
    if (!QFileInfo::exists(m_place.databases + QLatin1Char('/') + name + QLatin1String(".db"))) {
        return {};
    }
    MonthRows month(m_place.databases, name);
    const auto found = month.ofDay(day, number);
    tell(month, name);
    return found;
}
