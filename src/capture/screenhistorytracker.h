#pragma once
// Decides when a frame of the screen is taken, drops it if it shows nothing new, and sends what
// remains to the day's video files, the database and the AI abilities.
// Owner: the backend, by value. Thread: main, but for what is marked otherwise; the video composer
// works on a thread of its own and is reached by a queued signal that carries the batch by value.

#include "capture/storingwatch.h"
#include "database/screenshotdata.h"
#include "video/frameextractor.h"

#include <QDate>
#include <QDateTime>
#include <QElapsedTimer>
#include <QImage>
#include <QObject>
#include <QString>
#include <QThread>
#include <QTimer>
#include <QVector>

#include <mutex>

class AIAbilityProvider;
class DatabaseManager;
class DataEncryptor;
class VideoComposer;

class ScreenHistoryTracker : public QObject
{
    Q_OBJECT

public:
    /// Continues the day's numbering from the database, subscribes to the compositor and turns
    /// what a former run left as PNG files into videos, before it returns: those of the newest day,
    /// older ones follow on the encoder's thread. Capture itself starts with setRecordingMemory().
    explicit ScreenHistoryTracker(QObject *parent = nullptr);

    /// Hands the open batch to the encoder and joins the encoder's thread. What does not reach a
    /// video stays as PNG files for the next start.
    ~ScreenHistoryTracker() override;

    /// Whether frames lie in the encrypted box.
    bool hasEncryption() const;

    /// Directory of a day's frames, without a closing "/".
    QString getScreenshotDirByDate(QDate date) const;

    /// Directory of today's frames at the moment of the call.
    QString getVideoStorageDir() const;

    /// Newest day directory below @p rootPath, or an empty text.
    QString findLatestFolder(const QString &rootPath);

    /// Whether a frame may be taken now: not while the own window has the input focus, while the
    /// screen is locked or while the clock stands before the last check that passed.
    bool shouldTakeScreenShot();

    /// A frame from the compositor, else from the platform's own grab, with 32 bits a pixel; null
    /// if neither has one.
    QImage takeScreenShot();

    /// One frame through the compositor's pipe. Blocks up to 5 seconds for the first byte. Null on
    /// any failure, with a warning.
    QImage getScreenShotFromWM();

    /// Desktop file of the application in front, or an empty text.
    QString getAppDesktopEntry() const;

    /// Keeps @p image (32 bits a pixel) if it differs enough from the last kept frame and an
    /// application stands behind it: batch, PNG safety copy, database row, then its text and its
    /// embedding. Blocks for the embedding; the text reaches the row later.
    void screenshotReady(const QImage &image);

    /// Puts @p image into the batch of the current video; closes the batch before it when that is
    /// full or its day is over. Always true.
    bool updateVideoFile(const QImage &image);

    /// Names the next video. False, with an empty name, if the day's directory cannot be made.
    bool initNewVideoFile();

    /// Hands the open batch to the encoder; resets nothing.
    void convertRemainedImagesToVideo();

    /// Whether today lies after the day that the counters belong to.
    bool shouldTurnToTomorrow();

    /// Forgets the current video and its batch.
    void resetVideoStates();

    /// The encoder; it lives on a thread of its own.
    VideoComposer *videoComposer() const { return m_videoComposer; }

    /// Takes the day's frame count and last application from the database.
    void initTodayData();

    /// Two further ways of counting today's frames: by the newest row, and by the videos' own
    /// counts.
    void getTodayFrameNumFromDB();
    void getTodayVideoFrameNum();

    /// Removes the frames of a user's choice, from @p now backwards, from disk; their rows and
    /// vectors are the caller's. False, with nothing removed, for a number that is no TimeRange.
    bool deleteScreenShotData(TimeRange range, const QDateTime &now = QDateTime::currentDateTime());

    /// Removes the frames from @p start to @p end, which is meant to be now, in seconds since the
    /// epoch; a @p start of 0 stands for everything. The video of the first of them is shortened,
    /// and that one frame stays in it; the open batch is dropped, but for what is older, which
    /// becomes a video. Frames that cannot be removed are told on the log. Always true. Blocks for
    /// the new encoding of what stays.
    bool deleteVideosWithinTime(long start, long end);

    /// Removes all frames and begins anew, as in a new process. A clock that was found set back is
    /// right from now on.
    void deleteAllVideos();

    /// Removes the directory of a day, "yyyy-MM-dd"; the open video and the counters stay.
    void deleteDataAtDate(const QString &date);

