// The reader's days and applications: names and icons, what is loaded, how today grows, and what
// is forgotten. The program runs in a Chinese locale.

#include "models/videoreader.h"
#include "datahandlerdouble.h"
#include "desktopentries.h"

#include "support/fakeclock.h"
#include "support/logcapture.h"

#include <QIcon>
#include <QLocale>
#include <QSignalSpy>
#include <QTest>

#include <ctime>

namespace
{
// Before Qt reads them.
void setLocale()
{
    qunsetenv("LC_ALL");
    qputenv("LC_CTYPE", "C.UTF-8"); // of file names
    qputenv("LC_MESSAGES", "zh_CN.UTF-8");
    qputenv("TZ", "Asia/Shanghai");
    tzset();
}
Q_CONSTRUCTOR_FUNCTION(setLocale)

constexpr char invalidIndexText[] = "Get image frame error: date index is invalid !";

QList<int> lengths(const QList<AppItemInfo> &runs)
{
    QList<int> result;
    for (const AppItemInfo &run : runs) {
        result.append(run.timeLength);
    }
    return result;
}

QList<AppItemInfo> runsOfLengths(const QList<int> &pixels)
{
    QList<AppItemInfo> runs;
    for (const int length : pixels) {
        runs.append({"a", "a", length});
    }
    return runs;
}
} // namespace

Q_DECLARE_METATYPE(QList<int>)

class TestVideoReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void momentsAreLocalText();
    void namesAreInTheUsersLanguageFirst_data();
    void namesAreInTheUsersLanguageFirst();
    void iconsAreOfTheThemeOrFiles_data();
    void iconsAreOfTheThemeOrFiles();

    void firstAndLastDayAreAskedAnewForSizeAndValue_data();
    void firstAndLastDayAreAskedAnewForSizeAndValue();
    void aLoadedDayHasARunForEachRecordInOrder();
    void theDesktopFilesAreReadAnewForEveryDay();
    void anEmptyDayIsNotLoaded();
    void aDayLoadedAgainIsReplaced();
    void theDateIndexIsThePlaceAmongTheLoadedDays();

    void todayGrowsByOneFrameACall();
    void aKnownFrameChangesNothing_data();
    void aKnownFrameChangesNothing();
    void theLastDayGrowsWhateverItsName();
    void growthWithoutADayIsAWarning_data();
    void growthWithoutADayIsAWarning();
    void anotherApplicationIsARunOfOneFrame();
    void theFirstApplicationOfADayIsANewDay();
    void neighbouringRunsOfOneApplicationStayTwo();
    void newRunsTravelInQueuedSignals();

    void barsBeforeAPlaceAddUp_data();
    void barsBeforeAPlaceAddUp();
    void aPlaceOutsideTheLoadedDaysIsAWarning_data();
    void aPlaceOutsideTheLoadedDaysIsAWarning();
    void aShareOfABarAndAllAfterIt_data();
    void aShareOfABarAndAllAfterIt();
    void allBarsOfADay();

    void clearingForgetsTheDaysWhateverTheRange_data();
    void clearingForgetsTheDaysWhateverTheRange();
    void aRangeAboveTheLastChangesNothing();
    void clearingTellsWhetherTheDeletionSucceeded();
    void clearingKeepsThePicturesOnShow();

private:
    QString file(const QString &lines) const { return m_entries->add("app.desktop", lines); }

    std::unique_ptr<DesktopEntries> m_entries;
    std::unique_ptr<VideoReader> m_reader;
};

void TestVideoReader::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    DataHandlerDouble::reset();
    m_entries = std::make_unique<DesktopEntries>();
    m_reader = std::make_unique<VideoReader>(&DataHandlerDouble::handler());
}

void TestVideoReader::cleanup()
{
    m_reader.reset();
    FakeClock::reset();
}

void TestVideoReader::momentsAreLocalText()
{
    const qint64 moment = 1710441304; // 2024-03-14 18:35:04 in UTC
    QCOMPARE(VideoReader::getStringDate(moment), QString("2024/03/15"));
    QCOMPARE(VideoReader::getStringTime(moment), QString("02:35:04"));
}

void TestVideoReader::namesAreInTheUsersLanguageFirst_data()
{
    QTest::addColumn<QString>("lines");
    QTest::addColumn<QString>("name");
    QTest::newRow("both") << "Name=Files\nName[zh_CN]=文件\n"
                          << "文件";
    QTest::newRow("plain only") << "Name=Files\n"
                                << "Files";
    QTest::newRow("another language") << "Name=Files\nName[zh]=文\nName[de]=Dateien\n"
                                      << "Files";
    QTest::newRow("empty in the user's language") << "Name[zh_CN]=\nName=Files\n"
                                                  << "Files";
    QTest::newRow("none") << "Icon=x\n"
                          << "";
}

