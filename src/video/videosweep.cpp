// The part of VideoComposer that knows the PNG files: the sweep at start-up, which turns what a
// former run left into videos, and their removal behind a finished video.

#include "video/videocomposer.h"

#include "picturememory/packedpicture.h"
#include "video/disksync.h"
#include "video/storedvideo.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>

#include <algorithm>

namespace
{
const QLatin1String videoSuffix(".mp4");
const QLatin1String imageSuffix(".png");

/// The files of @p directory in plain order of their names, which is the order of capture.
QFileInfoList sortedFiles(const QDir &directory, const QStringList &nameFilters)
{
    QFileInfoList files = directory.entryInfoList(nameFilters, QDir::Files, QDir::NoSort);
    std::sort(files.begin(), files.end(), [](const QFileInfo &left, const QFileInfo &right) {
        return left.fileName() < right.fileName();
    });
    return files;
}

/// Null if unreadable. The encoder reads 4 bytes a pixel as blue, green, red, alpha; a PNG file
/// of another depth (grey, palette, 16 bit) is brought to that without a change of its colours.
QImage readImage(const QString &path)
{
    QImage image(path);
    if (image.isNull() || image.format() == QImage::Format_RGB32 ||
        image.format() == QImage::Format_ARGB32) {
        return image;
    }
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32
                                                         : QImage::Format_RGB32);
}
} // namespace

void VideoComposer::convertLocalImageFilesToVideo(const QString &dirPath)
{
    QMap<QString, QStringList> imagesOfVideo;
    const QFileInfoList files = sortedFiles(QDir(dirPath), {QStringLiteral("*.png")});
    for (const QFileInfo &file : files) {
        const QString name = file.fileName();
        const int suffix = name.indexOf(videoSuffix);
        if (suffix >= 0) {
            imagesOfVideo[name.left(suffix + videoSuffix.size())] += file.absoluteFilePath();
        }
    }
    // One video's images at a time, and packed: unpacked a hundred of them are up to 3 GB.
    for (auto video = imagesOfVideo.cbegin(); video != imagesOfVideo.cend(); ++video) {
        const QString videoFile = dirPath + QLatin1Char('/') + video.key();
        m_unfinished.begin(videoFile); // what is erased from here on may have been read already
        QVector<QImage> images;
        for (const QString &path : video.value()) {
            images.append(packedPicture(readImage(path)));
        }
        const auto unreadable = std::count_if(images.cbegin(), images.cend(),
                                              [](const QImage &image) { return image.isNull(); });
        if (!keepFinishedVideo(videoFile, images.size() - static_cast<int>(unreadable))) {
            convertImagesToVideo(images, videoFile);
        }
        endWayOf(videoFile);
    }
}

/// Guards the frames that only the video holds. A kill during the removal of the PNG files, or a
/// PNG file that couldn't be removed, leaves a finished video beside a few of its PNG files, and
/// encoding those few would overwrite all other frames.
///
/// The video is kept, and true given, if it holds more frames than there are readable PNG files,
/// or if the first PNG file is gone, which is removed first (a video that lost frames while
/// encoding may hold fewer than are left). So that no frame is lost to a video that only looks
/// finished, as after a loss of power before the sync, frames count only if they decode; and the
/// PNG files go only if all of them do. A missing or half-written video has no index, so no
/// frames. A video beside all of its PNG files is encoded anew: nothing is lost by that.
bool VideoComposer::keepFinishedVideo(const QString &videoFile, int readableImages)
{
    const auto readable = static_cast<unsigned int>(readableImages);
    const unsigned int declared = getFrameNumberFromVideo(videoFile);
    const bool removalBegun = !QFile::exists(videoFile + QStringLiteral("_001.png"));
    if (declared == 0 || (declared <= readable && !removalBegun)) {
        return false;
    }
    const unsigned int intact = StoredVideo::intactFrames(videoFile);
    if (intact < declared) {
        qDebug() << "Error: Video is damaged:" << videoFile;
        return intact > readable;
    }
    if (syncToDisk(videoFile)) {
        deleteAlreadyConvertedImages(videoFile);
    }
    return true;
}

void VideoComposer::deleteAlreadyConvertedImages(const QString &videoFile)
{
    const QString videoName = videoFile.section(QLatin1Char('/'), -1);
    const QFileInfoList files = sortedFiles(QDir(QFileInfo(videoFile).absolutePath()), {});
    for (const QFileInfo &file : files) {
        const QString name = file.fileName();
        if (name.startsWith(videoName) && name.endsWith(imageSuffix)) {
            removeFile(file.absoluteFilePath());
        }
    }
}

void VideoComposer::removeFile(const QString &path)
{
    if (QFile::exists(path) && !QFile::remove(path)) {
        qDebug() << "Failed to delete file:" << path;
    }
}

unsigned int VideoComposer::getFrameNumberFromVideo(const QString &videoFile)
{
    return StoredVideo::declaredFrames(videoFile);
}
