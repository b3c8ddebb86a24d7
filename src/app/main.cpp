// Process entry: one recording instance a session, from the log's set-up to the exit status.

#include "app/startup.h"
#include "app/subsystemunavailablewindow.h"
#include "app/yestermarkbackend.h"

#include "confinement/withheldmemory.h"
#include "coreai/aisubsystem.h"
#include "log/vesklog4qt.h"
#include "singleapplication/qtsingleapplication.h"

#include <QDebug>
#include <QIcon>
#include <QTimer>
#include <QTranslator>

#include <sys/stat.h>

namespace
{
constexpr int messageTimeoutMs = 5000;

int passOn(QtSingleApplication *application)
{
    const QStringList arguments = application->arguments();
    const QString message =
        arguments.size() >= 2 ? arguments.at(1) : QCoreApplication::applicationFilePath();
    application->sendMessage(message, messageTimeoutMs);
    return 0;
}
} // namespace

int main(int argc, char **argv)
{
    // Frames and rows have to lie below the same folder: the ceiling looks for both in ~/.cache.
    qunsetenv("XDG_CACHE_HOME");
    initVeskLog4qt(QStringLiteral("tavel-ai-yestermark"));
    ::umask(0077); // what is recorded is nobody else's to read
    // Not closed: KWin lets the program see and raise windows by its executable.
    confinement::withholdMemory(confinement::Memory::WithoutDumps);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QtSingleApplication application(argc, argv, true);
    addPrivatePluginPath();
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/image/taskbarappicon.svg")));
    if (application.isRunning()) {
        return passOn(&application);
    }

    QTranslator translator;
    installTranslation(&translator);
    installSignalHandlers();
    makeOwnCommandsKnown();
    if (!is_ai_subsystem_inited()) {
        qWarning() << "The on-device AI runtime is missing: nothing can be recorded without it";
        SubsystemUnavailableWindow().exec();
        return 1;
    }
    registerMetaTypes();
    chooseRenderer();

    YestermarkBackend backend;
    QObject::connect(
        &backend, &YestermarkBackend::programExit, &application, [] { QCoreApplication::quit(); },
        Qt::DirectConnection);
    QObject::connect(&application, &QtSingleApplication::messageReceived, &backend,
                     &YestermarkBackend::activateYestermark);
    QTimer::singleShot(0, &application, [] {
        if (wasInterrupted()) {
            QCoreApplication::exit(0);
        }
    });
    return QApplication::exec();
}
