#include "ai/imagematrix.h"

#include <QDebug>

#include <opencv2/imgproc.hpp>

namespace
{
// The wrapped matrix is only read: constBits() spares the deep copy that bits() would make.
cv::Mat wrapped(const QImage &image, int type)
{
    return {image.height(), image.width(), type, const_cast<uchar *>(image.constBits()),
            static_cast<size_t>(image.bytesPerLine())};
}
} // namespace

cv::Mat convertQImageToMat(const QImage &image)
{
    cv::Mat matrix;
    switch (image.format()) {
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        cv::cvtColor(wrapped(image, CV_8UC4), matrix, cv::COLOR_BGRA2BGR);
        break;
    case QImage::Format_RGB888:
        cv::cvtColor(wrapped(image, CV_8UC3), matrix, cv::COLOR_RGB2BGR);
        break;
    case QImage::Format_Grayscale8:
        matrix = wrapped(image, CV_8UC1);
        break;
    default:
        qWarning() << "Unsupported image format";
        break;
    }
    return matrix;
}
