#include "models/dayappmodel.h"

#include "models/appitem.h"
#include "models/appmodel.h"

#include <QDebug>

#include <utility>

DayAppModel::DayAppModel(QObject *parent, const DateTimeFormatter *formatter)
    : QAbstractListModel(parent), m_dateTimeFormatter(formatter)
{
}

int DayAppModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_dates.size();
}

QVariant DayAppModel::data(const QModelIndex &index, int role) const
{
    if (index.row() < 0 || index.row() >= m_dates.size()) {
        qWarning() << "Invalid index in DayAppModel::data!";
        return {};
    }
    const QString &day = m_dates.at(index.row());
    const auto appModel = m_appModels.constFind(day);
    if (appModel == m_appModels.constEnd()) {
        qWarning() << "Date not found in appModelMap!";
        return {};
    }
    switch (role) {
    case DateRole:
        return shownDate(day);
    case AppModelRole:
        return QVariant::fromValue(*appModel);
    default:
        return {};
    }
}

QString DayAppModel::shownDate(const QString &day) const
{
    if (!m_dateTimeFormatter) {
        qWarning() << "data"
                   << "Failed to get DateTimeFormatter instance!";
        return day;
    }
    return m_dateTimeFormatter->getFormatDateString(day);
}

QHash<int, QByteArray> DayAppModel::roleNames() const
{
    return {{DateRole, "date"}, {AppModelRole, "appModel"}};
}

AppModel *DayAppModel::makeAppModel(const QList<AppItemInfo> &appItemList)
{
    auto *appModel = new AppModel(this);
    for (const AppItemInfo &appItem : appItemList) {
        appModel->addAppItem(new AppItem(appItem));
    }
    return appModel;
}

void DayAppModel::insertDayAppModel(int index, const QString &day,
                                    const QList<AppItemInfo> &appItemList)
{
    if (index < 0 || index > m_dates.size()) {
        qWarning() << "Invalid index: index is out of range";
        return;
    }
    if (day.isEmpty() || appItemList.isEmpty()) {
        qWarning() << "Invalid input parameters: date or appItemList is empty";
        return;
    }
    if (m_appModels.contains(day)) {
        return;
    }
    AppModel *appModel = makeAppModel(appItemList);
    beginInsertRows(QModelIndex(), index, index);
    m_appModels.insert(day, appModel);
    m_dates.insert(index, day);
    endInsertRows();
    signalAllRows();
}

void DayAppModel::addDayAppModel(const QString &day, const QList<AppItemInfo> &appItemList)
{
    AppModel *appModel = makeAppModel(appItemList);
    beginInsertRows(QModelIndex(), m_dates.size(), m_dates.size());
    m_appModels.insert(day, appModel);
    m_dates.append(day);
    endInsertRows();
    signalAllRows();
}

// The delegates of the pages hold the place of their row, which an inserted one shifts.
void DayAppModel::signalAllRows()
{
    Q_EMIT dataChanged(index(0), index(m_dates.size() - 1));
}

void DayAppModel::updateModelAddAppItem(const QString &day, const AppItemInfo &appItem)
{
    if (AppModel *appModel = m_appModels.value(day)) {
        appModel->addAppItem(new AppItem(appItem));
    }
}

void DayAppModel::updateModelLastAppItemLength(const QString &day, int length)
{
    if (AppModel *appModel = m_appModels.value(day)) {
        appModel->updateLastAppItemLength(length);
    }
}

void DayAppModel::clearDayAppModel()
{
    for (AppModel *appModel : std::as_const(m_appModels)) {
        appModel->clearAppModel();
    }
    beginRemoveRows(QModelIndex(), 0, m_dates.size() - 1);
    qDeleteAll(std::exchange(m_appModels, {}));
    m_dates.clear();
    endRemoveRows();
}
