// The time axis over a year of history: its start, the hover from frame to frame, and what the days
// on it cost. timelinebench [FOLDER]: keeps the year in FOLDER for the next run.

#include "app/configmanager.h"
#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/datahandler.h"
#include "models/dayappmodel.h"
#include "models/videoimageprovider.h"
#include "models/videoinfo.h"
#include "models/videopreviewitem.h"
#include "models/videoreader.h"
#include "support/figure.h"
#include "support/yearstore.h"

#include <QDir>
#include <QGuiApplication>
#include <QRandomGenerator>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include <malloc.h>

namespace
{
constexpr int starts = 9;
constexpr int hovers = 120;
constexpr int framesOfVideo = 100;
constexpr int days = 400;
constexpr int runsOfDay = 200;
constexpr double startGoalMs = 1000.0; // to the painted window, of which this is a part
constexpr double openFileGoalMs = 60.0;
constexpr double otherFileGoalMs = 130.0;

double percentile95(std::vector<double> values)
{
    const auto place = static_cast<std::size_t>(std::ceil(values.size() * 0.95)) - 1;
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(place),
                     values.end());
    return values.at(place);
}

double allocatedMebibytes()
{
    return static_cast<double>(mallinfo2().uordblks) / (1024.0 * 1024.0);
}

struct Pages {
    Pages(DataHandler *handler, ConfigManager *settings)
        : reader(handler), info(&provider, &reader, &shown, settings)
    {
    }

    VideoReader reader;
    VideoImageProvider provider{&reader};
    VideoPreviewItem shown;
    VideoInfo info;
};

void measureStart(DataHandler *handler, ConfigManager *settings)
{
    int loaded = 0;
    std::vector<double> values;
    values.reserve(starts);
    for (int start = 0; start < starts; ++start) {
        values.push_back(Bench::milliseconds([&] {
            Pages pages(handler, settings);
            const int newest = pages.info.dayAppModel()->rowCount() - 1;
            pages.info.showCurShowImageItem(newest, 4, 1);
            loaded = newest + 1;
        }));
    }
    const QString name =
        QStringLiteral("start of the axis, days loaded: %1, with a picture").arg(loaded);
    Bench::print({name, Bench::median(values), QStringLiteral("ms"), startGoalMs, 0.0, QString()});
    Bench::print({name + QStringLiteral(", the first"), values.front(), QStringLiteral("ms"),
                  startGoalMs, 0.0, QString()});
}

/// Frames of a day to hover over; @p next gives one by the one before.
struct Hover {
    QString name;
    double goal;
    std::function<int(int)> next;
};

void measureHover(Pages *pages, ScreenHistoryTracker *tracker, const QString &day,
                  const Hover &hover)
{
    const int dateIndex = pages->reader.getImageDateIndex(day);
    DatabaseManager *databases = DatabaseManager::getInstance();
    std::vector<double> values;
    std::vector<double> decoding;
    int frame = 1;
    for (int step = 0; step < hovers; ++step) {
        frame = hover.next(frame);
        const int x = pages->reader.getLengthByDayFrameNumber(day, frame);
        values.push_back(
            Bench::milliseconds([&] { pages->info.showPreviewImageItem(dateIndex, x, step); }));
        if (pages->reader.getPreviewImage().isNull()) {
            qFatal("frame %d cannot be read", frame);
        }
        frame = hover.next(frame);
        const ScreenShotData row = databases->getScreenShotDataOfDay(day, static_cast<uint>(frame));
        decoding.push_back(Bench::milliseconds(
            [&] { tracker->getImageFromVideoFile(row.videoName, row.frameIndexOfVideo); }));
    }
    const QString size = Bench::sizeText(pages->reader.getPreviewImage().size());
    Bench::print({QStringLiteral("hover, %1, p95 %2").arg(hover.name, size), percentile95(values),
                  QStringLiteral("ms"), hover.goal, percentile95(decoding),
                  QStringLiteral("decoding alone")});
    Bench::print({QStringLiteral("hover, %1, median %2").arg(hover.name, size),
                  Bench::median(values), QStringLiteral("ms"), 0.0, Bench::median(decoding),
                  QStringLiteral("decoding alone")});
}

void measureHovers(DataHandler *handler, ConfigManager *settings, ScreenHistoryTracker *tracker,
                   const YearStore::Facts &facts)
{
    Pages pages(handler, settings);
    pages.reader.getDayAppInfo(facts.busiestDay);
    QRandomGenerator random(1);
    measureHover(&pages, tracker, facts.busiestDay,
                 {QStringLiteral("open file, frame by frame"), openFileGoalMs,
                  [](int before) { return before % framesOfVideo + 1; }});
    measureHover(&pages, tracker, facts.busiestDay,
                 {QStringLiteral("open file, any frame"), openFileGoalMs, [&random](int before) {
                      const int frame = random.bounded(1, framesOfVideo);
                      return frame == before ? frame + 1 : frame;
                  }});
    const int videos = facts.framesOfBusiestDay / framesOfVideo;
    if (videos < 2) {
        qFatal("no day has frames in two whole videos");
    }
    measureHover(&pages, tracker, facts.busiestDay,
                 {QStringLiteral("other file"), otherFileGoalMs, [&random, videos](int before) {
                      const int video = ((before - 1) / framesOfVideo + 1) % videos;
                      return video * framesOfVideo + random.bounded(1, framesOfVideo + 1);
                  }});
}

void measureDays(DataHandler *handler)
{
    QList<AppItemInfo> runs;
    for (int run = 0; run < runsOfDay; ++run) {
        // As the reader makes them: the texts of one application are shared within a day.
        runs.append({QStringLiteral("Application"), QStringLiteral("application"), 16});
    }
    VideoReader reader(handler);
    DayAppModel model;
    const QDate last(2024, 12, 31);
    const double before = allocatedMebibytes();
    for (int age = 0; age < days; ++age) {
        QList<AppItemInfo> day = runs;
        day.detach();
        reader.saveAppInfo(last.addDays(-age).toString(QStringLiteral("yyyy-MM-dd")), day);
    }
    const double indexed = allocatedMebibytes();
    std::vector<double> insertions;
    insertions.reserve(days);
    for (int age = 0; age < days; ++age) {
        insertions.push_back(Bench::milliseconds([&] {
            model.insertDayAppModel(0, last.addDays(-age).toString(QStringLiteral("yyyy/MM/dd")),
                                    runs);
        }));
    }
    const QString size = QStringLiteral("%1 days of %2 runs").arg(days).arg(runsOfDay);
    Bench::print({QStringLiteral("memory, index of ") + size, indexed - before,
                  QStringLiteral("MiB"), 0.0, 0.0, QString()});
    Bench::print({QStringLiteral("memory, rows of ") + size, allocatedMebibytes() - indexed,
                  QStringLiteral("MiB"), 0.0, 0.0, QString()});
    Bench::print({QStringLiteral("a further day of %1 runs onto the rows").arg(runsOfDay),
                  Bench::median(insertions), QStringLiteral("ms"), 0.0, 0.0, QString()});
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QStringList arguments = QGuiApplication::arguments();
    YearStore::Options options = YearStore::chosen(&arguments, {});
    options.cacheFolder = arguments.value(1);
    const YearStore::Facts facts = YearStore::make(QDir::homePath(), options);

    ConfigManager settings;
    ScreenHistoryTracker tracker;
    DataHandler handler(tracker);
    measureStart(&handler, &settings);
    measureHovers(&handler, &settings, &tracker, facts);
    measureDays(&handler);
    return 0;
}
