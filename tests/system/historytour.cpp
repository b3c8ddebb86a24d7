// historytour COMMAND ...: what a user does with a recorded history, by the program's own classes,
// on the one below the home directory. No recorder may run meanwhile. Exit status 0 if it worked.
//   find WORD PICTURE   frames whose text holds the word, newest first; the newest becomes a file
//   erase SECONDS       erases what was recorded in the last seconds before the newest frame

#include "app/startup.h"
#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/datahandler.h"

#include <QDateTime>
#include <QGuiApplication>
#include <QTest>

#include <cstdio>

#include <sys/stat.h>

namespace
{
QVector<ScreenShotData> newestFirst(const DataHandler &handler, const QString &word = {})
{
    SearchQuery query;
    query.text = word;
    return handler.getOcrScreenShotData(query);
}

bool find(DataHandler &handler, const QString &word, const QString &picture)
{
    const QVector<ScreenShotData> found = newestFirst(handler, word);
    for (const ScreenShotData &record : found) {
        std::printf("%s  %s  frame %3u of %s\n",
                    qUtf8Printable(QDateTime::fromSecsSinceEpoch(record.realTime)
                                       .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))),
                    qUtf8Printable(record.desktopFilePath.section(QLatin1Char('/'), -1)),
                    record.frameIndexOfVideo, qUtf8Printable(record.videoName));
    }
    if (found.isEmpty()) {
        return false;
    }
    const ScreenShotData &newest = found.first();
    return handler.getScreenShotImageFromVideo(newest.videoName, newest.frameIndexOfVideo)
        .save(picture);
}

bool erase(ScreenHistoryTracker &tracker, const DataHandler &handler, long seconds)
{
    const QVector<ScreenShotData> all = newestFirst(handler);
    if (all.isEmpty()) {
        return false;
    }
    const long start = all.first().realTime - seconds;
    const long end = QDateTime::currentSecsSinceEpoch();
    // The store of vectors comes up on a thread of its own and refuses until then.
    const bool isErased =
        tracker.deleteVideosWithinTime(start, end) &&
        QTest::qWaitFor([&] { return DatabaseManager::getInstance()->deleteDatabase(start, end); },
                        30000);
    std::printf("%d frames before, %d after\n", all.size(), newestFirst(handler).size());
    return isErased;
}
} // namespace

int main(int argc, char **argv)
{
    ::umask(0077); // as the program
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    registerMetaTypes();
    ScreenHistoryTracker tracker;
    DataHandler handler(tracker);
    const QString command = arguments.value(1);
    bool isDone = false;
    if (command == QLatin1String("find")) {
        isDone = find(handler, arguments.value(2), arguments.value(3));
    } else if (command == QLatin1String("erase")) {
        isDone = erase(tracker, handler, arguments.value(2).toLong());
    }
    return isDone ? 0 : 1;
}
