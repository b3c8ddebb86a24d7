// What keeping to the storage ceiling costs in a full year of history: the size of its directory
// and the erasing of its oldest days, in files, rows and vectors. historybench [FOLDER]: keeps the
// year in FOLDER for the next run.

#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/datahandler.h"
#include "support/figure.h"
#include "support/yearstore.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QThread>

#include <algorithm>
#include <ftw.h>

namespace
{
constexpr double SIZE_GOAL_MS = 300.0;
constexpr double ERASE_GOAL_MS = 1000.0;
constexpr int SIZE_ROUNDS = 9;
constexpr int DAYS = 9;
constexpr int CONNECT_SECONDS = 60;

quint64 walkedBytes = 0;

int addSize(const char *path, const struct stat *status, int type, struct FTW *position)
{
    Q_UNUSED(path)
    Q_UNUSED(position)
    if (type == FTW_F) {
        walkedBytes += static_cast<quint64>(status->st_size);
    }
    return 0;
}

void require(bool holds, const char *what)
{
    if (!holds) {
        qFatal("%s", what);
    }
}

void awaitVectorStore()
{
    for (int second = 0; second < CONNECT_SECONDS; ++second) {
        if (DatabaseManager::getInstance()->saveScreenShotEmbedding(QVector<float>(1024, 1.0F),
                                                                    ScreenShotData())) {
            return;
        }
        QThread::sleep(1);
    }
    qFatal("the vector store does not come up");
}

void measureSize(const ScreenHistoryTracker &tracker, const QString &root)
{
    quint64 bytes = 0;
    const double spent = Bench::medianMilliseconds(
        SIZE_ROUNDS, [&] { bytes = tracker.getScreenshotsStorageSize(); });
    const double floor = Bench::medianMilliseconds(SIZE_ROUNDS, [&root] {
        walkedBytes = 0;
        ::nftw(QFile::encodeName(root).constData(), &addSize, 16, FTW_PHYS);
    });
    require(bytes == walkedBytes && bytes > 0, "the sizes disagree");
    Bench::print({QStringLiteral("directory size, %1 MiB").arg(bytes >> 20), spent,
                  QStringLiteral("ms"), SIZE_GOAL_MS, floor, QStringLiteral("nftw")});
}

/// The way of the ceiling: looks for the oldest day, then erases it.
void measureErasing(DataHandler &handler)
{
    std::vector<double> spent;
    for (int day = 0; day < DAYS; ++day) {
        const QString oldest = handler.getFirstAndLastDay().first();
        require(!handler.getAppListOfDay(oldest).isEmpty(), "the oldest day has no rows");
        spent.push_back(Bench::milliseconds([&handler] { handler.freeSomeSpace(); }));
        require(handler.getAppListOfDay(oldest).isEmpty() &&
                    handler.getFirstAndLastDay().first() > oldest,
                "the oldest day is still there");
    }
    Bench::print({QStringLiteral("erasing the oldest day, the first of them"), spent.front(),
                  QStringLiteral("ms"), ERASE_GOAL_MS, 0.0, QString()});
    Bench::print({QStringLiteral("erasing the oldest day, median of %1").arg(DAYS),
                  Bench::median(spent), QStringLiteral("ms"), ERASE_GOAL_MS, 0.0, QString()});
    Bench::print({QStringLiteral("erasing the oldest day, longest"),
                  *std::max_element(spent.begin(), spent.end()), QStringLiteral("ms"),
                  ERASE_GOAL_MS, 0.0, QString()});
}

/// Where the time goes.
void measureParts(ScreenHistoryTracker &tracker, DataHandler &handler)
{
    std::vector<double> files;
    std::vector<double> databases;
    for (int day = 0; day < DAYS; ++day) {
        const QString oldest = handler.getFirstAndLastDay().first();
        files.push_back(Bench::milliseconds([&] { tracker.deleteDataAtDate(oldest); }));
        databases.push_back(Bench::milliseconds(
            [&oldest] { DatabaseManager::getInstance()->deleteDataAtDate(oldest); }));
    }
    Bench::print({QStringLiteral("of that its files"), Bench::median(files), QStringLiteral("ms"),
                  0.0, 0.0, QString()});
    Bench::print({QStringLiteral("of that its rows and vectors"), Bench::median(databases),
                  QStringLiteral("ms"), 0.0, 0.0, QString()});
}
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    YearStore::Options options;
    options.withVectors = true;
    options = YearStore::chosen(&arguments, options);
    options.cacheFolder = arguments.value(1);
    YearStore::make(QDir::homePath(), options);

    ScreenHistoryTracker tracker;
    DataHandler handler(tracker);
    awaitVectorStore();
    measureSize(tracker,
                QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/screenshots"));
    measureErasing(handler);
    measureParts(tracker, handler);
    return 0;
}
