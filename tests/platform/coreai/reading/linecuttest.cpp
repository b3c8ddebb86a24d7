// What the line cut finds on a screen: lines of every kind with their extents to the pixel, and
// nothing where there is no text.

#include "drawnpages.h"

#include <QElapsedTimer>
#include <QPainter>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

using namespace DrawnPages;

namespace
{
const QString sentence = QStringLiteral("The quick brown fox jumps over the lazy dog");
const QString monospaced = QStringLiteral("DejaVu Sans Mono");

QStringList repeated(int count, const QString &line)
{
    QStringList lines;
    for (int i = 0; i < count; ++i)
        lines.append(line);
    return lines;
}

// Lines whose box meets `area`.
std::vector<QRect> meeting(const QImage &page, const QRect &area)
{
    std::vector<QRect> found;
    for (const coreai::CutLine &line : cut(page)) {
        if (rectOf(line).intersects(area))
            found.push_back(rectOf(line));
    }
    return found;
}

bool nearlyEqual(const QRect &a, const QRect &b, int tolerance)
{
    return a.adjusted(-tolerance, -tolerance, tolerance, tolerance).contains(b) &&
           b.adjusted(-tolerance, -tolerance, tolerance, tolerance).contains(a);
}

QByteArray textOf(const QRect &rect)
{
    return QStringLiteral("%1,%2 %3x%4")
        .arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height())
        .toUtf8();
}
} // namespace

class LineCutTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLineHasTheExtentsOfItsInk_data();
    void aLineHasTheExtentsOfItsInk();
    void linesOneRowApartStayApart();
    void linesThatTouchAreCutBetween();
    void underscoresAndMarksBelongToTheirLine_data();
    void underscoresAndMarksBelongToTheirLine();
    void anUnderlinedLinkIsOneLineWithItsSentence();
    void aCaretInTheLineDoesNotPartIt();
    void spreadsheetCellsAreLinesOfTheirOwn_data();
    void spreadsheetCellsAreLinesOfTheirOwn();
    void aButtonsFrameIsNotInTheLine();
    void selectedTextIsFound();
    void textBesideAPictureKeepsItsFirstLetter();
    void textUponPicturesIsFound_data();
    void textUponPicturesIsFound();
    void picturesGiveHardlyAnyLine_data();
    void picturesGiveHardlyAnyLine();
    void barsAreNotRead();
    void paragraphsAreReadColumnByColumn();
    void aTableIsReadRowByRow();
    void badInputGivesNothing_data();
    void badInputGivesNothing();
    void aHugePictureIsRefusedAtOnce();
    void noiseCostsBoundedTime();
    void aPartOfALargerPictureIsCutLikeACopy();
    void bitmapsAreThePixelsOfTheirBoxes();
};

void LineCutTest::aLineHasTheExtentsOfItsInk_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<int>("pixelSize");
    QTest::addColumn<QColor>("ink");
    QTest::addColumn<QColor>("ground");
    QTest::addColumn<QString>("text");
    const QString sans = QStringLiteral("DejaVu Sans");
    const QString wqy = QStringLiteral("WenQuanYi Micro Hei");
    const QColor white = Qt::white;
    const QColor black = Qt::black;
    const QColor night(0x1e, 0x1e, 0x1e);
    for (int size : {8, 9, 11, 13, 16, 20, 26, 32, 48, 64})
        QTest::addRow("%d pixels", size) << sans << size << black << white << sentence;
    for (int size : {10, 13, 26})
        QTest::addRow("light monospaced %d pixels", size)
            << monospaced << size << QColor(0xd4, 0xd4, 0xd4) << night << sentence;
    for (int size : {12, 15, 30})
        QTest::addRow("Chinese %d pixels", size)
            << wqy << size << black << white
            << QStringLiteral("大家早上好，今天的会议改到下午三点。");
    QTest::newRow("grey on grey") << sans << 13 << QColor(0x90, 0x90, 0x90)
                                  << QColor(0xf4, 0xf4, 0xf4) << sentence;
    // Equal brightness: only the colour differs.
    QTest::newRow("red on green") << sans << 15 << QColor(220, 40, 40) << QColor(0, 128, 90)
                                  << sentence;
    QTest::newRow("comment green")
        << monospaced << 13 << QColor(0x6a, 0x99, 0x55) << night << sentence;
    QTest::newRow("right to left")
        << sans << 16 << black << white << QStringLiteral("שלום עולם זה קו של טקסט");
    QTest::newRow("only x-height")
        << sans << 14 << black << white << QStringLiteral("a sea can seem mean, as we saw");
    QTest::newRow("digits") << sans << 13 << black << white << QStringLiteral("12,345.67");
}

