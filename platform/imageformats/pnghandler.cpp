#include "imageformats/pnghandler.h"

#include "imageformats/pngencoder.h"

#include <QFileDevice>
#include <QImage>
#include <QVariant>

bool PngHandler::read(QImage *image)
{
    Q_UNUSED(image)
    return false;
}

bool PngHandler::write(const QImage &image)
{
    PngEncoder encoder(device());
    if (!encoder.encode(image, m_description, m_gamma)) {
        return false;
    }
    // QImageWriter flushes a file too, but does not look at the result.
    auto *file = qobject_cast<QFileDevice *>(device());
    return !file || file->flush();
}

bool PngHandler::supportsOption(ImageOption option) const
{
    return option == Description || option == Gamma;
}

QVariant PngHandler::option(ImageOption option) const
{
    switch (option) {
    case Description:
        return m_description;
    case Gamma:
        return m_gamma;
    default:
        return {};
    }
}

void PngHandler::setOption(ImageOption option, const QVariant &value)
{
    if (option == Description) {
        m_description = value.toString();
    } else if (option == Gamma) {
        m_gamma = value.toFloat();
    }
}
