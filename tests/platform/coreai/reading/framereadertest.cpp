// Reading with a cache against reading without one, over what a person does at a screen.

#include "coreai/reading/framereader.h"
#include "drawnsession.h"

#include <QFont>
#include <QPainter>
#include <QTest>

#include <algorithm>

using namespace coreai;

namespace
{
cv::Mat matOf(const QImage &image)
{
    const cv::Mat view(image.height(), image.width(), CV_8UC4,
                       const_cast<uchar *>(image.constBits()), std::size_t(image.bytesPerLine()));
    return view.clone();
}

// A recogniser whose text is a function of all pixels, and which counts.
struct Recognizer {
    std::optional<LineText> operator()(const cv::Mat &line)
    {
        ++reads;
        const LineKey key = LineKey::of(line);
        return LineText{std::to_string(key.high) + '-' + std::to_string(key.low), 1};
    }
    std::vector<std::optional<LineText>> all(const std::vector<cv::Mat> &lines)
    {
        std::vector<std::optional<LineText>> texts;
        texts.reserve(lines.size());
        for (const cv::Mat &line : lines) {
            texts.push_back((*this)(line));
        }
        return texts;
    }
    int reads = 0;
};

QStringList textsOf(const FrameReader &reader)
{
    QStringList texts;
    for (const FrameReader::Line &line : reader.lines()) {
        texts << QStringLiteral("%1,%2 %3x%4 ")
                         .arg(line.box.x)
                         .arg(line.box.y)
                         .arg(line.box.width)
                         .arg(line.box.height) +
                     QString::fromStdString(line.text->text);
    }
    return texts;
}

QStringList read(LineCache &cache, const QImage &screen, int *reads = nullptr)
{
    Recognizer recognizer;
    FrameReader reader(cache);
    reader.cut(matOf(screen));
    while (!reader.isComplete()) {
        reader.readNext(std::ref(recognizer));
    }
    if (reads) {
        *reads = recognizer.reads;
    }
    return textsOf(reader);
}

QStringList readTogether(LineCache &cache, const QImage &screen, int *reads)
{
    Recognizer recognizer;
    FrameReader reader(cache);
    reader.cut(matOf(screen));
    while (!reader.isComplete()) {
        reader.readNextTogether(
            [&](const std::vector<cv::Mat> &lines) { return recognizer.all(lines); });
    }
    *reads = recognizer.reads;
    return textsOf(reader);
}

// So many lines of this size, no two alike.
void drawLines(QImage &page, const QSize &size, int count)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(size.height());
    QPainter painter(&page);
    painter.setFont(font);
    for (int number = 0; number < count; ++number) {
        const QRect place(QPoint(50, 20 + 40 * number), size);
        painter.setClipRect(place);
        painter.drawText(place.bottomLeft(),
                         QStringLiteral("%1 HkbE %1 dMfT ").arg(number + 100).repeated(20));
    }
}

QStringList readWithEmptyCache(const QImage &screen)
{
    LineCache empty;
    return read(empty, screen);
}

using Action = std::function<void(DrawnSession &, int)>;
} // namespace
Q_DECLARE_METATYPE(Action)

class FrameReaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textWithCacheEqualsTextWithout_data();
    void textWithCacheEqualsTextWithout();
    void knownLinesAreNotReadAgain();
    void aTypedLineIsAllThatIsRead();
    void aFailedLineIsEmptyAndNotRemembered();
    void aLineReadForAnotherPictureIsTaken();
    void canBeCutAgainAfterItsBitmapsWereDropped();
    void linesThatWereNotTriedStayUnread();
    void afterABeginningAgainFailedLinesAreAskedForAnew();
    void aLineMayBeReadOutOfOrder();
    void linesReadTogetherEqualLinesReadAlone();
    void linesReadTogetherAreFewAndNeverOneAlone_data();
    void linesReadTogetherAreFewAndNeverOneAlone();
    void aLineThatStandsThereTwiceIsReadOnce();
    void ofLinesReadTogetherOnlyTheFailedAreForgotten();
    void picturesWithoutLinesAreComplete_data();
    void picturesWithoutLinesAreComplete();
};

void FrameReaderTest::textWithCacheEqualsTextWithout_data()
{
    QTest::addColumn<Action>("action");
    QTest::newRow("typing") << Action([](DrawnSession &session, int) { session.typeLine(); });
    QTest::newRow("scrolling down and up")
        << Action([](DrawnSession &session, int step) { session.scrollEditor(step < 4 ? 3 : -2); });
    QTest::newRow("switching back and forth")
        << Action([](DrawnSession &session, int step) { session.switchTo(step % 3); });
    QTest::newRow("moving a window") << Action([](DrawnSession &session, int step) {
        session.moveSmallWindow({step % 2 ? -37 : -90, step % 3 ? 13 : -50});
    });
    QTest::newRow("messages come in") << Action([](DrawnSession &session, int) {
        session.switchTo(1);
        session.receiveMessage();
    });
    QTest::newRow("pages turn") << Action([](DrawnSession &session, int step) {
        session.switchTo(2);
        if (step % 2) {
            session.turnPage();
        }
    });
}

