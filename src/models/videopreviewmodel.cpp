#include "models/videopreviewmodel.h"

#include "models/videopreviewitem.h"

#include <utility>

VideoPreviewModel::VideoPreviewModel(QObject *parent) : QAbstractListModel(parent) {}

int VideoPreviewModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rowCount.load();
}

QVariant VideoPreviewModel::data(const QModelIndex &index, int role) const
{
    if (index.row() < 0 || index.row() >= m_previewItems.size() || role != ModelDataRole) {
        return {};
    }
    return QVariant::fromValue(m_previewItems.at(index.row()));
}

QHash<int, QByteArray> VideoPreviewModel::roleNames() const
{
    return {{ModelDataRole, "modelData"}};
}

VideoPreviewItem *VideoPreviewModel::makeItem(const VideoPreviewImageItem &item)
{
    auto *previewItem = new VideoPreviewItem(this);
    previewItem->setVideoPreviewImageSource(item.videoPreviewImageSource);
    previewItem->setPreviewImageDate(item.previewImageDate);
    previewItem->setPreviewImageTime(item.previewImageTime);
    previewItem->setPreviewAppName(item.previewAppName);
    previewItem->setPreviewAppIcon(item.previewAppIcon);
    previewItem->setFrameLengthOfDay(item.frameLengthOfDay);
    previewItem->setImageDateIndex(item.imageDateIndex);
    return previewItem;
}

void VideoPreviewModel::addItem(const VideoPreviewImageItem &item)
{
    VideoPreviewItem *previewItem = makeItem(item);
    beginInsertRows(QModelIndex(), m_previewItems.size(), m_previewItems.size());
    m_previewItems.append(previewItem);
    m_rowCount = m_previewItems.size();
    endInsertRows();
}

void VideoPreviewModel::resetVideoPreviewModel(const QList<VideoPreviewImageItem> &items)
{
    clearVideoPreviewModel();
    if (items.isEmpty()) {
        return;
    }
    beginInsertRows(QModelIndex(), 0, items.size() - 1);
    for (const VideoPreviewImageItem &item : items) {
        m_previewItems.append(makeItem(item));
    }
    m_rowCount = m_previewItems.size();
    endInsertRows();
}

void VideoPreviewModel::clearVideoPreviewModel()
{
    beginRemoveRows(QModelIndex(), 0, m_previewItems.size() - 1);
    qDeleteAll(m_previewItems);
    m_previewItems.clear();
    m_rowCount = 0;
    endRemoveRows();
}

void VideoPreviewModel::resetTimeFormat()
{
    for (VideoPreviewItem *previewItem : std::as_const(m_previewItems)) {
        Q_EMIT previewItem->previewImageTimeChanged();
    }
}
