// Moving over the axis and dragging on it, from the event to the new frame on the screen.
// windowhoverbench [FOLDER]: keeps the month of history in FOLDER for the next run.

#include "app/configmanager.h"
#include "app/startup.h"
#include "database/databasemanager.h"
#include "support/figure.h"
#include "support/yearstore.h"
#include "window/paintedwindow.h"

#include <QApplication>
#include <QDate>
#include <QDir>
#include <QQuickView>
#include <QRandomGenerator>
#include <QScreen>
#include <QTest>

#include <algorithm>

namespace
{
constexpr int framesOfMonth = 12500; // as many as a month of 150,000 a year: a look-up scans it
constexpr int daysOfMonth = 21;
constexpr int framesOfVideo = 100;
constexpr int frameWidth = 8;
constexpr int gap = 8;
constexpr int steps = 100;
constexpr double openFileGoalMs = 60.0;
constexpr double otherFileGoalMs = 130.0;

/// A frame that can be seen on the axis.
struct VisibleFrame {
    int number = 0;     ///< of the day, from 1
    qreal position = 0; ///< of its middle, in the visible part
};

/// Frames of the newest day, whose right end is the axis' one.
std::vector<VisibleFrame> visibleFrames(const PaintedWindow &window, const QString &day)
{
    std::vector<qreal> middles;
    qreal end = -gap;
    for (const ActiveAppInfo &run : DatabaseManager::getInstance()->getAppListOfDay(day)) {
        end += gap;
        for (uint frame = 0; frame < run.frameCount; ++frame, end += frameWidth) {
            middles.push_back(end + frameWidth / 2.0);
        }
    }
    const qreal start = window.axisNumber("contentWidth") - end - window.axisNumber("contentX");
    std::vector<VisibleFrame> found;
    for (std::size_t frame = 0; frame < middles.size(); ++frame) {
        const qreal position = start + middles.at(frame);
        if (position > frameWidth && position < window.axisNumber("listViewWidth") - frameWidth) {
            found.push_back({static_cast<int>(frame) + 1, position});
        }
    }
    return found;
}

int videoOf(const VisibleFrame &frame)
{
    return (frame.number - 1) / framesOfVideo;
}

std::vector<VisibleFrame> framesOf(const std::vector<VisibleFrame> &frames, int video)
{
    std::vector<VisibleFrame> found;
    std::copy_if(frames.begin(), frames.end(), std::back_inserter(found),
                 [video](const VisibleFrame &frame) { return videoOf(frame) == video; });
    return found;
}

class Mover
{
public:
    Mover(PaintedWindow *window, const std::vector<VisibleFrame> &frames)
        : m_window(window)
        , m_open(framesOf(frames, videoOf(frames.at(frames.size() / 2))))
        , m_other(framesOf(frames, videoOf(m_open.front()) + (m_open.front().number > 1 ? -1 : 1)))
    {
        if (m_open.size() < 10 || m_other.size() < 10) {
            qFatal("too few frames of two videos can be seen");
        }
    }

    void measure(const QString &what)
    {
        const QString name =
            QStringLiteral("%1, %2, %3, ")
                .arg(what, Bench::sizeText(QGuiApplication::primaryScreen()->size()),
                     m_window->renderer());
        // The picture is at hand: what is left is the window's own share.
        printSteps(name + QStringLiteral("same frame"), sameFrame(), openFileGoalMs);
        printSteps(name + QStringLiteral("open file, frame by frame"), frameByFrame(),
                   openFileGoalMs);
        printSteps(name + QStringLiteral("open file, any frame"), anyFrame(), openFileGoalMs);
        printSteps(name + QStringLiteral("other file"), otherFile(), otherFileGoalMs);
    }

private:
    void moveTo(const VisibleFrame &frame, StepTimes *times)
    {
        const QPoint point = m_window->onAxis(frame.position);
        m_window->step([&] { QTest::mouseMove(m_window->view(), point); }, times);
    }

    StepTimes sameFrame()
    {
        StepTimes unused;
        VisibleFrame frame = m_open.back();
        moveTo(frame, &unused);
        StepTimes times;
        for (int step = 0; step < steps; ++step) {
            frame.position += step % 2 == 0 ? 2 : -2;
            moveTo(frame, &times);
        }
        return times;
    }

    StepTimes frameByFrame()
    {
        StepTimes unused;
        moveTo(m_open.at(m_open.size() / 2), &unused);
        StepTimes times;
        for (int step = 0; step < steps; ++step) {
            moveTo(m_open.at(static_cast<std::size_t>(step) % m_open.size()), &times);
        }
        return times;
    }

    StepTimes anyFrame()
    {
        StepTimes times;
        std::size_t before = 0;
        for (int step = 0; step < steps; ++step) {
            const std::size_t place =
                (before + 1 + m_random.bounded(quint32(m_open.size() - 1))) % m_open.size();
            moveTo(m_open.at(place), &times);
            before = place;
        }
        return times;
    }

    StepTimes otherFile()
    {
        StepTimes times;
        for (int step = 0; step < steps; ++step) {
            const std::vector<VisibleFrame> &frames = step % 2 == 0 ? m_other : m_open;
            moveTo(frames.at(m_random.bounded(quint32(frames.size()))), &times);
        }
        return times;
    }

    PaintedWindow *m_window;
    std::vector<VisibleFrame> m_open;
    std::vector<VisibleFrame> m_other;
    QRandomGenerator m_random{1};
};
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    const QApplication application(argc, argv);
    YearStore::Options options;
    options.rows = framesOfMonth;
    options.days = daysOfMonth;
    options.lastDay = QDate::currentDate().addDays(-1);
    options.cacheFolder = QCoreApplication::arguments().value(1);
    const YearStore::Facts facts = YearStore::make(QDir::homePath(), options);
    {
        ConfigManager settings;
        settings.setEnabled(true);
        settings.setMaxStorageSize(1024);
    }
    chooseRenderer();
    registerMetaTypes();
    PaintedWindow window;
    window.watchPictures();
    Mover mover(&window, visibleFrames(window, facts.lastDay));
    mover.measure(QStringLiteral("hover"));
    const QPoint start = window.onAxis(window.axisNumber("listViewWidth") / 2);
    QTest::mousePress(window.view(), Qt::LeftButton, Qt::NoModifier, start);
    window.settle();
    mover.measure(QStringLiteral("drag"));
    QTest::mouseRelease(window.view(), Qt::LeftButton, Qt::NoModifier, start);
    return 0;
}