void TestVideoReader::namesAreInTheUsersLanguageFirst()
{
    QCOMPARE(QLocale::system().name(), QString("zh_CN"));
    QFETCH(QString, lines);
    QTEST(m_reader->getAppName(file(lines)), "name");
    QCOMPARE(m_reader->getAppName("/no/such.desktop"), QString());
}

void TestVideoReader::iconsAreOfTheThemeOrFiles_data()
{
    QTest::addColumn<QString>("lines");
    QTest::addColumn<QString>("icon");
    QTest::newRow("a path") << "Icon=/usr/share/a b.png\n"
                            << "file:///usr/share/a b.png";
    QTest::newRow("of the theme") << "Icon=kept-icon\n"
                                  << "kept-icon";
    QTest::newRow("not of the theme") << "Icon=missing-icon\n"
                                      << "application-x-desktop";
    QTest::newRow("the start menu") << "Icon=vesk-menu\n"
                                    << "tavel-startmenu";
    // Every theme says that it has the icon without a name.
    QTest::newRow("empty") << "Icon=\n"
                           << "";
    QTest::newRow("none") << "Name=x\n"
                          << "application-x-desktop";
}

void TestVideoReader::iconsAreOfTheThemeOrFiles()
{
    QVERIFY(QIcon::hasThemeIcon("kept-icon"));
    QFETCH(QString, lines);
    QTEST(m_reader->getAppIconName(file(lines)), "icon");
    QCOMPARE(m_reader->getAppIconName("/no/such.desktop"), QString("application-x-desktop"));
}

void TestVideoReader::firstAndLastDayAreAskedAnewForSizeAndValue_data()
{
    QTest::addColumn<QStringList>("days");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("end");
    QTest::addColumn<int>("asked");
    QTest::newRow("none") << QStringList() << ""
                          << "" << 2;
    QTest::newRow("one") << QStringList{"2024-01-02"} << "2024-01-02"
                         << "" << 3;
    QTest::newRow("two") << QStringList{"2024-01-02", "2024-03-04"} << "2024-01-02"
                         << "2024-03-04" << 4;
    QTest::newRow("no frames") << QStringList{"", ""} << ""
                               << "" << 4;
}

void TestVideoReader::firstAndLastDayAreAskedAnewForSizeAndValue()
{
    QFETCH(QStringList, days);
    DataHandlerDouble::state().firstAndLastDay = [&days] { return days; };
    QTEST(m_reader->getStartDate(), "start");
    QTEST(m_reader->getEndDate(), "end");
    QTEST(DataHandlerDouble::state().askedForFirstAndLast, "asked");
}

void TestVideoReader::aLoadedDayHasARunForEachRecordInOrder()
{
    const QString a = m_entries->add("a.desktop", "Name=A\nIcon=kept-icon\n");
    const QString b = m_entries->add("b.desktop", "Name=B\nIcon=/b.png\n");
    DataHandlerDouble::state().days["2024-03-05"] = {{a, 3}, {b, 1}, {a, 2}, {a, 4}};
    const QList<AppItemInfo> runs = m_reader->getDayAppInfo("2024-03-05");
    QCOMPARE(lengths(runs), QList<int>({24, 8, 16, 32}));
    QStringList names;
    QStringList icons;
    for (const AppItemInfo &run : runs) {
        names.append(run.appName);
        icons.append(run.appIcon);
    }
    QCOMPARE(names, QStringList({"A", "B", "A", "A"}));
    QCOMPARE(icons, QStringList({"kept-icon", "file:///b.png", "kept-icon", "kept-icon"}));
    QCOMPARE(m_reader->getImageDateIndex("2024-03-05"), 0);
    QCOMPARE(m_reader->getDayAllFrames("2024-03-05", 0), 80);
    QCOMPARE(DataHandlerDouble::state().askedFrames.size(), 0);
}

void TestVideoReader::theDesktopFilesAreReadAnewForEveryDay()
{
    const QString app = file("Name=Old\n");
    DataHandlerDouble::state().days["2024-03-05"] = {{app, 1}};
    QCOMPARE(m_reader->getDayAppInfo("2024-03-05").first().appName, QString("Old"));
    file("Name=Newer\n");
    QCOMPARE(m_reader->getDayAppInfo("2024-03-05").first().appName, QString("Newer"));
}

