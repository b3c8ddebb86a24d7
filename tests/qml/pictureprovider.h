#pragma once
// Stands for the provider of stored frames: a drawn desktop for every id with a number, none for
// one without. Owner: the QML engine. Thread: main.

#include "qml/videoinfodouble.h"

#include <QHash>
#include <QQuickImageProvider>

class PictureProvider : public QQuickImageProvider
{
public:
    explicit PictureProvider(VideoInfoDouble *videoInfo, QStringList *asked);

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

private:
    VideoInfoDouble *m_videoInfo;
    QStringList *m_asked;
    QHash<int, QImage> m_drawn;
};