void LineCutTest::aLineHasTheExtentsOfItsInk()
{
    QFETCH(QString, family);
    QFETCH(int, pixelSize);
    QFETCH(QColor, ink);
    QFETCH(QColor, ground);
    QFETCH(QString, text);
    QImage page = blank({2000, 300}, ground);
    write(page, {60, 150}, {text}, Style{family, pixelSize, ink, ground}, 0);
    const QRect expected = inkOf(page, page.rect(), ground);
    const std::vector<coreai::CutLine> lines = cut(page);
    QCOMPARE(int(lines.size()), 1);
    QVERIFY2(nearlyEqual(rectOf(lines.front()), expected, 2),
             textOf(rectOf(lines.front())) + " instead of " + textOf(expected));
}

void LineCutTest::linesOneRowApartStayApart()
{
    const Style style;
    const QStringList lines =
        repeated(12, QStringLiteral("jumping foxy dogs (quickly) flying high"));
    QImage one = blank({500, 60});
    write(one, {20, 30}, lines.mid(0, 1), style, 0);
    const int pitch = inkOf(one, one.rect(), Qt::white).height() + 2;
    QImage page = blank({500, 400});
    write(page, {20, 30}, lines, style, pitch);
    QCOMPARE(int(cut(page).size()), lines.size());
}

void LineCutTest::linesThatTouchAreCutBetween()
{
    const Style style{QStringLiteral("DejaVu Sans"), 20, Qt::black, Qt::white};
    QImage page = blank({600, 200});
    // The descender of the upper line's "g" runs into the ascender of the lower line's "h".
    write(page, {20, 50},
          {QStringLiteral("an orange ran on"), QStringLiteral("one of the moon we")}, style, 17);
    const std::vector<coreai::CutLine> lines = cut(page);
    QCOMPARE(int(lines.size()), 2);
    for (const coreai::CutLine &line : lines)
        QVERIFY2(line.box.height <= 22, textOf(rectOf(line)));
}

void LineCutTest::underscoresAndMarksBelongToTheirLine_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("pitch");
    for (int pitch : {17, 20, 26}) {
        QTest::addRow("leading underscores %d", pitch)
            << QStringLiteral("__cxx namespace_alias") << pitch;
        QTest::addRow("underscores between %d", pitch)
            << QStringLiteral("max __a and __b sum") << pitch;
        QTest::addRow("trailing underscore %d", pitch) << QStringLiteral("sum_ max_") << pitch;
        QTest::addRow("quotation marks %d", pitch) << QStringLiteral("say \"oxen\" once") << pitch;
        QTest::addRow("apostrophe %d", pitch) << QStringLiteral("one's own sum's") << pitch;
        QTest::addRow("dots %d", pitch) << QStringLiteral("ii.ij. e.g. a: b; ...") << pitch;
        QTest::addRow("double colon %d", pitch) << QStringLiteral("std::move(xx), a - b") << pitch;
        QTest::addRow("accents %d", pitch)
            << QString::fromUtf8("\u00c9t\u00e9 \u00dcber \u00c5ngstr\u00f6m \u00f1") << pitch;
    }
}

void LineCutTest::underscoresAndMarksBelongToTheirLine()
{
    QFETCH(QString, text);
    QFETCH(int, pitch);
    QImage page = blank({600, 200});
    const Style style{monospaced, 13, Qt::black, Qt::white};
    write(page, {20, 60}, {text}, style, pitch);
    const QRect expected = inkOf(page, page.rect(), Qt::white);
    write(page, {20, 60 - pitch}, {QStringLiteral("Having flown by")}, style, pitch);
    write(page, {20, 60 + pitch}, {QStringLiteral("What then follows")}, style, pitch);
    const std::vector<coreai::CutLine> lines = cut(page);
    QCOMPARE(int(lines.size()), 3);
    QVERIFY2(nearlyEqual(rectOf(lines.at(1)), expected, 2),
             textOf(rectOf(lines.at(1))) + " instead of " + textOf(expected));
}

void LineCutTest::anUnderlinedLinkIsOneLineWithItsSentence()
{
    QImage page = blank({800, 100});
    QPainter painter(&page);
    QFont font = Style().font();
    painter.setFont(font);
    painter.setPen(Qt::black);
    painter.drawText(20, 50, QStringLiteral("You may copy this page. "));
    const int advance =
        QFontMetrics(font).horizontalAdvance(QStringLiteral("You may copy this page. "));
    font.setUnderline(true);
    painter.setFont(font);
    painter.setPen(QColor(0, 0, 0xee));
    painter.drawText(20 + advance, 50,
                     QStringLiteral("Read more of it in the full text on another page"));
    painter.end();
    const QRect expected = inkOf(page, page.rect(), Qt::white);
    const std::vector<coreai::CutLine> lines = cut(page);
    QCOMPARE(int(lines.size()), 1);
    QVERIFY2(nearlyEqual(rectOf(lines.front()), expected, 2), textOf(rectOf(lines.front())));
}

