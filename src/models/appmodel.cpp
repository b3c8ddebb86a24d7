#include "models/appmodel.h"

#include "models/appitem.h"

AppModel::AppModel(QObject *parent) : QAbstractListModel(parent) {}

int AppModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_appItems.size();
}

QVariant AppModel::data(const QModelIndex &index, int role) const
{
    Q_UNUSED(role)
    if (index.row() < 0 || index.row() >= m_appItems.size()) {
        return {};
    }
    return QVariant::fromValue(m_appItems.at(index.row()));
}

QHash<int, QByteArray> AppModel::roleNames() const
{
    return {{ModelDataRole, "modelData"}};
}

void AppModel::addAppItem(AppItem *item)
{
    // A child is nothing that the pages' garbage collector would take.
    item->setParent(this);
    beginInsertRows(QModelIndex(), m_appItems.size(), m_appItems.size());
    m_appItems.append(item);
    endInsertRows();
}

void AppModel::updateLastAppItemLength(int length)
{
    if (!m_appItems.isEmpty()) {
        m_appItems.last()->setTimeLength(length);
    }
}

void AppModel::clearAppModel()
{
    beginRemoveRows(QModelIndex(), 0, m_appItems.size() - 1);
    qDeleteAll(m_appItems);
    m_appItems.clear();
    endRemoveRows();
}
