// A recorder at full speed, to be killed: keeps numbered pictures as fast as a batch may follow a
// batch. Arguments: the moment of its start in seconds since the epoch, the process id of an
// application known by name and "record", or "recover" to start and end in order.

#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/daytext.h"
#include "database/screenshotdata.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/fakeclock.h"
#include "support/pictures.h"

#include <QGuiApplication>
#include <QTimer>

namespace
{
// A hundred frames take more than a second: videos are named by the second of their first frame.
constexpr int frameMs = 12;

// As the tracker counts: many frames share a second here, so the newest row is not told by it.
uint framesOfToday()
{
    uint frames = 0;
    const QList<ActiveAppInfo> runs =
        DatabaseManager::getInstance()->getAppListOfDay(DayText::ofDate(QDate::currentDate()));
    for (const ActiveAppInfo &run : runs) {
        frames += run.frameCount;
    }
    return frames;
}
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    FakeClock::set(QDateTime::fromSecsSinceEpoch(arguments.at(1).toLongLong()));
    qRegisterMetaType<ScreenShotData>("ScreenShotData&");
    FakeDesktop desktop;
    desktop.setActivePid(arguments.at(2).toUInt());
    ScreenHistoryTracker tracker;
    if (arguments.at(3) == QLatin1String("recover")) {
        return 0;
    }
    uint next = framesOfToday();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &tracker, [&tracker, &next] {
        tracker.screenshotReady(Pictures::numbered(static_cast<int>(++next)));
    });
    timer.start(frameMs);
    return QGuiApplication::exec();
}
