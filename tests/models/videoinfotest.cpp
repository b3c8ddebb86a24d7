// The pages' way in: which days are loaded when, what reaches the item on show and in which order,
// how today grows, and the settings that pages edit.

#include "facade.h"
#include "models/appitem.h"
#include "models/appmodel.h"
#include "models/datetimeformatter.h"
#include "rowspy.h"

#include "../app/settingsspy.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QGSettings>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QMimeData>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlExpression>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

using DataHandlerDouble::state;

namespace
{
bool isScreenGone = false;

constexpr char noRunsText[] = "Invalid input parameters: date or appItemList is empty";

int screenWidth()
{
    return QGuiApplication::primaryScreen()->geometry().width();
}

// As many frames as the screen is wide, in one run.
QList<ActiveAppInfo> screenfull()
{
    return {{"/a.desktop", static_cast<quint32>(screenWidth() / 8)}};
}

QStringList datesOf(const QAbstractItemModel *days)
{
    QStringList dates;
    for (int row = 0; row < days->rowCount(); ++row) {
        dates.append(days->data(days->index(row, 0), 257).toString());
    }
    return dates;
}

// Lengths of the runs of a row.
QList<int> lengthsOf(const QAbstractItemModel *days, int row)
{
    QList<int> lengths;
    const auto *runs = days->data(days->index(row, 0), 258).value<AppModel *>();
    for (int run = 0; run < runs->rowCount(); ++run) {
        lengths.append(runs->data(runs->index(run), 257).value<AppItem *>()->timeLength());
    }
    return lengths;
}

// Names of the signals that an object gives, in order.
class SignalOrder : public QObject
{
    Q_OBJECT

public:
    explicit SignalOrder(QObject *sender)
    {
        const QMetaMethod note = staticMetaObject.method(staticMetaObject.indexOfSlot("note()"));
        for (int index = QObject::staticMetaObject.methodCount();
             index < sender->metaObject()->methodCount(); ++index) {
            const QMetaMethod method = sender->metaObject()->method(index);
            if (method.methodType() == QMetaMethod::Signal) {
                connect(sender, method, this, note);
            }
        }
    }

    QStringList take() { return std::exchange(m_names, {}); }

public Q_SLOTS:
    void note() { m_names.append(sender()->metaObject()->method(senderSignalIndex()).name()); }

private:
    QStringList m_names;
};

VideoPreviewImageItem hit(const QString &name)
{
    return {name, "2024/03/15", "13:00:00", "icon", name, 4, 0};
}
} // namespace

Q_DECLARE_METATYPE(QList<int>)

// In the place of Qt's own: the only screen can be unplugged.
QScreen *QGuiApplication::primaryScreen()
{
    return isScreenGone ? nullptr : screens().value(0);
}

class TestVideoInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void thePagesFindEverySignalAndCall();
    void aFirstStartHasNoDaysAndLoadsNone();
    void aStartLoadsTheNewestDaysBeforeAnySignal();
    void daysAreLoadedUntilTheyAreWiderThanTwoScreens_data();
    void daysAreLoadedUntilTheyAreWiderThanTwoScreens();
    void olderDaysAreLoadedCallByCallUpToTheFirst();
    void aDayWithoutFramesIsAWarningAndNoRow();
    void loadingOlderDaysTellsByRowsAlone();
    void foldersThatAreNoDaysEndTheLoading_data();
    void foldersThatAreNoDaysEndTheLoading();
    void aDayThatBeginsLaterIsNotLoadedBackwards();
    void fourHundredDaysAreLoadedWithoutAFrame();
    void withoutAScreenDaysAreLoadedOneByOne();

    void aPreviewReachesTheItemInOrder_data();
    void aPreviewReachesTheItemInOrder();
    void theLargePictureReachesTheItemInOrder();
    void aGapEmptiesThePreviewAndKeepsTheLargePicture();

    void todaysLastRunGrows();
    void anotherApplicationIsAFurtherRunOfToday();
    void aNewDayIsAppended();
    void growthOfADayThatIsNotLoadedIsTold();

    void newHoursAreToldByAllThatShowsATime();
    void hitsAreSetAndCleared();
    void linesOfTextAreSetAndCleared();

    void theAxisEmptiesBeforeTheDeletion_data();
    void theAxisEmptiesBeforeTheDeletion();
    void aRangeAboveTheLastEmptiesTheAxisAllTheSame();
    void afterClearingACaptureArrivesAsANewDay();

    void startingRecordsThenEnablesThenTells();
    void theStartButtonShowsUntilEnabled();
    void theCeilingIsThatOfTheSettings();
    void deletingHistoryOnlyAsksForIt();
    void textsGoToTheClipboard_data();
    void textsGoToTheClipboard();
    void noTextsLeaveTheClipboard();
    void aPagesSparseListGoesToTheClipboard();

