#pragma once
// Pictures of stored frames from outside the program: out of their videos, or, while the batch is
// open, from the safety copies that stand beside it. Owner: the command, on its stack. Thread: the
// one that made it.

#include "history/storeplace.h"
#include "video/frameextractor.h"

class FramePictures
{
public:
    explicit FramePictures(StorePlace place) : m_place(std::move(place)) {}

    /// Null if no file holds the frame, or none can be read.
    QImage picture(const QString &video, uint index);

    /// Where a frame's safety copy stands as long as it is needed.
    static QString safetyCopy(const QString &folder, const QString &video, uint index);

private:
    QImage fromVideo(const QString &path, uint index);

    StorePlace m_place;
    FrameExtractor m_extractor{nullptr};
};
