// How the worker uses its engines: lines together, failures and pauses, unloaded when idle.

#include "coreai/runtime/tellinglines.h"
#include "coreai/runtime/worker.h"
#include "reading/drawnsession.h"
#include "workerbench.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace coreai;
using namespace WorkerBench;

namespace
{
QString batteryFolder(const QTemporaryDir &folder)
{
    QDir(folder.path()).mkpath(QStringLiteral("BAT0"));
    for (const auto &[name, word] : {std::pair("type", "Battery"), {"status", "Discharging"}}) {
        QFile file(folder.filePath(QStringLiteral("BAT0/") + QLatin1String(name)));
        file.open(QFile::WriteOnly);
        file.write(word);
    }
    return folder.path();
}
} // namespace

class WorkerEnginesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void failedLinesAreLeftOutAndReadLater();
    void picturesThatWaitDuringAPauseAreReadWholeAfterIt();
    void whereEnginesNeverComeAPauseCostsOnePicture();
    void vectorsWaitForTheEndOfAPause();
    void unloadsWhenIdleAndReadsOn();
    void linesReadTogetherAreNotReadOnAfterAClose();
    void linesAreReadTogetherOnlyWhereSomebodyWaits_data();
    void linesAreReadTogetherOnlyWhereSomebodyWaits();
    void aRegionReadTogetherHasTheTextOfOneReadLineByLine();
    void anEmbeddingDoesNotWaitForLinesReadTogether();
};

void WorkerEnginesTest::failedLinesAreLeftOutAndReadLater()
{
    Bench bench;
    bench.counts.fails = true;
    DrawnSession session({640, 480});
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    bench.embed(2, encoded(session.screen(), "JPEG"));
    bench.ask(3, "query");
    QTRY_COMPARE(bench.answers.count(), 3);
    bench.counts.fails = false;
    bench.read(Bench::recorder, 4, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 4);
    QVERIFY(bench.answers.lines(3).size() > 5);
}

void WorkerEnginesTest::picturesThatWaitDuringAPauseAreReadWholeAfterIt()
{
    Bench well;
    Bench bench;
    bench.counts.pauseMilliseconds = 300;
    bench.counts.fails = true;
    DrawnSession session({640, 480});
    for (std::uint64_t request = 1; request <= 3; ++request) {
        session.openFile();
        well.read(Bench::recorder, request, encoded(session.screen()));
        bench.read(Bench::recorder, request, encoded(session.screen()));
    }
    QTRY_COMPARE(bench.counts.pauses.load(), 1);
    bench.counts.fails = false;
    // An embedding is answered meanwhile, and takes no line from the picture that waits.
    bench.embed(4, encoded(session.screen(), "JPEG"));
    QTRY_COMPARE(bench.answers.count(), 1);
    QCOMPARE(bench.answers.requests(), std::vector<std::uint64_t>({4}));
    QTRY_COMPARE(bench.answers.count(), 4);
    QTRY_COMPARE(well.answers.count(), 3);
    QCOMPARE(bench.answers.requests(), std::vector<std::uint64_t>({4, 1, 2, 3}));
    for (std::size_t picture = 0; picture < 3; ++picture) {
        const Message expected = well.answers.at(picture);
        const Message read = bench.answers.at(picture + 1);
        QCOMPARE(std::string(read.payload.view().bytes()),
                 std::string(expected.payload.view().bytes()));
    }
    QCOMPARE(bench.counts.pauses.load(), 1);
}

