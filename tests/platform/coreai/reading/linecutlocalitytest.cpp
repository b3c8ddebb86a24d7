// The same pixels give the same lines, wherever they stand and whatever stands near them: what lets
// the text of a line be remembered by its bitmap.

#include "drawnpages.h"

#include <QPainter>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

using namespace DrawnPages;

namespace
{
const QStringList prose = {
    QStringLiteral("Yesterday's meeting was moved to \"Friday\"; see page 12."),
    QStringLiteral("The quick brown fox jumps over the lazy dog"),
    QStringLiteral("near a river, e.g. Ilz - or so we thought."),
    QStringLiteral("sum = a_b[i] + __counter(x) // TODO: 3.5 %"),
    QStringLiteral("https://www.example.org/articles?id=2024&page=7"),
};

const QStringList chinese = {
    QStringLiteral("服务器今晚十点到十二点维护，请提前保存工作。"),
    QStringLiteral("大家早上好，今天的会议改到下午三点。"),
    QStringLiteral("一二三 mixed text 10:24"),
};

void addStyles()
{
    QTest::addColumn<Style>("style");
    QTest::addColumn<QStringList>("lines");
    const QString mono = QStringLiteral("DejaVu Sans Mono");
    QTest::newRow("small print") << Style{Style().family, 9, Qt::black, Qt::white} << prose;
    QTest::newRow("interface text") << Style{Style().family, 13, Qt::black, Qt::white} << prose;
    QTest::newRow("dark editor") << Style{mono, 13, QColor(0xd4, 0xd4, 0xd4),
                                          QColor(0x1e, 0x1e, 0x1e)}
                                 << prose;
    QTest::newRow("coloured") << Style{Style().family, 15, QColor(0x1d, 0x4e, 0xd8), Qt::white}
                              << prose;
    QTest::newRow("Chinese") << Style{QStringLiteral("WenQuanYi Micro Hei"), 15, Qt::black,
                                      Qt::white}
                             << chinese;
    QTest::newRow("headings") << Style{Style().family, 32, Qt::black, Qt::white}
                              << QStringList(prose.mid(1, 2));
    QTest::newRow("twice the size")
        << Style{mono, 26, QColor(0xd4, 0xd4, 0xd4), QColor(0x1e, 0x1e, 0x1e)} << prose;
}

int pitchOf(const Style &style)
{
    return style.pixelSize * 13 / 10 + 1;
}

QSize sizeOf(const Style &style, const QStringList &lines)
{
    const QFontMetrics metrics(style.font());
    int width = 0;
    for (const QString &line : lines)
        width = std::max(width, metrics.horizontalAdvance(line));
    return {width + 4, pitchOf(style) * int(lines.size() + 1)};
}

// The block at `at` of a page.
void writeBlock(QImage &page, const QPoint &at, const Style &style, const QStringList &lines)
{
    write(page, at + QPoint(0, style.pixelSize), lines, style, pitchOf(style));
}

std::multiset<QByteArray> keysOfBlock(const Style &style, const QStringList &lines)
{
    QImage page = blank(sizeOf(style, lines) + QSize(200, 200), style.ground);
    writeBlock(page, {100, 100}, style, lines);
    return keysOf(cut(page));
}

bool containsAll(const std::multiset<QByteArray> &all, const std::multiset<QByteArray> &wanted)
{
    return std::includes(all.begin(), all.end(), wanted.begin(), wanted.end());
}

// Content of another window: frame, title, text, a picture.
void drawWindow(QImage &page, const QRect &window, quint32 seed)
{
    QPainter painter(&page);
    painter.fillRect(window, QColor(0xf4, 0xf4, 0xf0));
    painter.setPen(QColor(0x60, 0x60, 0x60));
    painter.drawRect(window.adjusted(0, 0, -1, -1));
    painter.end();
    fillWithTexture(page, {window.left() + 3, window.top() + 3, window.width() / 3, 60}, 4, seed);
    QPainter clipped(&page);
    clipped.setClipRect(window.adjusted(1, 1, -1, -1));
    for (int y = 80; y < window.height(); y += 17)
        clipped.drawText(window.topLeft() + QPoint(8, y),
                         QStringLiteral("window of another program"));
}
} // namespace

