#pragma once
// Whether the numbers of frames in their videos and days are those that a recorder gives. Plain
// functions. Any thread.

#include "history/storedfiles.h"
#include "history/storedrows.h"

namespace HistoryChecker
{
/// A recorder counts a frame's place in its video and in its day up together, so their difference
/// is the same for all of a video. A day's next video goes on where the one before it ended, or,
/// after a start, at the number of rows that the day has. Only a deletion may break that: it sets
/// the day's number back, or leaves later starts fewer rows to count; the numbers of the rows in
/// their file (column `id`), which are never given twice, tell that there was one.
void checkNumbering(const StoredRows &stored, const StoredFiles &files, Report &report);
} // namespace HistoryChecker
