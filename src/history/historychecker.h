#pragma once
// Compares the files, rows and vectors that the program has stored below a home directory, and
// tells every disagreement between them that neither its rules nor a kill at any moment explain.
// Reads only. Owner: whoever asks, on its stack. Any thread.

#include "history/findings.h"

namespace HistoryChecker
{
struct Options {
    /// A recorder runs, or was killed and has not been started since: what it is still to finish
    /// is no disagreement.
    bool workInProgress = false;
    /// Also decode every video whole: a second or two for each at 1920x1080.
    bool decode = false;
};

/// Looks at `.cache/tavel-ai-yestermark` and, where it is mounted, `.vault/tavel-ai-yestermark`
/// below @p home. A store of 150,000 frames takes some ten seconds. What cannot be read is a
/// finding like others.
Report check(const QString &home, const Options &options = {});
} // namespace HistoryChecker