void TestVideoReader::anEmptyDayIsNotLoaded()
{
    m_reader->saveAppInfo("2024-03-05", runsOfLengths({8}));
    QCOMPARE(m_reader->getDayAppInfo("2024-03-06").size(), 0);
    QCOMPARE(m_reader->getDayAppInfo("2024-03-05").size(), 0);
    QCOMPARE(m_reader->getImageDateIndex("2024-03-06"), -1);
    QCOMPARE(m_reader->getDayAllFrames("2024-03-05", 0), 8);
}

void TestVideoReader::aDayLoadedAgainIsReplaced()
{
    DataHandlerDouble::state().days["2024-03-05"] = {{"/x.desktop", 3}};
    m_reader->getDayAppInfo("2024-03-05");
    DataHandlerDouble::state().days["2024-03-05"] = {{"/x.desktop", 5}};
    m_reader->getDayAppInfo("2024-03-05");
    QCOMPARE(m_reader->getDayAllFrames("2024-03-05", 0), 40);
    QCOMPARE(m_reader->getImageDateIndex("2024-03-05"), 0);
}

void TestVideoReader::theDateIndexIsThePlaceAmongTheLoadedDays()
{
    m_reader->saveAppInfo("2024-03-05", runsOfLengths({8}));
    QCOMPARE(m_reader->getImageDateIndex("2024-03-05"), 0);
    m_reader->saveAppInfo("2024-02-05", runsOfLengths({8}));
    QCOMPARE(m_reader->getImageDateIndex("2024-03-05"), 1); // shifted by the older day
    m_reader->saveAppInfo("2024-03-06", runsOfLengths({8}));
    QCOMPARE(m_reader->getImageDateIndex("2024-02-05"), 0);
    QCOMPARE(m_reader->getImageDateIndex("2024-03-06"), 2);
    QCOMPARE(m_reader->getImageDateIndex("2024-03-07"), -1);
}

void TestVideoReader::todayGrowsByOneFrameACall()
{
    m_reader->saveAppInfo("2024-03-15", runsOfLengths({16, 8}));
    QSignalSpy grown(m_reader.get(), &VideoReader::updateAppLength);
    m_reader->updateFrameNumberOfDay(4);
    QCOMPARE(grown.takeFirst().first().toInt(), 16);
    m_reader->updateFrameNumberOfDay(1000);
    QCOMPARE(grown.takeFirst().first().toInt(), 24); // one more, not a thousand
    m_reader->updateFrameNumberOfDay(6);
    QCOMPARE(grown.takeFirst().first().toInt(), 32);
    QCOMPARE(m_reader->getDayAllFrames("2024-03-15", 0), 48);
}

void TestVideoReader::aKnownFrameChangesNothing_data()
{
    QTest::addColumn<uint>("frameNumber");
    QTest::newRow("as many as known") << 3U;
    QTest::newRow("numbering began anew") << 1U;
    QTest::newRow("none") << 0U;
}

void TestVideoReader::aKnownFrameChangesNothing()
{
    QFETCH(uint, frameNumber);
    m_reader->saveAppInfo("2024-03-15", runsOfLengths({16, 8}));
    const LogCapture log;
    const QSignalSpy grown(m_reader.get(), &VideoReader::updateAppLength);
    m_reader->updateFrameNumberOfDay(frameNumber);
    QCOMPARE(grown.count(), 0);
    QCOMPARE(m_reader->getDayAllFrames("2024-03-15", 0), 24);
    QCOMPARE(log.texts(), QStringList());
}

void TestVideoReader::theLastDayGrowsWhateverItsName()
{
    m_reader->saveAppInfo("2024-03-15", runsOfLengths({8}));
    m_reader->saveAppInfo("2024-03-20", runsOfLengths({8}));
    m_reader->updateFrameNumberOfDay(0xffffffffU);
    QCOMPARE(m_reader->getDayAllFrames("2024-03-15", 0), 8);
    QCOMPARE(m_reader->getDayAllFrames("2024-03-20", 0), 16);
}

void TestVideoReader::growthWithoutADayIsAWarning_data()
{
    QTest::addColumn<bool>("hasEmptyDay");
    QTest::newRow("no day") << false;
    QTest::newRow("a last day without runs") << true;
}