void LineCutTest::aCaretInTheLineDoesNotPartIt()
{
    QImage page = blank({600, 100});
    write(page, {20, 50}, {QStringLiteral("typed so far and after it")}, Style(), 0);
    QPainter(&page).fillRect(QRect(109, 37, 1, 17), Qt::black);
    QCOMPARE(int(cut(page).size()), 1);
}

void LineCutTest::spreadsheetCellsAreLinesOfTheirOwn_data()
{
    QTest::addColumn<int>("scale");
    QTest::addColumn<int>("padding");
    QTest::newRow("scale 1") << 1 << 6;
    QTest::newRow("scale 2") << 2 << 6;
    // Text closer to the border than words are to each other.
    QTest::newRow("narrow cells") << 1 << 2;
}

void LineCutTest::spreadsheetCellsAreLinesOfTheirOwn()
{
    QFETCH(int, scale);
    QFETCH(int, padding);
    const Style style{QStringLiteral("DejaVu Sans"), 12 * scale, Qt::black, Qt::white};
    const QString number = QStringLiteral("1492.40");
    const int width = QFontMetrics(style.font()).horizontalAdvance(number) + 2 * padding * scale;
    const int height = 22 * scale;
    QImage page = blank({60 + 8 * width, 60 + 10 * height});
    QPainter painter(&page);
    for (int column = 0; column <= 8; ++column)
        painter.fillRect(30 + column * width, 30, scale, 10 * height, QColor(0xb0, 0xb0, 0xb0));
    for (int row = 0; row <= 10; ++row)
        painter.fillRect(30, 30 + row * height, 8 * width, scale, QColor(0xb0, 0xb0, 0xb0));
    painter.end();
    for (int column = 0; column < 8; ++column) {
        for (int row = 0; row < 10; ++row)
            write(page,
                  {30 + scale + padding * scale + column * width, 30 + row * height + 16 * scale},
                  {number}, style, 0);
    }
    const std::vector<coreai::CutLine> lines = cut(page);
    QCOMPARE(int(lines.size()), 80);
    for (const coreai::CutLine &line : lines) {
        QVERIFY2(line.box.height < 13 * scale && line.box.width < width, textOf(rectOf(line)));
    }
}

void LineCutTest::aButtonsFrameIsNotInTheLine()
{
    QImage page = blank({400, 200}, QColor(0xf0, 0xf0, 0xf0));
    const QRect button(100, 80, 120, 32);
    QPainter painter(&page);
    painter.fillRect(button, Qt::white);
    painter.setPen(QColor(0x80, 0x80, 0x80));
    painter.drawRect(button);
    painter.setFont(Style().font());
    painter.setPen(Qt::black);
    painter.drawText(button, Qt::AlignCenter, QStringLiteral("Don't save"));
    painter.end();
    const std::vector<QRect> lines = meeting(page, button);
    QCOMPARE(int(lines.size()), 1);
    QVERIFY2(lines.front().height() < 20 && lines.front().width() < 110, textOf(lines.front()));
}

void LineCutTest::selectedTextIsFound()
{
    QImage page = blank({500, 100});
    QPainter painter(&page);
    painter.fillRect(QRect(80, 34, 150, 22), QColor(0x2a, 0x82, 0xda));
    painter.setFont(Style().font());
    painter.setPen(Qt::white);
    painter.drawText(84, 50, QStringLiteral("white on the selection"));
    painter.end();
    const std::vector<coreai::CutLine> lines = cut(page);
    QCOMPARE(int(lines.size()), 1);
}

void LineCutTest::textBesideAPictureKeepsItsFirstLetter()
{
    QImage page = blank({900, 400});
    const QStringList text =
        repeated(12, QStringLiteral("section text that stands right at the picture"));
    const Style style{QStringLiteral("DejaVu Sans"), 15, Qt::black, Qt::white};
    write(page, {301, 60}, text, style, 22);
    const QRect ink = inkOf(page, page.rect(), Qt::white);
    fillWithTexture(page, {20, 30, ink.left() - 21, 320}, 4, 5);
    int whole = 0;
    for (const QRect &line : meeting(page, ink)) {
        if (line.left() <= ink.left() + 2 && line.left() >= ink.left() - 2 &&
            line.right() >= ink.right() - 2)
            ++whole;
    }
    QCOMPARE(whole, int(text.size()));
}

