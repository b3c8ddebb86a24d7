#pragma once
// The files of a history below one root: which videos, safety copies and left-overs there are.
// Plain values, filled by one walk. Any thread.

#include "history/findings.h"

#include <QMap>
#include <QSet>

namespace HistoryChecker
{
/// Everything that stands on disk for one video.
struct VideoFiles {
    QString path;           ///< of the video itself, empty if it is not there
    QString backup;         ///< of its ".bak"
    QString pending;        ///< of its ".pending.mp4"
    QSet<uint> images;      ///< numbers of its PNG files
    unsigned declared = 0;  ///< frames that the video declares
    unsigned reachable = 0; ///< the most that video, backup and pending file declare
};

struct StoredFiles {
    QMap<QString, VideoFiles> videos; ///< by bare name
};

/// Walks `screenshots` below @p root, which is a cache or box directory of the program. Names and
/// places that are wrong go into @p report.
StoredFiles walkFiles(const QString &root, bool workInProgress, Report &report);

/// Reports what others may read among the history's own directories below @p root.
void checkModes(const QString &root, Report &report);

/// Whether @p name is a finished video's: "yyyy-MM-dd_hh-mm-ss.mp4" of a moment of the calendar.
bool isVideoName(const QString &name);
} // namespace HistoryChecker
