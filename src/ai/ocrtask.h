#pragma once
// A part of a picture whose text the user wants. Owner: whoever holds the copy. Thread: any; a
// value whose parts are implicitly shared.

#include <QImage>
#include <QString>

struct OCRTask {
    QImage image;
    QString taskID; ///< the page's, another one for each selection
    bool isFinished = false;
    bool isCancelled = false; ///< nobody waits for the answer any more
};
