#include "textpages.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QRandomGenerator>

namespace TextPages
{
namespace
{
// Words of ordinary length; with numbers so that no two lines are alike.
const QStringList words =
    QStringLiteral("meeting report budget the of and to in screen history keeps every frame that "
                   "was recorded today window search returns pages with text about projects plan "
                   "review next week people agreed on release date after testing small changes "
                   "Quality matters; however, it takes time (and patience) to measure properly. "
                   "Berlin Tokyo London archive garden winter number system question answer")
        .split(QLatin1Char(' '));

const QStringList code = {
    QStringLiteral("#include <vector>"),
    QStringLiteral("static int countOf(const std::vector<int> &values, int wanted%1)"),
    QStringLiteral("    return std::count(values.begin(), values.end(), wanted%1);"),
    QStringLiteral("    // compare every value with the one wanted, number %1"),
    QStringLiteral("    for (const auto &item : items_%1) {"),
    QStringLiteral("        if (item.size() > limit_%1 && !item.isEmpty())"),
    QStringLiteral("            total += item.width() * scale[%1] - 0.5;"),
    QStringLiteral("template <typename Key, typename Value%1>"),
    QStringLiteral("QString title = settings.value(\"window/title%1\").toString();")};

const QStringList messages = {QStringLiteral("服务器今晚十点到十二点维护，请提前保存工作。"),
                              QStringLiteral("Could someone review my pull request before lunch?"),
                              QStringLiteral("大家早上好，今天的会议改到下午三点。"),
                              QStringLiteral("The build is green again after the last commit."),
                              QStringLiteral("请把上周的测试报告发给我，谢谢。")};

QImage blank(const QSize &size, const QColor &colour)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

QFont fontOf(const QString &family, int pixelSize)
{
    QFont font(family);
    font.setPixelSize(pixelSize);
    return font;
}

// Draws a line and notes its words.
void put(QPainter &painter, Page &page, int x, int baseline, const QString &line)
{
    painter.drawText(x, baseline, line);
    page.text += line + QLatin1Char('\n');
}
} // namespace

Page editor(const QSize &size, bool dark, int firstLine, int typedLine)
{
    const QColor ground = dark ? QColor(0x1e, 0x1e, 0x1e) : QColor(Qt::white);
    Page page{dark ? QStringLiteral("editor dark") : QStringLiteral("editor light"),
              blank(size, ground), QString()};
    QPainter painter(&page.picture);
    painter.setFont(fontOf(QStringLiteral("DejaVu Sans Mono"), 13));
    const QList<QColor> inks =
        dark ? QList<QColor>{QColor(0xd4, 0xd4, 0xd4), QColor(0x6a, 0x99, 0x55),
                             QColor(0x56, 0x9c, 0xd6)}
             : QList<QColor>{Qt::black, QColor(0x00, 0x80, 0x00), QColor(0x80, 0x00, 0x80)};
    for (int i = 0; 40 + i * 17 < size.height() - 10; ++i) {
        const int number = firstLine + i;
        painter.setPen(QColor(0x80, 0x80, 0x80));
        put(painter, page, 20, 40 + i * 17, QString::number(number));
        painter.setPen(inks.at(number % inks.size()));
        for (int column = 0; 70 + (column + 1) * 620 < size.width(); ++column) {
            QString line = code.at((number + column) % code.size());
            if (line.contains(QLatin1String("%1")))
                line = line.arg(number + column);
            if (number == typedLine && column == 0)
                line += QStringLiteral(" // so");
            put(painter, page, 70 + column * 620, 40 + i * 17, line);
        }
    }
    return page;
}

Page document(const QSize &size, int pixelSize)
{
    Page page{QStringLiteral("document %1 px").arg(pixelSize), blank(size, Qt::white), QString()};
    QPainter painter(&page.picture);
    const QFont font = fontOf(QStringLiteral("DejaVu Serif"), pixelSize);
    painter.setFont(font);
    const QFontMetrics metrics(font);
    QRandomGenerator random(static_cast<quint32>(pixelSize));
    const int pitch = pixelSize * 7 / 5;
    for (int y = 40; y < size.height() - pitch; y += pitch) {
        QString line;
        while (metrics.horizontalAdvance(line) < size.width() - 240) {
            if (!line.isEmpty())
                line += QLatin1Char(' ');
            line += random.bounded(12) == 0 ? QString::number(random.bounded(2000))
                                            : words.at(int(random.bounded(words.size())));
        }
        put(painter, page, 60, y, line);
    }
    return page;
}

Page chat(const QSize &size)
{
    Page page{QStringLiteral("chat"), blank(size, QColor(0xf7, 0xf7, 0xf7)), QString()};
    QPainter painter(&page.picture);
    painter.setFont(fontOf(QStringLiteral("WenQuanYi Micro Hei"), 15));
    for (int i = 0; 60 + i * 60 < size.height() - 20; ++i) {
        painter.setPen(QColor(0x1d, 0x4e, 0xd8));
        put(painter, page, 30, 40 + i * 60, QStringLiteral("Anna Berg 10:%1").arg(10 + i));
        painter.setPen(Qt::black);
        for (int column = 0; column * 620 + 500 < size.width(); ++column)
            put(painter, page, 30 + column * 620, 62 + i * 60, messages.at((i + column) % 5));
    }
    return page;
}

Page table(const QSize &size)
{
    Page page{QStringLiteral("table"), blank(size, Qt::white), QString()};
    QPainter painter(&page.picture);
    painter.setFont(fontOf(QStringLiteral("DejaVu Sans"), 12));
    const QSize cell(104, 24);
    for (int row = 0; (row + 2) * cell.height() < size.height(); ++row) {
        for (int column = 0; (column + 1) * cell.width() < size.width(); ++column) {
            const QRect place(QPoint(20 + column * cell.width(), 20 + row * cell.height()), cell);
            painter.setPen(QColor(0xc0, 0xc0, 0xc0));
            painter.drawRect(place);
            painter.setPen(Qt::black);
            const QString text = column == 0
                                     ? words.at((row * 7 + 1) % words.size())
                                     : QString::number((row * 37 + column * 11) * 3.7, 'f', 2);
            put(painter, page, place.left() + 5, place.bottom() - 7, text);
        }
    }
    return page;
}

std::vector<Page> all(const QSize &size)
{
    return {editor(size, false), editor(size, true), document(size, 16),
            document(size, 10),  chat(size),         table(size)};
}

QImage photograph(const QSize &size)
{
    QRandomGenerator random(4);
    QImage picture(size, QImage::Format_RGB32);
    {
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        QLinearGradient sky(0, 0, 0, size.height());
        sky.setColorAt(0, QColor(90, 140, 210));
        sky.setColorAt(1, QColor(220, 230, 240));
        painter.fillRect(picture.rect(), sky);
        for (int hill = 0; hill < 5; ++hill) {
            QPainterPath path(QPointF(0, size.height()));
            double height = size.height() * (0.3 + 0.12 * hill);
            for (int x = 0; x <= size.width() + 40; x += 40) {
                height += random.bounded(31) - 15;
                path.lineTo(x, height);
            }
            path.lineTo(size.width(), size.height());
            painter.fillPath(path, QColor(20 + random.bounded(90), 60 + random.bounded(90), 40));
        }
        const int blades = size.width() * size.height() / 700;
        for (int blade = 0; blade < blades; ++blade) {
            const QPoint root(random.bounded(size.width()),
                              size.height() / 2 + random.bounded(size.height() / 2));
            painter.setPen(QPen(QColor(30, 90 + random.bounded(130), 30), 1 + random.bounded(2)));
            painter.drawLine(root, root + QPoint(random.bounded(17) - 8, -5 - random.bounded(25)));
        }
    }
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
} // namespace TextPages
