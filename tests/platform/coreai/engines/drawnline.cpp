#include "drawnline.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>

QImage drawn(const DrawnLine &line)
{
    QFont font(line.family);
    font.setPixelSize(line.pixelSize);
    // The font of the list that covers Chinese.
    font.insertSubstitution(line.family, QStringLiteral("WenQuanYi Micro Hei"));
    const QFontMetrics metrics(font);
    const QRect ink = metrics.tightBoundingRect(line.text);
    const QSize size(qMax(metrics.horizontalAdvance(line.text), ink.width()) + 2 * line.margin + 2,
                     ink.height() + 2 * line.margin + 2);
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(line.paper);
    QPainter painter(&picture);
    painter.setFont(font);
    painter.setPen(line.ink);
    painter.drawText(QPoint(line.margin + 1 - ink.left(), line.margin + 1 - ink.top()), line.text);
    return picture;
}

cv::Mat bitmapOf(const QImage &picture)
{
    const QImage pixels = picture.convertToFormat(QImage::Format_RGB32);
    return cv::Mat(pixels.height(), pixels.width(), CV_8UC4,
                   const_cast<uchar *>(pixels.constBits()), size_t(pixels.bytesPerLine()))
        .clone();
}