private:
    QAbstractListModel *days() const { return m_facade->info.dayAppModel(); }

    std::unique_ptr<Facade> m_facade;
};

void TestVideoInfo::initTestCase()
{
    QVERIFY(screenWidth() % 8 == 0);
}

void TestVideoInfo::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    DataHandlerDouble::reset();
    QGSettings("com.tavel.yestermark").reset("enabled");
    QGSettings("com.tavel.yestermark").reset("recordingMemory");
    QGSettings("org.vesk.control-center.panel.plugins").reset("hoursystem");
}

void TestVideoInfo::cleanup()
{
    m_facade.reset();
    isScreenGone = false;
    FakeClock::reset();
}

void TestVideoInfo::thePagesFindEverySignalAndCall()
{
    QStringList signalNames;
    QStringList calls;
    const QMetaObject &meta = VideoInfo::staticMetaObject;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        const QMetaMethod method = meta.method(index);
        if (method.access() == QMetaMethod::Private) {
            continue; // what its own threads call
        }
        QStringList &names = method.methodType() == QMetaMethod::Signal ? signalNames : calls;
        names.append(QString(method.typeName()) + ' ' + method.methodSignature());
    }
    QCOMPARE(
        signalNames,
        QStringList({"void textMatchResultModelChanged()", "void imageMatchResultModelChanged()",
                     "void imageSearchResultIsEmpty()", "void textSearchResultIsEmpty()",
                     "void videoPreviewImageSourceChanged()", "void startMemoryScreen()",
                     "void screenshotOCRTextDataReady()", "void dayAppModelChanged()",
                     "void maxOccupiedSpaceChanged(int)", "void quitYestermark()",
                     "void themeChanged()", "void backInTimeDetected()",
                     "void deleteHistoryAndReMemory()", "void calledAdjustSystemTime()"}));
    QCOMPARE(calls, QStringList(
                        {"void showPreDayAppData()",
                         "void showPreviewImageItem(int,int,int,int)",
                         "void showPreviewImageItem(int,int,int)",
                         "void showCurShowImageItem(int,int,int)",
                         "void continueShowTextSearchResult(QString)",
                         "void continueShowImageSearchResult(QString)",
                         "void showTextSearchResult(QString)",
                         "void showImageSearchResult(QString)",
                         "void clearSearchTaskAndResult()",
                         "void clearSearchTask()",
                         "void recognizingTextInImage(int,QString,float,float,float,float,QString)",
                         "void cancelRecognizeTextInImage(QString)",
                         "void clearRecognizingTextResult()",
                         "bool clearUserData(int)",
                         "void startMemory()",
                         "bool isPreviewImgEmpty()",
                         "void setClipBoardText(QList<QString>)",
                         "bool startBtnVisible()",
                         "int getMaxOccupiedSpace()",
                         "void setMaxOccupiedSpace(int)",
                         "void showGuide()",
                         "QString getYestermarkVersion()",
                         "int getThemeType()",
                         "void deleteHistory()",
                         "void adjustSystemTime()",
                         "bool isSubsystemAvailable()",
                         "void openSubsystemInstallPage()"}));
    for (const char *name : {"textMatchResultModel", "imageMatchResultModel", "dayAppModel"}) {
        const QMetaProperty property = meta.property(meta.indexOfProperty(name));
        QCOMPARE(property.typeName(), "QAbstractListModel*");
        QVERIFY(!property.isWritable());
        QCOMPARE(property.notifySignal().name(), QByteArray(name) + "Changed");
    }
    const QMetaProperty lines = meta.property(meta.indexOfProperty("imageTextModel"));
    QCOMPARE(lines.typeName(), "QAbstractListModel*");
    QVERIFY(lines.isConstant() && !lines.isWritable());
}

