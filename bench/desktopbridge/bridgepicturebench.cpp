// One picture through the bridge's pipe, from the call on the bus to the last byte in the reader's
// buffer, on the display that it is run on. Its floor is the same number of bytes between two
// threads through a pipe of the same size.

#include "support/figure.h"
#include "support/screens.h"

#include <QBackingStore>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>

#include <cstring>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace
{
constexpr int ROUNDS = 101;
constexpr int PIPE_BYTES = 1 << 20;
constexpr size_t HEADER_BYTES = 12;
constexpr double GOAL_MS = 8.0; // told for 1920x1080

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
        QStringLiteral("org.vesk.KWin"), QStringLiteral("/Screenshot"),
        QStringLiteral("org.vesk.kwin.Screenshot"), QStringLiteral("screenshotFullscreen"));
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
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    const QSize size = QGuiApplication::primaryScreen()->geometry().size();
    const QImage page = Bench::screen(size, 1);
    PageWindow window(page);
    window.setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
    window.setGeometry(QRect(QPoint(), size));
    window.show();
    QImage image(size, QImage::Format_RGB32);
    for (int tries = 0; image != page && tries < 100; ++tries) {
        QGuiApplication::processEvents(QEventLoop::AllEvents, 100);
        throughBridge(image);
    }
    if (image != page) {
        qCritical("the picture is not what the screen shows");
        return 1;
    }

    Bench::Figure figure;
    figure.name =
        QStringLiteral("one picture through the bridge's pipe, %1").arg(Bench::sizeText(size));
    figure.value = Bench::medianMilliseconds(ROUNDS, [&] { throughBridge(image); });
    figure.unit = QStringLiteral("ms");
    figure.goal = size == Bench::screenSizes().front() ? GOAL_MS : 0.0;
    figure.floor = Bench::medianMilliseconds(ROUNDS, [&] { throughPlainPipe(page, image); });
    figure.floorName = QStringLiteral("the same bytes through a pipe between two threads");
    Bench::print(figure);
    return 0;
}
