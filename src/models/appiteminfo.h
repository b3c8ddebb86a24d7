#pragma once
// One run of one application within a day, as the time axis shows it. Owner: whoever holds the
// copy. Thread: any; a value that also travels in queued signals.

#include <QMetaType>
#include <QString>

struct AppItemInfo {
    QString appName;    ///< as the user reads it
    QString appIcon;    ///< name in the icon theme or a "file://" address
    int timeLength = 0; ///< pixels of the axis
};
Q_DECLARE_METATYPE(AppItemInfo)
