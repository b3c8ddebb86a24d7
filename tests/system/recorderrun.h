#pragma once
// One run of the program historyrecorder, and what it has stored. Owner: a test, on its stack; a
// run that still goes on is killed with it. Main thread.

#include "database/screenshotdata.h"

#include <QDateTime>
#include <QProcess>
#include <QStringList>

class RecorderRun
{
public:
    /// Starts at @p moment of its own clock, with the process @p pid in front and historyrecorder's
    /// further @p options; returns when the start is over.
    RecorderRun(const QDateTime &moment, quint32 pid, const QStringList &options = {});
    ~RecorderRun();
    Q_DISABLE_COPY_MOVE(RecorderRun)

    bool isStarted() const { return hasSaid(QStringLiteral("started")); }
    bool foundClockBack() const { return hasSaid(QStringLiteral("clock back")); }

    /// Waits until so many frames more are stored.
    bool waitForFrames(int frames);
    int frames() const;

    /// Begins to delete; gives the clock's seconds at that moment, -1 if there is no answer.
    qint64 beginToErase(TimeRange range);
    /// Deletes; what is refused while the vector store comes up is tried again. Gives the clock's
    /// seconds, -1 if it never succeeds.
    qint64 erase(TimeRange range);
    bool hasErased() const { return hasSaid(QStringLiteral("erased")); }

    void moveClock(qint64 seconds);
    bool waitForClockBack();

    void kill();
    /// Ends in order: the open batch becomes a video.
    bool stop();

private:
    bool hasSaid(const QString &beginning) const;
    void tell(const QString &line);
    void readOutput();

    QProcess m_process;
    QStringList m_lines;
    QByteArray m_partOfLine;
};

namespace RecordedHistory
{
/// Removes everything that is stored below the home directory.
void eraseEverything();

QString cacheFolder(); ///< below which the program stores
QString monthFile(const QString &month);
QString pathOf(const QString &videoName);

/// The numbers of a video's pictures in order, read through a decoder of its own.
QVector<int> numbersInVideo(const QString &videoName);

/// Rows whose text, the number of their picture, is not that of their frame in their video. Rows
/// without text, video or frame are passed over.
QStringList rowsWithWrongPicture();
} // namespace RecordedHistory