void TestVideoReader::growthWithoutADayIsAWarning()
{
    QFETCH(bool, hasEmptyDay);
    if (hasEmptyDay) {
        m_reader->saveAppInfo("2024-03-14", runsOfLengths({8}));
        m_reader->saveAppInfo("2024-03-15", {});
    }
    const LogCapture log;
    const QSignalSpy grown(m_reader.get(), &VideoReader::updateAppLength);
    m_reader->updateFrameNumberOfDay(9);
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList{"Update frame number of day failed: the map is empty!"});
    QCOMPARE(grown.count(), 0);
}

void TestVideoReader::anotherApplicationIsARunOfOneFrame()
{
    m_reader->saveAppInfo("2024-03-15", runsOfLengths({16}));
    QSignalSpy added(m_reader.get(), &VideoReader::addAppItem);
    const QSignalSpy newDay(m_reader.get(), &VideoReader::addDayAppItem);
    m_reader->addNewAppData(file("Name[zh_CN]=文件\nIcon=kept-icon\n"));
    QCOMPARE(added.count(), 1);
    QCOMPARE(newDay.count(), 0);
    const auto run = added.first().first().value<AppItemInfo>();
    QCOMPARE(run.appName, QString("文件"));
    QCOMPARE(run.appIcon, QString("kept-icon"));
    QCOMPARE(run.timeLength, 8);
    QCOMPARE(m_reader->getDayAllFrames("2024-03-15", 0), 24);
}

void TestVideoReader::theFirstApplicationOfADayIsANewDay()
{
    m_reader->saveAppInfo("2024-03-14", runsOfLengths({16}));
    const QSignalSpy added(m_reader.get(), &VideoReader::addAppItem);
    QSignalSpy newDay(m_reader.get(), &VideoReader::addDayAppItem);
    m_reader->addNewAppData("/no/such.desktop");
    QCOMPARE(added.count(), 0);
    QCOMPARE(newDay.count(), 1);
    QCOMPARE(newDay.first().first().value<AppItemInfo>().timeLength, 8);
    QCOMPARE(m_reader->getImageDateIndex("2024-03-15"), 1);
    QCOMPARE(m_reader->getDayAllFrames("2024-03-14", 0), 16);
}

void TestVideoReader::neighbouringRunsOfOneApplicationStayTwo()
{
    const QString app = file("Name=A\n");
    m_reader->addNewAppData(app);
    m_reader->addNewAppData(app);
    QCOMPARE(m_reader->getImageFrameInDay(0, 1, 0), 8);
    QCOMPARE(m_reader->getLengthByDayFrameNumber("2024-03-15", 2), 20);
}

void TestVideoReader::newRunsTravelInQueuedSignals()
{
    AppItemInfo received;
    connect(
        m_reader.get(), &VideoReader::addDayAppItem, this,
        [&received](const AppItemInfo &run) { received = run; }, Qt::QueuedConnection);
    m_reader->addNewAppData(file("Name=A\n"));
    QCOMPARE(received.appName, QString());
    QTRY_COMPARE_WITH_TIMEOUT(received.appName, QString("A"), 10000);
    QVERIFY(QMetaType::type("AppItemInfo") != QMetaType::UnknownType);
}

void TestVideoReader::barsBeforeAPlaceAddUp_data()
{
    QTest::addColumn<int>("appIndex");
    QTest::addColumn<int>("frame");
    QTest::addColumn<int>("pixel");
    QTest::newRow("the first bar") << 0 << 5 << 5;
    QTest::newRow("the second bar") << 1 << 5 << 21;
    QTest::newRow("behind the last bar") << 3 << 0 << 56;
    QTest::newRow("far behind the last bar") << 9 << 1 << 57;
    QTest::newRow("before the first bar") << -1 << 1 << 1;
}

void TestVideoReader::barsBeforeAPlaceAddUp()
{
    QFETCH(int, appIndex);
    QFETCH(int, frame);
    m_reader->saveAppInfo("2024-03-05", runsOfLengths({16, 8, 32}));
    QTEST(m_reader->getImageFrameInDay(0, appIndex, frame), "pixel");
}

void TestVideoReader::aPlaceOutsideTheLoadedDaysIsAWarning_data()
{
    QTest::addColumn<int>("dateIndex");
    QTest::newRow("before the first") << -1;
    QTest::newRow("behind the last") << 1;
}

void TestVideoReader::aPlaceOutsideTheLoadedDaysIsAWarning()
{
    QFETCH(int, dateIndex);
    m_reader->saveAppInfo("2024-03-05", runsOfLengths({16}));
    const LogCapture log;
    const int result = m_reader->getImageFrameInDay(dateIndex, 0, 5);
    QCOMPARE(result, -1);
    QCOMPARE(static_cast<unsigned int>(result), 0xffffffffU);
    QCOMPARE(log.texts(QtWarningMsg), QStringList{invalidIndexText});
    QCOMPARE(log.texts().size(), 1);
}