Q_DECLARE_METATYPE(Style)

class LineCutLocalityTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aBlockGivesTheSameLinesAtEveryOffset_data() { addStyles(); }
    void aBlockGivesTheSameLinesAtEveryOffset();
    void contentAFewPixelsAboveAndBelowChangesNothing_data() { addStyles(); }
    void contentAFewPixelsAboveAndBelowChangesNothing();
    void contentTwoLineHeightsBesideChangesNothing_data() { addStyles(); }
    void contentTwoLineHeightsBesideChangesNothing();
    void aWindowBorderPartsTextOnBothSides();
    void linesNotTouchedByAWindowStayTheSame_data() { addStyles(); }
    void linesNotTouchedByAWindowStayTheSame();
    void scrollingKeepsTheLinesThatStayInView_data() { addStyles(); }
    void scrollingKeepsTheLinesThatStayInView();
    void contentBeyondTheStatedReachChangesNothing();
    void linesAtTheScreensEdgeDoNotChangeTheOthers();
    void aTypedCharacterChangesOnlyItsOwnLine();
    void theIgnoredByteMakesNoDifference();
};

void LineCutLocalityTest::aBlockGivesTheSameLinesAtEveryOffset()
{
    QFETCH(Style, style);
    QFETCH(QStringList, lines);
    const std::multiset<QByteArray> expected = keysOfBlock(style, lines);
    QVERIFY(expected.size() >= std::size_t(lines.size()));
    std::vector<QPoint> offsets;
    offsets.reserve(80);
    for (int i = 0; i < 64; ++i)
        offsets.emplace_back(i % 8, i / 8);
    QRandomGenerator random(1);
    for (int i = 0; i < 8; ++i)
        offsets.emplace_back(random.bounded(300), random.bounded(200));
    for (const QPoint &offset : offsets) {
        QImage page = blank(sizeOf(style, lines) + QSize(320, 220), style.ground);
        writeBlock(page, offset + QPoint(2, 2), style, lines);
        QVERIFY2(keysOf(cut(page)) == expected,
                 qPrintable(QStringLiteral("at %1,%2").arg(offset.x()).arg(offset.y())));
    }
}

void LineCutLocalityTest::contentAFewPixelsAboveAndBelowChangesNothing()
{
    QFETCH(Style, style);
    QFETCH(QStringList, lines);
    const std::multiset<QByteArray> expected = keysOfBlock(style, lines);
    for (int away = 4; away <= 8; ++away) {
        QImage page = blank(sizeOf(style, lines) + QSize(200, 300), style.ground);
        writeBlock(page, {100, 150}, style, lines);
        const QRect ink = inkOf(page, page.rect(), style.ground);
        fillWithTexture(page, {0, 0, page.width(), ink.top() - away}, 4, 7);
        fillWithTexture(page, {0, ink.bottom() + 1 + away, page.width(), 200}, 2, 8);
        QVERIFY2(containsAll(keysOf(inside(cut(page), ink.adjusted(-3, -3, 3, 3))), expected),
                 qPrintable(QStringLiteral("%1 pixels away").arg(away)));
    }
}

