#pragma once
// The PNG plug-in under test, loaded by hand, so that Qt's own writer stays in use beside it.

#include <QByteArray>
#include <QImage>
#include <QImageIOHandler>
#include <QString>

#include <memory>

class QImageIOPlugin;

/// The plug-in of this build; null if it cannot be loaded. Owned by Qt.
QImageIOPlugin *pngPlugin();

/// A handler of the plug-in on @p device.
std::unique_ptr<QImageIOHandler> pngHandler(QIODevice *device);

/// What the plug-in writes for @p image; empty if it reports a failure.
QByteArray writtenByPlugin(const QImage &image, const QString &description = QString(),
                           float gamma = 0.0F);
