#pragma once
// Small functions on pictures and on the names of stored videos. No state; any thread.

#include <QImage>
#include <QString>

/// How alike two screenshots are, 0.0 and up: the share of mutually matching ORB key points among
/// those of the richer picture. 1.0, with a line on the log, for pictures that cannot be compared;
/// not-a-number if neither has any key point, so two blank screens count as different. Works on
/// one thread, and leaves OpenCV at one thread for the whole process. Blocks for about 70 ms at
/// 1920x1080.
double calculateSimilar(const QImage &first, const QImage &second);

/// Base64 text of @p image as JPEG at default quality, empty if it cannot be written.
QString imageToBase64(const QImage &image);

/// Whether a bare file name is that of a finished video, "yyyy-MM-dd_hh-mm-ss.mp4". The digits are
/// not checked for being a date.
bool isValidVideoNameFormat(const QString &fileName);