void LineCutLocalityTest::contentTwoLineHeightsBesideChangesNothing()
{
    QFETCH(Style, style);
    QFETCH(QStringList, lines);
    const std::multiset<QByteArray> expected = keysOfBlock(style, lines);
    QImage page = blank(sizeOf(style, lines) + QSize(800, 200), style.ground);
    writeBlock(page, {400, 100}, style, lines);
    const QRect ink = inkOf(page, page.rect(), style.ground);
    const int away = 3 * pitchOf(style);
    QImage other = blank(sizeOf(style, lines), style.ground);
    writeBlock(other, {0, 5}, style, lines);
    QPainter painter(&page);
    painter.drawImage(ink.left() - away - other.width(), ink.top(), other);
    painter.drawImage(ink.right() + away, ink.top() + 3, other);
    painter.end();
    QVERIFY(containsAll(keysOf(inside(cut(page), ink.adjusted(-3, -3, 3, 3))), expected));
}

void LineCutLocalityTest::aWindowBorderPartsTextOnBothSides()
{
    const Style style;
    const std::multiset<QByteArray> expected = keysOfBlock(style, prose);
    QImage page = blank({1200, 400});
    writeBlock(page, {100, 100}, style, prose);
    const QRect ink = inkOf(page, page.rect(), Qt::white);
    QPainter painter(&page);
    // The widest line ends three pixels before the border of a window full of text.
    painter.fillRect(QRect(ink.right() + 4, 40, 500, 300), QColor(0xee, 0xee, 0xee));
    painter.setPen(QColor(0x40, 0x40, 0x40));
    painter.drawRect(QRect(ink.right() + 4, 40, 500, 300));
    painter.end();
    writeBlock(page, {ink.right() + 8, 100}, style, prose);
    QVERIFY(containsAll(keysOf(cut(page)), expected));
}

void LineCutLocalityTest::linesNotTouchedByAWindowStayTheSame()
{
    QFETCH(Style, style);
    QFETCH(QStringList, lines);
    QImage page = blank({1000, 900}, style.ground);
    for (int y = 20; y + sizeOf(style, lines).height() < 900;
         y += sizeOf(style, lines).height() + 9)
        writeBlock(page, {20, y}, style, lines);
    const std::vector<coreai::CutLine> before = cut(page);
    QRandomGenerator random(3);
    for (int round = 0; round < 6; ++round) {
        const QRect window(random.bounded(700), random.bounded(600), 120 + random.bounded(400),
                           120 + random.bounded(300));
        QImage covered = page;
        drawWindow(covered, window, quint32(round));
        const std::multiset<QByteArray> after = keysOf(cut(covered));
        const int beside = 3 * pitchOf(style);
        const QRect near = window.adjusted(-beside, -4, beside, 4);
        for (const coreai::CutLine &line : before) {
            if (!rectOf(line).intersects(near))
                QVERIFY(after.count(keyOf(line)) > 0);
        }
        // Uncovered again, every line is known.
        QVERIFY(keysOf(cut(page)) == keysOf(before));
    }
}

void LineCutLocalityTest::scrollingKeepsTheLinesThatStayInView()
{
    QFETCH(Style, style);
    QFETCH(QStringList, lines);
    QStringList many;
    while (many.size() < 60)
        many += lines;
    const QRect view(40, 50, 700, 500);
    const auto scrolledBy = [&](int rows) {
        QImage content = blank(view.size(), style.ground);
        writeBlock(content, {6, -rows}, style, many);
        QImage page = blank({800, 600}, QColor(0xdd, 0xdd, 0xe2));
        QPainter(&page).drawImage(view.topLeft(), content);
        return cut(page);
    };
    const std::vector<coreai::CutLine> before = scrolledBy(200);
    for (int rows = 1; rows <= 40; rows += rows < 8 ? 1 : 5) {
        const std::multiset<QByteArray> after = keysOf(scrolledBy(200 + rows));
        for (const coreai::CutLine &line : before) {
            const QRect moved = rectOf(line).translated(0, -rows);
            // Lines cut by the edge of the view are others.
            const int whole = pitchOf(style);
            if (view.adjusted(0, whole, 0, -whole).contains(moved) &&
                view.adjusted(0, whole, 0, -whole).contains(rectOf(line)))
                QVERIFY2(after.count(keyOf(line)) > 0,
                         qPrintable(QStringLiteral("scrolled by %1").arg(rows)));
        }
    }
}

