#include "qqc2style/tavelicon.h"

#include "qqc2style/iconimage.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <QtMath>

#include <memory>

TavelIcon::TavelIcon(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
    setImplicitSize(m_size, m_size);
}

void TavelIcon::setName(const QString &name)
{
    if (name == m_name) {
        return;
    }
    m_name = name;
    polish();
    Q_EMIT nameChanged();
}

void TavelIcon::setColor(const QColor &color)
{
    if (color == m_color) {
        return;
    }
    m_color = color;
    polish();
    Q_EMIT colorChanged();
}

void TavelIcon::setSize(int size)
{
    if (size == m_size) {
        return;
    }
    m_size = size;
    setImplicitSize(size, size);
    polish();
    Q_EMIT sizeChanged();
}

bool TavelIcon::isAvailable() const
{
    return hasIcon(m_name);
}

void TavelIcon::itemChange(ItemChange change, const ItemChangeData &data)
{
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange) {
        polish();
    }
    QQuickItem::itemChange(change, data);
}

void TavelIcon::geometryChanged(const QRectF &now, const QRectF &before)
{
    QQuickItem::geometryChanged(now, before);
    polish();
}

void TavelIcon::updatePolish()
{
    const qreal ratio = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    m_image = iconImage(m_name, qCeil(iconRect().width() * ratio), m_color);
    m_imageChanged = true;
    update();
}

QSGNode *TavelIcon::updatePaintNode(QSGNode *node, UpdatePaintNodeData *)
{
    std::unique_ptr<QSGImageNode> image(static_cast<QSGImageNode *>(node));
    if (m_image.isNull()) {
        return nullptr;
    }
    if (!image) {
        image.reset(window()->createImageNode());
        image->setOwnsTexture(true);
        m_imageChanged = true;
    }
    if (m_imageChanged) {
        image->setTexture(
            window()->createTextureFromImage(m_image, QQuickWindow::TextureCanUseAtlas));
        image->setSourceRect(QRectF(m_image.rect())); // the software renderer has no default
        image->setFiltering(QSGTexture::Linear);
        m_imageChanged = false;
    }
    image->setRect(iconRect());
    return image.release();
}

QRectF TavelIcon::iconRect() const
{
    const qreal side = qMin(width(), height());
    return QRectF((width() - side) / 2, (height() - side) / 2, side, side);
}