void TestVideoReader::aShareOfABarAndAllAfterIt_data()
{
    QTest::addColumn<int>("appIndex");
    QTest::addColumn<float>("ratio");
    QTest::addColumn<int>("pixels");
    QTest::newRow("half of the first") << 0 << 0.5F << 8 + 8 + 32;
    QTest::newRow("the bars before add nothing") << 2 << 1.0F << 32;
    QTest::newRow("cut off, not rounded") << 2 << 0.99F << 31;
    QTest::newRow("none of the second") << 1 << 0.0F << 32;
    QTest::newRow("before the first: all") << -1 << 1.0F << 56;
    QTest::newRow("behind the last: none") << 3 << 1.0F << 0;
}

void TestVideoReader::aShareOfABarAndAllAfterIt()
{
    QFETCH(int, appIndex);
    QFETCH(float, ratio);
    m_reader->saveAppInfo("2024-03-05", runsOfLengths({16, 8, 32}));
    m_reader->saveAppInfo("2024-03-06", {});
    QTEST(m_reader->getFrameNumberOfDate("2024-03-05", appIndex, ratio), "pixels");
    QCOMPARE(m_reader->getFrameNumberOfDate("2024-03-06", appIndex, ratio), 0);
    QCOMPARE(m_reader->getFrameNumberOfDate("2024-03-07", appIndex, ratio), 0);
}

void TestVideoReader::allBarsOfADay()
{
    m_reader->saveAppInfo("2024-03-05", runsOfLengths({16, 8, 32}));
    for (const int ignored : {-1, 0, 7}) {
        QCOMPARE(m_reader->getDayAllFrames("2024-03-05", ignored), 56);
    }
    QCOMPARE(m_reader->getDayAllFrames("2024-03-06", 0), 0);
}

void TestVideoReader::clearingForgetsTheDaysWhateverTheRange_data()
{
    QTest::addColumn<int>("range");
    for (const int range : {0, 1, 2, 3, 4}) {
        QTest::addRow("%d", range) << range;
    }
}

void TestVideoReader::clearingForgetsTheDaysWhateverTheRange()
{
    QFETCH(int, range);
    m_reader->saveAppInfo("2023-03-05", runsOfLengths({8}));
    QList<int> deleted;
    bool wasForgotten = false;
    DataHandlerDouble::state().deleteUserData = [&](TimeRange asked) {
        deleted.append(asked);
        wasForgotten = m_reader->getImageDateIndex("2023-03-05") == -1;
        return true;
    };
    QVERIFY(m_reader->clearUserData(range));
    QCOMPARE(deleted, QList<int>{range});
    QVERIFY(wasForgotten);
}

void TestVideoReader::aRangeAboveTheLastChangesNothing()
{
    m_reader->saveAppInfo("2024-03-05", runsOfLengths({8}));
    DataHandlerDouble::state().deleteUserData = [](TimeRange) {
        qFatal("nothing may be deleted");
        return true;
    };
    QVERIFY(!m_reader->clearUserData(5));
    QCOMPARE(m_reader->getImageDateIndex("2024-03-05"), 0);
}

void TestVideoReader::clearingTellsWhetherTheDeletionSucceeded()
{
    m_reader->saveAppInfo("2024-03-05", runsOfLengths({8}));
    DataHandlerDouble::state().deleteUserData = [](TimeRange) { return false; };
    QVERIFY(!m_reader->clearUserData(4));
    QCOMPARE(m_reader->getImageDateIndex("2024-03-05"), -1);
}

void TestVideoReader::clearingKeepsThePicturesOnShow()
{
    DataHandlerDouble::state().draw = [](const DataHandlerDouble::FrameRequest &) {
        return QImage(4, 4, QImage::Format_RGB32);
    };
    m_reader->saveAppInfo("2024-03-05", runsOfLengths({8}));
    const VideoPreviewImageItem shown = m_reader->getCurShowImageSource(0, 4, 1);
    m_reader->getVideoPreviewImgItem(0, 4, 1);
    m_reader->clearUserData(4);
    QVERIFY(!m_reader->getCurShowImage().isNull());
    QVERIFY(!m_reader->getPreviewImage().isNull());
    QCOMPARE(m_reader->getCurShowImageSource(0, -1, 2).videoPreviewImageSource,
             shown.videoPreviewImageSource);
}

QTEST_MAIN(TestVideoReader)
#include "videoreadertest.moc"
