#include "measuredbridge.h"

#include "support/figure.h"
#include "support/processcost.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int ROUNDS = 101;
constexpr int PIPE_BYTES = 1 << 20;
constexpr size_t HEADER_BYTES = 12;
constexpr double GOAL_MS = 8.0; // told for 1920x1080 on X11; compositors wait for their next frame
constexpr double STILL_GOAL_MS = 1.0; // of 10 seconds
constexpr double THRESHOLD = 90.0;
const QString SERVICE = QStringLiteral("org.vesk.KWin");

bool readExactly(int pipe, char *buffer, size_t count)
{
    while (count > 0) {
        const ssize_t got = ::read(pipe, buffer, count);
        if (got <= 0) {
            return false;
        }
        buffer += got;
        count -= size_t(got);
    }
    return true;
}

bool writeExactly(int pipe, const char *buffer, size_t count)
{
    while (count > 0) {
        const ssize_t put = ::write(pipe, buffer, count);
        if (put <= 0) {
            return false;
        }
        buffer += put;
        count -= size_t(put);
    }
    return true;
}

void throughPlainPipe(const QImage &source, QImage &image)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        qFatal("no pipe");
    }
    ::fcntl(ends[1], F_SETPIPE_SZ, PIPE_BYTES);
    std::thread writer([&] {
        writeExactly(ends[1], reinterpret_cast<const char *>(source.constBits()),
                     size_t(source.sizeInBytes()));
    });
    readExactly(ends[0], reinterpret_cast<char *>(image.bits()), size_t(image.sizeInBytes()));
    writer.join();
    ::close(ends[0]);
    ::close(ends[1]);
}

void waitSeconds(int seconds)
{
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
}
} // namespace

bool MeasuredBridge::watch() const
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        SERVICE, QStringLiteral("/KWin"), SERVICE, QStringLiteral("setContentChangeThreshold"));
    message << THRESHOLD;
    return m_bus.call(message).type() != QDBusMessage::ErrorMessage;
}

bool MeasuredBridge::fetch(QImage &image) const
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        qFatal("no pipe");
    }
    QDBusMessage message = QDBusMessage::createMethodCall(
        SERVICE, QStringLiteral("/Screenshot"), QStringLiteral("org.vesk.kwin.Screenshot"),
        QStringLiteral("screenshotFullscreen"));
    message << QVariant::fromValue(QDBusUnixFileDescriptor(ends[1])) << true << 0;
    const QDBusMessage reply = m_bus.call(message);
    // The message held a copy of the write end.
    message = QDBusMessage();
    ::close(ends[1]);
    char header[HEADER_BYTES];
    const bool isComplete =
        reply.type() != QDBusMessage::ErrorMessage && readExactly(ends[0], header, HEADER_BYTES) &&
        readExactly(ends[0], reinterpret_cast<char *>(image.bits()), size_t(image.sizeInBytes()));
    ::close(ends[0]);
    return isComplete;
}

void MeasuredBridge::printPicture(const QImage &page) const
{
    QImage image(page.size(), QImage::Format_RGB32);
    std::vector<double> times;
    times.reserve(ROUNDS);
    for (int round = 0; round < ROUNDS; ++round) {
        times.push_back(Bench::milliseconds([&] {
            if (!fetch(image)) {
                qFatal("no picture");
            }
        }));
    }
    std::sort(times.begin(), times.end());
    const QString name =
        QStringLiteral("one picture through the bridge's pipe, %1, %2%3").arg(backend());
    const bool hasGoal =
        backend() == QLatin1String("x11") && page.size() == Bench::screenSizes().front();
    const double floor = Bench::medianMilliseconds(ROUNDS, [&] { throughPlainPipe(page, image); });
    Bench::print({name.arg(Bench::sizeText(page.size()), QString()), Bench::median(times),
                  QStringLiteral("ms"), hasGoal ? GOAL_MS : 0.0, floor,
                  QStringLiteral("the same bytes through a pipe between two threads")});
    Bench::print({name.arg(Bench::sizeText(page.size()), QStringLiteral(", 95th percentile")),
                  times.at(times.size() * 95 / 100), QStringLiteral("ms"), 0.0, 0.0, QString()});
}

void MeasuredBridge::printStillScreen(const QSize &size, int seconds) const
{
    QImage image(size, QImage::Format_RGB32);
    if (!watch() || !fetch(image)) {
        qFatal("the screen is not watched");
    }
    waitSeconds(3); // what was drawn before has been compared by then
    const uint bridge = processId();
    const double before = Bench::cpuMillisecondsOf(bridge);
    waitSeconds(seconds);
    Bench::print({QStringLiteral("still screen, bridge, CPU of %1 s, %2, %3")
                      .arg(seconds)
                      .arg(backend(), Bench::sizeText(size)),
                  Bench::cpuMillisecondsOf(bridge) - before, QStringLiteral("ms"),
                  STILL_GOAL_MS * seconds / 10, 0.0, QString()});
}

uint MeasuredBridge::processId() const
{
    return m_bus.interface()->servicePid(SERVICE);
}

QString MeasuredBridge::backend() const
{
    const QDBusInterface facts(SERVICE, QStringLiteral("/Bridge"),
                               QStringLiteral("com.tavel.yestermark.Bridge"), m_bus);
    return facts.property("Backend").toString();
}
