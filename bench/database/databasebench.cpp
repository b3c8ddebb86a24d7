// Reading the month databases of a year: text searches beside plain SQLite, the stop of one, and
// what the time axis asks for. databasebench [FOLDER]: keeps the year in FOLDER for the next run.

#include "database/ocrscreenshotdatabase.h"

#include "plainsearch.h"
#include "support/figure.h"
#include "support/yearstore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <memory>
#include <random>

namespace
{
constexpr int SEARCHES = 9;
constexpr int STOPS = 40;
constexpr int DAYS = 120;
constexpr double HALF = 0.5;
constexpr double SEARCH_GOAL_MS = 150.0;
constexpr double NO_HIT_GOAL_MS = 200.0;
constexpr double STOP_GOAL_MS = 20.0;
constexpr double DAY_LIST_GOAL_MS = 2.0;
constexpr double FRAME_COUNT_GOAL_MS = 1.0;
constexpr double LOOK_UP_GOAL_MS = 1.0;

SearchQuery queryOf(const QString &text)
{
    SearchQuery query;
    query.text = text;
    return query;
}

void print(const QString &name, double value, const QString &unit, double goal = 0.0,
           double floor = 0.0)
{
    Bench::print({name, value, unit, goal, floor, floor > 0.0 ? "plain SQLite" : QString()});
}

void require(bool holds, const char *what)
{
    if (!holds) {
        qFatal("%s", what);
    }
}

/// Medians of rounds of ours and of plain SQLite in turns, so that a busy moment meets both.
struct InTurns {
    double ours;
    double plain;
};

InTurns measureInTurns(const std::function<double(const std::function<void()> &)> &measure,
                       const std::function<void()> &ours, const std::function<void()> &plain)
{
    std::vector<double> ourTimes;
    std::vector<double> plainTimes;
    for (int round = 0; round < SEARCHES; ++round) {
        ourTimes.push_back(measure(ours));
        plainTimes.push_back(measure(plain));
    }
    return {Bench::median(ourTimes), Bench::median(plainTimes)};
}

/// Time that passes and time of the processor: on a busy machine only the second tells anything.
void measureSearch(const OcrScreenshotDatabase &store, const PlainSearch &plain,
                   const QString &name, const QString &word, double goal, double ratioGoal)
{
    const SearchQuery query = queryOf(word);
    const int hits = plain.run(word).size();
    require(store.getOcrScreenshotData(query).size() == hits, "the searches disagree");
    const auto searchOurs = [&] { store.getOcrScreenshotData(query); };
    const auto searchPlain = [&] { plain.run(word); };
    const QString title = QStringLiteral("search, %1 (%2 rows)").arg(name).arg(hits);
    const InTurns passed = measureInTurns(Bench::milliseconds, searchOurs, searchPlain);
    print(title, passed.ours, "ms", goal, passed.plain);
    print(title + ", to plain SQLite", passed.ours / passed.plain, "ratio", ratioGoal);
    const InTurns spent = measureInTurns(Bench::cpuMilliseconds, searchOurs, searchPlain);
    print(title + ", processor", spent.ours, "ms", 0.0, spent.plain);
}

/// Milliseconds from the request to the return of a search that began @p before earlier; not a
/// number if it had ended by itself.
double stopMilliseconds(const OcrScreenshotDatabase &store, const SearchQuery &query, int before)
{
    QElapsedTimer clock;
    clock.start();
    qint64 returned = 0;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        store.getOcrScreenshotData(query);
        returned = clock.nsecsElapsed();
    }));
    thread->start();
    QThread::usleep(static_cast<unsigned long>(before));
    const qint64 requested = clock.nsecsElapsed();
    thread->requestInterruption();
    thread->wait();
    return returned > requested ? static_cast<double>(returned - requested) / 1e6 : qQNaN();
}

void measureStop(const OcrScreenshotDatabase &store, const QString &word)
{
    const SearchQuery query = queryOf(word);
    const double whole = Bench::medianMilliseconds(3, [&] { store.getOcrScreenshotData(query); });
    std::vector<double> stops;
    for (int round = 0; round < STOPS; ++round) {
        const double before = whole * 1000.0 * 0.8 * round / STOPS;
        const double stop = stopMilliseconds(store, query, static_cast<int>(before));
        if (!qIsNaN(stop)) {
            stops.push_back(stop);
        }
    }
    require(stops.size() > STOPS / 2, "the searches end before they can be stopped");
    Bench::print({QStringLiteral("stop of a search, slowest of %1").arg(stops.size()),
                  *std::max_element(stops.begin(), stops.end()), "ms", STOP_GOAL_MS, whole,
                  "whole search"});
}

