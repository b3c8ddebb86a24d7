#pragma once
// The hits of a search as the pages list them, in the order in which they were added. Owner:
// VideoInfo, by value. Thread: main; rowCount() any.

#include "models/videopreviewimageitem.h"

#include <QAbstractListModel>
#include <QList>

#include <atomic>

class VideoPreviewItem;

class VideoPreviewModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role { ModelDataRole = Qt::UserRole + 1 };

    explicit VideoPreviewModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    /// The VideoPreviewItem of a row.
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// By row; valid until the rows change.
    const QList<VideoPreviewItem *> &items() const { return m_previewItems; }

    void addItem(const VideoPreviewImageItem &item);
    /// Replaces all rows by @p items.
    void resetVideoPreviewModel(const QList<VideoPreviewImageItem> &items);
    void clearVideoPreviewModel();

    /// Has every row's time read anew, after the desktop changed its choice of hours.
    void resetTimeFormat();

private:
    VideoPreviewItem *makeItem(const VideoPreviewImageItem &item);

    QList<VideoPreviewItem *> m_previewItems; ///< children of this object
    std::atomic<int> m_rowCount{0};           ///< of these, for other threads
};
