#pragma once
// One stored frame with its picture. Owner: whoever holds the copy. Thread: any; the picture is
// implicitly shared.

#include <QImage>
#include <QString>

struct ScreenShotImage {
    qint64 realTime = 0;     ///< seconds since the epoch
    QString desktopFilePath; ///< desktop entry of the application in front
    QImage image;            ///< null if it cannot be read
};
