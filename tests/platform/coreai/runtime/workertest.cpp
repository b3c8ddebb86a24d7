// What the worker does first, and what it does not do twice.

#include "coreai/runtime/worker.h"
#include "coreai/meaning/meaningspace.h"
#include "coreai/protocol/answers.h"
#include "coreai/reading/picturedecoder.h"
#include "coreai/runtime/tellinglines.h"
#include "reading/drawnsession.h"
#include "testengines.h"

#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <random>

using namespace coreai;

namespace
{
std::string encoded(const QImage &image, const char *format = "PNG")
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes.toStdString();
}

// What the worker told, in order, without the notices that a request has begun.
class Answers
{
public:
    void take(Message message)
    {
        if (message.type != MessageType::Begun) {
            const std::lock_guard lock(m_mutex);
            m_messages.push_back(std::move(message));
        }
    }
    int count() const
    {
        const std::lock_guard lock(m_mutex);
        return int(m_messages.size());
    }
    std::vector<std::uint64_t> requests() const
    {
        const std::lock_guard lock(m_mutex);
        std::vector<std::uint64_t> numbers;
        for (const Message &message : m_messages) {
            numbers.push_back(message.request);
        }
        return numbers;
    }
    Message at(std::size_t index) const
    {
        const std::lock_guard lock(m_mutex);
        return m_messages.at(index);
    }
    std::vector<ReadLine> lines(std::size_t index) const
    {
        const Message message = at(index);
        return decodeLines(message.payload.view().bytes()).value();
    }
    std::vector<float> vector(std::size_t index) const
    {
        const Message message = at(index);
        return decodeFloats(message.payload.view().bytes()).value();
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Message> m_messages;
};

class Bench
{
public:
    explicit Bench(Worker::Settings settings = {})
        : worker(std::make_unique<TestEngines::CountingSet>(counts), std::move(settings),
                 [this](Message message) { answers.take(std::move(message)); })
    {
    }
    void read(std::uint32_t session, std::uint64_t request, const std::string &picture)
    {
        worker.post({MessageType::ReadPicture, session, request, Payload::of(picture)});
    }
    void embed(std::uint64_t request, const std::string &picture)
    {
        worker.post({MessageType::EmbedPicture, embedding, request, Payload::of(picture)});
    }
    void ask(std::uint64_t request, const std::string &text)
    {
        worker.post({MessageType::EmbedText, embedding, request, Payload::of(text)});
    }

    static constexpr std::uint32_t recorder = 1;
    static constexpr std::uint32_t region = 2;
    static constexpr std::uint32_t embedding = 3;

    TestEngines::Counts counts;
    Answers answers;
    Worker worker; // last: uses the others
};

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

class WorkerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsALine();
    void answersInRequestOrderInsideASession();
    void aRegionOvertakesAQueueOf50Frames();
    void embeddingsOvertakeTheFrameThatIsBeingRead();
    void knownLinesAreNotReadAgain();
    void vectorsAreComputedAfterReadingOnce();
    void anEmbeddingUsesTheFrameHandedOver();
    void anUnknownPictureIsCutItself();
    void anEmbeddingKeepsItsTimeWithSlowEngines();
    void anEmbeddingDoesNotWaitForALineThatTakesSeconds();
    void aLateLineOfTheOwnEmbeddingIsReadAllTheSame();
    void aFrameOfWhichNothingIsKnownIsGivenMoreTime();
    void aFrameThatWaitsForAnotherIsGivenMoreTime();
    void aPictureThatIsNoneFails();
    void badPicturesHaveNoLines_data();
    void badPicturesHaveNoLines();
    void failedLinesAreLeftOutAndReadLater();
    void picturesThatWaitDuringAPauseAreReadWholeAfterIt();
    void whereEnginesNeverComeAPauseCostsOnePicture();
    void vectorsWaitForTheEndOfAPause();
    void whatIsOldIsForgottenWhileThereIsWork();
    void unloadsWhenIdleAndReadsOn();
    void closedSessionsAreNotReadOn();
    void linesReadTogetherAreNotReadOnAfterAClose();
    void linesAreReadTogetherOnlyWhereSomebodyWaits_data();
    void linesAreReadTogetherOnlyWhereSomebodyWaits();
    void aRegionReadTogetherHasTheTextOfOneReadLineByLine();
    void anEmbeddingDoesNotWaitForLinesReadTogether();
    void textsOfAllKinds_data();
    void textsOfAllKinds();
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

void WorkerTest::vectorsAreComputedAfterReadingOnce()
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

void WorkerTest::anEmbeddingUsesTheFrameHandedOver()
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

void WorkerTest::anUnknownPictureIsCutItself()
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

void WorkerTest::anEmbeddingDoesNotWaitForALineThatTakesSeconds()
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

void WorkerTest::aLateLineOfTheOwnEmbeddingIsReadAllTheSame()
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

void WorkerTest::aFrameOfWhichNothingIsKnownIsGivenMoreTime()
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

void WorkerTest::aFrameThatWaitsForAnotherIsGivenMoreTime()
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

void WorkerTest::anEmbeddingKeepsItsTimeWithSlowEngines()
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

void WorkerTest::aPictureThatIsNoneFails()
{
    Bench bench;
    bench.embed(1, "no picture");
    bench.embed(2, "");
    QTRY_COMPARE(bench.answers.count(), 2);
    QVERIFY(bench.answers.vector(0).empty());
    QVERIFY(bench.answers.vector(1).empty());
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

void WorkerTest::failedLinesAreLeftOutAndReadLater()
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

void WorkerTest::picturesThatWaitDuringAPauseAreReadWholeAfterIt()
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

void WorkerTest::whereEnginesNeverComeAPauseCostsOnePicture()
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

void WorkerTest::vectorsWaitForTheEndOfAPause()
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

void WorkerTest::unloadsWhenIdleAndReadsOn()
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

void WorkerTest::linesReadTogetherAreNotReadOnAfterAClose()
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

void WorkerTest::linesAreReadTogetherOnlyWhereSomebodyWaits_data()
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

void WorkerTest::linesAreReadTogetherOnlyWhereSomebodyWaits()
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

void WorkerTest::aRegionReadTogetherHasTheTextOfOneReadLineByLine()
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

void WorkerTest::anEmbeddingDoesNotWaitForLinesReadTogether()
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

void WorkerTest::textsOfAllKinds_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("1 MB") << QByteArray(1 << 20, 'x');
    QTest::newRow("invalid UTF-8") << QByteArray("\xff\xfe\xc3(\xed\xa0\x80");
    QTest::newRow("right to left") << QByteArray("שלום עולם مرحبا");
    QTest::newRow("Chinese") << QByteArray("昨天的会议预算");
}

void WorkerTest::textsOfAllKinds()
{
    QFETCH(QByteArray, text);
    Bench bench;
    bench.ask(1, text.toStdString());
    QTRY_COMPARE(bench.answers.count(), 1);
    const std::vector<float> vector = bench.answers.vector(0);
    QCOMPARE(vector.size(), std::size_t(1024));
    QVERIFY(std::abs(lengthOf(vector) - 1) < 1e-3);
}

QTEST_MAIN(WorkerTest)
#include "workertest.moc"
