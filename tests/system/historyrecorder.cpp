// A recorder at full speed under a clock of its own, to be killed, or told what to do by lines on
// its standard input. Arguments: the moment of its start in seconds since the epoch, the process id
// of an application known by name, then any of
//   --idle       starts, and with that recovers, but takes no frame
//   --frozen     the clock stands still
//   --unguarded  records also if the clock stands before the frame stored last
// Input: "erase RANGE", "clock SECONDS" moves the clock, "stop" ends in order. Output, a line each:
// "started", "clock back", "frame NUMBER", "erasing SECONDS", "erased", "refused".

#include "ai/coreaidouble/coreaidouble.h"
#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/datahandler.h"
#include "database/screenshotdata.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/fakeclock.h"
#include "support/pictures.h"

#include <QGuiApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// A hundred frames take more than a second: videos are named by the second of their first frame.
constexpr int frameMs = 12;
constexpr qulonglong ceilingGb = 10;
constexpr int pictures = 65536; // that differ

void say(const QString &line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

/// Each picture's number becomes its text, so that a row tells which picture it belongs to.
void readNumbers()
{
    CoreAiDouble::setReader([](const QByteArray &encoded) {
        const int number = Pictures::numberOf(QImage::fromData(encoded));
        CoreAiDouble::Reading reading;
        reading.lines.append({QByteArray::number(number), {QPoint(0, 0)}});
        return reading;
    });
    CoreAiDouble::setEmbedder([](const QByteArray &) { return QVector<float>(1024, 0.5F); });
}

class Recorder
{
public:
    explicit Recorder(const QStringList &options)
        : m_handler(m_tracker)
        , m_input(STDIN_FILENO, QSocketNotifier::Read)
        , m_next(static_cast<int>(QDateTime::currentSecsSinceEpoch() % pictures))
    {
        m_handler.setScreenshotStorageSize(ceilingGb);
        QObject::connect(&m_input, &QSocketNotifier::activated, &m_tracker, [this] { obey(); });
        QObject::connect(&m_timer, &QTimer::timeout, &m_tracker, [this] { takeFrame(); });
        QObject::connect(&m_tracker, &ScreenHistoryTracker::backInTimeDetected, &m_tracker,
                         [] { say(QStringLiteral("clock back")); });
        say(QStringLiteral("started"));
        const bool isBack = m_handler.backInTimeDetected();
        if (isBack) {
            say(QStringLiteral("clock back"));
        }
        if (!options.contains(QStringLiteral("--idle")) &&
            (!isBack || options.contains(QStringLiteral("--unguarded")))) {
            m_timer.start(frameMs);
        }
    }

private:
    void takeFrame()
    {
        if (m_tracker.shouldTakeScreenShot()) {
            m_next = (m_next + 1) % pictures;
            m_tracker.screenshotReady(Pictures::numbered(m_next));
            say(QStringLiteral("frame %1").arg(m_next));
        }
    }

    void obey()
    {
        char line[80];
        if (!std::fgets(line, sizeof(line), stdin)) {
            QGuiApplication::exit(1);
            return;
        }
        const QStringList words = QString::fromUtf8(line).split(QLatin1Char(' '));
        if (words[0] == QLatin1String("erase")) {
            erase(static_cast<TimeRange>(words[1].toInt()));
        } else if (words[0] == QLatin1String("clock")) {
            FakeClock::advance(words[1].toLongLong());
        } else {
            QGuiApplication::quit();
        }
    }

    void erase(TimeRange range)
    {
        say(QStringLiteral("erasing %1").arg(QDateTime::currentSecsSinceEpoch()));
        const bool isErased = m_handler.deleteUserData(range);
        if (isErased) {
            FakeClock::advance(2); // a batch begun in the same second would bear an erased name
        }
        say(isErased ? QStringLiteral("erased") : QStringLiteral("refused"));
    }

    ScreenHistoryTracker m_tracker;
    DataHandler m_handler;
    QSocketNotifier m_input;
    QTimer m_timer;
    int m_next;
};
} // namespace

int main(int argc, char **argv)
{
    ::umask(0077); // as the program
    QGuiApplication application(argc, argv);
    std::setvbuf(stdin, nullptr, _IONBF, 0); // what is buffered the notifier does not see
    const QStringList arguments = QGuiApplication::arguments();
    const auto moment = QDateTime::fromSecsSinceEpoch(arguments.at(1).toLongLong());
    arguments.contains(QStringLiteral("--frozen")) ? FakeClock::freeze(moment)
                                                   : FakeClock::set(moment);
    qRegisterMetaType<ScreenShotData>("ScreenShotData&");
    readNumbers();
    FakeDesktop desktop;
    desktop.setActivePid(arguments.at(2).toUInt());
    const Recorder recorder(arguments.mid(3));
    return QGuiApplication::exec();
}
