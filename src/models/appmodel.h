#pragma once
// The runs of one day, in the order of capture. Owner: the DayAppModel that it stands in. Thread:
// main.

#include <QAbstractListModel>
#include <QList>

class AppItem;

class AppModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role { ModelDataRole = Qt::UserRole + 1 };

    explicit AppModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    /// The AppItem of a row, whatever the role.
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Appends @p item and takes it over.
    void addAppItem(AppItem *item);

    /// Sets the length of the last run, in pixels of the axis. Nothing if there is none.
    void updateLastAppItemLength(int length);

    void clearAppModel();

private:
    QList<AppItem *> m_appItems; ///< children of this object
};
