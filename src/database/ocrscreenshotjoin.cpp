// OcrScreenshotDatabase's look-up of many frames at once: a video's rows are read once for all of
// its frames that are asked for.

#include "database/ocrscreenshotdatabase.h"

#include "database/daytext.h"
#include "database/screenshotrow.h"
#include "database/sqlite3connection.h"
#include "database/statement.h"
#include "database/stoppablescan.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include <sqlite3.h>

namespace
{
// Reads its rows in the order in which the look-up of a single frame does, so that the first row of
// a frame is the same one.
constexpr char FRAMES_OF_VIDEO[] =
    "SELECT * FROM screenshots WHERE real_time >= ? AND real_time <= ? AND video_name = ?";

using Frames = QVector<ScreenShotData>;
using Places = std::vector<int>; // in the list of frames

// As it is bound to the statement of a single look-up.
qint64 indexOf(const ScreenShotData &frame)
{
    return static_cast<qint32>(frame.frameIndexOfVideo);
}

// The frames of a video side by side, in order of their index.
Places inOrderOfVideos(const Frames &frames)
{
    Places places(static_cast<std::size_t>(frames.size()));
    std::iota(places.begin(), places.end(), 0);
    std::sort(places.begin(), places.end(), [&frames](int left, int right) {
        const ScreenShotData &one = frames.at(left);
        const ScreenShotData &other = frames.at(right);
        return one.videoName == other.videoName ? indexOf(one) < indexOf(other)
                                                : one.videoName < other.videoName;
    });
    return places;
}

/// The frames of one video that are asked for.
struct Wanted {
    const Frames &frames;
    Places::const_iterator first;
    Places::const_iterator last;

    const QString &video() const { return frames.at(*first).videoName; }
    qint64 indexAt(Places::const_iterator place) const { return indexOf(frames.at(*place)); }
    bool isSingle() const { return indexAt(first) == indexAt(last - 1); }
};

// The places at which the frame of the current row is wanted.
std::pair<Places::const_iterator, Places::const_iterator> placesOf(const Statement &row,
                                                                   const Wanted &wanted)
{
    const qint64 index = row.int64(3);
    const auto isBefore = [&wanted](int place, qint64 number) {
        return indexOf(wanted.frames.at(place)) < number;
    };
    const auto isBehind = [&wanted](qint64 number, int place) {
        return number < indexOf(wanted.frames.at(place));
    };
    const auto first = std::lower_bound(wanted.first, wanted.last, index, isBefore);
    return {first, std::upper_bound(first, wanted.last, index, isBehind)};
}

void readRows(Statement &rows, const Wanted &wanted, RowTexts texts, Frames &found)
{
    const DayText::Bounds day =
        DayText::boundsOfDay(DayText::toDate(DayText::dayOfVideo(wanted.video())));
    rows.bindInt64(1, day.start);
    rows.bindInt64(2, day.end);
    rows.bindText(3, wanted.video());
    ScreenshotRow::Dates dates;
    auto missing = wanted.last - wanted.first;
    while (missing > 0 && rows.step() == SQLITE_ROW) {
        const auto [first, last] = placesOf(rows, wanted);
        if (first == last || !found.at(*first).videoName.isEmpty()) {
            continue;
        }
        ScreenShotData data = ScreenshotRow::read(rows, texts);
        data.videoName = wanted.video();
        data.date = dates.of(data);
        for (auto place = first; place != last; ++place) {
            found[*place] = data;
        }
        missing -= last - first;
    }
}
} // namespace

QVector<ScreenShotData>
OcrScreenshotDatabase::getScreenShotDataOfVideos(const QVector<ScreenShotData> &frames,
                                                 RowTexts texts) const
{
    const StoppableScan stoppable;
    const Places places = inOrderOfVideos(frames);
    Frames found(frames.size());
    for (auto first = places.cbegin(); first != places.cend();) {
        if (StoppableScan::isToStop()) {
            return {};
        }
        const QString &video = frames.at(*first).videoName;
        const auto last = std::find_if(
            first, places.cend(), [&](int place) { return frames.at(place).videoName != video; });
        const Wanted wanted{frames, first, last};
        const auto connection = readDatabase(DayText::monthOfDayOrVideo(video));
        Statement rows(wanted.isSingle() ? nullptr : connection.get(), FRAMES_OF_VIDEO);
        if (rows.isPrepared() && !video.isEmpty()) {
            readRows(rows, wanted, texts, found);
        } else {
            // A frame by itself, and what tells of a fault in the usual way.
            for (auto place = first; place != last; ++place) {
                const ScreenShotData &frame = frames.at(*place);
                found[*place] = getScreenShotDataOfVideo(video, frame.frameIndexOfVideo);
                if (texts == RowTexts::Left) {
                    found[*place].ocrText = QString();
                }
            }
        }
        first = last;
    }
    return StoppableScan::isToStop() ? Frames() : found;
}
