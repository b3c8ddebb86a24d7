// Holds the session as the program's first instance and tells on standard output each message that
// a later start passes on.

#include "singleapplication/qtsingleapplication.h"

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication::setApplicationName(QStringLiteral("tavel-ai-yestermark"));
    QtSingleApplication application(argc, argv);
    QObject::connect(&application, &QtSingleApplication::messageReceived, &application,
                     [](const QString &message) {
                         std::printf("%s\n", qPrintable(message));
                         std::fflush(stdout);
                     });
    std::puts(application.isRunning() ? "second" : "first");
    std::fflush(stdout);
    return QApplication::exec();
}
