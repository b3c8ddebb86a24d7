#include "support/pictures.h"

#include <QPainter>
#include <QRandomGenerator>

namespace Pictures
{
namespace
{
constexpr int bits = 16;

QRectF field(const QSize &size, int bit)
{
    const double width = size.width() / static_cast<double>(bits);
    return {bit * width, 0.0, width, size.height() / 8.0};
}
} // namespace

QImage numbered(int number, const QSize &size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::lightGray);
    QPainter painter(&image);
    painter.setPen(Qt::NoPen);
    QRandomGenerator random(static_cast<quint32>(number) + 1);
    const int top = size.height() / 8;
    for (int shape = 0; shape < 200; ++shape) {
        painter.setBrush(QColor(random.bounded(256), random.bounded(256), random.bounded(256)));
        painter.drawRect(random.bounded(size.width()), top + random.bounded(size.height() - top),
                         random.bounded(4, 28), random.bounded(4, 28));
    }
    for (int bit = 0; bit < bits; ++bit) {
        painter.fillRect(field(size, bit), (number >> bit) & 1 ? Qt::white : Qt::black);
    }
    return image;
}

int numberOf(const QImage &image)
{
    int number = 0;
    for (int bit = 0; bit < bits; ++bit) {
        const QPoint middle = field(image.size(), bit).center().toPoint();
        if (qGray(image.pixel(middle)) > 127) {
            number |= 1 << bit;
        }
    }
    return number;
}
} // namespace Pictures
