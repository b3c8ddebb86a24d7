#pragma once
// The Qt image plug-in with the key "png" that makes QImage::save quick enough to run between two
// screenshots. Owned by Qt's plug-in loader; any thread, as Qt's image writers.

#include <QImageIOPlugin>

class PngPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "pngplugin.json")

public:
    /// CanWrite for "png", never CanRead: reading stays with Qt's own handler. A device that is
    /// given and not writable has no capability at all.
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override;

    /// A new handler, owned by the caller.
    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override;
};