void LineCutTest::textUponPicturesIsFound_data()
{
    QTest::addColumn<QColor>("ink");
    QTest::addColumn<int>("pixelSize");
    for (int size : {13, 18, 28, 40}) {
        QTest::addRow("white %d", size) << QColor(Qt::white) << size;
        QTest::addRow("black %d", size) << QColor(Qt::black) << size;
    }
}

void LineCutTest::textUponPicturesIsFound()
{
    QFETCH(QColor, ink);
    QFETCH(int, pixelSize);
    QImage page = blank({1300, 800});
    fillWithTexture(page, page.rect(), 16, 21);
    QImage alone = blank(page.size(), ink == Qt::white ? Qt::black : Qt::white);
    const QColor ground = alone.pixelColor(0, 0);
    const Style style{QStringLiteral("DejaVu Sans"), pixelSize, ink, ground};
    const QStringList text = repeated(8, sentence);
    write(page, {40, 80}, text, style, 80);
    int found = 0;
    for (int i = 0; i < text.size(); ++i) {
        write(alone, {40, 80 + i * 80}, {sentence}, style, 0);
        const QRect expected = inkOf(alone, {0, 20 + i * 80, 1300, 80}, ground);
        for (const QRect &line : meeting(page, expected))
            found += nearlyEqual(line, expected, pixelSize / 3) ? 1 : 0;
    }
    QVERIFY2(found >= 7, QByteArray::number(found) + " of 8");
}

void LineCutTest::picturesGiveHardlyAnyLine_data()
{
    QTest::addColumn<QImage>("picture");
    const QSize size(1920, 1080);
    for (int grain : {2, 4, 8, 16, 64}) {
        QImage texture = blank(size);
        fillWithTexture(texture, texture.rect(), grain, quint32(grain));
        QTest::addRow("texture, grain %d", grain) << texture;
    }
    QTest::newRow("landscape") << landscape(size, 4);
    QTest::newRow("landscape with other hills") << landscape(size, 9);
    QImage gradient = blank(size);
    QLinearGradient colours(0, 0, 1920, 1080);
    colours.setColorAt(0, Qt::darkBlue);
    colours.setColorAt(1, Qt::yellow);
    QPainter(&gradient).fillRect(gradient.rect(), colours);
    QTest::newRow("gradient") << gradient;
    QImage noise = blank(size);
    QRandomGenerator random(1);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            noise.setPixel(x, y, random.generate());
    }
    QTest::newRow("noise") << noise;
}

void LineCutTest::picturesGiveHardlyAnyLine()
{
    QFETCH(QImage, picture);
    const std::size_t count = cut(picture).size();
    QVERIFY2(count <= 10, QByteArray::number(int(count)));
}

void LineCutTest::barsAreNotRead()
{
    QImage page = blank({600, 120}, QColor(0xf0, 0xf0, 0xf0));
    QPainter painter(&page);
    painter.fillRect(QRect(20, 20, 1, 60), Qt::black);                  // a separator
    painter.fillRect(QRect(40, 20, 2, 28), Qt::gray);                   // a caret of large type
    painter.fillRect(QRect(140, 20, 200, 8), QColor(0x40, 0x80, 0xff)); // progress
    painter.end();
    QCOMPARE(int(cut(page).size()), 0);
}

void LineCutTest::paragraphsAreReadColumnByColumn()
{
    QImage page = blank({900, 400});
    const QStringList paragraph = repeated(5, QStringLiteral("a line of this column"));
    write(page, {20, 40}, paragraph, Style(), 18);
    write(page, {400, 40}, paragraph, Style(), 18);
    write(page, {20, 240}, paragraph, Style(), 18);
    const std::vector<coreai::CutLine> lines = cut(page);
    QCOMPARE(int(lines.size()), 15);
    for (int i = 0; i < 15; ++i) {
        QCOMPARE(lines.at(std::size_t(i)).box.x > 300, i >= 5 && i < 10);
        if (i % 5 > 0)
            QVERIFY(lines.at(std::size_t(i)).box.y > lines.at(std::size_t(i - 1)).box.y);
    }
    QVERIFY(lines.at(10).box.y > 200);
}

