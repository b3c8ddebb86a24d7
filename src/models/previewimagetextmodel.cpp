#include "models/previewimagetextmodel.h"

#include "models/previewimagetextitem.h"
#include "models/wholepixels.h"

#include <QDebug>
#include <QPolygonF>

PreviewImageTextModel::PreviewImageTextModel(QObject *parent) : QAbstractListModel(parent) {}

int PreviewImageTextModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_textItems.size();
}

QVariant PreviewImageTextModel::data(const QModelIndex &index, int role) const
{
    if (index.row() < 0 || index.row() >= m_textItems.size() || role != ModelDataRole) {
        return {};
    }
    return QVariant::fromValue(m_textItems.at(index.row()));
}

QHash<int, QByteArray> PreviewImageTextModel::roleNames() const
{
    return {{ModelDataRole, "modelData"}};
}

PreviewImageTextItem *PreviewImageTextModel::makeItem(const OCRTextData &textData)
{
    const QRectF bounds = QPolygonF(textData.cornerPoints).boundingRect();
    auto *textItem = new PreviewImageTextItem(this);
    textItem->setX(wholePixels(bounds.left()));
    textItem->setY(wholePixels(bounds.top()));
    textItem->setTextWidth(wholePixels(bounds.width()));
    textItem->setTextHeight(wholePixels(bounds.height()));
    textItem->setText(textData.text);
    // The item's address, never its text: what stands on a screen is nothing for the log.
    qDebug() << " text  " << textItem;
    return textItem;
}

void PreviewImageTextModel::resetPreviewImageTextModel(const QVector<OCRTextData> &textData)
{
    clearPreviewImageTextModel();
    if (textData.isEmpty()) {
        return;
    }
    beginInsertRows(QModelIndex(), 0, textData.size() - 1);
    for (const OCRTextData &line : textData) {
        m_textItems.append(makeItem(line));
    }
    endInsertRows();
}

void PreviewImageTextModel::clearPreviewImageTextModel()
{
    beginRemoveRows(QModelIndex(), 0, m_textItems.size() - 1);
    qDeleteAll(m_textItems);
    m_textItems.clear();
    endRemoveRows();
}
