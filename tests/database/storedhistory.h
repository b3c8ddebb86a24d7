#pragma once
// A history on disk as a recorder leaves it, real videos, rows and vectors, and a look at what of
// it is there. The three name a frame alike: "2024-03-05_10-00-00.mp4#3". Main thread of a test
// that has a QGuiApplication.

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

namespace StoredHistory
{
/// Makes the vector store of this process, a real one below the home directory, and waits for it:
/// call it before anything else uses the databases.
void openVectorStore();

/// Called before the vector store deletes, from now on.
void beforeVectorsAreDeleted(const std::function<void()> &action);

/// The next deletions of vectors fail until they are allowed again.
void refuseToDeleteVectors(bool refuse);

struct Video {
    QDateTime begin; ///< of its first frame; names the video
    int frames = 1;
    int seconds = 60; ///< from frame to frame
    int firstPicture = 1;
    quint32 firstOfDay = 1;
    QString application = QStringLiteral("/usr/share/applications/lupine.desktop");
};

/// Stores a finished video of numbered pictures with a row and a vector for each frame, and gives
/// its name. Ends the program if something cannot be stored; an earlier month than that in which
/// the databases were opened or erased last is such a case.
QString store(const Video &video);

/// As store(), but as a recorder that was killed leaves it: PNG files and no video.
QString storeUnfinished(const Video &video);

/// The directory below which frames lie.
QString root();

/// Full path of a video.
QString pathOf(const QString &video);

/// "name#first" to "name#last".
QStringList frames(const QString &video, int first, int last);

/// What is stored, sorted.
QStringList rows();
QStringList vectors();
QStringList files(); ///< below root()

/// Numbers of the pictures in a video, in order of time.
QVector<int> picturesIn(const QString &video);

/// Removes everything. Call it while no tracker lives.
void eraseEverything();
} // namespace StoredHistory
