// The program without its window: what the backend makes before the view, and the event loop. What
// the open window adds to the program's memory is the difference to this.

#include "app/configmanager.h"
#include "app/startup.h"
#include "app/windowsettings.h"
#include "capture/screenhistorytracker.h"
#include "database/datahandler.h"

#include "coreai/aisubsystem.h"
#include "log/vesklog4qt.h"
#include "singleapplication/qtsingleapplication.h"

#include <QIcon>

int main(int argc, char **argv)
{
    initVeskLog4qt(QStringLiteral("tavel-ai-yestermark"));
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    const QtSingleApplication application(argc, argv, true);
    addPrivatePluginPath();
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/image/taskbarappicon.svg")));
    installSignalHandlers();
    makeOwnCommandsKnown();
    if (!is_ai_subsystem_inited()) {
        return 1;
    }
    registerMetaTypes();
    const WindowSettings windowSettings;
    const ConfigManager settings;
    ScreenHistoryTracker tracker;
    DataHandler handler(tracker);
    handler.setScreenshotStorageSize(settings.getMaxStorageSize());
    tracker.setRecordingMemory(settings.getRecordingMemory());
    tracker.setScreenshotInterval(settings.getScreenshotInterval());
    return QApplication::exec();
}
