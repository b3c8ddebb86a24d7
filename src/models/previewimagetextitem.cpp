#include "models/previewimagetextitem.h"

PreviewImageTextItem::PreviewImageTextItem(QObject *parent) : QObject(parent) {}

void PreviewImageTextItem::setX(int x)
{
    m_x = x;
    Q_EMIT xChanged();
}

void PreviewImageTextItem::setY(int y)
{
    m_y = y;
    Q_EMIT yChanged();
}

void PreviewImageTextItem::setTextWidth(int textWidth)
{
    m_textWidth = textWidth;
    Q_EMIT textWidthChanged();
}

void PreviewImageTextItem::setTextHeight(int textHeight)
{
    m_textHeight = textHeight;
    Q_EMIT textHeightChanged();
}

void PreviewImageTextItem::setText(const QString &text)
{
    m_text = text;
    Q_EMIT textChanged();
}
