#include "imageformats/pngplugin.h"

#include "imageformats/pnghandler.h"

#include <QIODevice>

QImageIOPlugin::Capabilities PngPlugin::capabilities(QIODevice *device,
                                                     const QByteArray &format) const
{
    if (format != "png" || (device && !device->isWritable())) {
        return {};
    }
    return CanWrite;
}

QImageIOHandler *PngPlugin::create(QIODevice *device, const QByteArray &format) const
{
    auto *handler = new PngHandler;
    handler->setDevice(device);
    handler->setFormat(format);
    return handler;
}
