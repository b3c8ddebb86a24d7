#include "cli/history.h"

#include "cli/console.h"
#include "cli/exitstatus.h"
#include "database/daytext.h"
#include "history/monthscan.h"

#include <QFileInfo>

#include <algorithm>

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

void History::tell(const QString &month, ReadOnlyDatabase::State state, const QString &error)
{
    if (state == ReadOnlyDatabase::State::Open) {
        return;
    }
    m_console.fault(state == ReadOnlyDatabase::State::Busy
                        ? QStringLiteral("%1.db is locked by another program").arg(month)
                        : QStringLiteral("%1.db cannot be read: %2").arg(month, error));
    m_status = ExitStatus::Unreadable;
}

void History::forEachMonth(const std::function<bool(MonthRows &)> &read)
{
    for (const QString &name : MonthRows::months(m_place.databases)) {
        MonthRows month(m_place.databases, name);
        const bool goesOn = read(month);
        tell(name, month.state(), month.errorText());
        if (!goesOn) {
            return;
        }
    }
}

void History::scan(const MonthRows::Wanted &wanted,
                   const std::function<bool(QVector<ScreenShotData> &)> &read)
{
    MonthScan scan(m_place.databases, MonthRows::months(m_place.databases), wanted);
    while (auto month = scan.next()) {
        const bool goesOn = read(month->rows);
        tell(month->name, month->state, month->errorText);
        if (!goesOn) {
            return;
        }
    }
}

void History::forEachRow(const MonthRows::Wanted &wanted, const MonthRows::Use &use)
{
    scan(wanted, [&use](const QVector<ScreenShotData> &rows) {
        std::for_each(rows.cbegin(), rows.cend(), use);
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
    auto found = month.ofFrame(video, index);
    tell(name, month.state(), month.errorText());
    return found;
}

std::optional<ScreenShotData> History::frameOfDay(const QString &day, uint number)
{
    const QString name = DayText::monthOfDayOrVideo(day);
    if (!QFileInfo::exists(m_place.databases + QLatin1Char('/') + name + QLatin1String(".db"))) {
        return {};
    }
    MonthRows month(m_place.databases, name);
    auto found = month.ofDay(day, number);
    tell(name, month.state(), month.errorText());
    return found;
}
