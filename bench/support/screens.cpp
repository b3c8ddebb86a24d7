#include "support/screens.h"

#include <QLinearGradient>
#include <QPainter>
#include <QRandomGenerator>

namespace Bench
{
namespace
{
QString words(QRandomGenerator &random, int count)
{
    static const QStringList vocabulary{
        QStringLiteral("window"),  QStringLiteral("frame"),   QStringLiteral("the"),
        QStringLiteral("history"), QStringLiteral("reading"), QStringLiteral("of"),
        QStringLiteral("answer"),  QStringLiteral("meeting"), QStringLiteral("while"),
        QStringLiteral("42,118"),  QStringLiteral("budget"),  QStringLiteral("(draft)")};
    QStringList line;
    for (int word = 0; word < count; ++word) {
        line.append(vocabulary.at(random.bounded(vocabulary.size())));
    }
    return line.join(QLatin1Char(' '));
}

void paintDocument(QPainter &painter, const QRect &area, QRandomGenerator &random, bool dark)
{
    painter.fillRect(area, dark ? QColor(0x1e, 0x1f, 0x22) : Qt::white);
    painter.fillRect(QRect(area.topLeft(), QSize(area.width(), 34)), QColor(0xd7, 0xdb, 0xe0));
    painter.setPen(dark ? QColor(0xc8, 0xcc, 0xd4) : QColor(0x20, 0x20, 0x20));
    const QRect page = area.adjusted(16, 48, -16, -12);
    painter.setClipRect(page);
    for (int y = page.top() + 14; y < page.bottom(); y += 19) {
        if (random.bounded(7) != 0) {
            painter.drawText(page.left(), y, words(random, page.width() / 70));
        }
    }
    painter.setClipping(false);
}

void paintPhotograph(QPainter &painter, const QRect &area, QRandomGenerator &random)
{
    QLinearGradient sky(area.topLeft(), area.bottomRight());
    sky.setColorAt(0.0, QColor(0x35, 0x6a, 0xa8));
    sky.setColorAt(1.0, QColor(0xd9, 0xa4, 0x62));
    painter.fillRect(area, sky);
    for (int leaf = 0; leaf < 400; ++leaf) {
        painter.setBrush(QColor::fromHsv(random.bounded(60, 140), 160, random.bounded(60, 220)));
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(area.left() + random.bounded(area.width()),
                            area.top() + random.bounded(area.height()), random.bounded(4, 30),
                            random.bounded(4, 24));
    }
}
} // namespace

QImage screen(const QSize &size, int page)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(0x2f, 0x4f, 0x6f));
    QRandomGenerator random(static_cast<quint32>(page) * 7919U + 1U);
    QPainter painter(&image);
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    const int width = size.width();
    const int height = size.height();
    paintDocument(painter, QRect(width / 40, height / 24, width / 2, height * 5 / 6), random,
                  false);
    paintDocument(painter, QRect(width * 11 / 20, height / 10, width * 2 / 5, height / 2), random,
                  true);
    QRandomGenerator still(7);
    paintPhotograph(painter, QRect(width * 3 / 5, height * 5 / 8, width / 3, height / 3), still);
    painter.fillRect(QRect(0, height - 36, width, 36), QColor(0x22, 0x26, 0x2b));
    painter.end();
    return image;
}
} // namespace Bench
