#pragma once
// How a frame is named on the command line: by its video and place in it, "VIDEO.mp4#INDEX", or by
// its day and number in it, "yyyy-MM-dd#NUMBER", both counted from 1. Plain value, any thread.

#include <QString>

#include <optional>

struct FrameName {
    QString video; ///< empty where the frame is named by its day
    QString day;   ///< empty where it is named by its video
    uint number = 0;

    static std::optional<FrameName> parse(const QString &text);
    static QString ofVideo(const QString &video, uint index);
};