void LineCutTest::aTableIsReadRowByRow()
{
    QImage page = blank({900, 400});
    for (int row = 0; row < 6; ++row) {
        for (int column = 0; column < 5; ++column)
            write(page, {20 + column * 150, 40 + row * 40},
                  {QString::number(row * 1000 + column + 7)}, Style(), 0);
    }
    const std::vector<coreai::CutLine> lines = cut(page);
    QCOMPARE(int(lines.size()), 30);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        QCOMPARE(lines.at(i).box.y / 40, int(i / 5));
        QCOMPARE(lines.at(i).box.x / 150, int(i % 5));
    }
}

void LineCutTest::badInputGivesNothing_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("type");
    QTest::newRow("empty") << 0 << 0 << CV_8UC4;
    QTest::newRow("no rows") << 0 << 10 << CV_8UC4;
    QTest::newRow("one pixel") << 1 << 1 << CV_8UC4;
    QTest::newRow("one row") << 1 << 1000 << CV_8UC4;
    QTest::newRow("one column") << 1000 << 1 << CV_8UC4;
    QTest::newRow("two by two") << 2 << 2 << CV_8UC4;
    QTest::newRow("one colour") << 400 << 600 << CV_8UC4;
    QTest::newRow("grey picture") << 400 << 600 << CV_8UC1;
    QTest::newRow("three colours") << 400 << 600 << CV_8UC3;
    QTest::newRow("floats") << 400 << 600 << CV_32FC4;
}

void LineCutTest::badInputGivesNothing()
{
    QFETCH(int, rows);
    QFETCH(int, columns);
    QFETCH(int, type);
    QVERIFY(coreai::cutLines(cv::Mat(rows, columns, type, cv::Scalar::all(90))).empty());
    if (rows * columns > 0) {
        cv::Mat striped(rows, columns, type, cv::Scalar::all(90));
        for (int y = 0; y < rows; y += 2)
            striped.row(y).setTo(cv::Scalar::all(200));
        QVERIFY(coreai::cutLines(striped).empty());
        for (int x = 0; x < columns; x += 2)
            striped.col(x).setTo(cv::Scalar::all(10));
        QVERIFY(coreai::cutLines(striped).empty());
    }
}

void LineCutTest::aHugePictureIsRefusedAtOnce()
{
    // Never touched, so that it takes address space only.
    const cv::Mat huge(16384, 16384, CV_8UC4);
    QVERIFY(huge.total() > coreai::largestCutPicture);
    QVERIFY(coreai::cutLines(huge).empty());
}

void LineCutTest::noiseCostsBoundedTime()
{
    cv::Mat noise(2160, 3840, CV_8UC4);
    QRandomGenerator random(5);
    random.fillRange(noise.ptr<quint32>(), int(noise.total()));
    QElapsedTimer timer;
    timer.start();
    coreai::cutLines(noise);
    // Generous: the sanitizers slow this down twentyfold.
    QVERIFY2(timer.elapsed() < 10000, QByteArray::number(timer.elapsed()));
}

void LineCutTest::aPartOfALargerPictureIsCutLikeACopy()
{
    QImage page = blank({800, 400});
    write(page, {20, 40}, repeated(12, sentence), Style(), 22);
    const cv::Mat whole(page.height(), page.width(), CV_8UC4, page.bits(),
                        std::size_t(page.bytesPerLine()));
    const cv::Mat part = whole(cv::Rect(13, 30, 301, 201));
    QVERIFY(!part.isContinuous());
    const std::vector<coreai::CutLine> lines = coreai::cutLines(part);
    QVERIFY(!lines.empty());
    QVERIFY(keysOf(lines) == keysOf(coreai::cutLines(part.clone())));
}

void LineCutTest::bitmapsAreThePixelsOfTheirBoxes()
{
    QImage page = blank({800, 400}, QColor(12, 34, 56));
    write(page, {20, 40}, repeated(12, sentence),
          Style{Style().family, 14, Qt::white, QColor(12, 34, 56)}, 22);
    const std::vector<coreai::CutLine> lines = cut(page);
    QCOMPARE(int(lines.size()), 12);
    for (const coreai::CutLine &line : lines) {
        QCOMPARE(line.bitmap.type(), CV_8UC4);
        QVERIFY(line.bitmap.isContinuous());
        QCOMPARE(QSize(line.bitmap.cols, line.bitmap.rows), rectOf(line).size());
        for (int y = 0; y < line.bitmap.rows; ++y) {
            for (int x = 0; x < line.bitmap.cols; ++x)
                QCOMPARE(line.bitmap.ptr<quint32>(y)[x],
                         page.pixel(line.box.x + x, line.box.y + y));
        }
    }
}

QTEST_MAIN(LineCutTest)
#include "linecuttest.moc"
