#include "drawnpages.h"

#include <QPainter>
#include <QPainterPath>
#include <QRandomGenerator>

#include <algorithm>

namespace DrawnPages
{
QFont Style::font() const
{
    QFont font(family);
    font.setPixelSize(pixelSize);
    return font;
}

QImage blank(const QSize &size, const QColor &colour)
{
    QImage page(size, QImage::Format_RGB32);
    page.fill(colour);
    return page;
}

void write(QImage &page, const QPoint &at, const QStringList &lines, const Style &style, int pitch)
{
    QPainter painter(&page);
    painter.setFont(style.font());
    painter.setPen(style.ink);
    for (int i = 0; i < lines.size(); ++i)
        painter.drawText(at + QPoint(0, i * pitch), lines.at(i));
}

void fillWithTexture(QImage &page, const QRect &area, int grain, quint32 seed)
{
    QRandomGenerator random(seed);
    QPainter painter(&page);
    painter.setClipRect(area);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    for (int size = 256; size >= grain; size /= 2) {
        QImage octave(area.width() / size + 2, area.height() / size + 2, QImage::Format_RGB32);
        for (int y = 0; y < octave.height(); ++y) {
            for (int x = 0; x < octave.width(); ++x) {
                const int grey = random.bounded(40, 170);
                octave.setPixel(x, y,
                                qRgb(grey + random.bounded(30), grey + random.bounded(40),
                                     grey + random.bounded(20)));
            }
        }
        painter.setOpacity(size == 256 ? 1.0 : 0.35);
        painter.drawImage(QRect(area.topLeft(), octave.size() * size), octave);
    }
}

QImage landscape(const QSize &size, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage picture(size, QImage::Format_RGB32);
    {
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        QLinearGradient sky(0, 0, 0, size.height());
        sky.setColorAt(0, QColor(90, 140, 210));
        sky.setColorAt(1, QColor(220, 230, 240));
        painter.fillRect(picture.rect(), sky);
        painter.setPen(Qt::NoPen);
        for (int hill = 0; hill < 5; ++hill) {
            QPainterPath path(QPointF(0, size.height()));
            double height = size.height() * (0.3 + 0.12 * hill);
            for (int x = 0; x <= size.width() + 40; x += 40) {
                height += random.bounded(31) - 15;
                path.lineTo(x, height);
            }
            path.lineTo(size.width(), size.height());
            painter.setBrush(QColor(20 + random.bounded(90), 60 + random.bounded(90), 40));
            painter.drawPath(path);
        }
        for (int blade = 0; blade < 3000; ++blade) {
            const QPoint root(random.bounded(size.width()),
                              size.height() / 2 + random.bounded(size.height() / 2));
            painter.setPen(QPen(QColor(30, 90 + random.bounded(130), 30), 1 + random.bounded(2)));
            painter.drawLine(root, root + QPoint(random.bounded(17) - 8, -5 - random.bounded(25)));
        }
    }
    // A lens and a sensor.
    picture = picture.scaled(size / 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                  .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int noise = random.bounded(17) - 8;
            const auto noisy = [noise](int value) { return qBound(0, value + noise, 255); };
            row[x] = qRgb(noisy(qRed(row[x])), noisy(qGreen(row[x])), noisy(qBlue(row[x])));
        }
    }
    return picture;
}

QRect inkOf(const QImage &page, const QRect &area, const QColor &ground)
{
    const auto far = [](int a, int b) { return qAbs(a - b) > 48; };
    QRect ink;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb pixel = page.pixel(x, y);
            if (far(qRed(pixel), ground.red()) || far(qGreen(pixel), ground.green()) ||
                far(qBlue(pixel), ground.blue()))
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

std::vector<coreai::CutLine> cut(const QImage &page)
{
    QImage picture = page.convertToFormat(QImage::Format_RGB32);
    const cv::Mat pixels(picture.height(), picture.width(), CV_8UC4, picture.bits(),
                         static_cast<std::size_t>(picture.bytesPerLine()));
    return coreai::cutLines(pixels);
}

QByteArray keyOf(const coreai::CutLine &line)
{
    return QByteArray::number(line.bitmap.cols) + 'x' + QByteArray::number(line.bitmap.rows) + ':' +
           QByteArray(reinterpret_cast<const char *>(line.bitmap.data),
                      static_cast<int>(line.bitmap.total() * line.bitmap.elemSize()));
}

std::multiset<QByteArray> keysOf(const std::vector<coreai::CutLine> &lines)
{
    std::multiset<QByteArray> keys;
    for (const coreai::CutLine &line : lines)
        keys.insert(keyOf(line));
    return keys;
}

QRect rectOf(const coreai::CutLine &line)
{
    return {line.box.x, line.box.y, line.box.width, line.box.height};
}

std::vector<coreai::CutLine> inside(const std::vector<coreai::CutLine> &lines, const QRect &area)
{
    std::vector<coreai::CutLine> found;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(found),
                 [&](const coreai::CutLine &line) { return area.contains(rectOf(line)); });
    return found;
}
} // namespace DrawnPages
