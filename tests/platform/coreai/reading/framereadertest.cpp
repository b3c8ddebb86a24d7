// Reading with a cache against reading without one, over what a person does at a screen.

#include "coreai/reading/framereader.h"
#include "drawnsession.h"

#include <QTest>

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
    int reads = 0;
};

QStringList read(LineCache &cache, const QImage &screen, int *reads = nullptr)
{
    Recognizer recognizer;
    FrameReader reader(cache);
    reader.cut(matOf(screen));
    while (!reader.isComplete()) {
        reader.readNext(std::ref(recognizer));
    }
    QStringList texts;
    for (const FrameReader::Line &line : reader.lines()) {
        texts << QStringLiteral("%1,%2 %3x%4 ")
                         .arg(line.box.x)
                         .arg(line.box.y)
                         .arg(line.box.width)
                         .arg(line.box.height) +
                     QString::fromStdString(line.text->text);
    }
    if (reads) {
        *reads = recognizer.reads;
    }
    return texts;
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
    void aLineMayBeReadOutOfOrder();
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