void WorkerEnginesTest::whereEnginesNeverComeAPauseCostsOnePicture()
{
    Bench bench;
    bench.counts.pauseMilliseconds = 50;
    bench.counts.fails = true;
    DrawnSession session({640, 480});
    for (std::uint64_t request = 1; request <= 3; ++request) {
        session.openFile();
        bench.read(Bench::recorder, request, encoded(session.screen()));
    }
    QTRY_COMPARE(bench.answers.count(), 3);
    QCOMPARE(bench.answers.requests(), std::vector<std::uint64_t>({1, 2, 3}));
    QVERIFY(bench.answers.lines(0).empty());
    QCOMPARE(bench.counts.pauses.load(), 4); // the first picture was tried twice
    // With engines again, the next picture is not taken for one that was tried.
    bench.counts.fails = false;
    bench.read(Bench::recorder, 4, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 4);
    QVERIFY(bench.answers.lines(3).size() > 5);
}

void WorkerEnginesTest::vectorsWaitForTheEndOfAPause()
{
    Bench bench;
    DrawnSession session({640, 480});
    bench.counts.readMilliseconds = 5;
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    session.openFile();
    bench.read(Bench::recorder, 2, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 1);
    bench.counts.pauseMilliseconds = 200;
    bench.counts.fails = true;
    QTRY_COMPARE(bench.counts.pauses.load(), 1);
    QCOMPARE(bench.counts.passages.load(), 0);
    bench.counts.fails = false;
    QTRY_COMPARE(bench.answers.count(), 2);
    QTRY_VERIFY(bench.counts.passages >= int(mostTellingLines));
}

void WorkerEnginesTest::unloadsWhenIdleAndReadsOn()
{
    Worker::Settings settings;
    settings.idleTime = std::chrono::milliseconds(100);
    Bench bench(settings);
    DrawnSession session({640, 480});
    QTest::qWait(250);
    QCOMPARE(bench.counts.unloads.load(), 0); // nothing was loaded
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    QTRY_COMPARE(bench.counts.unloads.load(), 1);
    QCOMPARE(bench.answers.count(), 1);
    QTest::qWait(250);
    QCOMPARE(bench.counts.unloads.load(), 1);
    bench.ask(2, "query");
    QTRY_COMPARE(bench.answers.count(), 2);
    QTRY_COMPARE(bench.counts.unloads.load(), 2);
    const int reads = bench.counts.reads;
    bench.read(Bench::recorder, 3, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 3);
    QCOMPARE(bench.counts.reads.load(), reads); // what was read outlives the engines
}

void WorkerEnginesTest::linesReadTogetherAreNotReadOnAfterAClose()
{
    Bench bench;
    bench.counts.readMilliseconds = 30;
    DrawnSession session({900, 800});
    bench.read(Bench::region, 1, encoded(session.screen()));
    QTRY_VERIFY(bench.counts.reads > 0);
    QVERIFY(bench.counts.mostTogether > 1);
    bench.worker.post({MessageType::CloseSession, Bench::region, 0, Payload()});
    bench.ask(2, "query");
    QTRY_COMPARE(bench.answers.count(), 1);
    QCOMPARE(bench.answers.requests().front(), std::uint64_t(2));
    const int reads = bench.counts.reads;
    LineCache cache;
    FrameReader all(cache);
    const QImage screen = session.screen();
    all.cut(
        cv::Mat(screen.height(), screen.width(), CV_8UC4, const_cast<uchar *>(screen.constBits())));
    QVERIFY2(reads < all.unreadCount(), qPrintable(QString::number(reads)));
    QTest::qWait(100);
    QCOMPARE(bench.counts.reads.load(), reads);
    QCOMPARE(bench.answers.count(), 1);
}

void WorkerEnginesTest::linesAreReadTogetherOnlyWhereSomebodyWaits_data()
{
    QTest::addColumn<bool>("battery");
    QTest::addColumn<bool>("frames");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<bool>("together");
    const QRect small(300, 200, 800, 200);
    const QRect large(0, 0, 1000, 1000);
    QTest::newRow("battery, frames, large region") << true << true << large << false;
    QTest::newRow("battery, small region") << true << false << small << false;
    QTest::newRow("battery, frames") << true << true << QRect() << false;
    QTest::newRow("mains, frames") << false << true << QRect() << false;
    QTest::newRow("mains, frames, large region") << false << true << large << true;
    QTest::newRow("mains, frames, small region") << false << true << small << true;
    QTest::newRow("mains, small region") << false << false << small << true;
    // Nothing tells it from a frame.
    QTest::newRow("mains, large region") << false << false << large << false;
}

