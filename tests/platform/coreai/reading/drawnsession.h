#pragma once
// A working day's screen, drawn: an editor, a chat, a document and a small window, of which one
// lies on top. Every change is one that a person makes. Needs a QGuiApplication for its fonts. Main
// thread only.

#include <QImage>
#include <QPoint>
#include <QStringList>

class DrawnSession
{
public:
    explicit DrawnSession(const QSize &size = {1920, 1080}, unsigned seed = 1);

    QImage screen() const;

    // What a person does. Each changes what screen() gives.
    void typeLine();              // a new line in the editor, at the end
    void scrollEditor(int lines); // positive: further down
    void openFile();              // other text in the editor
    void receiveMessage();
    void turnPage();           // of the document
    void switchTo(int window); // 0 editor, 1 chat, 2 document
    void moveSmallWindow(const QPoint &by);

private:
    QString sentence(int words);
    QStringList file(int lines);
    void drawEditor(class QPainter &painter, const QRect &area) const;
    void drawChat(QPainter &painter, const QRect &area) const;
    void drawDocument(QPainter &painter, const QRect &area) const;
    void drawSmallWindow(QPainter &painter) const;
    unsigned random();

    QSize m_size;
    unsigned m_state;
    QStringList m_file;
    QStringList m_messages;
    QStringList m_page;
    int m_scroll = 0;
    int m_window = 0;
    QPoint m_small{1250, 640};
};
