#pragma once
// The days on the time axis, oldest first, each with its runs. A row is a day's place among the
// days that VideoReader has loaded: both are filled in the same order. Owner: VideoInfo, by value.
// Thread: main.

#include "models/appiteminfo.h"
#include "models/datetimeformatter.h"

#include <QAbstractListModel>
#include <QList>
#include <QMap>
#include <QStringList>

class AppModel;

class DayAppModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role { DateRole = Qt::UserRole + 1, AppModelRole };

    /// Without a @p formatter days read as they are stored, with a warning each time.
    explicit DayAppModel(QObject *parent = nullptr,
                         const DateTimeFormatter *formatter = DateTimeFormatter::getInstance());

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Days are "yyyy/MM/dd".

    /// Inserts a day with its runs at row @p index. Refused with a warning outside the rows and for
    /// an empty day or list; a day that is there already stays as it is.
    void insertDayAppModel(int index, const QString &day, const QList<AppItemInfo> &appItemList);

    /// Appends a day with its runs. One that is there already gets a second row, and both show the
    /// new runs.
    void addDayAppModel(const QString &day, const QList<AppItemInfo> &appItemList);

    // Nothing for a day that is not there: the axis has not been loaded that far.

    void updateModelAddAppItem(const QString &day, const AppItemInfo &appItem);
    /// @p length in pixels of the axis.
    void updateModelLastAppItemLength(const QString &day, int length);

    void clearDayAppModel();

private:
    AppModel *makeAppModel(const QList<AppItemInfo> &appItemList);
    QString shownDate(const QString &day) const;
    void signalAllRows();

    QStringList m_dates;
    QMap<QString, AppModel *> m_appModels; ///< by day; children of this object
    const DateTimeFormatter *m_dateTimeFormatter;
};
