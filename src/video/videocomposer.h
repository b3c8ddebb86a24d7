#pragma once
// Turns a batch of captured frames into one H.264 MP4 file and then removes the PNG files that
// were the batch's safety copy. Owned by the recorder, lives on the encoder's thread; holds nothing
// between calls but what was erased of videos that are on their way, so that its plain functions
// may be called from any thread.

#include "video/unfinishedvideos.h"

#include <QImage>
#include <QObject>
#include <QString>
#include <QVector>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;

class VideoComposer : public QObject
{
    Q_OBJECT

public:
    /// Sets FFmpeg's log level, process-wide, and connects the request signal to the slot.
    explicit VideoComposer(QObject *parent);

    /// Encodes what a former run left as PNG files in @p dirPath, one video after the other, on the
    /// caller's thread. A video that was already finished is kept, see videosweep.cpp.
    void convertLocalImageFilesToVideo(const QString &dirPath);

    /// A new frame, the caller's own, in the encoder's size and pixel format, or null. @p image
    /// is scaled if its size differs; it must hold 4 bytes a pixel as blue, green, red, alpha.
    AVFrame *createFrameFromQImage(const QImage &image, AVCodecContext *codecContext);

    /// Writes the packets that a delaying encoder still holds. 0, or FFmpeg's negative result.
    int flushBuffer(AVFormatContext *formatContext, AVCodecContext *codecContext, int streamIndex);

    /// Removes the PNG files of a finished video, in ascending order of their names.
    void deleteAlreadyConvertedImages(const QString &videoFile);

    /// Removes @p path if it exists; a failure is a line on the log.
    void removeFile(const QString &path);

    /// How many frames the container declares for its first video stream; 0 on any failure.
    static unsigned int getFrameNumberFromVideo(const QString &videoFile);

    /// Keeps the first @p frameNumber frames of @p videoFile and drops the rest; 0 removes the
    /// file. True also for a missing file and for one with no more frames than that. On failure
    /// false, a line on the log, and the old video stays; under its name with ".bak" behind it if
    /// that is what the line tells ("Screenshots recovery failed"). Blocks for the decoding and
    /// encoding of the kept frames, see videotruncation.cpp; not for a video that waits for the
    /// encoder or is being written, which the encoder cuts itself.
    bool deleteFramesToEndFromVideoFile(const QString &videoFile, unsigned int frameNumber);

    /// What waits for the encoder, or is being written, below @p directory will not be there when
    /// the encoder is done with it.
    void dropUnfinishedVideos(const QString &directory);

public Q_SLOTS:
    /// Encodes one batch into @p videoFile, replacing what stands there, and removes its PNG
    /// files once the video is on the disk. On failure false, a line on the log, the PNG files
    /// stay and no half-written video is left; a whole one that could not be brought to the disk
    /// stays beside them. Blocks for the whole encoding.
    bool convertImagesToVideo(const QVector<QImage> &images, const QString &videoFile);

Q_SIGNALS:
    /// Emitted by the owner, from its own thread, to have a batch encoded on this object's.
    void requestConvertImagesToVideo(QVector<QImage> images, QString videoFile);

    /// Never emitted.
    void imagesFromVideoReady(QVector<QImage> images, QString videoFile);

private:
    void endWayOf(const QString &videoFile);

    struct Batch;
    bool convertImages(const QVector<QImage> &images, const QString &videoFile);
    bool writeVideo(const QVector<QImage> &images, const QString &videoFile);
    bool openOutput(Batch &batch, const QByteArray &path) const;
    bool openEncoder(Batch &batch) const;
    bool encodeImages(Batch &batch, const QVector<QImage> &images);
    bool keepFinishedVideo(const QString &videoFile, int readableImages);

    /// Writes the trailer and closes the file; a failure is a line on the log.
    static bool finishFile(AVFormatContext *output);

    struct Truncation;
    bool shortenVideo(const QString &videoFile, unsigned int frameNumber);
    bool openStoredVideo(Truncation &truncation) const;
    bool openStoredDecoder(Truncation &truncation) const;
    bool openPendingOutput(Truncation &truncation) const;
    bool openPendingEncoder(Truncation &truncation) const;
    bool openPendingFile(Truncation &truncation) const;
    void copyFrames(Truncation &truncation) const;
    bool copyPacket(Truncation &truncation, bool hasEnded) const;
    bool copyFrame(Truncation &truncation) const;
    bool finishPendingFile(Truncation &truncation);
    bool exchangeFiles(const QString &videoFile, const QString &pendingFile);

    UnfinishedVideos m_unfinished;
    qint32 m_frameRate; ///< frames a second of every video: a frame's index is its second
};
