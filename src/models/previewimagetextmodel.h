#pragma once
// The lines of text that were read in a part of a picture, in the reader's order. Owner: VideoInfo,
// by value. Thread: main.

#include "ai/ocrtextdata.h"

#include <QAbstractListModel>
#include <QList>
#include <QVector>

class PreviewImageTextItem;

class PreviewImageTextModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role { ModelDataRole = Qt::UserRole + 1 };

    explicit PreviewImageTextModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    /// The PreviewImageTextItem of a row.
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Replaces all rows by @p textData; each stands where the upright rectangle around its corners
    /// does, cut off to whole pixels.
    void resetPreviewImageTextModel(const QVector<OCRTextData> &textData);
    void clearPreviewImageTextModel();

private:
    PreviewImageTextItem *makeItem(const OCRTextData &textData);

    QList<PreviewImageTextItem *> m_textItems; ///< children of this object
};
