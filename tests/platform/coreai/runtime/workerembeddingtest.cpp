// The vectors that the worker gives for pictures and texts, and how long it lets them wait.

#include "coreai/meaning/meaningspace.h"
#include "coreai/reading/picturedecoder.h"
#include "coreai/runtime/tellinglines.h"
#include "coreai/runtime/worker.h"
#include "reading/drawnsession.h"
#include "workerbench.h"

#include <QElapsedTimer>
#include <QTest>

using namespace coreai;
using namespace WorkerBench;

namespace
{
double lengthOf(const std::vector<float> &vector)
{
    double sum = 0;
    for (const float part : vector) {
        sum += double(part) * double(part);
    }
    return sum;
}

// The lines of a picture of which nothing is known.
int readsOf(const std::string &picture)
{
    LineCache cache;
    FrameReader reader(cache);
    reader.cut(decodePicture(picture));
    int reads = 0;
    while (!reader.isComplete()) {
        reader.readNext([&reads](const cv::Mat &) { return ++reads, LineText{"x", 1}; });
    }
    return reads;
}
} // namespace

class WorkerEmbeddingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void vectorsAreComputedAfterReadingOnce();
    void anEmbeddingUsesTheFrameHandedOver();
    void anUnknownPictureIsCutItself();
    void anEmbeddingKeepsItsTimeWithSlowEngines();
    void anEmbeddingDoesNotWaitForALineThatTakesSeconds();
    void aLateLineOfTheOwnEmbeddingIsReadAllTheSame();
    void aFrameOfWhichNothingIsKnownIsGivenMoreTime();
    void aFrameThatWaitsForAnotherIsGivenMoreTime();
    void aPictureThatIsNoneFails();
    void textsOfAllKinds_data();
    void textsOfAllKinds();
};

void WorkerEmbeddingTest::vectorsAreComputedAfterReadingOnce()
{
    Bench bench;
    DrawnSession session({640, 480});
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 1);
    const int reads = bench.counts.reads;
    QVERIFY(reads > int(mostTellingLines));
    QTRY_COMPARE(bench.counts.passages.load(), int(mostTellingLines));
    bench.read(Bench::recorder, 2, encoded(session.screen()));
    bench.embed(3, encoded(session.screen(), "JPEG"));
    QTRY_COMPARE(bench.answers.count(), 3);
    // There was time for more of them, and none was embedded twice.
    const int passages = bench.counts.passages;
    QVERIFY(passages <= reads);
    bench.embed(4, encoded(session.screen(), "JPEG"));
    QTRY_COMPARE(bench.answers.count(), 4);
    QTest::qWait(50);
    QCOMPARE(bench.counts.passages.load(), passages);
}

void WorkerEmbeddingTest::anEmbeddingUsesTheFrameHandedOver()
{
    Bench bench;
    DrawnSession session({960, 600});
    for (std::uint64_t request = 1; request <= 9; request += 2) {
        session.openFile();
        const QImage screen = session.screen();
        bench.read(Bench::recorder, request, encoded(screen));
        // Under sanitizers cutting takes longer than an embedding waits for a frame.
        QTRY_COMPARE_WITH_TIMEOUT(bench.answers.count(), int(request), 20000);
        bench.embed(request + 1, encoded(screen, "JPEG"));
        QTRY_COMPARE_WITH_TIMEOUT(bench.answers.count(), int(request) + 1, 20000);
    }
    for (std::size_t index = 0; index < 10; ++index) {
        if (bench.answers.at(index).type == MessageType::Vector) {
            const std::vector<float> vector = bench.answers.vector(index);
            QCOMPARE(vector.size(), std::size_t(1024));
            QVERIFY(std::abs(lengthOf(vector) - 1) < 1e-3);
        }
    }
    // A lossy copy's lines are other bitmaps: had one been cut, its lines would have been read.
    int lines = 0;
    LineCache cache;
    DrawnSession again({960, 600});
    for (int frame = 0; frame < 5; ++frame) {
        again.openFile();
        const QImage screen = again.screen();
        FrameReader reader(cache);
        reader.cut(cv::Mat(screen.height(), screen.width(), CV_8UC4,
                           const_cast<uchar *>(screen.constBits())));
        while (!reader.isComplete()) {
            reader.readNext([&lines](const cv::Mat &) { return ++lines, LineText{"x", 1}; });
        }
    }
    QCOMPARE(bench.counts.reads.load(), lines);
}

void WorkerEmbeddingTest::anUnknownPictureIsCutItself()
{
    Bench bench;
    DrawnSession session({480, 300});
    bench.embed(1, encoded(session.screen(), "JPEG"));
    QTRY_COMPARE(bench.answers.count(), 1);
    QVERIFY(bench.counts.reads > 0);
    QCOMPARE(bench.answers.vector(0).size(), std::size_t(1024));
    // Another page of the same size is not taken for it.
    const std::vector<float> first = bench.answers.vector(0);
    session.switchTo(2);
    bench.embed(2, encoded(session.screen(), "JPEG"));
    QTRY_COMPARE(bench.answers.count(), 2);
    QVERIFY(bench.answers.vector(1) != first);
}

void WorkerEmbeddingTest::anEmbeddingKeepsItsTimeWithSlowEngines()
{
    Bench bench;
    bench.counts.readMilliseconds = 150; // 8 s for all of its lines
    DrawnSession session;
    const QImage screen = session.screen();
    const std::string png = encoded(screen);
    const std::string jpeg = encoded(screen, "JPEG");
    QElapsedTimer timer;
    timer.start();
    bench.read(Bench::recorder, 1, png);
    bench.embed(2, jpeg);
    QTRY_COMPARE(bench.answers.count(), 1);
    QCOMPARE(bench.answers.requests().front(), std::uint64_t(2));
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(bench.answers.vector(0).size(), std::size_t(1024));
    bench.counts.readMilliseconds = 0;
    QTRY_COMPARE_WITH_TIMEOUT(bench.answers.count(), 2, 20000);
}

