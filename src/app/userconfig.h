#pragma once
// The user's settings as one plain value. Any thread.

#include <QString>
#include <QStringList>

struct UserConfig {
    bool enabled = false;
    uint screenshotInterval = 0; ///< seconds
    uint maxResultNumber = 0;    ///< no setting stands behind it
    uint maxStorageSizeGb = 0;
    QStringList excludeApps;
    QString closeWindowOption;
    bool recordingMemory = false;
};
