// yestermark-desktop-bridge: serves org.vesk.KWin, org.vesk.ScreenSaver and the user guide on
// desktops that do not, and keeps the settings current that the program follows. Started by the
// session bus when the first call comes, which the program's start is.

#include "confinement/withheldmemory.h"
#include "desktopbridge/desktopbridge.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDebug>

#include <csignal>
#include <sys/stat.h>

int main(int argc, char **argv)
{
    // Compositors and the portal look at the executable of who asks, so it is not closed.
    confinement::withholdMemory(confinement::Memory::WithoutDumps);
    ::umask(0077);
    // A reader that closes its pipe early is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    const QCommandLineOption backend(
        QStringLiteral("backend"),
        QStringLiteral("How to see the screen: auto, kwin, wlroots, portal, x11, null."),
        QStringLiteral("name"), QStringLiteral("auto"));
    parser.addOption(backend);
    parser.addHelpOption();
    parser.process(application);
    const std::optional<BackendChoice> choice = backendChoiceFromWord(parser.value(backend));
    const QDBusConnection session = QDBusConnection::sessionBus();
    if (!choice || !session.isConnected()) {
        qCritical() << (choice ? "No session bus" : "No such backend");
        return 1;
    }

    DesktopBridge bridge(session, *choice);
    QObject::connect(&bridge, &DesktopBridge::finished, &application, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    if (!bridge.start()) {
        // The desktop has services of its own. A status of 0 would leave a caller of the user guide
        // waiting for half a minute: the bus takes it for a program that went into the background.
        return 1;
    }
    return application.exec();
}
