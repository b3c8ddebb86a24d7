#include "history/historychecker.h"

#include "history/numbering.h"
#include "history/storedfiles.h"
#include "history/storedrows.h"
#include "video/storedvideo.h"

#include <QDateTime>
#include <QDir>
#include <QHash>

#include <algorithm>

namespace HistoryChecker
{
namespace
{
constexpr uint framesOfBatch = 100;

QString frameName(const QString &video, uint index)
{
    return video + QLatin1Char('#') + QString::number(index);
}

QString textOfTime(qint64 time, const QString &format)
{
    return QDateTime::fromSecsSinceEpoch(time).toString(format);
}

/// The rows of all roots together: a vector may lie elsewhere than its row.
struct KnownRows {
    QHash<QString, qint64> times; ///< by frame
    QSet<QString> months;
    QSet<QString> framesWithVector;
};

class RootCheck
{
public:
    RootCheck(StoredFiles files, StoredRows stored, Report &report)
        : m_files(std::move(files)), m_stored(std::move(stored)), m_report(report)
    {
    }

    void checkRows(KnownRows &known)
    {
        known.months |= m_stored.months;
        for (const StoredRow &row : qAsConst(m_stored.rows)) {
            if (row.videoName.isEmpty()) {
                add(Kind::RowWithoutVideo, row, QString());
                continue;
            }
            checkPlace(row);
            if (known.times.contains(frameName(row.videoName, row.indexOfVideo))) {
                add(Kind::DoubledRow, row, QString());
            }
            known.times.insert(frameName(row.videoName, row.indexOfVideo), row.time);
            ++m_rowsOfVideo[row.videoName];
            checkFrame(row);
        }
        checkNumbering(m_stored, m_files, m_report);
    }

    void checkVideos(bool decode)
    {
        for (auto video = m_files.videos.cbegin(); video != m_files.videos.cend(); ++video) {
            const auto frames =
                std::max<int>(static_cast<int>(video->reachable), video->images.size());
            const int rows = m_rowsOfVideo.value(video.key());
            if (frames > rows) {
                m_report.add({Kind::FrameWithoutRow, video.key(),
                              QStringLiteral("%1 frames, %2 rows").arg(frames).arg(rows)});
            }
            if (decode && video->declared > 0) {
                checkDecoding(video.key(), *video);
            }
        }
    }

private:
    void add(Kind kind, const StoredRow &row, const QString &detail)
    {
        m_report.add({kind, frameName(row.videoName, row.indexOfVideo), detail, row.time});
    }

    void checkPlace(const StoredRow &row)
    {
        if (!isVideoName(row.videoName) || row.indexOfVideo < 1 ||
            row.indexOfVideo > framesOfBatch) {
            add(Kind::ImpossibleRow, row, QString());
        }
        const QString month = textOfTime(row.time, QStringLiteral("yyyy-MM"));
        const QString day = textOfTime(row.time, QStringLiteral("yyyy-MM-dd"));
        if (month != row.month) {
            add(Kind::RowInWrongMonth, row,
                QStringLiteral("%1 stands in %2.db").arg(day, row.month));
        } else if (day != row.videoName.left(10)) {
            add(Kind::RowOfAnotherDay, row, day);
        }
    }

    void checkFrame(const StoredRow &row)
    {
        const VideoFiles video = m_files.videos.value(row.videoName);
        if (row.indexOfVideo > video.reachable && !video.images.contains(row.indexOfVideo)) {
            add(Kind::RowWithoutFrame, row,
                QStringLiteral("%1 frames, %2 images")
                    .arg(video.reachable)
                    .arg(video.images.size()));
        }
    }

    void checkDecoding(const QString &name, const VideoFiles &video)
    {
        const unsigned intact = StoredVideo::intactFrames(video.path);
        if (intact < video.declared) {
            m_report.add({Kind::UndecodableFrame, name,
                          QStringLiteral("%1 of %2 decode").arg(intact).arg(video.declared)});
        }
    }

    StoredFiles m_files;
    StoredRows m_stored;
    Report &m_report;
    QHash<QString, int> m_rowsOfVideo;
};

Kind kindOfLoneVector(const StoredVector &vector, const KnownRows &known)
{
    if (!known.months.contains(textOfTime(vector.time, QStringLiteral("yyyy-MM")))) {
        return Kind::VectorOfMissingMonth;
    }
    return vector.time > QDateTime::currentSecsSinceEpoch() ? Kind::VectorOfTheFuture
                                                            : Kind::VectorWithoutRow;
}

void checkVectors(const QVector<StoredVector> &vectors, KnownRows &known, Report &report)
{
    for (const StoredVector &vector : vectors) {
        const QString frame = frameName(vector.videoName, vector.indexOfVideo);
        const auto row = known.times.constFind(frame);
        if (row == known.times.constEnd()) {
            report.add({kindOfLoneVector(vector, known), frame, QString(), vector.time});
        } else if (known.framesWithVector.contains(frame)) {
            report.add({Kind::DoubledVector, frame, QString(), vector.time});
        } else if (*row != vector.time) {
            report.add({Kind::VectorOfAnotherTime, frame,
                        QStringLiteral("%1 s later").arg(vector.time - *row), vector.time});
        }
        known.framesWithVector.insert(frame);
    }
}

void reportRowsWithoutVector(const KnownRows &known, Report &report)
{
    QMap<QString, int> missing;
    for (auto row = known.times.cbegin(); row != known.times.cend(); ++row) {
        if (!known.framesWithVector.contains(row.key())) {
            ++missing[row.key().section(QLatin1Char('#'), 0, 0)];
        }
    }
    for (auto video = missing.cbegin(); video != missing.cend(); ++video) {
        report.add({Kind::RowWithoutVector, video.key(), QStringLiteral("%1 rows").arg(*video)});
    }
}
} // namespace

Report check(const QString &home, const Options &options)
{
    Report report;
    KnownRows known;
    QVector<StoredVector> vectors;
    for (const char *place : {"/.cache", "/.vault"}) {
        const QString root = home + QLatin1String(place) + QLatin1String("/tavel-ai-yestermark");
        if (!QDir(root).exists()) {
            continue;
        }
        checkModes(root, report);
        // The rows first: a recorder stores a frame's picture before its row.
        StoredRows rows = readRows(root, options.workInProgress, report);
        StoredFiles files = walkFiles(root, options.workInProgress, report);
        RootCheck rootCheck(std::move(files), std::move(rows), report);
        rootCheck.checkRows(known);
        rootCheck.checkVideos(options.decode);
        vectors += readVectors(root, options.workInProgress, report);
    }
    checkVectors(vectors, known, report);
    reportRowsWithoutVector(known, report);
    return report;
}
} // namespace HistoryChecker
