#include "models/videoimageprovider.h"

#include "models/videoreader.h"

VideoImageProvider::VideoImageProvider(VideoReader *videoReader)
    : QQuickImageProvider(QQuickImageProvider::Image), m_videoReader(videoReader)
{
}

QImage VideoImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    Q_UNUSED(size)
    Q_UNUSED(requestedSize)
    if (id.contains(QLatin1String("previewImg"))) {
        QImage image = m_videoReader->getPreviewImage();
        m_isPreviewImgNull = image.isNull();
        return image;
    }
    if (id.contains(QLatin1String("curShowImg"))) {
        return m_videoReader->getCurShowImage();
    }
    if (id.contains(QLatin1String("textsearch"))) {
        return m_videoReader->getTextSearchResultImage(id);
    }
    if (id.contains(QLatin1String("imagesearch"))) {
        return m_videoReader->getImageSearchResultImage(id);
    }
    return {};
}
