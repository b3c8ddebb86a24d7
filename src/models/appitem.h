#pragma once
// One bar of the time axis: a run of one application. Owner: the AppModel that it stands in.
// Thread: main.

#include "models/appiteminfo.h"

#include <QObject>

class AppItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString appName READ appName WRITE setAppName NOTIFY appNameChanged)
    Q_PROPERTY(QString appIcon READ appIcon WRITE setAppIcon NOTIFY appIconChanged)
    Q_PROPERTY(int timeLength READ timeLength WRITE setTimeLength NOTIFY timeLengthChanged)

public:
    explicit AppItem(const AppItemInfo &info, QObject *parent = nullptr);

    QString appName() const { return m_info.appName; }
    QString appIcon() const { return m_info.appIcon; }
    /// Pixels of the axis.
    int timeLength() const { return m_info.timeLength; }

    // Setters signal only what differs.

    void setAppName(const QString &appName);
    void setAppIcon(const QString &appIcon);
    void setTimeLength(int timeLength);

Q_SIGNALS:
    void appNameChanged();
    void appIconChanged();
    void timeLengthChanged();

private:
    AppItemInfo m_info;
};