void TestVideoInfo::aFirstStartHasNoDaysAndLoadsNone()
{
    const LogCapture log;
    m_facade = std::make_unique<Facade>();
    m_facade->info.showPreDayAppData();
    QCOMPARE(days()->rowCount(), 0);
    QCOMPARE(state().askedDays, QStringList());
    QCOMPARE(log.texts(QtWarningMsg), QStringList());
    m_facade->reader.addNewAppData("/a.desktop"); // the first frame
    QCOMPARE(datesOf(days()), QStringList{"today"});
}

void TestVideoInfo::aStartLoadsTheNewestDaysBeforeAnySignal()
{
    state().days["2023-03-14"] = {{"/a.desktop", 2}};
    state().days["2023-03-15"] = {{"/a.desktop", 1}, {"/b.desktop", 3}};
    m_facade = std::make_unique<Facade>();
    QCOMPARE(datesOf(days()), QStringList({"2023/03/14", "2023/03/15"}));
    QCOMPARE(lengthsOf(days(), 0), QList<int>{16});
    QCOMPARE(lengthsOf(days(), 1), QList<int>({8, 24}));
    QCOMPARE(state().askedDays, QStringList({"2023-03-15", "2023-03-14"}));
    QCOMPARE(m_facade->reader.getImageDateIndex("2023-03-15"), 1); // a row is a date index
}

void TestVideoInfo::daysAreLoadedUntilTheyAreWiderThanTwoScreens_data()
{
    QTest::addColumn<QList<int>>("missing"); // frames, on each day before the first: of a screenful
    QTest::addColumn<int>("loaded");
    QTest::newRow("exactly two screens are not wider") << QList<int>{0, 0, 0, 0} << 3;
    QTest::newRow("one frame more is") << QList<int>{-1, 0, 0, 0} << 2;
    QTest::newRow("one frame less is not") << QList<int>{1, 0, 0, 0} << 3;
    QTest::newRow("gaps between days do not count") << QList<int>{0, 1, 0, 0} << 3;
}

void TestVideoInfo::daysAreLoadedUntilTheyAreWiderThanTwoScreens()
{
    QFETCH(QList<int>, missing);
    QDate day(2023, 3, 15);
    for (const int frames : missing) {
        state().days[day.toString("yyyy-MM-dd")] = {
            {"/a.desktop", static_cast<quint32>(screenWidth() / 8 - frames)}};
        day = day.addDays(-1);
    }
    m_facade = std::make_unique<Facade>();
    QTEST(days()->rowCount(), "loaded");
}

