#pragma once
// Hands the pictures on show to the pages by id. Owner: the QML engine once it is registered there.
// Thread: main, as long as no page loads a picture asynchronously: the hover rests on that.

#include <QQuickImageProvider>

class VideoReader;

class VideoImageProvider : public QQuickImageProvider
{
public:
    /// @p videoReader must outlive this object.
    explicit VideoImageProvider(VideoReader *videoReader);

    /// The reader's latest picture of the kind that @p id names, whatever number follows there: it
    /// only tells one request from another. The picture of a hit goes by its whole @p id. Null for
    /// any other id. @p size is not written, and no picture is scaled.
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

    /// Whether the preview handed out last was null: there was nothing under the pointer.
    bool isPreviewImgNull() const { return m_isPreviewImgNull; }

private:
    VideoReader *m_videoReader;
    bool m_isPreviewImgNull = true;
};