void LineCutLocalityTest::contentBeyondTheStatedReachChangesNothing()
{
    const QRect kept(300, 300, 500, 160);
    QImage page = blank({1100, 760});
    writeBlock(page, kept.topLeft(), Style{Style().family, 22, Qt::black, Qt::white},
               prose.mid(0, 4));
    const std::multiset<QByteArray> expected = keysOf(cut(page));
    const QRect ink = inkOf(page, page.rect(), Qt::white);
    QRandomGenerator random(11);
    for (int round = 0; round < 20; ++round) {
        QImage noisy = page;
        QPainter painter(&noisy);
        const int reach = coreai::cutReach;
        painter.setClipRegion(QRegion(noisy.rect()) - ink.adjusted(-reach, -reach, reach, reach));
        for (int i = 0; i < 200; ++i) {
            const QPoint at(random.bounded(1100), random.bounded(760));
            painter.fillRect(QRect(at, QSize(1 + random.bounded(90), 1 + random.bounded(90))),
                             QColor::fromHsv(random.bounded(360), 200, random.bounded(256)));
            painter.drawText(at, QStringLiteral("clutter"));
        }
        painter.end();
        const QRect area = ink.adjusted(-reach, -reach, reach, reach);
        QVERIFY(keysOf(inside(cut(noisy), area)) == expected);
    }
}

void LineCutLocalityTest::linesAtTheScreensEdgeDoNotChangeTheOthers()
{
    const Style style;
    QImage page = blank({700, 300});
    writeBlock(page, {100, 100}, style, prose);
    const std::multiset<QByteArray> expected = keysOf(cut(page));
    write(page, {-20, 20}, {QStringLiteral("cut at the left edge")}, style, 20);
    write(page, {600, 50}, {QStringLiteral("cut at the right edge")}, style, 20);
    write(page, {300, 5}, {QStringLiteral("cut at the top edge")}, style, 20);
    write(page, {300, 305}, {QStringLiteral("cut at the bottom edge")}, style, 20);
    const std::vector<coreai::CutLine> lines = cut(page);
    QVERIFY(containsAll(keysOf(lines), expected));
    QVERIFY(lines.size() > expected.size());
    for (const coreai::CutLine &line : lines)
        QVERIFY(page.rect().contains(rectOf(line)));
}

void LineCutLocalityTest::aTypedCharacterChangesOnlyItsOwnLine()
{
    const Style style{QStringLiteral("DejaVu Sans Mono"), 13, Qt::black, Qt::white};
    QStringList text;
    while (text.size() < 30)
        text += prose;
    QImage page = blank({800, 700});
    writeBlock(page, {20, 20}, style, text);
    const std::multiset<QByteArray> before = keysOf(cut(page));
    text[14] += QStringLiteral("x");
    QImage typed = blank({800, 700});
    writeBlock(typed, {20, 20}, style, text);
    const std::vector<coreai::CutLine> after = cut(typed);
    const auto isNew = [&](const coreai::CutLine &line) { return before.count(keyOf(line)) == 0; };
    QCOMPARE(int(std::count_if(after.begin(), after.end(), isNew)), 1);
}

void LineCutLocalityTest::theIgnoredByteMakesNoDifference()
{
    QImage page = blank({600, 200});
    writeBlock(page, {20, 20}, Style(), prose);
    QImage transparent = page;
    for (int y = 0; y < transparent.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(transparent.scanLine(y));
        for (int x = 0; x < transparent.width(); ++x)
            row[x] = (row[x] & 0xffffffU) | (QRgb(x * 7 + y) << 24);
    }
    QVERIFY(!cut(page).empty());
    QVERIFY(keysOf(cut(transparent)) == keysOf(cut(page)));
}

QTEST_MAIN(LineCutLocalityTest)
#include "linecutlocalitytest.moc"
