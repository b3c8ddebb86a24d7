// Scrolling along 400 days of 200 runs each: by the wheel while days are loaded, back to the first
// day by pages, and by the wheel with all of them there. From the event to the frame on the screen.
// windowscrollbench [DAYS]

#include "app/configmanager.h"
#include "app/startup.h"
#include "models/videoinfo.h"
#include "support/figure.h"
#include "window/longaxis.h"
#include "window/paintedwindow.h"

#include <QApplication>
#include <QDir>
#include <QQmlContext>
#include <QQuickView>
#include <QScreen>
#include <QTest>

namespace
{
constexpr int defaultDays = 400;
constexpr int runsOfDay = 200;
constexpr int wheelSteps = 300;
constexpr double goalMs = 33.0;

int loadedDays(const PaintedWindow &window)
{
    auto *info = qobject_cast<VideoInfo *>(window.view()
                                               ->rootContext()
                                               ->contextProperty(QStringLiteral("VideoInfo"))
                                               .value<QObject *>());
    return info->dayAppModel()->rowCount();
}

StepTimes wheel(PaintedWindow *window, int direction)
{
    StepTimes times;
    for (int step = 0; step < wheelSteps; ++step) {
        window->step([&] { window->turnWheel(direction); }, &times);
    }
    return times;
}

/// Page by page as far back as the axis goes; steps that loaded days, and those that did not.
void pagesToTheFirstDay(PaintedWindow *window, StepTimes *loading, StepTimes *others)
{
    while (window->axisNumber("contentX") > 0) {
        const int before = loadedDays(*window);
        StepTimes times;
        window->step([&] { QTest::keyClick(window->view(), Qt::Key_PageUp); }, &times);
        StepTimes *kind = loadedDays(*window) > before ? loading : others;
        kind->wall.push_back(times.wall.front());
        kind->cpu.push_back(times.cpu.front());
    }
}

QString named(const PaintedWindow &window, const QString &what)
{
    return QStringLiteral("scrolling, %1, %2, %3, days loaded: %4")
        .arg(what, Bench::sizeText(QGuiApplication::primaryScreen()->size()), window.renderer())
        .arg(loadedDays(window));
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    LongAxis::Size size;
    size.days = arguments.size() > 1 ? arguments.at(1).toInt() : defaultDays;
    size.runsOfDay = runsOfDay;
    size.lastDay = QDate::currentDate().addDays(-1);
    LongAxis::make(QDir::homePath(), size);
    {
        ConfigManager settings;
        settings.setEnabled(true);
        settings.setMaxStorageSize(1024);
    }
    chooseRenderer();
    registerMetaTypes();
    PaintedWindow window;
    window.watchScrolling();
    // As after a click on the axis: the large picture stays while the axis is scrolled.
    QTest::mouseClick(window.view(), Qt::LeftButton, Qt::NoModifier,
                      window.onAxis(window.axisNumber("listViewWidth") / 2));
    QTest::mouseMove(window.view(), QPoint(8, 8));
    window.settle();

    const StepTimes first = wheel(&window, 1);
    printSteps(named(window, QStringLiteral("wheel")), first, goalMs);
    StepTimes loading;
    StepTimes others;
    pagesToTheFirstDay(&window, &loading, &others);
    if (loadedDays(window) != size.days) {
        qFatal("%d days were loaded", loadedDays(window));
    }
    printSteps(named(window, QStringLiteral("pages with days to load")), loading, goalMs);
    printSteps(named(window, QStringLiteral("pages with none")), others, goalMs);
    printSteps(named(window, QStringLiteral("wheel")), wheel(&window, -1), goalMs);
    return 0;
}
