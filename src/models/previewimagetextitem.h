#pragma once
// One line of text that was read in a part of a picture, and where it stands there. Owner: the
// PreviewImageTextModel that it stands in. Thread: main.

#include <QObject>
#include <QString>

class PreviewImageTextItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int x READ x WRITE setX NOTIFY xChanged)
    Q_PROPERTY(int y READ y WRITE setY NOTIFY yChanged)
    Q_PROPERTY(int textWidth READ textWidth WRITE setTextWidth NOTIFY textWidthChanged)
    Q_PROPERTY(int textHeight READ textHeight WRITE setTextHeight NOTIFY textHeightChanged)
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)

public:
    explicit PreviewImageTextItem(QObject *parent = nullptr);

    // Pixels of the part that was read.
    int x() const { return m_x; }
    int y() const { return m_y; }
    int textWidth() const { return m_textWidth; }
    int textHeight() const { return m_textHeight; }
    QString text() const { return m_text; }

    // Setters signal an equal value too.

    void setX(int x);
    void setY(int y);
    void setTextWidth(int textWidth);
    void setTextHeight(int textHeight);
    void setText(const QString &text);

Q_SIGNALS:
    void xChanged();
    void yChanged();
    void textWidthChanged();
    void textHeightChanged();
    void textChanged();

private:
    int m_x = 0;
    int m_y = 0;
    int m_textWidth = 0;
    int m_textHeight = 0;
    QString m_text;
};