/// @p work over days from the whole year, each day's month just read.
void measureDays(const QString &name, const QStringList &days, double goal,
                 const std::function<void(const QString &)> &work)
{
    std::vector<double> passed;
    std::vector<double> spent;
    std::mt19937 random(1);
    for (int round = 0; round < DAYS; ++round) {
        const auto &day = days.at(static_cast<int>(random() % static_cast<uint>(days.size())));
        work(day);
        passed.push_back(Bench::milliseconds([&] { work(day); }));
        spent.push_back(Bench::cpuMilliseconds([&] { work(day); }));
    }
    print(name, Bench::median(passed), "ms", goal);
    print(name + ", processor", Bench::median(spent), "ms");
}

void measureAxis(OcrScreenshotDatabase &store, const QStringList &days)
{
    measureDays("day list", days, DAY_LIST_GOAL_MS, [&](const QString &day) {
        require(!store.getAppListOfDay(day).isEmpty(), "a day has no frame");
    });
    measureDays("frame count of a day", days, FRAME_COUNT_GOAL_MS, [&](const QString &day) {
        require(store.getFrameNumOfDay(day) > 0, "a day has no frame");
    });
    std::mt19937 random(2);
    const auto anyFrame = [&](const QString &day) {
        return 1 + static_cast<uint>(random()) % store.getFrameNumOfDay(day);
    };
    QHash<QString, uint> frames;
    QHash<QString, ScreenShotData> records;
    for (const QString &day : days) {
        frames[day] = anyFrame(day);
        records[day] = store.getScreenShotDataOfDay(day, frames[day]);
    }
    measureDays("look-up of a frame of a day", days, LOOK_UP_GOAL_MS, [&](const QString &day) {
        require(store.getScreenShotDataOfDay(day, frames[day]).realTime != 0, "no such frame");
    });
    measureDays("look-up of a frame of a video", days, LOOK_UP_GOAL_MS, [&](const QString &day) {
        const ScreenShotData &record = records[day];
        const auto found =
            store.getScreenShotDataOfVideo(record.videoName, record.frameIndexOfVideo);
        require(found.realTime == record.realTime, "no such frame");
    });
}

/// What the recorder waits for with every frame, in a month that has grown.
void measureSaving(OcrScreenshotDatabase &store, const YearStore::Facts &facts)
{
    constexpr int FRAMES = 100;
    ScreenShotData frame = store.getScreenShotDataOfDay(facts.lastDay, 1);
    const QString text = frame.ocrText;
    frame.ocrText.clear();
    std::vector<double> saving;
    std::vector<double> reading;
    for (int index = 0; index < FRAMES; ++index) {
        ++frame.realTime;
        ++frame.frameIndexOfDay;
        frame.frameIndexOfVideo += 100;
        ScreenShotData read = frame;
        read.ocrText = text;
        saving.push_back(Bench::milliseconds([&] { store.saveScreenshotData(frame); }));
        reading.push_back(Bench::milliseconds([&] { store.updateScreenshotOCRText(read); }));
    }
    print("saving a row", Bench::median(saving), "ms");
    print("filling in its text", Bench::median(reading), "ms");
}

void discard(QtMsgType level, const QMessageLogContext &, const QString &text)
{
    if (level == QtFatalMsg) {
        fprintf(stderr, "%s\n", qPrintable(text));
    }
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir home;
    qputenv("HOME", QFile::encodeName(home.path()));
    QStringList arguments = QCoreApplication::arguments();
    YearStore::Options options;
    options.videoKinds = 0;
    options = YearStore::chosen(&arguments, options);
    options.cacheFolder = arguments.value(1);
    const YearStore::Facts facts = YearStore::make(home.path(), options);

    qInstallMessageHandler(discard);
    OcrScreenshotDatabase store;
    const PlainSearch plain(home.path() +
                            QStringLiteral("/.cache/tavel-ai-yestermark/traditional_database"));
    measureSearch(store, plain, "rare word", facts.rareWord, SEARCH_GOAL_MS, HALF);
    measureSearch(store, plain, "rare Chinese word", facts.rareChineseWord, SEARCH_GOAL_MS, HALF);
    measureSearch(store, plain, "no hit, one core", facts.absentWord, NO_HIT_GOAL_MS, HALF);
    measureStop(store, facts.absentWord);
    measureAxis(store, facts.days);
    measureSaving(store, facts);
    return 0;
}
