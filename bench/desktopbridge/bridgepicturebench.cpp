// What the bridge costs on the display that it is run on, X or Wayland: one picture through its
// pipe, and its CPU while it watches a screen that stays as it is. The figures name the way in
// which it sees the screen. With --portal it sees one through the desktop portal of this machine
// instead of the display's; --seconds sets another span than 10 for the still screen.

#include "measuredbridge.h"
#include "portalscreen.h"
#include "support/screens.h"

#include <QBackingStore>
#include <QCommandLineParser>
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <QTest>

#include <functional>

namespace
{
constexpr int SKIPPED = 77;
constexpr int PATIENCE_MS = 20000;

class PageWindow : public QRasterWindow
{
public:
    explicit PageWindow(const QImage &page) : m_page(page) {}

protected:
    void paintEvent(QPaintEvent * /*event*/) override { QPainter(this).drawImage(0, 0, m_page); }

private:
    QImage m_page;
};

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

int measure(const MeasuredBridge &bridge, const QImage &page, int seconds,
            const std::function<void()> &draw)
{
    QImage image(page.size(), QImage::Format_RGB32);
    const auto isSeen = [&] {
        draw();
        return bridge.fetch(image) && image == page;
    };
    if (!bridge.watch() || !QTest::qWaitFor(isSeen, PATIENCE_MS)) {
        qCritical("the picture is not what the screen shows");
        return 1;
    }
    bridge.printPicture(page);
    bridge.printStillScreen(page.size(), seconds);
    return 0;
}

int measureDisplay(const QImage &page, int seconds)
{
    PageWindow window(page);
    show(window, page.size());
    return measure(MeasuredBridge(QDBusConnection::sessionBus()), page, seconds, [] {});
}

int measurePortal(const QImage &page, int seconds)
{
    const QString missing = PortalScreen::missing();
    if (!missing.isEmpty()) {
        qCritical("skipped: %s", qPrintable(missing));
        return SKIPPED;
    }
    PortalScreen screen;
    if (!screen.start(page)) {
        qCritical("the portal does not come up");
        return 1;
    }
    return measure(MeasuredBridge(screen.bus()), page, seconds, [&] { screen.draw(page); });
}
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption portal(QStringLiteral("portal"));
    const QCommandLineOption span(QStringLiteral("seconds"), QString(), QStringLiteral("count"),
                                  QStringLiteral("10"));
    parser.addOptions({portal, span});
    parser.process(application);
    const int seconds = parser.value(span).toInt();
    const QImage page = Bench::screen(QGuiApplication::primaryScreen()->geometry().size(), 1);
    return parser.isSet(portal) ? measurePortal(page, seconds) : measureDisplay(page, seconds);
}
