#pragma once
// Questions about a video file that stands on disk. Each call opens and closes the file itself.
// Any thread.

#include <QString>

namespace StoredVideo
{
/// How many frames the container declares for the first video stream; 0 on any failure, and for
/// a file without a video stream.
unsigned int declaredFrames(const QString &videoFile);

/// How many frames of the first video stream decode without an error; 0 if nothing can be read.
/// Decodes the whole file: a second or two for 100 frames of 1920x1080 on two cores.
unsigned int intactFrames(const QString &videoFile);
} // namespace StoredVideo
