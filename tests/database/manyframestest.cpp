// Many frames of videos looked up at once, beside the look-up of each by itself.

#include "database/ocrscreenshotdatabase.h"

#include "storetest.h"
#include "support/fakeclock.h"
#include "teststore.h"

#include <QTest>

using TestStore::frame;

namespace
{
QString videoOf(const QString &day)
{
    return day + QStringLiteral("_10-00-00.mp4");
}

ScreenShotData wanted(const QString &video, quint32 index)
{
    ScreenShotData data;
    data.videoName = video;
    data.frameIndexOfVideo = index;
    return data;
}

// Every place that can go wrong, out of order and some of it twice.
QVector<ScreenShotData> wantedFrames()
{
    const QString first = videoOf(QStringLiteral("2024-03-10"));
    const QString second = videoOf(QStringLiteral("2024-02-10"));
    return {wanted(first, 9),
            wanted(second, 3),
            wanted(first, 2),
            wanted(first, 400), // there is none
            wanted(QString(), 1),
            wanted(second, 3),
            wanted(QStringLiteral("2024-03-10_none.mp4"), 1),
            wanted(QStringLiteral("2023-07-01_10-00-00.mp4"), 1), // nor such a month
            wanted(QStringLiteral("2023-07-01_10-00-00.mp4"), 2),
            wanted(first, 0),
            wanted(first, 2),
            wanted(first, 0xFFFFFFFFU),
            wanted(QStringLiteral("no day at all"), 5),
            wanted(QString(), 1),
            wanted(videoOf(QStringLiteral("2024-03-11")), 1), // alone in its video
            wanted(first, 1)};
}

QStringList fieldsOf(const ScreenShotData &data)
{
    return {data.videoName,
            QString::number(data.frameIndexOfVideo),
            data.date,
            QString::number(data.frameIndexOfDay),
            QString::number(data.realTime),
            data.desktopFilePath,
            data.ocrText};
}
} // namespace

class ManyFramesTest : public StoreTest
{
    Q_OBJECT

private Q_SLOTS:
    void eachIsTheFrameOfItsOwnLookUp();
    void ofRowsWithOneNumberEachLookUpTakesTheSame();
    void aFrameMustLieOnItsVideosDay();
    void textsThatAreNotWantedAreLeftOut();
    void aFaultIsToldForEachFrame();
    void nothingIsWanted();

private:
    void save(OcrScreenshotDatabase *store);
};

void ManyFramesTest::save(OcrScreenshotDatabase *store)
{
    for (const char *day : {"2024-02-10", "2024-03-10"}) {
        for (quint32 index = 1; index <= 12; ++index) {
            QVERIFY(store->saveScreenshotData(
                frame(QStringLiteral("%1 10:00:%2").arg(day).arg(index, 2, 10, QLatin1Char('0')),
                      index, QStringLiteral("/app%1.desktop").arg(index),
                      QStringLiteral("text of %1").arg(97 * index % 13))));
        }
    }
    QVERIFY(store->saveScreenshotData(frame("2024-03-11 10:00:00", 1, "/app.desktop", "alone")));
}

void ManyFramesTest::eachIsTheFrameOfItsOwnLookUp()
{
    FakeClock::set(QDateTime(QDate(2024, 2, 1), QTime(12, 0)));
    OcrScreenshotDatabase store;
    save(&store);
    const QVector<ScreenShotData> frames = wantedFrames();
    const QVector<ScreenShotData> found = store.getScreenShotDataOfVideos(frames);
    QCOMPARE(found.size(), frames.size());
    int rows = 0;
    for (int place = 0; place < frames.size(); ++place) {
        const ScreenShotData &asked = frames.at(place);
        QCOMPARE(fieldsOf(found.at(place)), fieldsOf(store.getScreenShotDataOfVideo(
                                                asked.videoName, asked.frameIndexOfVideo)));
        rows += found.at(place).videoName.isEmpty() ? 0 : 1;
    }
    QCOMPARE(rows, 7);
}

// A clock that was set back, or a text that came twice.
void ManyFramesTest::ofRowsWithOneNumberEachLookUpTakesTheSame()
{
    OcrScreenshotDatabase store;
    for (const char *text : {"middle", "zebra", "alpha"}) {
        for (const quint32 index : {2U, 1U, 3U}) {
            QVERIFY(store.saveScreenshotData(
                frame("2024-03-10 10:00:00", index, "/a.desktop", QLatin1String(text))));
        }
    }
    const QString video = videoOf(QStringLiteral("2024-03-10"));
    // One that is not there lets the look-up go on to the last row.
    const QVector<ScreenShotData> found =
        store.getScreenShotDataOfVideos({wanted(video, 3), wanted(video, 1), wanted(video, 4)});
    QCOMPARE(found.at(2).videoName, QString());
    QCOMPARE(fieldsOf(found.at(0)), fieldsOf(store.getScreenShotDataOfVideo(video, 3)));
    QCOMPARE(fieldsOf(found.at(1)), fieldsOf(store.getScreenShotDataOfVideo(video, 1)));
}

void ManyFramesTest::aFrameMustLieOnItsVideosDay()
{
    OcrScreenshotDatabase store;
    ScreenShotData data = frame("2024-03-10 23:59:58", 1);
    for (int frames = 0; frames < 3; ++frames) {
        QVERIFY(store.saveScreenshotData(data));
        data.frameIndexOfVideo += 1;
        data.realTime += 1;
    }
    const QVector<ScreenShotData> found = store.getScreenShotDataOfVideos(
        {wanted(data.videoName, 3), wanted(data.videoName, 2), wanted(data.videoName, 1)});
    QCOMPARE(found.at(0).videoName, QString());
    QCOMPARE(found.at(1).frameIndexOfVideo, 2U);
    QCOMPARE(found.at(2).frameIndexOfVideo, 1U);
}

void ManyFramesTest::textsThatAreNotWantedAreLeftOut()
{
    FakeClock::set(QDateTime(QDate(2024, 2, 1), QTime(12, 0)));
    OcrScreenshotDatabase store;
    save(&store);
    QVector<ScreenShotData> whole = store.getScreenShotDataOfVideos(wantedFrames());
    const QVector<ScreenShotData> found =
        store.getScreenShotDataOfVideos(wantedFrames(), RowTexts::Left);
    for (int place = 0; place < found.size(); ++place) {
        whole[place].ocrText = QString();
        QCOMPARE(fieldsOf(found.at(place)), fieldsOf(whole.at(place)));
    }
}

void ManyFramesTest::aFaultIsToldForEachFrame()
{
    m_home->writeFile(QStringLiteral("2023-07.db"), QByteArray());
    OcrScreenshotDatabase store;
    m_log->clear();
    const QString video = QStringLiteral("2023-07-01_10-00-00.mp4");
    const QVector<ScreenShotData> found =
        store.getScreenShotDataOfVideos({wanted(video, 1), wanted(video, 2), wanted(video, 3)});
    QCOMPARE(found.size(), 3);
    QCOMPARE(m_log->count(QtDebugMsg, QStringLiteral("Error preparing statement:  no such table")),
             3);
}

void ManyFramesTest::nothingIsWanted()
{
    OcrScreenshotDatabase store;
    QVERIFY(store.getScreenShotDataOfVideos({}).isEmpty());
}

QTEST_GUILESS_MAIN(ManyFramesTest)
#include "manyframestest.moc"
