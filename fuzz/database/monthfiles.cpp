// A damaged month file, opened by the recorder's store and by the reader beside it. An input is the
// file.

#include "fuzz/support/harness.h"
#include "fuzz/support/scratch.h"

#include "database/ocrscreenshotdatabase.h"
#include "history/monthrows.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

namespace
{
const QString MONTH = QStringLiteral("2026-03");
const QString DAY = QStringLiteral("2026-03-05");
const QString VIDEO = QStringLiteral("2026-03-05_10-00-00.mp4");

qint64 at(int hour)
{
    return QDateTime(QDate(2026, 3, 5), QTime(hour, 0)).toSecsSinceEpoch();
}

QString folder()
{
    return Scratch::path(QStringLiteral(".cache/tavel-ai-yestermark/traditional_database"));
}

void useAsHome()
{
    static const bool once = [] {
        QDir().mkpath(folder());
        qputenv("HOME", QFile::encodeName(Scratch::path(QString())));
        qputenv("TZ", "UTC");
        return true;
    }();
    Q_UNUSED(once)
}

ScreenShotData frameAt(qint64 time, quint32 index)
{
    ScreenShotData frame;
    frame.videoName = VIDEO;
    frame.frameIndexOfVideo = index;
    frame.frameIndexOfDay = index;
    frame.realTime = time;
    frame.desktopFilePath = QStringLiteral("/usr/share/applications/editor.desktop");
    frame.ocrText = QStringLiteral("new text");
    return frame;
}

void readBeside()
{
    MonthRows rows(folder(), MONTH);
    MonthRows::Wanted wanted;
    wanted.text = QStringLiteral("text");
    int count = 0;
    rows.forEach(wanted, [&count](const ScreenShotData &) { ++count; });
    wanted = {};
    wanted.from = at(0);
    wanted.to = at(23);
    wanted.withText = false;
    rows.forEach(wanted, [&count](const ScreenShotData &) { ++count; });
    rows.ofFrame(VIDEO, 2);
    rows.ofDay(DAY, 2);
    rows.last();
}

void read(OcrScreenshotDatabase &store)
{
    SearchQuery query;
    query.text = QStringLiteral("text");
    query.limit = 100;
    store.getOcrScreenshotData(query, RowTexts::Read);
    query.startTime = static_cast<quint64>(at(0));
    query.endTime = static_cast<quint64>(at(23));
    store.getOcrScreenshotData(query, RowTexts::Left);
    store.getScreenShotDataOfVideo(VIDEO, 2);
    store.getScreenShotDataOfVideos({frameAt(0, 1), frameAt(0, 2), frameAt(0, 3)});
    store.getScreenShotDataOfDay(DAY, 2);
    store.getAppListOfDay(DAY);
    store.getFrameNumOfDay(DAY);
    store.getLastScreenshotRealTime();
}

void change(OcrScreenshotDatabase &store)
{
    const ScreenShotData frame = frameAt(at(11), 9);
    store.saveScreenshotData(frame);
    store.updateScreenshotOCRText(frame);
    store.deleteOcrDatabase(at(9), at(12));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    useAsHome();
    static OcrScreenshotDatabase store;
    const QString file =
        Scratch::write(QStringLiteral(".cache/tavel-ai-yestermark/traditional_database/") + MONTH +
                           QStringLiteral(".db"),
                       {reinterpret_cast<const char *>(data), size});
    readBeside();
    read(store);
    change(store);
    store.initDatabase(); // forgets the connection
    QFile::remove(file);
    QFile::remove(file + QStringLiteral("-journal"));
    return 0;
}