void TestVideoInfo::olderDaysAreLoadedCallByCallUpToTheFirst()
{
    for (QDate day(2023, 3, 8); day <= QDate(2023, 3, 15); day = day.addDays(1)) {
        state().days[day.toString("yyyy-MM-dd")] = screenfull();
    }
    m_facade = std::make_unique<Facade>();
    const QAbstractItemModelTester tester(days(),
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(state().askedDays, QStringList({"2023-03-15", "2023-03-14", "2023-03-13"}));
    state().askedDays.clear();
    m_facade->info.showPreDayAppData();
    QCOMPARE(state().askedDays, QStringList({"2023-03-12", "2023-03-11", "2023-03-10"}));
    state().askedDays.clear();
    m_facade->info.showPreDayAppData();
    QCOMPARE(state().askedDays, QStringList({"2023-03-09", "2023-03-08"}));
    state().askedDays.clear();
    m_facade->info.showPreDayAppData();
    QCOMPARE(state().askedDays, QStringList());
    QCOMPARE(datesOf(days()),
             QStringList({"2023/03/08", "2023/03/09", "2023/03/10", "2023/03/11", "2023/03/12",
                          "2023/03/13", "2023/03/14", "2023/03/15"}));
    QCOMPARE(state().askedFrames.size(), 0);
}

void TestVideoInfo::aDayWithoutFramesIsAWarningAndNoRow()
{
    state().days["2023-03-11"] = screenfull();
    state().days["2023-03-15"] = screenfull();
    const LogCapture log;
    m_facade = std::make_unique<Facade>();
    QCOMPARE(datesOf(days()), QStringList({"2023/03/11", "2023/03/15"}));
    QCOMPARE(log.texts(QtWarningMsg), QStringList({noRunsText, noRunsText, noRunsText}));
}

void TestVideoInfo::loadingOlderDaysTellsByRowsAlone()
{
    for (QDate day(2023, 3, 12); day <= QDate(2023, 3, 15); day = day.addDays(1)) {
        state().days[day.toString("yyyy-MM-dd")] = screenfull();
    }
    m_facade = std::make_unique<Facade>();
    const QSignalSpy told(&m_facade->info, &VideoInfo::dayAppModelChanged);
    RowSpy rows(*days());
    m_facade->info.showPreDayAppData();
    QCOMPARE(told.count(), 0);
    QCOMPARE(rows.take(), QStringList({"insert 0-0", "inserted 0-0", "changed 0-3"}));
}

void TestVideoInfo::foldersThatAreNoDaysEndTheLoading_data()
{
    QTest::addColumn<QStringList>("days");
    QTest::newRow("the first") << QStringList{"backup", "2023-03-15"};
    QTest::newRow("the last") << QStringList{"2023-03-15", "old"};
    QTest::newRow("the first is of no calendar") << QStringList{"2023-02-30", "2023-03-15"};
    QTest::newRow("the last before the first") << QStringList{"2023-03-15", "2023-03-14"};
    QTest::newRow("only the first is there") << QStringList{"2023-03-15"};
}

void TestVideoInfo::foldersThatAreNoDaysEndTheLoading()
{
    QFETCH(QStringList, days);
    state().firstAndLastDay = [&days] { return days; };
    m_facade = std::make_unique<Facade>();
    QCOMPARE(state().askedDays, QStringList());
}

void TestVideoInfo::aDayThatBeginsLaterIsNotLoadedBackwards()
{
    state().days["2024-03-14"] = {{"/a.desktop", 1}};
    m_facade = std::make_unique<Facade>();
    state().days["2024-03-15"] = {{"/a.desktop", 1}};
    state().askedDays.clear();
    m_facade->info.showPreDayAppData();
    QCOMPARE(state().askedDays, QStringList());
    QCOMPARE(state().askedForFirstAndLast, 4); // once, at the start
}

void TestVideoInfo::fourHundredDaysAreLoadedWithoutAFrame()
{
    const QDate last(2023, 12, 31);
    for (int age = 0; age < 400; ++age) {
        QList<ActiveAppInfo> runs;
        for (int run = 0; run < 200; ++run) {
            runs.append({run % 2 == 0 ? "/a.desktop" : "/b.desktop", 2});
        }
        state().days[last.addDays(-age).toString("yyyy-MM-dd")] = runs;
    }
    m_facade = std::make_unique<Facade>();
    const QAbstractItemModelTester tester(days(),
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    int calls = 0;
    while (days()->rowCount() < 400) {
        const int before = days()->rowCount();
        m_facade->info.showPreDayAppData();
        QVERIFY(days()->rowCount() > before);
        ++calls;
    }
    QCOMPARE(state().askedDays.size(), 400); // each once
    QCOMPARE(state().askedFrames.size(), 0);
    QCOMPARE(calls, 399); // each day is wider than two screens
    QCOMPARE(datesOf(days()).first(), QString("2022/11/27"));
    QCOMPARE(m_facade->reader.getImageDateIndex("2022-11-27"), 0);
    QCOMPARE(m_facade->reader.getImageDateIndex("2023-12-31"), 399);
}

void TestVideoInfo::withoutAScreenDaysAreLoadedOneByOne()
{
    state().days["2023-03-13"] = {{"/a.desktop", 1}};
    state().days["2023-03-15"] = {{"/a.desktop", 1}};
    isScreenGone = true;
    m_facade = std::make_unique<Facade>();
    QCOMPARE(datesOf(days()), QStringList{"2023/03/15"});
    m_facade->info.showPreDayAppData();
    QCOMPARE(datesOf(days()), QStringList({"2023/03/13", "2023/03/15"}));
}

void TestVideoInfo::aPreviewReachesTheItemInOrder_data()
{
    QTest::addColumn<bool>("isOverBar");
    QTest::newRow("over a bar") << true;
    QTest::newRow("over a day") << false;
}

void TestVideoInfo::aPreviewReachesTheItemInOrder()
{
    QFETCH(bool, isOverBar);
    state().days["2023-03-15"] = {{"/a.desktop", 2}, {"/b.desktop", 3}};
    state().firstTime = QDateTime(QDate(2023, 3, 15), QTime(10, 0)).toSecsSinceEpoch();
    m_facade = std::make_unique<Facade>();
    m_facade->shown.setPreviewAppName("former");
    SignalOrder order(&m_facade->shown);
    isOverBar ? m_facade->info.showPreviewImageItem(0, 1, 9, 42)
              : m_facade->info.showPreviewImageItem(0, 33, 42);
    QCOMPARE(order.take(), QStringList({"previewImageDateChanged", "previewImageTimeChanged",
                                        "videoPreviewImageSourceChanged", "previewAppNameChanged",
                                        "previewAppIconChanged"}));
    QCOMPARE(state().askedFrames.last().frame, 4U);
    QCOMPARE(m_facade->shown.videoPreviewImageSource(), QString("videoImageProvider/previewImg42"));
    QCOMPARE(m_facade->shown.previewImageDate(), QString("2023/03/15"));
    QCOMPARE(m_facade->shown.previewImageTime(), QString("10:00:04"));
    QCOMPARE(m_facade->shown.previewAppName(), QString());
    QCOMPARE(m_facade->shown.previewAppIcon(), QString("application-x-desktop"));
    QCOMPARE(m_facade->shown.curShowImageSource(), QString());
}

void TestVideoInfo::theLargePictureReachesTheItemInOrder()
{
    state().days["2023-03-15"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    m_facade->shown.setCurShowAppName("former");
    SignalOrder order(&m_facade->shown);
    m_facade->info.showCurShowImageItem(0, 9, 7);
    QCOMPARE(order.take(), QStringList({"curShowImageSourceChanged", "curShowAppNameChanged",
                                        "curShowAppIconChanged"}));
    QCOMPARE(m_facade->shown.curShowImageSource(), QString("videoImageProvider/curShowImg7"));
    QCOMPARE(m_facade->shown.curShowAppIcon(), QString("application-x-desktop"));
    QCOMPARE(m_facade->shown.videoPreviewImageSource(), QString());
}

void TestVideoInfo::aGapEmptiesThePreviewAndKeepsTheLargePicture()
{
    state().days["2023-03-15"] = {{"/a.desktop", 2}, {"/b.desktop", 3}};
    state().draw = [](const DataHandlerDouble::FrameRequest &) { return Pictures::numbered(1); };
    m_facade = std::make_unique<Facade>();
    m_facade->info.showPreviewImageItem(0, 4, 1);
    m_facade->info.showCurShowImageItem(0, 4, 1);
    m_facade->info.showPreviewImageItem(0, 20, 2);
    m_facade->info.showCurShowImageItem(0, 20, 2);
    QCOMPARE(m_facade->shown.videoPreviewImageSource(), QString("videoImageProvider/previewImg"));
    QCOMPARE(m_facade->shown.previewAppIcon(), QString());
    QCOMPARE(m_facade->shown.curShowImageSource(), QString("videoImageProvider/curShowImg1"));
    QCOMPARE(m_facade->shown.curShowAppIcon(), QString("application-x-desktop"));
}

void TestVideoInfo::todaysLastRunGrows()
{
    state().days["2024-03-15"] = {{"/a.desktop", 2}, {"/b.desktop", 1}};
    m_facade = std::make_unique<Facade>();
    const QSignalSpy told(&m_facade->info, &VideoInfo::dayAppModelChanged);
    m_facade->reader.updateFrameNumberOfDay(4);
    QCOMPARE(told.count(), 1);
    QCOMPARE(lengthsOf(days(), 0), QList<int>({16, 16}));
    m_facade->reader.updateFrameNumberOfDay(4);
    QCOMPARE(told.count(), 1);
}

void TestVideoInfo::anotherApplicationIsAFurtherRunOfToday()
{
    state().days["2024-03-15"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    const QSignalSpy told(&m_facade->info, &VideoInfo::dayAppModelChanged);
    m_facade->reader.addNewAppData("/b.desktop");
    QCOMPARE(told.count(), 1);
    QCOMPARE(days()->rowCount(), 1);
    QCOMPARE(lengthsOf(days(), 0), QList<int>({16, 8}));
}

void TestVideoInfo::aNewDayIsAppended()
{
    state().days["2024-03-14"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    const QSignalSpy told(&m_facade->info, &VideoInfo::dayAppModelChanged);
    m_facade->reader.addNewAppData("/b.desktop");
    QCOMPARE(told.count(), 1);
    QCOMPARE(datesOf(days()), QStringList({"1 day ago", "today"}));
    QCOMPARE(lengthsOf(days(), 1), QList<int>{8});
}

void TestVideoInfo::growthOfADayThatIsNotLoadedIsTold()
{
    state().days["2024-03-14"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    const QSignalSpy told(&m_facade->info, &VideoInfo::dayAppModelChanged);
    const LogCapture log;
    m_facade->reader.updateFrameNumberOfDay(9); // yesterday is the last day that the reader knows
    QCOMPARE(told.count(), 1);
    QCOMPARE(lengthsOf(days(), 0), QList<int>{16});
    QCOMPARE(log.texts(), QStringList());
}

void TestVideoInfo::newHoursAreToldByAllThatShowsATime()
{
    m_facade = std::make_unique<Facade>();
    m_facade->info.setTextMatchResultModel({hit("a")});
    m_facade->info.setImageMatchResultModel({hit("b")});
    const auto itemOf = [](const QAbstractListModel *hits) {
        return hits->data(hits->index(0), 257).value<VideoPreviewItem *>();
    };
    SignalOrder shown(&m_facade->shown);
    SignalOrder text(itemOf(m_facade->info.textMatchResultModel()));
    SignalOrder image(itemOf(m_facade->info.imageMatchResultModel()));
    QSignalSpy told(DateTimeFormatter::getInstance(), &DateTimeFormatter::hourSystemChanged);
    QGSettings("org.vesk.control-center.panel.plugins").set("hoursystem", "12");
    QTRY_COMPARE_WITH_TIMEOUT(told.count(), 1, 10000);
    QCOMPARE(shown.take(), QStringList({"previewImageDateChanged", "previewImageTimeChanged"}));
    QCOMPARE(text.take(), QStringList{"previewImageTimeChanged"});
    QCOMPARE(image.take(), QStringList{"previewImageTimeChanged"});
    QCOMPARE(itemOf(m_facade->info.textMatchResultModel())->previewImageTime(),
             QString("PM 01:00:00"));
}

void TestVideoInfo::hitsAreSetAndCleared()
{
    m_facade = std::make_unique<Facade>();
    VideoInfo &info = m_facade->info;
    QSignalSpy text(&info, &VideoInfo::textMatchResultModelChanged);
    QSignalSpy image(&info, &VideoInfo::imageMatchResultModelChanged);
    info.setTextMatchResultModel({hit("a"), hit("b")});
    QCOMPARE(QList<int>({text.count(), image.count()}), QList<int>({1, 0}));
    info.setImageMatchResultModel({hit("c")});
    QCOMPARE(QList<int>({text.count(), image.count()}), QList<int>({1, 1}));
    QCOMPARE(info.textMatchResultModel()->rowCount(), 2);
    QCOMPARE(info.imageMatchResultModel()->rowCount(), 1);
    info.clearSearchResult();
    QCOMPARE(QList<int>({text.count(), image.count()}), QList<int>({2, 2}));
    QCOMPARE(info.textMatchResultModel()->rowCount() + info.imageMatchResultModel()->rowCount(), 0);
}

void TestVideoInfo::linesOfTextAreSetAndCleared()
{
    m_facade = std::make_unique<Facade>();
    m_facade->info.setPreviewImageTextModel({{"a", {}}, {"b", {}}});
    QCOMPARE(m_facade->info.imageTextModel()->rowCount(), 2);
    m_facade->info.clearRecognizingTextResult();
    QCOMPARE(m_facade->info.imageTextModel()->rowCount(), 0);
}

void TestVideoInfo::theAxisEmptiesBeforeTheDeletion_data()
{
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("deleted") << true;
    QTest::newRow("not deleted") << false;
}

void TestVideoInfo::theAxisEmptiesBeforeTheDeletion()
{
    QFETCH(bool, succeeds);
    state().days["2024-03-15"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    QStringList order;
    connect(days(), &QAbstractListModel::rowsRemoved, this, [&order] { order.append("rows"); });
    connect(&m_facade->info, &VideoInfo::dayAppModelChanged, this,
            [&order] { order.append("told"); });
    state().deleteUserData = [&](TimeRange range) {
        order.append(QStringLiteral("deleted %1 with %2 days").arg(range).arg(days()->rowCount()));
        return succeeds;
    };
    QCOMPARE(m_facade->info.clearUserData(2), succeeds);
    QCOMPARE(order, QStringList({"rows", "told", "deleted 2 with 0 days"}));
}

void TestVideoInfo::aRangeAboveTheLastEmptiesTheAxisAllTheSame()
{
    state().days["2024-03-15"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    QVERIFY(!m_facade->info.clearUserData(5));
    QCOMPARE(days()->rowCount(), 0);
    QCOMPARE(m_facade->reader.getImageDateIndex("2024-03-15"), 0);
}

void TestVideoInfo::afterClearingACaptureArrivesAsANewDay()
{
    state().days["2024-03-15"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    m_facade->info.clearUserData(4);
    m_facade->reader.addNewAppData("/a.desktop");
    QCOMPARE(datesOf(days()), QStringList{"today"});
    QCOMPARE(lengthsOf(days(), 0), QList<int>{8});
}

void TestVideoInfo::startingRecordsThenEnablesThenTells()
{
    m_facade = std::make_unique<Facade>();
    QStringList writtenBefore;
    connect(&m_facade->info, &VideoInfo::startMemoryScreen, this,
            [&writtenBefore] { writtenBefore = SettingsSpy::writes(); });
    SettingsSpy::clear();
    m_facade->info.startMemory();
    QCOMPARE(writtenBefore, QStringList({"recording-memory", "enabled"}));
    QVERIFY(m_facade->settings.getRecordingMemory() && m_facade->settings.getEnabled());
}

void TestVideoInfo::theStartButtonShowsUntilEnabled()
{
    m_facade = std::make_unique<Facade>();
    QVERIFY(m_facade->info.startBtnVisible());
    m_facade->settings.setEnabled(true);
    QVERIFY(!m_facade->info.startBtnVisible());
}

void TestVideoInfo::theCeilingIsThatOfTheSettings()
{
    m_facade = std::make_unique<Facade>();
    const QSignalSpy told(&m_facade->info, &VideoInfo::maxOccupiedSpaceChanged);
    for (const int gigabytes : {5, 10, 15}) {
        m_facade->info.setMaxOccupiedSpace(gigabytes);
        QCOMPARE(m_facade->settings.getMaxStorageSize(), static_cast<uint>(gigabytes));
        QCOMPARE(m_facade->info.getMaxOccupiedSpace(), gigabytes);
    }
    QCOMPARE(told.count(), 0);
}

void TestVideoInfo::deletingHistoryOnlyAsksForIt()
{
    state().days["2024-03-15"] = {{"/a.desktop", 2}};
    state().deleteUserData = [](TimeRange) {
        qFatal("nothing may be deleted");
        return true;
    };
    m_facade = std::make_unique<Facade>();
    const QSignalSpy asked(&m_facade->info, &VideoInfo::deleteHistoryAndReMemory);
    m_facade->info.deleteHistory();
    QCOMPARE(asked.count(), 1);
    QCOMPARE(days()->rowCount(), 1);
}

void TestVideoInfo::textsGoToTheClipboard_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QString>("clipboard");
    QTest::newRow("one") << QStringList{"a"} << "a\n";
    QTest::newRow("in order") << QStringList{"b", "a", "b"} << "b\na\nb\n";
    QTest::newRow("what a page never filled")
        << QStringList{"a", "undefined", "", "NaN", "b"} << "a\nb\n";
    QTest::newRow("nothing else") << QStringList{"", "NaN"} << "";
    QTest::newRow("words within a text") << QStringList{"undefined NaN"} << "undefined NaN\n";
    QTest::newRow("blanks are text") << QStringList{" ", "a\nb"} << " \na\nb\n";
    QTest::newRow("Chinese") << QStringList{"昨日", "書"} << "昨日\n書\n";
}

void TestVideoInfo::textsGoToTheClipboard()
{
    QFETCH(QStringList, texts);
    m_facade = std::make_unique<Facade>();
    QGuiApplication::clipboard()->setText("former");
    m_facade->info.setClipBoardText(texts);
    QTEST(QGuiApplication::clipboard()->text(QClipboard::Clipboard), "clipboard");
}

void TestVideoInfo::noTextsLeaveTheClipboard()
{
    m_facade = std::make_unique<Facade>();
    QGuiApplication::clipboard()->setText("former");
    m_facade->info.setClipBoardText({});
    QCOMPARE(QGuiApplication::clipboard()->text(), QString("former"));
}

void TestVideoInfo::aPagesSparseListGoesToTheClipboard()
{
    m_facade = std::make_unique<Facade>();
    QQmlEngine engine;
    engine.rootContext()->setContextProperty("VideoInfo", &m_facade->info);
    QQmlExpression page(engine.rootContext(), nullptr,
                        "{ var texts = []; texts[1] = 'b'; texts[4] = 'e'; texts[5] = NaN; "
                        "VideoInfo.setClipBoardText(texts) }");
    page.evaluate();
    QVERIFY2(!page.hasError(), qPrintable(page.error().toString()));
    QCOMPARE(QGuiApplication::clipboard()->text(), QString("b\ne\n"));
}

QTEST_MAIN(TestVideoInfo)
#include "videoinfotest.moc"