void FrameReaderTest::textWithCacheEqualsTextWithout()
{
    QFETCH(Action, action);
    DrawnSession session({1280, 800});
    LineCache cache;
    for (int step = 0; step < 8; ++step) {
        const QImage screen = session.screen();
        const QStringList expected = readWithEmptyCache(screen);
        QVERIFY(expected.size() >= 5);
        QCOMPARE(read(cache, screen), expected);
        action(session, step);
    }
}

void FrameReaderTest::knownLinesAreNotReadAgain()
{
    DrawnSession session;
    LineCache cache;
    int reads = 0;
    const QStringList lines = read(cache, session.screen(), &reads);
    QVERIFY(reads > 20 && reads <= lines.size());
    QCOMPARE(read(cache, session.screen(), &reads), lines);
    QCOMPARE(reads, 0);
    session.switchTo(1);
    read(cache, session.screen(), &reads);
    QVERIFY(reads > 0);
    session.switchTo(0);
    QCOMPARE(read(cache, session.screen(), &reads), lines);
    QCOMPARE(reads, 0);
}

void FrameReaderTest::aTypedLineIsAllThatIsRead()
{
    DrawnSession session;
    LineCache cache;
    int reads = 0;
    read(cache, session.screen(), &reads);
    session.typeLine();
    read(cache, session.screen(), &reads);
    QVERIFY2(reads >= 1 && reads <= 4, qPrintable(QString::number(reads)));
}

void FrameReaderTest::aFailedLineIsEmptyAndNotRemembered()
{
    DrawnSession session({640, 480});
    LineCache cache;
    FrameReader reader(cache);
    reader.cut(matOf(session.screen()));
    while (!reader.isComplete()) {
        reader.readNext([](const cv::Mat &) { return std::nullopt; });
    }
    QVERIFY(reader.lines().front().text->text.empty());
    QCOMPARE(cache.count(), std::size_t(0));
}

void FrameReaderTest::aLineReadForAnotherPictureIsTaken()
{
    DrawnSession session({640, 480});
    LineCache cache;
    FrameReader waiting(cache);
    waiting.cut(matOf(session.screen()));
    QVERIFY(waiting.unreadCount() > 0);
    read(cache, session.screen());
    Recognizer recognizer;
    while (!waiting.isComplete()) {
        waiting.readNext(std::ref(recognizer));
    }
    QCOMPARE(recognizer.reads, 0);
}

void FrameReaderTest::linesThatWereNotTriedStayUnread()
{
    LineCache cache;
    const QImage screen = DrawnSession({640, 480}).screen();
    FrameReader reader(cache);
    reader.cut(matOf(screen));
    const int unread = reader.unreadCount();
    QVERIFY(unread > 2);
    std::size_t asked = 0;
    reader.readNextTogether([&asked](const std::vector<cv::Mat> &lines) {
        asked = lines.size();
        return std::vector<std::optional<LineText>>{LineText{"first", 1}};
    });
    QVERIFY(asked > 1);
    QCOMPARE(reader.unreadCount(), unread - 1);
}

void FrameReaderTest::afterABeginningAgainFailedLinesAreAskedForAnew()
{
    LineCache cache;
    const QImage screen = DrawnSession({640, 480}).screen();
    FrameReader reader(cache);
    reader.cut(matOf(screen));
    while (!reader.isComplete()) {
        reader.readNext([](const cv::Mat &) { return std::nullopt; });
    }
    reader.startAgain();
    QVERIFY(!reader.isCut());
    reader.cut(matOf(screen));
    Recognizer recognizer;
    while (!reader.isComplete()) {
        reader.readNext(std::ref(recognizer));
    }
    QCOMPARE(textsOf(reader), readWithEmptyCache(screen));
}

void FrameReaderTest::canBeCutAgainAfterItsBitmapsWereDropped()
{
    DrawnSession session({640, 480});
    LineCache cache;
    FrameReader reader(cache);
    reader.cut(matOf(session.screen()));
    const int unread = reader.unreadCount();
    Recognizer recognizer;
    reader.readNext(std::ref(recognizer));
    reader.dropBitmaps();
    QVERIFY(!reader.isCut());
    QVERIFY(!reader.isComplete());
    reader.cut(matOf(session.screen()));
    QVERIFY(reader.unreadCount() < unread);
}

void FrameReaderTest::aLineMayBeReadOutOfOrder()
{
    DrawnSession session({640, 480});
    LineCache cache;
    FrameReader reader(cache);
    reader.cut(matOf(session.screen()));
    Recognizer recognizer;
    reader.read(reader.lines().size() - 1, std::ref(recognizer));
    reader.read(reader.lines().size() - 1, std::ref(recognizer));
    QCOMPARE(recognizer.reads, 1);
    while (!reader.isComplete()) {
        reader.readNext(std::ref(recognizer));
    }
    QCOMPARE(std::size_t(recognizer.reads), cache.count());
}

