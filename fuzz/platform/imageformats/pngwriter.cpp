// Any picture through our PNG writer, read back by Qt's own reader: every pixel must come back. An
// input is a format, a size, bytes between the rows, a colour table, texts, and the pixels.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include <QBuffer>
#include <QColorSpace>
#include <QCoreApplication>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>

#include <algorithm>
#include <vector>

namespace
{
void loadPlugin()
{
    static const bool once = [] {
        QCoreApplication::addLibraryPath(QStringLiteral(YESTERMARK_PLUGIN_FOLDER));
        return true;
    }();
    Q_UNUSED(once)
}

// An index beyond the table is no colour, and no two readers agree on what it then is.
void giveColours(InputBytes &input, QImage &image)
{
    const int most = image.depth() == 1 ? 2 : 256;
    const int count = image.depth() == 1 ? 2 : 1 + static_cast<int>(input.below(256));
    QVector<QRgb> table;
    for (int colour = 0; colour < count; ++colour) {
        table.append(input.number<QRgb>());
    }
    image.setColorTable(table);
    if (most == 256) {
        for (int y = 0; y < image.height(); ++y) {
            uchar *row = image.scanLine(y);
            std::for_each(row, row + image.width(),
                          [count](uchar &index) { index = static_cast<uchar>(index % count); });
        }
    }
}

void giveTexts(InputBytes &input, QImage &image)
{
    for (unsigned count = input.below(4); count > 0; --count) {
        const std::string_view key = input.take(input.below(90));
        const std::string_view value = input.take(input.below(60));
        image.setText(QString::fromUtf8(key.data(), static_cast<int>(key.size())),
                      QString::fromUtf8(value.data(), static_cast<int>(value.size())));
    }
    if (input.flag()) {
        image.setColorSpace(QColorSpace(
            static_cast<QColorSpace::NamedColorSpace>(1 + input.below(QColorSpace::ProPhotoRgb))));
    }
    if (input.flag()) {
        image.setDotsPerMeterX(input.number<int>());
        image.setDotsPerMeterY(input.number<int>());
        image.setOffset({input.number<int>(), input.number<int>()});
    }
}

// What the file holds of a pixel: premultiplied ones lose what no picture of them could keep.
QImage comparable(const QImage &image)
{
    QImage plain = image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32
                                                                 : QImage::Format_RGB32);
    plain.setColorSpace({});
    plain.setDotsPerMeterX(0);
    plain.setDotsPerMeterY(0);
    return plain;
}

bool isSame(const QImage &one, const QImage &other)
{
    if (one.size() != other.size()) {
        return false;
    }
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QRgb left = one.pixel(x, y);
            const QRgb right = other.pixel(x, y);
            if (left != right && (qAlpha(left) != 0 || qAlpha(right) != 0)) {
                return false;
            }
        }
    }
    return true;
}

void writeAndCompare(InputBytes &input, const QImage &image)
{
    QByteArray file;
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadWrite);
    QImageWriter writer(&buffer, "png");
    const std::string_view description = input.take(input.below(40));
    writer.setText(QString(),
                   QString::fromUtf8(description.data(), static_cast<int>(description.size())));
    if (!writer.write(image)) {
        return;
    }
    buffer.seek(0);
    QImageReader reader(&buffer, "png");
    const QImage back = reader.read();
    Scratch::require(!back.isNull(), "a file that can be read");
    // A profile may move colours when it is applied; sixteen bits are compared as eight. Colours
    // above their alpha, which no picture has, come out differently by each way to eight bits.
    if (!image.colorSpace().isValid() && image.format() != QImage::Format_RGBA64_Premultiplied) {
        Scratch::require(isSame(comparable(image), comparable(back)), "every pixel back");
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    loadPlugin();
    InputBytes input(data, size);
    const auto format = static_cast<QImage::Format>(1 + input.below(QImage::NImageFormats - 1));
    const int width = 1 + static_cast<int>(input.below(80));
    const int height = 1 + static_cast<int>(input.below(80));
    const int depth = QImage(1, 1, format).depth();
    const int padding = 4 * static_cast<int>(input.below(4));
    const int stride = (width * depth + 31) / 32 * 4 + padding;
    // On the heap and of the exact size, so that a read beyond the last row is seen.
    std::vector<uchar> pixels(static_cast<std::size_t>(stride) * height);
    QImage image(pixels.data(), width, height, stride, format);
    InputBytes settings(input.take(160));
    const std::string_view bytes = input.rest();
    for (std::size_t index = 0; index < pixels.size() && !bytes.empty(); ++index) {
        pixels[index] = static_cast<uchar>(bytes[index % bytes.size()]);
    }
    if (image.colorCount() > 0 || format <= QImage::Format_Indexed8) {
        giveColours(settings, image);
    }
    giveTexts(settings, image);
    writeAndCompare(settings, image);
    return 0;
}
