#pragma once
// The user's history as the commands read it: its place, its months, and what to say where a part
// of it cannot be read. Owner: the command, on its stack. Thread: the one that made it.

#include "history/monthrows.h"
#include "history/storeplace.h"

#include <functional>

class Console;

class History
{
public:
    explicit History(Console &console);

    const StorePlace &place() const { return m_place; }

    /// False if there is no history to read, or none that can be seen: the reason has been told,
    /// and status() is that of the command.
    bool isThere();

    /// Hands every month to @p read, the newest first, until that gives false. What cannot be read
    /// is told and passed over.
    void forEachMonth(const std::function<bool(MonthRows &month)> &read);

    /// Hands the rows that are wanted to @p read, a month at a time, until that gives false;
    /// several months are looked through at once. Otherwise as above.
    void scan(const MonthRows::Wanted &wanted,
              const std::function<bool(QVector<ScreenShotData> &rows)> &read);

    /// All rows of all months that are wanted, the newest month first.
    void forEachRow(const MonthRows::Wanted &wanted, const MonthRows::Use &use);

    /// The row of a frame, by its video or by its day.
    std::optional<ScreenShotData> frame(const QString &video, uint index);
    std::optional<ScreenShotData> frameOfDay(const QString &day, uint number);

    /// ExitStatus::Done, or what a fault so far makes of it.
    int status() const { return m_status; }

private:
    void tell(const QString &month, ReadOnlyDatabase::State state, const QString &error);

    Console &m_console;
    StorePlace m_place;
    int m_status;
};