void FrameReaderTest::linesReadTogetherEqualLinesReadAlone()
{
    DrawnSession session({1280, 800});
    LineCache alone;
    LineCache together;
    for (int step = 0; step < 4; ++step) {
        const QImage screen = session.screen();
        int reads = 0;
        const QStringList expected = read(alone, screen, &reads);
        int readsTogether = 0;
        QCOMPARE(readTogether(together, screen, &readsTogether), expected);
        QCOMPARE(readsTogether, reads);
        QCOMPARE(together.count(), alone.count());
        session.typeLine();
        session.switchTo(step % 3);
    }
}

void FrameReaderTest::linesReadTogetherAreFewAndNeverOneAlone_data()
{
    QTest::addColumn<QSize>("line");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("calls");
    QTest::newRow("none") << QSize(60, 12) << 0 << 0;
    QTest::newRow("one") << QSize(60, 12) << 1 << 1;
    QTest::newRow("two wider than together") << QSize(1200, 10) << 2 << 1;
    QTest::newRow("three wider than together") << QSize(1200, 10) << 3 << 1;
    QTest::newRow("seven wider than together") << QSize(1200, 10) << 7 << 3;
    QTest::newRow("nine usual ones") << QSize(600, 12) << 9 << 3;
    QTest::newRow("short ones") << QSize(96, 12) << 64 << 4;
}

void FrameReaderTest::linesReadTogetherAreFewAndNeverOneAlone()
{
    QFETCH(QSize, line);
    QFETCH(int, count);
    QFETCH(int, calls);
    QImage page(1400, 40 * (count + 1), QImage::Format_RGB32);
    page.fill(Qt::white);
    drawLines(page, line, count);
    LineCache cache;
    FrameReader reader(cache);
    reader.cut(matOf(page));
    QCOMPARE(reader.unreadCount(), count);
    Recognizer recognizer;
    int called = 0;
    bool asRuled = true;
    while (!reader.isComplete()) {
        reader.readNextTogether([&](const std::vector<cv::Mat> &lines) {
            ++called;
            double widths = 0;
            for (const cv::Mat &one : lines) {
                widths += double(one.cols) / one.rows;
            }
            const cv::Mat &last = lines.back();
            const bool ends = recognizer.reads + int(lines.size()) == count;
            const double withoutLast = widths - double(last.cols) / last.rows;
            const double left = ends ? double(last.cols) / last.rows : 0; // may join them
            asRuled = asRuled && (lines.size() >= 2 || count == 1) &&
                      (lines.size() <= 2 || withoutLast - left < FrameReader::mostTogether) &&
                      (ends || widths >= FrameReader::mostTogether);
            return recognizer.all(lines);
        });
    }
    QVERIFY(asRuled);
    QCOMPARE(called, calls);
    QCOMPARE(recognizer.reads, count);
    reader.cut(matOf(page));
    QVERIFY(reader.isComplete());
}

void FrameReaderTest::aLineThatStandsThereTwiceIsReadOnce()
{
    DrawnSession session({640, 480});
    const QImage screen = session.screen();
    QImage twice(640, 960, QImage::Format_RGB32);
    QPainter painter(&twice);
    painter.drawImage(0, 0, screen);
    painter.drawImage(0, 480, screen);
    painter.end();
    LineCache cache;
    int reads = 0;
    const QStringList lines = readTogether(cache, twice, &reads);
    QCOMPARE(std::size_t(reads), cache.count());
    QVERIFY(reads < lines.size());
}

void FrameReaderTest::ofLinesReadTogetherOnlyTheFailedAreForgotten()
{
    DrawnSession session({640, 480});
    LineCache cache;
    FrameReader reader(cache);
    reader.cut(matOf(session.screen()));
    Recognizer recognizer;
    int failed = 0;
    while (!reader.isComplete()) {
        reader.readNextTogether([&](const std::vector<cv::Mat> &lines) {
            auto texts = recognizer.all(lines);
            texts.front().reset();
            ++failed;
            return texts;
        });
    }
    QVERIFY(failed > 0 && recognizer.reads > failed);
    QCOMPARE(cache.count(), std::size_t(recognizer.reads - failed));
}

void FrameReaderTest::picturesWithoutLinesAreComplete_data()
{
    QTest::addColumn<QImage>("image");
    QImage plain(400, 300, QImage::Format_RGB32);
    plain.fill(Qt::gray);
    QImage pixel(1, 1, QImage::Format_RGB32);
    pixel.fill(Qt::black);
    QTest::newRow("null") << QImage();
    QTest::newRow("1x1") << pixel;
    QTest::newRow("one colour") << plain;
}

void FrameReaderTest::picturesWithoutLinesAreComplete()
{
    QFETCH(QImage, image);
    LineCache cache;
    FrameReader reader(cache);
    QVERIFY(!reader.isComplete());
    reader.cut(image.isNull() ? cv::Mat() : matOf(image));
    QVERIFY(reader.isComplete());
    QVERIFY(reader.lines().empty());
}

QTEST_MAIN(FrameReaderTest)
#include "framereadertest.moc"
