#pragma once
// Single frames read in the plain way, for comparison: every request seeks to the key frame,
// flushes the decoder and decodes from there until the frame has come. Knows nothing of the code
// under test.

#include "video/avhandles.h"

#include <QImage>
#include <QString>

class PlainReader
{
public:
    /// Where a frame was found.
    enum class Place {
        Nowhere,
        Forward, ///< while packets were being read
        AtEnd,   ///< only when the decoder was drained
    };

    struct Result {
        Place place = Place::Nowhere;
        QImage picture; ///< in the video's size; null for Nowhere
    };

    explicit PlainReader(const QString &file);

    /// The first frame of the first video stream at or behind the second @p second.
    Result read(int second);

private:
    bool open(const QString &file);
    bool receive(AVFrame *frame, qint64 timestamp);
    QImage toImage(const AVFrame *frame) const;

    AvInputContextPtr m_input;
    int m_stream = -1;
    AvCodecContextPtr m_decoder;
    SwsContextPtr m_scaler;
    bool m_isOpen = false; ///< last, because it tells what became of the others
};
