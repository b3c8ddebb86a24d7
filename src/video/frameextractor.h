#pragma once
// Gives back single pictures of a stored video by their index. Stays open on one file, so that
// walking through a file costs no reopening. Owned by the recorder, by value; no lock and no thread
// of its own, so calls must not overlap. The library decodes on up to three threads of its own.

#include "video/avhandles.h"
#include "video/framepicture.h"
#include "video/groupreader.h"

#include <QByteArray>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>

#include <memory>

class FrameExtractor : public QObject
{
    Q_OBJECT

public:
    /// Opens nothing.
    explicit FrameExtractor(QObject *parent);
    ~FrameExtractor() override;
    Q_DISABLE_COPY(FrameExtractor)

    /// Makes @p name the open file. The name that is open already changes nothing, also when the
    /// file was rewritten or deleted meanwhile. On failure a line on the log, no file is open, and
    /// the same name is tried anew the next time.
    void setAbsoluteVideoName(const QString &name);

    /// The path of the open file; empty if none is.
    QString getAbsoluteVideoName() const;

    /// From now on a read gives a null picture soon after @p isToStop, which is asked on the
    /// reading thread before each packet, has said so. The next read is as good as any.
    void setStop(GroupReader::IsToStop isToStop);

    /// The picture with the index @p frameIndex, counted from 0, in Format_RGB32; null beyond the
    /// last one, without an open file and on any failure. A frame that the decoder gives up only
    /// at the end of the file, so one of the last few, comes one row taller than the video.
    QImage requestGetFrame(int frameIndex);

    /// Opens the file of the current name. On failure false, a line on the log, nothing is open.
    bool loadResource();

    /// Closes everything, keeps the name. Always true.
    bool unloadResource();

    /// Forgets the name and closes the file.
    void clearVideoFile();

private:
    /// What decides how the pictures of a file with one stream are decoded.
    struct Setup {
        AVCodecID codec = AV_CODEC_ID_NONE; ///< none: of no such file
        QByteArray bytes;                   ///< for the decoder
        QSize size;
        bool operator==(const Setup &other) const
        {
            return codec == other.codec && bytes == other.bytes && size == other.size;
        }
    };
    /// What the library found out about such pictures by decoding the first of them.
    struct Learnt {
        Setup setup;
        int format = AV_PIX_FMT_NONE;
        int delay = 0;
    };

    bool openInput();
    Setup setupOf() const;
    int findStreamInfo();
    bool findStream();
    bool openDecoder();
    qint64 timestampOf(int frameIndex) const;
    QImage readPlainly(qint64 timestamp);
    bool receiveFrame(AVFrame *frame, qint64 timestamp);
    bool readForward(AVPacket *packet, AVFrame *frame, qint64 timestamp);
    bool readAtEnd(AVFrame *frame, qint64 timestamp);
    QImage toPicture(const AVFrame *frame, Rows rows) const;

    QString m_productionLine;
    Learnt m_learnt; ///< of the last file
    GroupReader::IsToStop m_isToStop = [] { return false; };
    bool m_isLoaded = false;
    QString m_absoluteVideoName;
    qint32 m_videoStreamIndex = -1;
    AVStream *m_videoStream = nullptr; ///< owned by the format context
    AvCodecContextPtr m_codecContext;
    AvInputContextPtr m_formatContext;
    SwsContextPtr m_swsContext;
    AVPixelFormat m_scaledFormat = AV_PIX_FMT_NONE; ///< what the scaler was made for
    QSize m_scaledSize;
    std::unique_ptr<GroupReader> m_groupReader; ///< null without a video stream
};
