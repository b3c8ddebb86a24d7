#include "cli/framepictures.h"

#include <QFile>

namespace
{
// No batch is longer; the reader counts microseconds in 32 bits, which hold some thousand frames.
constexpr uint FRAMES_OF_BATCH = 100;
} // namespace

QString FramePictures::safetyCopy(const QString &folder, const QString &video, uint index)
{
    constexpr int digits = 3;
    return QStringLiteral("%1/%2_%3.png")
        .arg(folder, video)
        .arg(index, digits, 10, QLatin1Char('0'));
}

QImage FramePictures::picture(const QString &video, uint index)
{
    const QString folder = m_place.folderOfDay(video);
    const QString path = folder + QLatin1Char('/') + video;
    QImage picture = fromVideo(path, index);
    if (picture.isNull()) {
        picture.load(safetyCopy(folder, video, index), "PNG");
    }
    // The batch may have become its video between the two.
    return picture.isNull() ? fromVideo(path, index) : picture;
}

QImage FramePictures::fromVideo(const QString &path, uint index)
{
    if (index > FRAMES_OF_BATCH || !QFile::exists(path)) {
        return {};
    }
    m_extractor.setAbsoluteVideoName(path);
    const QImage picture = m_extractor.requestGetFrame(static_cast<int>(index) - 1);
    // Sides of videos are even; the reader gives the last few frames one row too many.
    return picture.height() % 2 == 0 ? picture
                                     : picture.copy(0, 0, picture.width(), picture.height() - 1);
}
