// What the worker does first, and what it does not do twice.

#include "coreai/runtime/worker.h"
#include "coreai/meaning/meaningspace.h"
#include "coreai/runtime/tellinglines.h"
#include "reading/drawnsession.h"
#include "workerbench.h"

#include <QTest>

#include <algorithm>
#include <random>

using namespace coreai;
using namespace WorkerBench;

class WorkerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsALine();
    void answersInRequestOrderInsideASession();
    void aRegionOvertakesAQueueOf50Frames();
    void embeddingsOvertakeTheFrameThatIsBeingRead();
    void knownLinesAreNotReadAgain();
    void badPicturesHaveNoLines_data();
    void badPicturesHaveNoLines();
    void whatIsOldIsForgottenWhileThereIsWork();
    void closedSessionsAreNotReadOn();
};

void WorkerTest::readsALine()
{
    Bench bench;
    DrawnSession session({640, 480});
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 1);
    const std::vector<ReadLine> lines = bench.answers.lines(0);
    QVERIFY(lines.size() > 5);
    for (const ReadLine &line : lines) {
        QCOMPARE(line.text.substr(0, 5), std::string("line "));
        QCOMPARE(line.corners.size(), std::size_t(4));
        QVERIFY(line.corners[0].x < line.corners[1].x && line.corners[1].y < line.corners[2].y);
        QVERIFY(line.corners[2].x <= 640 && line.corners[2].y <= 480);
    }
}

void WorkerTest::answersInRequestOrderInsideASession()
{
    Bench bench;
    DrawnSession session({320, 200});
    std::vector<std::uint64_t> expected;
    for (std::uint64_t request = 1; request <= 20; ++request) {
        session.openFile();
        bench.read(Bench::recorder, request,
                   request % 3 ? encoded(session.screen()) : "no picture");
        expected.push_back(request);
    }
    QTRY_COMPARE(bench.answers.count(), 20);
    QCOMPARE(bench.answers.requests(), expected);
}

void WorkerTest::aRegionOvertakesAQueueOf50Frames()
{
    Bench bench;
    bench.counts.readMilliseconds = 1;
    DrawnSession session({640, 480});
    for (std::uint64_t request = 1; request <= 50; ++request) {
        session.openFile();
        bench.read(Bench::recorder, request, encoded(session.screen()));
    }
    QTRY_VERIFY(bench.answers.count() >= 2);
    session.switchTo(1);
    const std::string part = encoded(session.screen().copy(0, 0, 400, 300));
    const int before = bench.answers.count();
    const int reads = bench.counts.reads;
    bench.read(Bench::region, 51, part);
    QTRY_VERIFY(bench.answers.count() > before + 1);
    const std::vector<std::uint64_t> requests = bench.answers.requests();
    const auto place = std::find(requests.begin(), requests.end(), 51) - requests.begin();
    QVERIFY2(place <= before + 1, qPrintable(QString::number(place - before)));
    QVERIFY(bench.counts.reads > reads);
    QTRY_COMPARE_WITH_TIMEOUT(bench.answers.count(), 51, 30000);
}

void WorkerTest::embeddingsOvertakeTheFrameThatIsBeingRead()
{
    Bench bench;
    bench.counts.readMilliseconds = 30;
    DrawnSession session;
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    QTRY_VERIFY(bench.counts.reads >= 2);
    bench.ask(2, "query");
    QTRY_COMPARE(bench.answers.count(), 1);
    QCOMPARE(bench.answers.requests().front(), std::uint64_t(2));
    QTRY_COMPARE(bench.answers.count(), 2);
    QCOMPARE(bench.answers.lines(1).size() > 5, true);
}

void WorkerTest::knownLinesAreNotReadAgain()
{
    Bench bench;
    DrawnSession session;
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 1);
    const int reads = bench.counts.reads;
    QVERIFY(reads > 20);
    bench.read(Bench::recorder, 2, encoded(session.screen()));
    bench.read(Bench::region, 3, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 3);
    QCOMPARE(bench.counts.reads.load(), reads);
    session.typeLine();
    bench.read(Bench::recorder, 4, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 4);
    QVERIFY(bench.counts.reads <= reads + 4);
}

void WorkerTest::badPicturesHaveNoLines_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const auto png = [](const QImage &image) { return QByteArray::fromStdString(encoded(image)); };
    QImage pixel(1, 1, QImage::Format_RGB32);
    pixel.fill(Qt::red);
    QImage plain(800, 600, QImage::Format_RGB32);
    plain.fill(Qt::white);
    QByteArray huge = png(pixel);
    huge.replace(16, 8, QByteArray("\x00\x00\x40\x00\x00\x00\x40\x00", 8));
    std::mt19937 random(5);
    QByteArray noise(5000, '\0');
    for (char &byte : noise) {
        byte = char(random());
    }
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("1x1") << png(pixel);
    QTest::newRow("16384x16384") << huge;
    QTest::newRow("grey, one colour") << png(plain.convertToFormat(QImage::Format_Grayscale8));
    QTest::newRow("one colour") << png(plain);
    QTest::newRow("random bytes") << noise;
    QTest::newRow("signature, then random bytes") << png(pixel).left(8) + noise;
}

void WorkerTest::badPicturesHaveNoLines()
{
    QFETCH(QByteArray, bytes);
    Bench bench;
    bench.read(Bench::recorder, 1, bytes.toStdString());
    QTRY_COMPARE(bench.answers.count(), 1);
    QVERIFY(bench.answers.at(0).type == MessageType::Lines);
    QVERIFY(bench.answers.lines(0).empty());
}

void WorkerTest::whatIsOldIsForgottenWhileThereIsWork()
{
    std::atomic<int> hours{0};
    Worker::Settings settings;
    settings.clock = [&hours] {
        return std::chrono::steady_clock::time_point(std::chrono::hours(100 + hours));
    };
    Bench bench(settings);
    DrawnSession session({640, 480});
    const std::string first = encoded(session.screen(), "JPEG");
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    QTRY_COMPARE(bench.counts.passages.load(), int(mostTellingLines));
    session.switchTo(1);
    bench.read(Bench::recorder, 2, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 2);
    // Vectors of lines that were read wait while there is something to read.
    bench.counts.readMilliseconds = 20;
    session.switchTo(2);
    bench.read(Bench::recorder, 3, encoded(session.screen()));
    hours = 2;
    bench.counts.fails = true; // nothing is embedded anew
    bench.embed(4, first);
    QTRY_COMPARE(bench.answers.count(), 3);
    QCOMPARE(bench.answers.at(2).request, std::uint64_t(4));
    QVERIFY(bench.answers.vector(2) == MeaningSpace::forFrame({}, {}));
    bench.counts.readMilliseconds = 0;
    QTRY_COMPARE(bench.answers.count(), 4);
}

void WorkerTest::closedSessionsAreNotReadOn()
{
    Bench bench;
    bench.counts.readMilliseconds = 5;
    DrawnSession session;
    for (std::uint64_t request = 1; request <= 10; ++request) {
        session.openFile();
        bench.read(Bench::recorder, request, encoded(session.screen()));
    }
    QTRY_VERIFY(bench.counts.reads > 0);
    bench.worker.post({MessageType::CloseSession, Bench::recorder, 0, Payload()});
    bench.ask(11, "query");
    QTRY_VERIFY(bench.answers.requests().back() == 11);
    const int reads = bench.counts.reads;
    QTest::qWait(100);
    QVERIFY(bench.counts.reads <= reads + 1);
}

QTEST_MAIN(WorkerTest)
#include "workertest.moc"
