// What the bridge costs on the display that it is run on, X or Wayland: one picture through its
// pipe, from the call on the bus to the last byte in the reader's buffer, whose floor is the same
// number of bytes between two threads through a pipe of the same size; and its CPU while it watches
// a screen that stays as it is. The figures name the way in which it sees the screen. An argument
// sets another span than 10 seconds.

#include "support/figure.h"
#include "support/processcost.h"
#include "support/screens.h"

#include <QBackingStore>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>

#include <chrono>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace
{
constexpr int ROUNDS = 101;
constexpr int PIPE_BYTES = 1 << 20;
constexpr size_t HEADER_BYTES = 12;
constexpr double GOAL_MS = 8.0; // told for 1920x1080 on X11; compositors wait for their next frame
constexpr double STILL_GOAL_MS = 1.0;
constexpr int STILL_SECONDS = 10;
const QString SERVICE = QStringLiteral("org.vesk.KWin");

class PageWindow : public QRasterWindow
{
public:
    explicit PageWindow(const QImage &page) : m_page(page) {}

protected:
    void paintEvent(QPaintEvent * /*event*/) override { QPainter(this).drawImage(0, 0, m_page); }

private:
    QImage m_page;
};

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

void throughBridge(QImage &image)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        qFatal("no pipe");
    }
    QDBusMessage message = QDBusMessage::createMethodCall(
        SERVICE, QStringLiteral("/Screenshot"), QStringLiteral("org.vesk.kwin.Screenshot"),
        QStringLiteral("screenshotFullscreen"));
    message << QVariant::fromValue(QDBusUnixFileDescriptor(ends[1])) << true << 0;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(message);
    // The message held a copy of the write end.
    message = QDBusMessage();
    ::close(ends[1]);
    char header[HEADER_BYTES];
    if (reply.type() == QDBusMessage::ErrorMessage || !readExactly(ends[0], header, HEADER_BYTES) ||
        !readExactly(ends[0], reinterpret_cast<char *>(image.bits()),
                     size_t(image.sizeInBytes()))) {
        qFatal("no picture: %s", qPrintable(reply.errorMessage()));
    }
    ::close(ends[0]);
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

// Over the whole screen, above everything; a Wayland compositor has the last word, and covers it by
// a window without a frame that is as large as possible.
void show(QWindow &window, const QSize &size)
{
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        window.setFlags(Qt::FramelessWindowHint);
        window.showMaximized();
        return;
    }
    window.setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
    window.setGeometry(QRect(QPoint(), size));
    window.show();
}

bool isSeen(const QImage &page, QImage &image)
{
    for (int tries = 0; tries < 100; ++tries) {
        QGuiApplication::processEvents(QEventLoop::AllEvents, 100);
        throughBridge(image);
        if (image == page) {
            return true;
        }
    }
    return false;
}

void waitSeconds(int seconds)
{
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
}

void printPicture(const QString &backend, const QImage &page, QImage &image)
{
    Bench::Figure figure;
    figure.name = QStringLiteral("one picture through the bridge's pipe, %1, %2")
                      .arg(backend, Bench::sizeText(page.size()));
    figure.value = Bench::medianMilliseconds(ROUNDS, [&] { throughBridge(image); });
    figure.unit = QStringLiteral("ms");
    const bool hasGoal =
        backend == QLatin1String("x11") && page.size() == Bench::screenSizes().front();
    figure.goal = hasGoal ? GOAL_MS : 0.0;
    figure.floor = Bench::medianMilliseconds(ROUNDS, [&] { throughPlainPipe(page, image); });
    figure.floorName = QStringLiteral("the same bytes through a pipe between two threads");
    Bench::print(figure);
}

void printStillScreen(const QString &backend, QImage &image, int seconds)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        SERVICE, QStringLiteral("/KWin"), SERVICE, QStringLiteral("setContentChangeThreshold"));
    message << 90.0;
    if (QDBusConnection::sessionBus().call(message).type() == QDBusMessage::ErrorMessage) {
        qFatal("the screen is not watched");
    }
    throughBridge(image);
    waitSeconds(3); // what was drawn before has been compared by then
    const uint bridge = QDBusConnection::sessionBus().interface()->servicePid(SERVICE);
    const double before = Bench::cpuMillisecondsOf(bridge);
    waitSeconds(seconds);
    Bench::print({QStringLiteral("still screen, bridge, CPU of %1 s, %2, %3")
                      .arg(seconds)
                      .arg(backend, Bench::sizeText(image.size())),
                  Bench::cpuMillisecondsOf(bridge) - before, QStringLiteral("ms"),
                  STILL_GOAL_MS * seconds / STILL_SECONDS, 0.0, QString()});
}
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const int seconds = arguments.size() > 1 ? arguments.at(1).toInt() : STILL_SECONDS;
    const QSize size = QGuiApplication::primaryScreen()->geometry().size();
    const QImage page = Bench::screen(size, 1);
    PageWindow window(page);
    show(window, size);
    QImage image(size, QImage::Format_RGB32);
    if (!isSeen(page, image)) {
        qCritical("the picture is not what the screen shows");
        return 1;
    }
    const QDBusInterface facts(SERVICE, QStringLiteral("/Bridge"),
                               QStringLiteral("com.tavel.yestermark.Bridge"));
    const QString backend = facts.property("Backend").toString();
    printPicture(backend, page, image);
    printStillScreen(backend, image, seconds);
    return 0;
}
