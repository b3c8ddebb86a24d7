// Reading one stored frame back: out of the open batch's memory or out of its video.

#include "database/storedhistory.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "trackerfixture.h"

#include <QDir>
#include <QTest>
#include <QThread>

#include <functional>

Q_DECLARE_METATYPE(std::function<void(ScreenHistoryTracker &)>)

using CaptureFixture::storedRows;
using CaptureFixture::todayDirectory;
using StoredHistory::pathOf;

class StoredFrameTest : public TrackerFixture
{
    Q_OBJECT

private Q_SLOTS:
    void aFrameOfTheOpenBatchIsReadFromMemory();
    void aFrameOfTheOpenBatchCanBeGivenToTheKernel();
    void aFrameBeyondTheOpenBatchIsRefused_data();
    void aFrameBeyondTheOpenBatchIsRefused();
    void aFrameOfAStoredVideoIsReadFromItsFile();
    void theFrameReadLastIsKept();
    void aFailedReadLeavesTheFormerPicture();
    void aFailedReadOfAFileIsNotMadeAgain();
    void aReadThatIsGivenUpIsNotRemembered();
    void anErasedVideoIsNotHeldOpen_data();
    void anErasedVideoIsNotHeldOpen();
};

namespace
{
QStringList openVideos()
{
    QStringList videos;
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    for (const QFileInfo &descriptor : descriptors.entryInfoList(QDir::Files | QDir::System)) {
        const QString path = descriptor.symLinkTarget();
        if (path.contains(QLatin1String(".mp4"))) {
            videos << path;
        }
    }
    return videos;
}
} // namespace

void StoredFrameTest::aFrameOfTheOpenBatchIsReadFromMemory()
{
    start();
    keep(3);
    const QString video = storedRows().first().videoName;
    QDir(todayDirectory()).removeRecursively();
    QCOMPARE(m_tracker->getImageFromVideoFile(video, 2), Pictures::numbered(2));
    QCOMPARE(m_tracker->getImageFromVideoFile(QLatin1String("/anywhere/") + video, 3),
             Pictures::numbered(3));
}

void StoredFrameTest::aFrameOfTheOpenBatchCanBeGivenToTheKernel()
{
    start();
    keep(2);
    const QImage frame = m_tracker->getImageFromVideoFile(storedRows().first().videoName, 1);
    QFile file(QDir::home().filePath(QStringLiteral("pixels")));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    QCOMPARE(file.write(reinterpret_cast<const char *>(frame.constBits()), frame.sizeInBytes()),
             frame.sizeInBytes());
    QVERIFY(file.remove());
}

void StoredFrameTest::aFrameBeyondTheOpenBatchIsRefused_data()
{
    QTest::addColumn<uint>("index");
    QTest::newRow("one too many") << 4U;
    QTest::newRow("none") << 0U;
    QTest::newRow("no number at all") << 0xffffffffU;
}

void StoredFrameTest::aFrameBeyondTheOpenBatchIsRefused()
{
    QFETCH(uint, index);
    start();
    keep(3);
    const LogCapture log;
    QVERIFY(m_tracker->getImageFromVideoFile(storedRows().first().videoName, index).isNull());
    // The frames kept before may still be read, which warns that they hold no text.
    QCOMPARE(log.texts(QtWarningMsg).count(QStringLiteral("requested frame index is out of range")),
             1);
}

void StoredFrameTest::aFrameOfAStoredVideoIsReadFromItsFile()
{
    const QString yesterday = StoredHistory::store({m_now.addDays(-1), 12, 5, 1, 1});
    const QString today = StoredHistory::store({m_now.addSecs(-600), 12, 5, 101, 1});
    start();
    for (const int index : {1, 2, 12, 11, 5}) {
        QCOMPARE(readNumber(yesterday, static_cast<uint>(index)), index);
        QCOMPARE(readNumber(today, static_cast<uint>(index)), 100 + index);
    }
    QCOMPARE(readNumber(today, 13), -1);
    QCOMPARE(readNumber(QStringLiteral("2024-03-15_00-00-00.mp4"), 1), -1);
}

void StoredFrameTest::theFrameReadLastIsKept()
{
    const QString video = StoredHistory::store({m_now.addSecs(-600), 3});
    start();
    QCOMPARE(readNumber(video, 2), 2);
    m_tracker->deleteAllVideos();
    QVERIFY(!QFile::exists(pathOf(video)));
    QCOMPARE(readNumber(video, 2), 2);
}

// The thread of a search that was asked to stop.
void StoredFrameTest::aReadThatIsGivenUpIsNotRemembered()
{
    const QString video = StoredHistory::store({m_now.addSecs(-600), 3});
    start();
    QCOMPARE(readNumber(video, 1), 1);
    int number = 0;
    const std::unique_ptr<QThread> search(QThread::create([&] {
        QThread::currentThread()->requestInterruption();
        number = readNumber(video, 2);
    }));
    search->start();
    QVERIFY(search->wait(encodingMs));
    QCOMPARE(number, -1);
    QCOMPARE(readNumber(video, 2), 2);
}

void StoredFrameTest::aFailedReadLeavesTheFormerPicture()
{
    start();
    keep(3);
    const QString video = storedRows().first().videoName;
    QCOMPARE(readNumber(video, 2), 2);
    QCOMPARE(readNumber(video, 9), -1);
    const LogCapture log;
    QCOMPARE(readNumber(video, 9), 2); // asked for again it gives what was read before
    QVERIFY(!log.contains(QtWarningMsg, QStringLiteral("out of range")));
}

void StoredFrameTest::aFailedReadOfAFileIsNotMadeAgain()
{
    const QString video = StoredHistory::store({m_now.addSecs(-600), 3});
    const QString hidden = pathOf(video) + QLatin1String(".hidden");
    QVERIFY(QFile::rename(pathOf(video), hidden));
    start();
    QCOMPARE(readNumber(video, 2), -1);
    QVERIFY(QFile::rename(hidden, pathOf(video)));
    QCOMPARE(readNumber(video, 2), -1); // what the failed read gave
    QCOMPARE(readNumber(video, 3), 3);
    QCOMPARE(readNumber(video, 2), 2);
}

void StoredFrameTest::anErasedVideoIsNotHeldOpen_data()
{
    using Erase = std::function<void(ScreenHistoryTracker &)>;
    QTest::addColumn<Erase>("erase");
    QTest::newRow("a range") << Erase(
        [](auto &tracker) { tracker.deleteScreenShotData(LastHour); });
    QTest::newRow("everything") << Erase([](auto &tracker) { tracker.deleteAllVideos(); });
    QTest::newRow("a day") << Erase(
        [](auto &tracker) { tracker.deleteDataAtDate(QStringLiteral("2024-03-15")); });
}

void StoredFrameTest::anErasedVideoIsNotHeldOpen()
{
    QFETCH(std::function<void(ScreenHistoryTracker &)>, erase);
    const QString video = StoredHistory::store({m_now.addSecs(-600), 3});
    start();
    QCOMPARE(readNumber(video, 2), 2);
    QCOMPARE(openVideos(), QStringList(pathOf(video)));
    erase(*m_tracker);
    QCOMPARE(openVideos(), QStringList());
    QCOMPARE(readNumber(video, 3), -1);
}

QTEST_MAIN(StoredFrameTest)
#include "storedframetest.moc"
