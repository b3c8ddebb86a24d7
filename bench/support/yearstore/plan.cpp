#include "support/yearstore/plan.h"

#include "support/yearstore/texts.h"

#include <QDateTime>
#include <QRandomGenerator>

#include <algorithm>
#include <cmath>

namespace YearStore
{
namespace
{
constexpr int framesPerVideo = 100;
constexpr int secondsBetweenFrames = 5;
constexpr int workingHour = 9;
constexpr int workingSeconds = 9 * 3600;
constexpr int meanFramesOfRun = 25;

/// The last @p count of them, ascending; 0 for those of a year.
QVector<QDate> workingDays(const QDate &lastDay, int count)
{
    const QDate yearBefore = lastDay.addYears(-1);
    QVector<QDate> days;
    for (QDate day = lastDay; count > 0 ? days.size() < count : day > yearBefore;
         day = day.addDays(-1)) {
        if (day.dayOfWeek() <= Qt::Friday) {
            days.prepend(day);
        }
    }
    return days;
}

/// How many videos each day has: all of @p videos, spread by a random weight from 0.5 to 1.5.
QVector<int> videosOfDays(int days, int videos, QRandomGenerator &random)
{
    QVector<double> upTo;
    double total = 0.0;
    for (int day = 0; day < days; ++day) {
        total += 0.5 + random.generateDouble();
        upTo.append(total);
    }
    QVector<int> counts;
    int given = 0;
    for (const double part : upTo) {
        const int reached = static_cast<int>(std::lround(part / total * videos));
        counts.append(reached - given);
        given = reached;
    }
    return counts;
}

class DayPlanner
{
public:
    DayPlanner(Plan &plan, QRandomGenerator &random) : m_plan(plan), m_random(random) {}

    void addDay(const QDate &day, int frames)
    {
        const int idle = std::max(0, workingSeconds - frames * secondsBetweenFrames);
        const int longestPause = idle * meanFramesOfRun / std::max(frames, 1);
        qint64 time = QDateTime(day, QTime(workingHour, 0)).toSecsSinceEpoch();
        qint64 idleLeft = idle;
        int leftOfRun = 0;
        for (int index = 0; index < frames; ++index) {
            PlannedFrame frame;
            if (leftOfRun == 0) {
                frame.startsRun = true;
                leftOfRun = m_random.bounded(1, 2 * meanFramesOfRun);
                m_application = otherApplication();
                const qint64 pause = std::min<qint64>(idleLeft, m_random.bounded(longestPause + 1));
                idleLeft -= pause;
                time += pause;
            }
            --leftOfRun;
            if (index % framesPerVideo == 0) {
                beginVideo(time, std::min(framesPerVideo, frames - index));
            }
            frame.time = time;
            frame.video = m_plan.videos.size() - 1;
            frame.indexOfVideo = index % framesPerVideo + 1;
            frame.indexOfDay = index + 1;
            frame.application = m_application;
            m_plan.frames.push_back(frame);
            time += secondsBetweenFrames;
        }
    }

private:
    int otherApplication()
    {
        const int step = m_random.bounded(1, applications().size());
        return (m_application + step) % applications().size();
    }

    void beginVideo(qint64 time, int frames)
    {
        const QString name = QDateTime::fromSecsSinceEpoch(time).toString(
            QStringLiteral("yyyy-MM-dd_hh-mm-ss'.mp4'"));
        m_plan.videos.append({name, frames});
    }

