#pragma once
// A named icon on a page, drawn at the screen's own resolution; owned by its page. All but
// updatePaintNode on the main thread.

#include <QColor>
#include <QImage>
#include <QQuickItem>

class TavelIcon : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)
    Q_PROPERTY(int size READ size WRITE setSize NOTIFY sizeChanged)
    Q_PROPERTY(bool available READ isAvailable NOTIFY nameChanged)

public:
    explicit TavelIcon(QQuickItem *parent = nullptr);

    QString name() const { return m_name; }
    void setName(const QString &name);

    /// Colour of symbolic icons; invalid leaves them as they are.
    QColor color() const { return m_color; }
    void setColor(const QColor &color);

    /// Side of the square in logical pixels; the implicit size of the item.
    int size() const { return m_size; }
    void setSize(int size);

    /// Whether the theme or this module has the icon by its own name.
    bool isAvailable() const;

Q_SIGNALS:
    void nameChanged();
    void colorChanged();
    void sizeChanged();

protected:
    void itemChange(ItemChange change, const ItemChangeData &data) override;
    void geometryChanged(const QRectF &now, const QRectF &before) override;
    void updatePolish() override;
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;

private:
    QRectF iconRect() const;

    QString m_name;
    QColor m_color;
    int m_size = 24;
    QImage m_image;
    bool m_imageChanged = false;
};
