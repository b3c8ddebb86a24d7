// Which waiting picture is read on next.

#include "coreai/runtime/readingqueue.h"

#include <QTest>

using namespace coreai;

namespace
{
ReadingJobPtr job(LineCache &cache, std::uint32_t session, std::uint64_t request, cv::Size size)
{
    return std::make_shared<ReadingJob>(
        ReadingJob{session, request, Payload(), size, std::make_shared<FrameReader>(cache), false});
}

const cv::Size screen(1920, 1080);
const cv::Size part(300, 200);
} // namespace

class ReadingQueueTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theSmallestPictureGoesFirstHoweverLongItsQueue();
    void ofEqualPicturesTheShortestQueueGoesFirst();
    void keepsTheOrderOfASession();
    void findsTheNewestOfASize();
    void closedSessionsAreGone();
    void onlyAFewKeepTheirBitmaps();
};

void ReadingQueueTest::theSmallestPictureGoesFirstHoweverLongItsQueue()
{
    LineCache cache;
    ReadingQueue queue;
    QVERIFY(!queue.next());
    for (std::uint64_t request = 1; request <= 3; ++request) {
        queue.add(job(cache, 1, request, part));
    }
    queue.add(job(cache, 2, 4, screen));
    // As where somebody cancelled twice and chose again: still nothing that waits for a screen.
    for (std::uint64_t request = 1; request <= 3; ++request) {
        QCOMPARE(queue.next()->request, request);
        queue.remove(*queue.next());
    }
    QCOMPARE(queue.next()->request, std::uint64_t(4));
}

void ReadingQueueTest::ofEqualPicturesTheShortestQueueGoesFirst()
{
    LineCache cache;
    ReadingQueue queue;
    queue.add(job(cache, 1, 1, screen));
    queue.add(job(cache, 1, 2, screen));
    queue.add(job(cache, 2, 3, screen));
    QCOMPARE(queue.next()->request, std::uint64_t(3));
}

void ReadingQueueTest::keepsTheOrderOfASession()
{
    LineCache cache;
    ReadingQueue queue;
    queue.add(job(cache, 1, 1, screen));
    queue.add(job(cache, 1, 2, part));
    QCOMPARE(queue.next()->request, std::uint64_t(1));
    queue.remove(*queue.next());
    QCOMPARE(queue.next()->request, std::uint64_t(2));
    queue.remove(*queue.next());
    QVERIFY(queue.isEmpty());
}

void ReadingQueueTest::findsTheNewestOfASize()
{
    LineCache cache;
    ReadingQueue queue;
    queue.add(job(cache, 1, 1, screen));
    queue.add(job(cache, 1, 2, screen));
    queue.add(job(cache, 2, 3, part));
    QCOMPARE(queue.newestOf(screen)->request, std::uint64_t(2));
    QVERIFY(!queue.newestOf({1, 1}));
}

void ReadingQueueTest::closedSessionsAreGone()
{
    LineCache cache;
    ReadingQueue queue;
    queue.add(job(cache, 1, 1, screen));
    queue.add(job(cache, 2, 2, screen));
    QCOMPARE(queue.sessionCount(), std::size_t(2));
    queue.removeSession(1);
    QCOMPARE(queue.next()->request, std::uint64_t(2));
}

void ReadingQueueTest::onlyAFewKeepTheirBitmaps()
{
    LineCache cache;
    ReadingQueue queue;
    std::vector<ReadingJobPtr> jobs;
    cv::Mat picture(200, 400, CV_8UC4, cv::Scalar(255, 255, 255, 255));
    for (int x = 20; x < 380; x += 8) { // something with edges, as letters have
        picture(cv::Rect(x, 80, 3, 14)).setTo(cv::Scalar(0, 0, 0, 255));
    }
    for (std::uint64_t request = 0; request < 10; ++request) {
        jobs.push_back(job(cache, 1, request, picture.size()));
        jobs.back()->reader->cut(picture);
        queue.add(jobs.back());
    }
    if (jobs.front()->reader->isComplete()) {
        QSKIP("the cut sees no line in this picture");
    }
    queue.limitBitmaps();
    QVERIFY(jobs.front()->reader->isCut());
    QVERIFY(jobs.back()->reader->isCut());
    int kept = 0;
    for (const ReadingJobPtr &each : jobs) {
        kept += each->reader->isCut() ? 1 : 0;
    }
    QVERIFY(kept <= int(ReadingQueue::mostCut));
}

QTEST_GUILESS_MAIN(ReadingQueueTest)
#include "readingqueuetest.moc"
