#pragma once
// Lines of text drawn with the fonts of the test machine, as bitmaps that a line recogniser takes.

#include <QColor>
#include <QImage>
#include <QString>

#include <opencv2/core.hpp>

struct DrawnLine {
    QString text;
    int pixelSize = 16;
    QColor ink = Qt::black;
    QColor paper = Qt::white;
    QString family = QStringLiteral("DejaVu Sans");
    int margin = 1; ///< Paper around the ink, in pixels; cut lines stand close to it.
};

/// The line as a picture of its own size, cut to its ink and the margin.
QImage drawn(const DrawnLine &line);

/// A copy of the pixels (32 bits each) that owns its memory.
cv::Mat bitmapOf(const QImage &picture);
