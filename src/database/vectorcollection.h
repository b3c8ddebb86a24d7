#pragma once
// What saving, deleting and searching of vectors share: the names of a row's fields and how the
// store's answers are told. Owner: none, EmbeddingScreenshotDatabase and the search for the nearest
// frames use it. Thread: any.

#include "vectordb/database.h"

#include <QDebug>

namespace VectorCollection
{
inline constexpr char ID[] = "id";
inline constexpr char VECTOR[] = "vector";
inline constexpr char VIDEO_NAME[] = "videoName";
inline constexpr char FRAME_INDEX[] = "frameIndexOfVideo";
inline constexpr char REAL_TIME[] = "realTime";

/// False, with @p prefix, code and message on the log, for anything but success.
inline bool checkStatus(const char *prefix, const VectorDB::Status &status)
{
    if (status.IsOk()) {
        return true;
    }
    qDebug() << prefix << " " << status.Code() << " " << status.Message().c_str();
    return false;
}
} // namespace VectorCollection
