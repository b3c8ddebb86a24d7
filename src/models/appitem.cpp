#include "models/appitem.h"

AppItem::AppItem(const AppItemInfo &info, QObject *parent) : QObject(parent), m_info(info) {}

void AppItem::setAppName(const QString &appName)
{
    if (m_info.appName != appName) {
        m_info.appName = appName;
        Q_EMIT appNameChanged();
    }
}

void AppItem::setAppIcon(const QString &appIcon)
{
    if (m_info.appIcon != appIcon) {
        m_info.appIcon = appIcon;
        Q_EMIT appIconChanged();
    }
}

void AppItem::setTimeLength(int timeLength)
{
    if (m_info.timeLength != timeLength) {
        m_info.timeLength = timeLength;
        Q_EMIT timeLengthChanged();
    }
}
