#include "qqc2style/iconimage.h"

#include <QFile>
#include <QIcon>
#include <QPainter>

namespace
{
const QLatin1String unknownApplication("application-x-desktop");

QString ownIcon(const QString &name)
{
    return QLatin1String(":/org.vesk.qqc2style.private/") + name + QLatin1String(".svg");
}

QIcon findIcon(const QString &name)
{
    if (QIcon::hasThemeIcon(name)) {
        return QIcon::fromTheme(name);
    }
    if (QFile::exists(ownIcon(name))) {
        return QIcon(ownIcon(name));
    }
    return isSymbolicIcon(name) ? QIcon() : QIcon(ownIcon(unknownApplication));
}

void tint(QImage *image, const QColor &color)
{
    QPainter painter(image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image->rect(), color);
}
} // namespace

bool isSymbolicIcon(const QString &name)
{
    return name.endsWith(QLatin1String("-symbolic"));
}

bool hasIcon(const QString &name)
{
    return QIcon::hasThemeIcon(name) || QFile::exists(ownIcon(name));
}

QImage iconImage(const QString &name, int pixels, const QColor &color)
{
    if (name.isEmpty() || pixels <= 0) {
        return QImage();
    }
    const QPixmap pixmap = findIcon(name).pixmap(pixels, pixels);
    if (pixmap.isNull()) {
        return QImage();
    }
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        // A theme without scalable icons may have only a smaller one.
        QPainter painter(&image);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(image.rect(), pixmap, pixmap.rect());
    }
    if (isSymbolicIcon(name) && color.isValid()) {
        tint(&image, color);
    }
    return image;
}