    /// The rows from @p start to @p end, both included and without their texts, oldest first; those
    /// of the same second in no fixed order.
    QVector<ScreenShotData> getScreenshotsWithinTimeInOrder(long start, long end) const;

    /// Bytes of all files below @p path; 0, with a line on the log, if it is no directory.
    quint64 getDirectorySize(const QString &path) const;

    /// Bytes of all stored frames, without databases and vectors.
    quint64 getScreenshotsStorageSize() const;

    /// A frame by video and its number there, counted from 1. The picture read last is kept: asked
    /// for it again, no file is read. Null if it cannot be read, but asked for it again then, the
    /// picture read before may come. Any thread; one read at a time. Null also soon after the
    /// calling QThread was asked to stop by requestInterruption(), and that is not remembered.
    QImage getImageFromVideoFile(const QString &videoName, uint frameIndex);

public Q_SLOTS:
    void setRecordingMemory(bool isRecordingMemory);
    /// @p interval in seconds.
    void setScreenshotInterval(uint interval);
    void onScreenLockSignal();
    void onScreenUnLockSignal();
    void processScreenShot();
    /// @p imageChangeRate is the compositor's; it has already applied the threshold.
    void screenContentChangedSlot(double imageChangeRate);

Q_SIGNALS:
    void todayFrameNumberChanged(uint frameNumber);
    void activeAppChanged(QString appDesktopEntry);
    /// A new video file begins: the moment to look at the storage ceiling.
    void requestCheckStorage();
    /// The clock stands before the last check that passed.
    void backInTimeDetected();

private:
    /// Above all months of frames, without a closing "/".
    QString screenshotsRoot() const;
    void initComposer();
    void initTimer();
    void connectRecognizedText();
    void connectCompositor();
    void requestContentChanges();
    void onCompositorOwnerChanged(const QString &service, const QString &oldOwner,
                                  const QString &newOwner);
    void recoverLeftImages();
    void recoverImagesBefore(const QString &day, const QString &root);
    void onIntervalElapsed();
    void addToBatch(const QImage &image);
    void turnToNewDay();
    void storeFrame(const QImage &image, const QString &appEntry);
    /// Name of a frame's safety copy, with the path that @p video has.
    static QString safetyCopyOf(const QString &video, int frameIndex);
    void requestMeaning(const QImage &image, ScreenShotData &record);
    void shortenVideoOf(const ScreenShotData &record);
    void convertImagesBefore(const QVector<ScreenShotData> &erased);
    void forgetOpenedVideo();
    void deleteVideo(const QString &name);
    void deleteSafetyCopies(const QVector<ScreenShotData> &records);
    QString pathOfVideo(const QString &name) const;
    QImage imageOfOpenBatch(uint frameIndex);

    bool m_intervalElapsed = false; ///< the next content change may take a frame
    bool m_timerOnly = false;       ///< no usable change signal: the timer alone triggers
    bool m_isWayland;
    bool m_isScreenLocked = false;
    uint m_todayFrameNumber = 0;
    int m_videoFrameNumber = 0;
    int m_maxFramesPerVideo = 100;
    QTimer m_screenshotTimer;
    QString m_videoStorageDir;
    QString m_videoFile; ///< absolute path of the current video, empty if none is open
    QString m_today;     ///< "yyyy-MM-dd", the day the counters belong to
    QString m_currentApp;
    uint m_cachedFrameIndex = 0; ///< of the frame read last, by which it is found again
    QImage m_cachedImage;
    QString m_cachedVideoName;
    QImage m_lastFrame;
    QThread m_composerThread;
    VideoComposer *m_videoComposer = nullptr; ///< lives on m_composerThread, deletes itself there
    QVector<QImage> m_images;                 ///< of the open batch, packed but for the newest
    AIAbilityProvider *m_aiAbilityProvider = nullptr;
    DatabaseManager *m_databaseManager = nullptr;
    FrameExtractor m_frameExtractor{nullptr};
    DataEncryptor *m_dataEncryptor = nullptr;
    StoringWatch m_storingWatch;
    // A search reads frames on a thread of its own, beside the recorder and the pages.
    std::mutex m_readMutex;    ///< over m_frameExtractor and the frame read last
    std::mutex m_batchMutex;   ///< over m_videoFile and m_images, which main alone changes
    QElapsedTimer m_uptime;    ///< of this object; the user's clock may go back
    QDateTime m_lastCheckTime; ///< when the last clock check passed
};