    Plan &m_plan;
    QRandomGenerator &m_random;
    int m_application = 0;
};

/// Every so many frames one, so that @p wanted of all have the mark.
template <typename Mark>
void markSome(std::vector<PlannedFrame> &frames, int wanted, double phase, Mark mark)
{
    const int marks = std::min(wanted, static_cast<int>(frames.size()));
    for (int place = 0; place < marks; ++place) {
        const double part = (place + phase) / marks;
        mark(frames[static_cast<std::size_t>(part * static_cast<double>(frames.size()))]);
    }
}
} // namespace

const QVector<QByteArray> &applications()
{
    static const QVector<QByteArray> entries{
        "/usr/share/applications/firefox-esr.desktop",
        "/usr/share/applications/org.kde.konsole.desktop",
        "/usr/share/applications/org.kde.kate.desktop",
        "/usr/share/applications/libreoffice-writer.desktop",
        "/usr/share/applications/libreoffice-calc.desktop",
        "/usr/share/applications/thunderbird.desktop",
        "/usr/share/applications/org.telegram.desktop.desktop",
        "/usr/share/applications/org.gnome.Evince.desktop",
        "/usr/share/applications/code.desktop",
        "/usr/share/applications/lupine.desktop",
        "/usr/share/applications/org.inkscape.Inkscape.desktop",
        "/usr/share/applications/vlc.desktop"};
    return entries;
}

Plan plan(const Options &options)
{
    Q_ASSERT(options.rows > 0);
    QRandomGenerator random(options.seed);
    const QVector<QDate> days = workingDays(options.lastDay, options.days);
    const int videos = (options.rows + framesPerVideo - 1) / framesPerVideo;
    const QVector<int> counts = videosOfDays(days.size(), videos, random);
    Plan plan;
    plan.videos.reserve(videos);
    plan.frames.reserve(static_cast<std::size_t>(options.rows));
    DayPlanner planner(plan, random);
    for (int day = 0; day < days.size(); ++day) {
        const int left = options.rows - static_cast<int>(plan.frames.size());
        planner.addDay(days[day], std::min(left, counts[day] * framesPerVideo));
    }
    // In different rows, so that one cannot be found by the other.
    markSome(plan.frames, 40, 0.25, [](PlannedFrame &frame) { frame.hasRareWord = true; });
    markSome(plan.frames, 24, 0.8, [](PlannedFrame &frame) { frame.hasRareChineseWord = true; });
    return plan;
}

Options chosen(QStringList *arguments, const Options &usual)
{
    const int place = arguments->indexOf(QStringLiteral("--rows"));
    if (place < 0) {
        return usual;
    }
    Options options = usual;
    options.rows = arguments->value(place + 1).toInt();
    if (options.rows <= 0) {
        qFatal("--rows wants a number of frames");
    }
    arguments->erase(arguments->begin() + place, arguments->begin() + place + 2);
    const double usualDays = workingDays(usual.lastDay, usual.days).size();
    options.days = std::max(1, int(std::lround(usualDays * options.rows / usual.rows)));
    return options;
}

Facts facts(const Options &options)
{
    Facts facts;
    const Plan planned = plan(options);
    facts.rareWord = QString::fromUtf8(RARE_WORD);
    facts.rareChineseWord = QString::fromUtf8(RARE_CHINESE_WORD);
    facts.commonWord = QString::fromUtf8(COMMON_WORD);
    facts.absentWord = QString::fromUtf8(ABSENT_WORD);
    facts.rows = static_cast<int>(planned.frames.size());
    facts.videos = planned.videos.size();
    QString day;
    int framesOfDay = 0;
    for (const PlannedVideo &video : planned.videos) {
        if (dayOf(video) != day) {
            day = dayOf(video);
            framesOfDay = 0;
            facts.days.append(day);
        }
        framesOfDay += video.frames;
        if (facts.days.size() == 1) {
            facts.framesOfFirstDay = framesOfDay;
        }
        if (framesOfDay > facts.framesOfBusiestDay) {
            facts.framesOfBusiestDay = framesOfDay;
            facts.busiestDay = day;
        }
    }
    facts.firstDay = facts.days.first();
    facts.lastDay = facts.days.last();
    facts.lastVideo = planned.videos.last().name;
    facts.framesOfLastVideo = planned.videos.last().frames;
    facts.firstTime = planned.frames.front().time;
    facts.lastTime = planned.frames.back().time;
    for (const PlannedFrame &frame : planned.frames) {
        facts.rareWordRows += frame.hasRareWord ? 1 : 0;
        facts.rareChineseWordRows += frame.hasRareChineseWord ? 1 : 0;
    }
    return facts;
}
} // namespace YearStore
