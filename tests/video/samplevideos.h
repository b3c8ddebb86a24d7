#pragma once
// Videos of the composer's kind and of others, written with FFmpeg and nothing of the code under
// test. Each frame is a numbered picture, counted from 1, and much like the one before it: a cut
// would make the encoder begin a group of pictures.

#include <QImage>
#include <QSize>
#include <QString>

struct SampleVideo {
    int frames = 12;
    QSize size{320, 240};
    int framesPerSecond = 1;
    int secondsPerFrame = 1; ///< for less than a frame a second
    int groupOfPictures = 10;
    int bFrames = 0; ///< at most in a row; -1 leaves it to the encoder, as the composer does
    bool soundFirst = false; ///< an audio stream before the video stream
    bool pictures = true;    ///< a video stream at all
    int codec = 0;           ///< AVCodecID; 0 for H.264
    int firstTimestamp = 0;  ///< of the first frame, in frames

    /// False, and a warning that tells why, if it couldn't be written.
    bool write(const QString &path) const;
};

/// Picture number @p number of such a video; Pictures::numberOf() reads the number.
QImage likePicture(int number, const QSize &size);

/// A file that opens and holds no stream at all.
bool writeFileWithoutStreams(const QString &path);