void WorkerEmbeddingTest::anEmbeddingDoesNotWaitForALineThatTakesSeconds()
{
    Bench bench;
    DrawnSession session({640, 480});
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 1);
    bench.counts.readMilliseconds = 3000;
    session.typeLine();
    const int before = bench.counts.reads;
    bench.read(Bench::recorder, 2, encoded(session.screen()));
    QTRY_VERIFY(bench.counts.reads > before);
    QElapsedTimer asked;
    asked.start();
    bench.embed(3, encoded(session.screen(), "JPEG"));
    QTRY_COMPARE(bench.answers.count(), 2);
    QVERIFY(asked.elapsed() < bench.counts.readMilliseconds);
    QCOMPARE(bench.answers.at(1).request, std::uint64_t(3));
    QCOMPARE(bench.answers.vector(1).size(), std::size_t(1024));
    QTRY_COMPARE_WITH_TIMEOUT(bench.answers.count(), 3, 20000);
    QCOMPARE(bench.answers.at(2).request, std::uint64_t(2));
}

void WorkerEmbeddingTest::aLateLineOfTheOwnEmbeddingIsReadAllTheSame()
{
    Bench bench;
    DrawnSession session({640, 480});
    const std::string picture = encoded(session.screen(), "JPEG");
    bench.counts.readMilliseconds = 1500;
    bench.embed(1, picture); // nothing is known: it begins to read
    QTRY_COMPARE(bench.answers.count(), 1);
    QCOMPARE(bench.counts.reads.load(), 1);
    QCOMPARE(bench.answers.vector(0).size(), std::size_t(1024));
    bench.counts.readMilliseconds = 0; // the line ends, and with it the embedding
    bench.read(Bench::recorder, 2, picture);
    QTRY_COMPARE(bench.answers.count(), 2); // that of the embedding came once
    QCOMPARE(bench.answers.at(1).request, std::uint64_t(2));
    QCOMPARE(bench.counts.reads.load(), readsOf(picture)); // the late line is known
}

void WorkerEmbeddingTest::aFrameOfWhichNothingIsKnownIsGivenMoreTime()
{
    Bench bench;
    bench.counts.readMilliseconds = 500; // one line is read and embedded before the limit
    DrawnSession session({640, 480});
    const std::string picture = encoded(session.screen(), "JPEG");
    QElapsedTimer asked;
    asked.start();
    bench.embed(1, picture);
    QTRY_COMPARE(bench.answers.count(), 1);
    const bool inTime = asked.elapsed() < Deadline::overdueWithNothing.count();
    bench.counts.readMilliseconds = 0;
    if (!inTime) {
        QSKIP("the machine was too busy for a line within the limit");
    }
    QVERIFY(bench.answers.vector(0) != MeaningSpace::forFrame({}, {}));
}

void WorkerEmbeddingTest::aFrameThatWaitsForAnotherIsGivenMoreTime()
{
    Bench bench;
    bench.counts.readMilliseconds = 3000;
    DrawnSession session({640, 480});
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    QTRY_VERIFY(bench.counts.reads >= 1);
    // Overdue while the other's line is read, and nothing of it is known.
    session.switchTo(1);
    const std::string picture = encoded(session.screen(), "JPEG");
    QElapsedTimer asked;
    asked.start();
    bench.embed(2, picture);
    QTRY_COMPARE(bench.answers.count(), 1);
    QVERIFY(asked.elapsed() >= Deadline::overdueWithNothing.count());
    QVERIFY(asked.elapsed() < bench.counts.readMilliseconds);
    QCOMPARE(bench.answers.at(0).request, std::uint64_t(2));
    QCOMPARE(bench.answers.vector(0).size(), std::size_t(1024));
    bench.counts.readMilliseconds = 0;
    QTRY_COMPARE_WITH_TIMEOUT(bench.answers.count(), 2, 20000);
}

void WorkerEmbeddingTest::aPictureThatIsNoneFails()
{
    Bench bench;
    bench.embed(1, "no picture");
    bench.embed(2, "");
    QTRY_COMPARE(bench.answers.count(), 2);
    QVERIFY(bench.answers.vector(0).empty());
    QVERIFY(bench.answers.vector(1).empty());
}

void WorkerEmbeddingTest::textsOfAllKinds_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("1 MB") << QByteArray(1 << 20, 'x');
    QTest::newRow("invalid UTF-8") << QByteArray("\xff\xfe\xc3(\xed\xa0\x80");
    QTest::newRow("right to left") << QByteArray("שלום עולם مرحبا");
    QTest::newRow("Chinese") << QByteArray("昨天的会议预算");
}

void WorkerEmbeddingTest::textsOfAllKinds()
{
    QFETCH(QByteArray, text);
    Bench bench;
    bench.ask(1, text.toStdString());
    QTRY_COMPARE(bench.answers.count(), 1);
    const std::vector<float> vector = bench.answers.vector(0);
    QCOMPARE(vector.size(), std::size_t(1024));
    QVERIFY(std::abs(lengthOf(vector) - 1) < 1e-3);
}

QTEST_MAIN(WorkerEmbeddingTest)
#include "workerembeddingtest.moc"
