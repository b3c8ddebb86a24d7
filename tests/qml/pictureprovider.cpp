#include "qml/pictureprovider.h"

#include <QPainter>
#include <QRegularExpression>

namespace
{
constexpr QSize screenSize(1920, 1080);

void drawWindow(QPainter *painter, const QRect &rect, const QColor &title, const QColor &body)
{
    painter->setPen(Qt::NoPen);
    painter->setBrush(body);
    painter->drawRoundedRect(rect, 10, 10);
    painter->setBrush(title);
    painter->drawRoundedRect(rect.adjusted(0, 0, 0, 44 - rect.height()), 10, 10);
    painter->setBrush(QColor(120, 130, 150));
    for (int line = 0; line < (rect.height() - 100) / 30; ++line) {
        const int width = rect.width() / 3 + (line * 7919) % (rect.width() / 2);
        painter->drawRoundedRect(rect.x() + 30, rect.y() + 80 + 30 * line, width, 10, 5, 5);
    }
}

QImage drawDesktop(int number)
{
    QImage image(screenSize, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, screenSize.width(), screenSize.height());
    sky.setColorAt(0, QColor::fromHsv((number * 97) % 360, 90, 200));
    sky.setColorAt(1, QColor::fromHsv((number * 97 + 60) % 360, 120, 110));
    painter.fillRect(image.rect(), sky);
    drawWindow(&painter, QRect(120, 90, 1100, 760), QColor(225, 230, 238), Qt::white);
    drawWindow(&painter, QRect(980, 330, 800, 600), QColor(40, 44, 52), QColor(30, 33, 40));
    painter.fillRect(0, screenSize.height() - 46, screenSize.width(), 46, QColor(20, 24, 32));
    return image;
}
} // namespace

PictureProvider::PictureProvider(VideoInfoDouble *videoInfo, QStringList *asked)
    : QQuickImageProvider(QQuickImageProvider::Image), m_videoInfo(videoInfo), m_asked(asked)
{
}

QImage PictureProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    Q_UNUSED(size)
    Q_UNUSED(requestedSize)
    m_asked->append(id);
    static const QRegularExpression digits(QStringLiteral("[0-9]+"));
    const QRegularExpressionMatch number = digits.match(id);
    if (id.startsWith(QLatin1String("previewImg"))) {
        m_videoInfo->previewEmpty = !number.hasMatch();
    }
    if (!number.hasMatch()) {
        return QImage();
    }
    const int picture = number.capturedRef().toInt() % 6;
    QImage &drawn = m_drawn[picture];
    if (drawn.isNull()) {
        drawn = drawDesktop(picture);
    }
    return drawn;
}
