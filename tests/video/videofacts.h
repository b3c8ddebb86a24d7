#pragma once
// What a test can see of a video file, read with FFmpeg and nothing of the code under test, and the
// numbered pictures that such a file was made of.

#include <QImage>
#include <QSize>
#include <QString>
#include <QVector>

struct VideoFacts {
    bool isReadable = false;
    QString container; ///< FFmpeg's name of the format
    int streams = 0;
    int codec = 0;       ///< AVCodecID
    int pixelFormat = 0; ///< AVPixelFormat
    QSize size;
    double averageFrameRate = 0.0;
    int declaredFrames = 0;
    double duration = 0.0;  ///< of the stream, in seconds
    QByteArray firstPacket; ///< as it lies in the file
    /// The parameter sets are in the container's header and not in the first packet as well.
    bool hasGlobalHeader = false;
    QVector<double> seconds;  ///< each frame's time, in order of time
    QVector<int> keyFrames;   ///< places of the key frames in that order, from 0
    QVector<QImage> pictures; ///< decoded, in order of time

    /// Reads the whole file.
    static VideoFacts of(const QString &file);

    /// The numbers of numbered pictures, in order of time.
    QVector<int> numbers() const;
};

/// What numbers() is compared with.
QVector<int> numbersFrom(int first, int last);
QVector<int> numbersUpTo(int last); ///< from 1

/// The numbered pictures of a batch.
QVector<QImage> numberedBatch(const QVector<int> &numbers);
QVector<QImage> numberedBatch(int count); ///< from 1
