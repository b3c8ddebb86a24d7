// CPU time of the bridge while nothing on the screen changes and a change threshold is set. Its
// argument is the span in seconds, 60 if there is none; the figure is told for 60 seconds.

#include "support/figure.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QDir>
#include <QFile>
#include <QThread>

#include <fcntl.h>
#include <unistd.h>

namespace
{
const QString SERVICE = QStringLiteral("org.vesk.KWin");
constexpr int TOLD_SECONDS = 60;
constexpr unsigned long SETTLE_SECONDS = 3;

QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                  const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(SERVICE, path, interface, method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message);
}

void takePicture()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        qFatal("no pipe");
    }
    const QVariant writeEnd = QVariant::fromValue(QDBusUnixFileDescriptor(ends[1]));
    ::close(ends[1]);
    call(QStringLiteral("/Screenshot"), QStringLiteral("org.vesk.kwin.Screenshot"),
         QStringLiteral("screenshotFullscreen"), {writeEnd, true, 0});
    ::close(ends[0]);
}

// Of all threads, from the scheduler's own account: the clock ticks of /proc/PID/stat are 10 ms.
double cpuMilliseconds(uint process)
{
    double nanoseconds = 0.0;
    const QString folder = QStringLiteral("/proc/%1/task").arg(process);
    const QStringList tasks = QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &task : tasks) {
        QFile file(folder + QLatin1Char('/') + task + QStringLiteral("/schedstat"));
        if (file.open(QFile::ReadOnly)) {
            nanoseconds += file.readAll().split(' ').first().toDouble();
        }
    }
    return nanoseconds / 1e6;
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const int seconds = argc > 1 ? QByteArray(argv[1]).toInt() : TOLD_SECONDS;
    if (seconds <= 0) {
        qCritical("the argument is a number of seconds");
        return 2;
    }
    const QDBusMessage reply =
        call(QStringLiteral("/KWin"), SERVICE, QStringLiteral("setContentChangeThreshold"), {90.0});
    if (reply.type() == QDBusMessage::ErrorMessage) {
        qCritical("no bridge: %s", qPrintable(reply.errorMessage()));
        return 1;
    }
    takePicture();
    QThread::sleep(SETTLE_SECONDS);
    const uint process = QDBusConnection::sessionBus().interface()->servicePid(SERVICE).value();
    const double before = cpuMilliseconds(process);
    if (before <= 0.0) {
        qCritical("the system does not tell what the bridge has used");
        return 1;
    }
    QThread::sleep(static_cast<unsigned long>(seconds));
    const double spent = cpuMilliseconds(process) - before;

    Bench::Figure figure;
    figure.name = QStringLiteral("still screen, bridge, %1 s (measured over %2 s)")
                      .arg(TOLD_SECONDS)
                      .arg(seconds);
    figure.value = spent * TOLD_SECONDS / seconds;
    figure.unit = QStringLiteral("ms CPU");
    Bench::print(figure);
    return 0;
}
