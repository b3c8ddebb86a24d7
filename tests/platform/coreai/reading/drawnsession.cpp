#include "drawnsession.h"

#include <QFontMetrics>
#include <QPainter>

namespace
{
const QStringList words = QStringLiteral("the window shows a frame of text that was read before "
                                         "and every line stands where it stood "
                                         "when somebody scrolled typed moved or opened another "
                                         "file while machine records screen with "
                                         "memory engine answer garden bicycle harbour winter "
                                         "recipe invoice travel hotel meeting budget "
                                         "schedule window kitchen library mountain river station "
                                         "engine school doctor letter picture "
                                         "music theatre market bridge island village summer autumn "
                                         "morning evening colour number value")
                              .split(QLatin1Char(' '));

const QString han =
    QStringLiteral("天气会议预算旅行厨房图书馆河流车站学校医生信件音乐市场桥岛村庄夏秋早晚颜色数");

constexpr int editorStep = 21;
constexpr int barHeight = 34;

void drawBar(QPainter &painter, const QRect &area, const QString &title)
{
    painter.fillRect(area, QColor(0x3b, 0x42, 0x52));
    painter.setPen(Qt::white);
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    painter.drawText(area.adjusted(12, 0, 0, 0), Qt::AlignVCenter, title);
}
} // namespace

DrawnSession::DrawnSession(const QSize &size, unsigned seed) : m_size(size), m_state(seed)
{
    openFile();
    turnPage();
    for (int count = 0; count < 8; ++count) {
        receiveMessage();
    }
}

unsigned DrawnSession::random()
{
    m_state = m_state * 1664525U + 1013904223U;
    return m_state >> 8;
}

QString DrawnSession::sentence(int count)
{
    QStringList chosen;
    for (int index = 0; index < count; ++index) {
        chosen << words.at(int(random() % unsigned(words.size())));
    }
    return chosen.join(QLatin1Char(' ')) + QString::number(random() % 1000);
}

QStringList DrawnSession::file(int lines)
{
    QStringList text;
    for (int line = 0; line < lines; ++line) {
        text << QString(int(random() % 3) * 4, QLatin1Char(' ')) + sentence(3 + int(random() % 7));
    }
    return text;
}

void DrawnSession::openFile()
{
    m_file = file(120);
    m_scroll = 0;
}

void DrawnSession::typeLine()
{
    const int visible = (m_size.height() - barHeight) / editorStep - 2;
    m_file.insert(qMin(m_file.size(), m_scroll + visible / 2), sentence(6));
}

void DrawnSession::scrollEditor(int lines)
{
    m_scroll = qBound(0, m_scroll + lines, m_file.size() - 1);
}

void DrawnSession::receiveMessage()
{
    QString message = sentence(7);
    if (random() % 3 == 0) {
        message = QString();
        for (int index = 0; index < 12; ++index) {
            message += han.at(int(random() % unsigned(han.size())));
        }
    }
    m_messages << message;
}

void DrawnSession::turnPage()
{
    m_page.clear();
    for (int line = 0; line < 32; ++line) {
        m_page << (line % 8 == 0 ? sentence(4) : sentence(13));
    }
}

void DrawnSession::switchTo(int window)
{
    m_window = window;
}

void DrawnSession::moveSmallWindow(const QPoint &by)
{
    m_small += by;
}

QImage DrawnSession::screen() const
{
    QImage image(m_size, QImage::Format_RGB32);
    image.fill(QColor(0x2e, 0x34, 0x40));
    QPainter painter(&image);
    const QRect area = image.rect();
    if (m_window == 0) {
        drawEditor(painter, area);
    } else if (m_window == 1) {
        drawChat(painter, area);
    } else {
        drawDocument(painter, area);
    }
    drawSmallWindow(painter);
    return image;
}

void DrawnSession::drawEditor(QPainter &painter, const QRect &area) const
{
    painter.fillRect(area, Qt::white);
    drawBar(painter, QRect(0, 0, area.width(), barHeight), QStringLiteral("notes.cpp - Editor"));
    painter.setFont(QFont(QStringLiteral("DejaVu Sans Mono"), 11));
    painter.setPen(QColor(0x20, 0x20, 0x28));
    for (int line = m_scroll; line < m_file.size(); ++line) {
        const int y = barHeight + 24 + (line - m_scroll) * editorStep;
        if (y > area.bottom() - 10) {
            break;
        }
        painter.drawText(60, y, m_file.at(line));
    }
}

void DrawnSession::drawChat(QPainter &painter, const QRect &area) const
{
    painter.fillRect(area, QColor(0xf3, 0xf4, 0xf7));
    drawBar(painter, QRect(0, 0, area.width(), barHeight), QStringLiteral("Messages"));
    int y = area.bottom() - 60;
    for (int index = m_messages.size() - 1; index >= 0 && y > 2 * barHeight; --index) {
        const bool own = index % 3 == 0;
        painter.setFont(QFont(QStringLiteral("WenQuanYi Micro Hei"), 12));
        const int width = QFontMetrics(painter.font()).horizontalAdvance(m_messages.at(index));
        const QRect bubble(own ? area.width() - width - 80 : 40, y - 26, width + 30, 38);
        painter.setPen(Qt::NoPen);
        painter.setBrush(own ? QColor(0xcf, 0xe8, 0xcf) : QColor(Qt::white));
        painter.drawRoundedRect(bubble, 8, 8);
        painter.setPen(QColor(0x20, 0x20, 0x20));
        painter.drawText(bubble.adjusted(15, 0, 0, 0), Qt::AlignVCenter, m_messages.at(index));
        y -= 56;
    }
}

void DrawnSession::drawDocument(QPainter &painter, const QRect &area) const
{
    painter.fillRect(area, QColor(0xd8, 0xd8, 0xd8));
    drawBar(painter, QRect(0, 0, area.width(), barHeight), QStringLiteral("Report - Reader"));
    painter.fillRect(QRect(300, 50, 1000, area.height() - 60), Qt::white);
    painter.setPen(Qt::black);
    int y = 100;
    for (int line = 0; line < m_page.size() && y < area.bottom() - 30; ++line) {
        const bool heading = line % 8 == 0;
        painter.setFont(QFont(QStringLiteral("DejaVu Serif"), heading ? 18 : 11));
        painter.drawText(360, y, m_page.at(line));
        y += heading ? 44 : 28;
    }
}

void DrawnSession::drawSmallWindow(QPainter &painter) const
{
    const QRect window(m_small, QSize(420, 220));
    painter.fillRect(window, QColor(0xfd, 0xf6, 0xe3));
    drawBar(painter, QRect(m_small, QSize(420, 28)), QStringLiteral("Reminders"));
    painter.setPen(QColor(0x30, 0x30, 0x30));
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 11));
    const QStringList notes{QStringLiteral("Call the dentist on Tuesday"),
                            QStringLiteral("Water the plants in the office"),
                            QStringLiteral("Send the report to Margaret"),
                            QStringLiteral("Buy tickets for the concert")};
    for (int line = 0; line < notes.size(); ++line) {
        painter.drawText(m_small + QPoint(20, 64 + line * 36), notes.at(line));
    }
}
