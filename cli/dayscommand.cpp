#include "cli/dayscommand.h"

#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/exitstatus.h"
#include "cli/history.h"
#include "cli/timetext.h"

#include <QMap>
#include <QSet>

#include <algorithm>

namespace
{
struct Day {
    int frames = 0;
    QSet<QString> videos;
    qint64 first = 0; ///< seconds since the epoch
    qint64 last = 0;
};

QMap<QString, Day> daysOf(History &history, const Arguments &options)
{
    MonthRows::Wanted wanted;
    wanted.from = options.from();
    wanted.to = options.to();
    wanted.withText = false;
    QMap<QString, Day> days;
    history.forEachRow(wanted, [&days](const ScreenShotData &frame) {
        Day &day = days[frame.date];
        day.first = day.frames == 0 ? frame.realTime : std::min(day.first, frame.realTime);
        day.last = std::max(day.last, frame.realTime);
        day.videos.insert(frame.videoName);
        ++day.frames;
    });
    return days;
}
} // namespace

int daysCommand(const QStringList &arguments, Console &console)
{
    Arguments options(QStringLiteral("days [options]"),
                      QStringLiteral("Lists the days that have frames, the oldest first."));
    options.addSpan();
    if (const auto status = options.parse(arguments, 0, console)) {
        return *status;
    }
    History history(console);
    const QMap<QString, Day> days =
        history.isThere() ? daysOf(history, options) : QMap<QString, Day>();
    console.beginList();
    for (auto day = days.cbegin(); day != days.cend(); ++day) {
        console.element({{QStringLiteral("day"), day.key()},
                         {QStringLiteral("frames"), day->frames},
                         {QStringLiteral("videos"), day->videos.size()},
                         {QStringLiteral("first"), TimeText::iso(day->first)},
                         {QStringLiteral("last"), TimeText::iso(day->last)}});
        constexpr int clock = 8;
        console.line(QStringLiteral("%1  %2 frames  %3 to %4")
                         .arg(day.key())
                         .arg(day->frames, 6)
                         .arg(TimeText::ofSecond(day->first).right(clock),
                              TimeText::ofSecond(day->last).right(clock)));
    }
    console.endList();
    if (history.status() != ExitStatus::Done) {
        return history.status();
    }
    return days.isEmpty() ? ExitStatus::Nothing : ExitStatus::Done;
}
