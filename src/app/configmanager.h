#pragma once
// The user's settings, kept in GSettings and nowhere else. A setter only writes; what follows comes
// back through GSettings' change notification, so that a key written by another program has the
// same effect. Owned by the backend; main thread.

#include "app/userconfig.h"

#include <QObject>
#include <QStringList>

class QGSettings;

class ConfigManager : public QObject
{
    Q_OBJECT

public:
    /// Opens the schema and reads it once. The schema is a hard requirement of installation:
    /// without it two lines on the log say so and the first read ends the process.
    explicit ConfigManager(QObject *parent = nullptr);
    ~ConfigManager() override;

    // Getters: each reads GSettings anew.

    /// Whether the user has ever started recording.
    bool getEnabled() const;
    /// Seconds between two frames.
    uint getScreenshotInterval() const;
    /// Storage ceiling in gigabytes.
    uint getMaxStorageSize() const;
    /// Applications that the user listed; no frame is left out for them.
    QStringList getExcludeApps() const;
    /// "minimize" or "exit".
    QString getCloseWindowOption() const;
    /// Whether recording is on now.
    bool getRecordingMemory() const;
    /// All of them; `maxResultNumber` has no key and stays unset.
    UserConfig getUserConfig() const;

    // Setters: nothing is written, and so nothing signalled, if the value is there already. A value
    // that the schema doesn't allow is refused with a line on the log.

    void setEnabled(bool enabled);
    void setScreenshotInterval(uint interval);
    void setMaxStorageSize(uint maxSize);
    void setExcludeApps(const QStringList &excludeApps);
    void setCloseWindowOption(const QString &option);
    void setRecordingMemory(bool isRecordingMemory);
    /// Sets the first four; `closeWindowOption` and `recordingMemory` stay as they are on purpose.
    void setConfig(const UserConfig &config);

public Q_SLOTS:
    void onStartMemory();
    void onStopMemory();

Q_SIGNALS:
    void enabledChanged(bool enabled) const;
    void screenshotIntervalChanged(uint interval) const;
    void maxResultNumberChanged(uint number) const;
    void maxStorageSizeChanged(uint maxSize) const;
    void excludeAppsChanged(QStringList excludeApps) const;
    void closeWindowOptionChanged(QString option) const;
    void recordingMemoryChanged(bool isRecordingMemory) const;

private:
    void initConfig();
    void emitAllStatusOnStartup() const;
    void configChanged(const QString &key);

    QGSettings *m_settings = nullptr;
};
