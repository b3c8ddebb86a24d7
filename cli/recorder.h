#pragma once
// The recorder seen from outside: whether it runs and is to record, what bounds it, what it needs.
// Plain values, asked for once. Main thread.

#include <QString>

#include <optional>

struct StorePlace;

namespace Recorder
{
struct Settings {
    bool areInstalled = false; ///< else the others are not known
    bool isRecordingWanted = false;
    quint32 intervalSeconds = 0;
    quint64 ceilingBytes = 0;
};
Settings settings();

/// The id of the program's process, 0 if it cannot be told; nothing if it does not run.
std::optional<qint64> process();

struct Engines {
    bool reading = false;
    bool textMeaning = false;
    bool pictureMeaning = false; ///< optional
};
Engines engines();

struct Sizes {
    quint64 frames = 0; ///< bytes of videos and safety copies, which the ceiling bounds
    quint64 rows = 0;
    quint64 vectors = 0;
};

/// How much the files below the three folders hold.
Sizes sizes(const StorePlace &place);

/// Whether the file system of @p folder, or of the nearest one above it, has no room for a frame.
bool isDiskFull(const QString &folder);
} // namespace Recorder
