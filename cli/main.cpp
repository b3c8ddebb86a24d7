// yestermarkctl: a look at the screen history from a terminal or a script. It reads only: no file
// of the history is made or changed, and the recorder never waits for it.

#include "cli/commands.h"

#include "video/avlog.h"

#include <QCoreApplication>
#include <QTextCodec>

extern "C" {
#include <libavutil/log.h>
}

namespace
{
/// The libraries tell the program's log what they do, which is of no use here.
void passOver(QtMsgType, const QMessageLogContext &, const QString &) {}
} // namespace

int main(int argc, char **argv)
{
    qunsetenv("XDG_CACHE_HOME"); // as the recorder does
    qInstallMessageHandler(passOver);
    routeAvLog(AV_LOG_QUIET);
    // Texts and file names are UTF-8, also where a script has set the locale "C".
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QStringList arguments;
    for (int place = 1; place < argc; ++place) {
        arguments.append(QString::fromUtf8(argv[place]));
    }
    const QCoreApplication application(argc, argv);
    return Commands::run(arguments);
}
