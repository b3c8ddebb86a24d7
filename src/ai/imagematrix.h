#pragma once
// A picture as OpenCV's matrix. Apart from imageutils.h so that only those who compute with
// matrices see OpenCV's headers. Any thread.

#include <QImage>

#include <opencv2/core/mat.hpp>

/// @p image as blue, green, red (CV_8UC3), or for Format_Grayscale8 as one channel that shares the
/// image's bits and is valid only while they live. Empty, with a warning, for other formats than
/// Format_RGB32, Format_ARGB32, Format_ARGB32_Premultiplied, Format_RGB888 and Format_Grayscale8.
cv::Mat convertQImageToMat(const QImage &image);
