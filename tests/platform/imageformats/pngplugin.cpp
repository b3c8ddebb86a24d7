#include "pngplugin.h"

#include <QBuffer>
#include <QImageIOPlugin>
#include <QPluginLoader>
#include <QVariant>

QImageIOPlugin *pngPlugin()
{
    static QPluginLoader loader(QStringLiteral(YESTERMARK_PNG_PLUGIN));
    return qobject_cast<QImageIOPlugin *>(loader.instance());
}

std::unique_ptr<QImageIOHandler> pngHandler(QIODevice *device)
{
    return std::unique_ptr<QImageIOHandler>(pngPlugin()->create(device, "png"));
}

QByteArray writtenByPlugin(const QImage &image, const QString &description, float gamma)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const auto handler = pngHandler(&buffer);
    if (!description.isEmpty()) {
        handler->setOption(QImageIOHandler::Description, description);
    }
    handler->setOption(QImageIOHandler::Gamma, gamma);
    return handler->write(image) ? bytes : QByteArray();
}
