#include "coreai/reading/picturedecoder.h"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>
#include <cstring>

namespace coreai
{
namespace
{
constexpr int bytesForHeader = 64; // what tells the two formats apart lies within

// Formats are named by their first bytes: asking every image plug-in costs more than the header.
QByteArray formatOf(const QByteArray &bytes)
{
    if (bytes.startsWith("\x89PNG\r\n\x1a\n")) {
        return "png";
    }
    return bytes.startsWith("\xff\xd8\xff") ? "jpeg" : QByteArray();
}

class Reader
{
public:
    explicit Reader(std::string_view encoded)
        : m_bytes(QByteArray::fromRawData(encoded.data(), int(encoded.size())))
        , m_format(formatOf(m_bytes.left(bytesForHeader)))
    {
        m_buffer.setBuffer(&m_bytes);
        m_buffer.open(QIODevice::ReadOnly);
        m_reader.setDevice(&m_buffer);
        m_reader.setFormat(m_format);
        m_reader.setAutoDetectImageFormat(false);
    }

    QSize size()
    {
        const QSize size = m_format.isEmpty() ? QSize() : m_reader.size();
        const bool allowed = !size.isEmpty() && long(size.width()) * size.height() <= mostPixels;
        return allowed ? size : QSize();
    }

    void setScaledSize(const QSize &size) { m_reader.setScaledSize(size); }

    cv::Mat read()
    {
        QImage image = m_reader.read();
        if (image.isNull()) {
            return {};
        }
        // RGB32 is blue, green, red, 255 in memory; a transparent pixel's colour is multiplied
        // by its opacity on the way, which is what lies on black.
        if (image.hasAlphaChannel()) {
            image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
            image.reinterpretAsFormat(QImage::Format_RGB32);
            image = image.convertToFormat(QImage::Format_RGBX8888);
        }
        image = image.convertToFormat(QImage::Format_RGB32);
        const cv::Mat view(image.height(), image.width(), CV_8UC4, image.bits(),
                           std::size_t(image.bytesPerLine()));
        return view.clone();
    }

private:
    QByteArray m_bytes;
    QByteArray m_format;
    QBuffer m_buffer;
    QImageReader m_reader;
};
} // namespace

cv::Size pictureSize(std::string_view encoded)
{
    const QSize size = Reader(encoded).size();
    return size.isValid() ? cv::Size(size.width(), size.height()) : cv::Size();
}

cv::Mat decodePicture(std::string_view encoded)
{
    Reader reader(encoded);
    return reader.size().isValid() ? reader.read() : cv::Mat();
}

cv::Mat decodeSmaller(std::string_view encoded, int divisor)
{
    Reader reader(encoded);
    const QSize size = reader.size();
    if (!size.isValid()) {
        return {};
    }
    reader.setScaledSize((size / divisor).expandedTo({1, 1}));
    return reader.read();
}
} // namespace coreai
