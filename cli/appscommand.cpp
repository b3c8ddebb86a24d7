#include "cli/appscommand.h"

#include "cli/appnames.h"
#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/exitstatus.h"
#include "cli/history.h"
#include "cli/timetext.h"

#include <algorithm>

namespace
{
struct Seen {
    QString desktopEntry;
    int frames = 0;
    qint64 first = 0; ///< seconds since the epoch
    qint64 last = 0;
};

QVector<Seen> appsOf(History &history, const Arguments &options)
{
    MonthRows::Wanted wanted;
    wanted.from = options.from();
    wanted.to = options.to();
    wanted.withText = false;
    QHash<QString, Seen> apps;
    history.forEachRow(wanted, [&apps](const ScreenShotData &frame) {
        Seen &seen = apps[frame.desktopFilePath];
        seen.desktopEntry = frame.desktopFilePath;
        seen.first = seen.frames == 0 ? frame.realTime : std::min(seen.first, frame.realTime);
        seen.last = std::max(seen.last, frame.realTime);
        ++seen.frames;
    });
    QVector<Seen> sorted;
    for (const Seen &seen : qAsConst(apps)) {
        sorted.append(seen);
    }
    std::sort(sorted.begin(), sorted.end(), [](const Seen &left, const Seen &right) {
        return left.frames != right.frames ? left.frames > right.frames
                                           : left.desktopEntry < right.desktopEntry;
    });
    return sorted;
}
} // namespace

int appsCommand(const QStringList &arguments, Console &console)
{
    Arguments options(QStringLiteral("apps [options]"),
                      QStringLiteral("Lists the applications that were in front, those with most "
                                     "frames first."));
    options.addSpan();
    if (const auto status = options.parse(arguments, 0, console)) {
        return *status;
    }
    History history(console);
    const QVector<Seen> apps = history.isThere() ? appsOf(history, options) : QVector<Seen>();
    AppNames names;
    console.beginList();
    for (const Seen &app : apps) {
        const QString name = names.nameOf(app.desktopEntry);
        console.element({{QStringLiteral("desktopEntry"), app.desktopEntry},
                         {QStringLiteral("application"), name},
                         {QStringLiteral("frames"), app.frames},
                         {QStringLiteral("first"), TimeText::iso(app.first)},
                         {QStringLiteral("last"), TimeText::iso(app.last)}});
        console.line(QStringLiteral("%1  %2  %3")
                         .arg(app.frames, 8)
                         .arg(Console::printable(name), Console::printable(app.desktopEntry)));
    }
    console.endList();
    if (history.status() != ExitStatus::Done) {
        return history.status();
    }
    return apps.isEmpty() ? ExitStatus::Nothing : ExitStatus::Done;
}
