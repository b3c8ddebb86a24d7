#pragma once
// What tests of the tracker share: applications in front that the program knows by name, and a look
// at what the tracker stored. Main thread of a test.

#include "database/screenshotdata.h"

#include <QDateTime>
#include <QProcess>
#include <QVector>

namespace CaptureFixture
{
/// A running process that is filed under @ref desktopEntry without any package behind it.
class Application
{
public:
    enum Kind { FileManager, VolumeControl };

    explicit Application(Kind kind);
    ~Application();
    Q_DISABLE_COPY(Application)

    quint32 pid() const;
    QString desktopEntry() const;

private:
    Kind m_kind;
    QProcess m_process;
};

/// Every row of every month's database below the home directory, in the order of insertion.
QVector<ScreenShotData> storedRows();

/// Stores the row of a frame that was taken at @p moment, without its picture. False on failure.
bool storeFrameAt(const QDateTime &moment);

/// Removes all frames and rows below the home directory, and all connections to them: call it
/// while no tracker lives.
void eraseEverything();

/// Today's directory of frames.
QString todayDirectory();

/// Names of the files in @p directory that match @p pattern, sorted.
QStringList filesIn(const QString &directory, const QString &pattern);
} // namespace CaptureFixture