void WorkerEnginesTest::linesAreReadTogetherOnlyWhereSomebodyWaits()
{
    QFETCH(bool, battery);
    QFETCH(bool, frames);
    QFETCH(QRect, region);
    QFETCH(bool, together);
    const QTemporaryDir folder;
    Worker::Settings settings;
    settings.power = PowerState(battery ? batteryFolder(folder) : folder.path());
    Bench bench(settings);
    bench.counts.readMilliseconds = 2;
    DrawnSession session;
    for (std::uint64_t request = 1; frames && request <= 3; ++request) {
        session.openFile();
        bench.read(Bench::recorder, request, encoded(session.screen()));
    }
    if (!region.isNull()) {
        session.openFile();
        bench.read(Bench::region, 4, encoded(session.screen().copy(region)));
    }
    const int expected = (frames ? 3 : 0) + (region.isNull() ? 0 : 1);
    QTRY_COMPARE_WITH_TIMEOUT(bench.answers.count(), expected, 20000);
    QCOMPARE(bench.counts.mostTogether > 1, together);
}

void WorkerEnginesTest::aRegionReadTogetherHasTheTextOfOneReadLineByLine()
{
    const QTemporaryDir folder;
    Worker::Settings onBattery;
    onBattery.power = PowerState(batteryFolder(folder));
    Bench byLine(onBattery);
    Bench together;
    DrawnSession session;
    const std::string region = encoded(session.screen().copy(200, 100, 900, 600));
    for (Bench *bench : {&byLine, &together}) {
        bench->read(Bench::region, 1, region);
        QTRY_COMPARE(bench->answers.count(), 1);
    }
    QCOMPARE(byLine.counts.mostTogether.load(), 1);
    QVERIFY(together.counts.mostTogether > 1);
    QCOMPARE(together.counts.reads.load(), byLine.counts.reads.load());
    const Message one = byLine.answers.at(0);
    const Message other = together.answers.at(0);
    QCOMPARE(std::string(other.payload.view().bytes()), std::string(one.payload.view().bytes()));
    together.read(Bench::recorder, 2, encoded(session.screen().copy(200, 100, 900, 600)));
    QTRY_COMPARE(together.answers.count(), 2);
    QCOMPARE(together.counts.reads.load(), byLine.counts.reads.load());
}

void WorkerEnginesTest::anEmbeddingDoesNotWaitForLinesReadTogether()
{
    Bench bench;
    DrawnSession session({640, 480});
    bench.read(Bench::recorder, 1, encoded(session.screen()));
    QTRY_COMPARE(bench.answers.count(), 1);
    const QImage known = session.screen();
    bench.counts.readMilliseconds = 3000;
    session.switchTo(1);
    const int before = bench.counts.reads;
    bench.read(Bench::region, 2, encoded(session.screen()));
    QTRY_VERIFY(bench.counts.reads > before + 1);
    QElapsedTimer asked;
    asked.start();
    bench.embed(3, encoded(known, "JPEG"));
    QTRY_COMPARE(bench.answers.count(), 2);
    QVERIFY(asked.elapsed() < 2000); // the lines take at least three seconds
    QCOMPARE(bench.answers.at(1).request, std::uint64_t(3));
    QCOMPARE(bench.answers.vector(1).size(), std::size_t(1024));
    bench.counts.readMilliseconds = 0;
    QTRY_COMPARE_WITH_TIMEOUT(bench.answers.count(), 3, 20000);
    QCOMPARE(bench.answers.at(2).request, std::uint64_t(2));
}

QTEST_MAIN(WorkerEnginesTest)
#include "workerenginestest.moc"
