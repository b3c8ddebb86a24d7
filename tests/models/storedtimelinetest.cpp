// From a pixel of the axis to the picture in a video: the real handler over real databases, folders
// and videos.

#include "capture/capturefixture.h"
#include "database/databasemanager.h"
#include "database/storedhistory.h"
#include "database/teststore.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "desktopentries.h"
#include "paintedday.h"
#include "storedprogram.h"

#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QFile>
#include <QTest>

namespace
{
constexpr char decodedText[] = "setAbsoluteVideoName"; // a video was opened

} // namespace

class TestStoredTimeline : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void everyPixelLeadsToItsPicture();
    void aHitOfADayLiesWhereItsPictureIs();
    void fourHundredDaysAreLoadedWithoutOpeningAVideo();
    void framesKeptNowGrowToday();
    void deletingEmptiesTheAxisAndTheDisk();

private:
    /// For each day of a month, up to @p end, two rows and a video that nobody could decode.
    void storeUnreadableMonth(const QDate &first, const QDate &end) const;

    std::unique_ptr<DesktopEntries> m_entries;
    QString m_editor;
    QString m_browser;
};

void TestStoredTimeline::initTestCase()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    StoredHistory::openVectorStore();
}

void TestStoredTimeline::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    StoredHistory::eraseEverything();
    m_entries = std::make_unique<DesktopEntries>();
    m_editor = m_entries->add("editor.desktop", "Name=Editor\nIcon=kept-icon\n");
    m_browser = m_entries->add("browser.desktop", "Name=Browser\nIcon=/browser.png\n");
}

void TestStoredTimeline::cleanup()
{
    StoredHistory::eraseEverything();
    FakeClock::reset();
}

void TestStoredTimeline::storeUnreadableMonth(const QDate &first, const QDate &end) const
{
    QString rows = "BEGIN;";
    for (QDate day = first; day < end; day = day.addDays(1)) {
        const QString video = day.toString("yyyy-MM-dd") + "_09-00-00.mp4";
        const QFileInfo file(StoredHistory::pathOf(video));
        QVERIFY(QDir().mkpath(file.absolutePath()));
        QFile empty(file.absoluteFilePath());
        QVERIFY(empty.open(QIODevice::WriteOnly));
        for (int frame = 1; frame <= 2; ++frame) {
            rows += QStringLiteral("INSERT INTO screenshots (video_name, ocr_text, "
                                   "frame_index_of_video, frame_index_of_day, real_time, "
                                   "desktop_file_path) VALUES ('%1', '', %2, %2, %3, '%4');")
                        .arg(video)
                        .arg(frame)
                        .arg(QDateTime(day, QTime(9, frame)).toSecsSinceEpoch())
                        .arg(frame == 1 ? m_editor : m_browser);
        }
    }
    // The program's own way commits every row: half a minute for all of them.
    const QString file = QDir::homePath() + "/.cache/tavel-ai-yestermark/traditional_database/" +
                         first.toString("yyyy-MM") + ".db";
    QCOMPARE(TestStore::query(file, qUtf8Printable(rows + "COMMIT;")), QStringList());
}

void TestStoredTimeline::everyPixelLeadsToItsPicture()
{
    // Two videos of a day and one of the day after; a run goes on from one video into the next.
    const QDate day(2024, 3, 13);
    StoredHistory::store({QDateTime(day, QTime(9, 0)), 2, 60, 1, 1, m_editor});
    StoredHistory::store({QDateTime(day, QTime(10, 0)), 2, 60, 3, 3, m_browser});
    StoredHistory::store({QDateTime(day, QTime(11, 0)), 3, 60, 5, 5, m_browser});
    StoredHistory::store({QDateTime(day.addDays(1), QTime(9, 0)), 1, 60, 100, 1, m_editor});
    StoredProgram program;
    QCOMPARE(program.info.dayAppModel()->rowCount(), 2);

    const PaintedDay painted({2, 5});
    for (int x = 0; x <= painted.width(); ++x) {
        const int number = painted.frameAt(x);
        program.info.showPreviewImageItem(0, x, x);
        const QImage image = program.reader.getPreviewImage();
        QCOMPARE(image.isNull(), number == 0);
        if (number == 0) {
            continue;
        }
        QCOMPARE(Pictures::numberOf(image), number);
        QCOMPARE(program.shown.previewAppName(),
                 number <= 2 ? QString("Editor") : QString("Browser"));
        QCOMPARE(program.shown.previewAppIcon(),
                 number <= 2 ? QString("kept-icon") : QString("file:///browser.png"));
        QCOMPARE(program.shown.previewImageDate(), QString("2 days ago"));
        const QTime hour(number <= 2 ? 9 : number <= 4 ? 10 : 11, 0);
        const int minute = number <= 2 ? number - 1 : number <= 4 ? number - 3 : number - 5;
        QCOMPARE(program.shown.previewImageTime(), hour.addSecs(60 * minute).toString("HH:mm:ss"));
    }
    program.info.showCurShowImageItem(1, 3, 1);
    QCOMPARE(Pictures::numberOf(program.reader.getCurShowImage()), 100);
}

void TestStoredTimeline::aHitOfADayLiesWhereItsPictureIs()
{
    const QDate day(2024, 3, 14);
    StoredHistory::store({QDateTime(day, QTime(9, 0)), 3, 60, 1, 1, m_editor});
    StoredHistory::store({QDateTime(day, QTime(10, 0)), 2, 60, 4, 4, m_browser});
    StoredProgram program;
    for (int frame = 1; frame <= 5; ++frame) {
        const int x = program.reader.getLengthByDayFrameNumber("2024-03-14", frame);
        program.info.showCurShowImageItem(program.reader.getImageDateIndex("2024-03-14"), x, frame);
        QCOMPARE(Pictures::numberOf(program.reader.getCurShowImage()), frame);
    }
}

void TestStoredTimeline::fourHundredDaysAreLoadedWithoutOpeningAVideo()
{
    const QDate last(2024, 3, 14);
    FakeClock::set(QDateTime(last.addDays(-399), QTime(8, 0)));
    StoredHistory::eraseEverything(); // the databases begin where the clock stands
    for (QDate day = last.addDays(-399); day <= last;) {
        // The databases make the file of a month when they save to it.
        ScreenShotData row;
        row.videoName = day.toString("yyyy-MM-dd") + "_08-00-00.mp4";
        row.frameIndexOfVideo = row.frameIndexOfDay = 3;
        row.realTime = QDateTime(day, QTime(10, 0)).toSecsSinceEpoch();
        row.desktopFilePath = m_editor;
        row.ocrText = QLatin1String("");
        QVERIFY(DatabaseManager::getInstance()->saveScreenShotData(row));
        const QDate next = QDate(day.year(), day.month(), 1).addMonths(1);
        storeUnreadableMonth(day, qMin(next, last.addDays(1)));
        day = next;
    }
    FakeClock::set(QDateTime(last.addDays(1), QTime(12, 0)));
    const LogCapture log;
    StoredProgram program;
    QAbstractListModel *days = program.info.dayAppModel();
    const QAbstractItemModelTester tester(days,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    for (int before = 0; before != days->rowCount();) {
        before = days->rowCount();
        program.info.showPreDayAppData();
    }
    QCOMPARE(days->rowCount(), 400);
    QCOMPARE(program.reader.getImageDateIndex("2024-03-14"), 399);
    QCOMPARE(log.count(QtDebugMsg, decodedText), 0);
    QCOMPARE(log.count(QtWarningMsg, "date or appItemList is empty"), 0);
    program.info.showPreviewImageItem(200, 4, 1);
    QCOMPARE(log.count(QtDebugMsg, decodedText), 1); // the text that the count above rests on
}

void TestStoredTimeline::framesKeptNowGrowToday()
{
    FakeDesktop desktop;
    const CaptureFixture::Application files(CaptureFixture::Application::FileManager);
    const CaptureFixture::Application volume(CaptureFixture::Application::VolumeControl);
    StoredProgram program;
    QAbstractListModel *days = program.info.dayAppModel();
    QCOMPARE(days->rowCount(), 0);
    const auto keep = [&](const CaptureFixture::Application &application, int number) {
        desktop.setActivePid(application.pid());
        desktop.setImage(Pictures::numbered(number));
        program.tracker.processScreenShot();
        FakeClock::advance(5);
    };
    keep(files, 1);
    keep(files, 2);
    keep(volume, 3);
    keep(files, 4);
    QCOMPARE(days->rowCount(), 1);
    QCOMPARE(days->data(days->index(0), 257).toString(), QString("today"));
    QCOMPARE(program.reader.getDayAllFrames("2024-03-15", 0), 4 * 8);
    const PaintedDay painted({2, 1, 1});
    for (int x = 0; x <= painted.width(); ++x) { // from the batch that is still open
        program.info.showPreviewImageItem(0, x, x);
        const QImage image = program.reader.getPreviewImage();
        QCOMPARE(image.isNull() ? 0 : Pictures::numberOf(image), painted.frameAt(x));
    }
}

void TestStoredTimeline::deletingEmptiesTheAxisAndTheDisk()
{
    StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(9, 0)), 2, 60, 1, 1, m_editor});
    StoredProgram program;
    QCOMPARE(program.info.dayAppModel()->rowCount(), 1);
    QVERIFY(program.info.clearUserData(4));
    QCOMPARE(program.info.dayAppModel()->rowCount(), 0);
    QCOMPARE(StoredHistory::rows(), QStringList());
    QCOMPARE(StoredHistory::files(), QStringList());
    QCOMPARE(program.reader.getStartDate(), QString());
}

QTEST_MAIN(TestStoredTimeline)
#include "storedtimelinetest.moc"
