// The days on the axis: which are loaded when, how today grows, and how they go before a deletion.

#include "models/appitem.h"
#include "models/appmodel.h"
#include "rowspy.h"
#include "support/logcapture.h"
#include "videoinfofixture.h"

#include <QAbstractItemModelTester>
#include <QGuiApplication>
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
} // namespace

Q_DECLARE_METATYPE(QList<int>)

// In the place of Qt's own: the only screen can be unplugged.
QScreen *QGuiApplication::primaryScreen()
{
    return isScreenGone ? nullptr : screens().value(0);
}

class LoadedDaysTest : public VideoInfoFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

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

    void todaysLastRunGrows();
    void anotherApplicationIsAFurtherRunOfToday();
    void aNewDayIsAppended();
    void growthOfADayThatIsNotLoadedIsTold();

    void theAxisEmptiesBeforeTheDeletion_data();
    void theAxisEmptiesBeforeTheDeletion();
    void aRangeAboveTheLastEmptiesTheAxisAllTheSame();
    void afterClearingACaptureArrivesAsANewDay();
};

void LoadedDaysTest::initTestCase()
{
    QVERIFY(screenWidth() % 8 == 0);
}

void LoadedDaysTest::cleanup()
{
    VideoInfoFixture::cleanup();
    isScreenGone = false;
}

void LoadedDaysTest::aFirstStartHasNoDaysAndLoadsNone()
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

void LoadedDaysTest::aStartLoadsTheNewestDaysBeforeAnySignal()
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

void LoadedDaysTest::daysAreLoadedUntilTheyAreWiderThanTwoScreens_data()
{
    QTest::addColumn<QList<int>>("missing"); // frames, on each day before the first: of a screenful
    QTest::addColumn<int>("loaded");
    QTest::newRow("exactly two screens are not wider") << QList<int>{0, 0, 0, 0} << 3;
    QTest::newRow("one frame more is") << QList<int>{-1, 0, 0, 0} << 2;
    QTest::newRow("one frame less is not") << QList<int>{1, 0, 0, 0} << 3;
    QTest::newRow("gaps between days do not count") << QList<int>{0, 1, 0, 0} << 3;
}

void LoadedDaysTest::daysAreLoadedUntilTheyAreWiderThanTwoScreens()
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

void LoadedDaysTest::olderDaysAreLoadedCallByCallUpToTheFirst()
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

void LoadedDaysTest::aDayWithoutFramesIsAWarningAndNoRow()
{
    state().days["2023-03-11"] = screenfull();
    state().days["2023-03-15"] = screenfull();
    const LogCapture log;
    m_facade = std::make_unique<Facade>();
    QCOMPARE(datesOf(days()), QStringList({"2023/03/11", "2023/03/15"}));
    QCOMPARE(log.texts(QtWarningMsg), QStringList({noRunsText, noRunsText, noRunsText}));
}

void LoadedDaysTest::loadingOlderDaysTellsByRowsAlone()
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

void LoadedDaysTest::foldersThatAreNoDaysEndTheLoading_data()
{
    QTest::addColumn<QStringList>("days");
    QTest::newRow("the first") << QStringList{"backup", "2023-03-15"};
    QTest::newRow("the last") << QStringList{"2023-03-15", "old"};
    QTest::newRow("the first is of no calendar") << QStringList{"2023-02-30", "2023-03-15"};
    QTest::newRow("the last before the first") << QStringList{"2023-03-15", "2023-03-14"};
    QTest::newRow("only the first is there") << QStringList{"2023-03-15"};
}

void LoadedDaysTest::foldersThatAreNoDaysEndTheLoading()
{
    QFETCH(QStringList, days);
    state().firstAndLastDay = [&days] { return days; };
    m_facade = std::make_unique<Facade>();
    QCOMPARE(state().askedDays, QStringList());
}

void LoadedDaysTest::aDayThatBeginsLaterIsNotLoadedBackwards()
{
    state().days["2024-03-14"] = {{"/a.desktop", 1}};
    m_facade = std::make_unique<Facade>();
    state().days["2024-03-15"] = {{"/a.desktop", 1}};
    state().askedDays.clear();
    m_facade->info.showPreDayAppData();
    QCOMPARE(state().askedDays, QStringList());
    QCOMPARE(state().askedForFirstAndLast, 4); // once, at the start
}

void LoadedDaysTest::fourHundredDaysAreLoadedWithoutAFrame()
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

void LoadedDaysTest::withoutAScreenDaysAreLoadedOneByOne()
{
    state().days["2023-03-13"] = {{"/a.desktop", 1}};
    state().days["2023-03-15"] = {{"/a.desktop", 1}};
    isScreenGone = true;
    m_facade = std::make_unique<Facade>();
    QCOMPARE(datesOf(days()), QStringList{"2023/03/15"});
    m_facade->info.showPreDayAppData();
    QCOMPARE(datesOf(days()), QStringList({"2023/03/13", "2023/03/15"}));
}

void LoadedDaysTest::todaysLastRunGrows()
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

void LoadedDaysTest::anotherApplicationIsAFurtherRunOfToday()
{
    state().days["2024-03-15"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    const QSignalSpy told(&m_facade->info, &VideoInfo::dayAppModelChanged);
    m_facade->reader.addNewAppData("/b.desktop");
    QCOMPARE(told.count(), 1);
    QCOMPARE(days()->rowCount(), 1);
    QCOMPARE(lengthsOf(days(), 0), QList<int>({16, 8}));
}

void LoadedDaysTest::aNewDayIsAppended()
{
    state().days["2024-03-14"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    const QSignalSpy told(&m_facade->info, &VideoInfo::dayAppModelChanged);
    m_facade->reader.addNewAppData("/b.desktop");
    QCOMPARE(told.count(), 1);
    QCOMPARE(datesOf(days()), QStringList({"1 day ago", "today"}));
    QCOMPARE(lengthsOf(days(), 1), QList<int>{8});
}

void LoadedDaysTest::growthOfADayThatIsNotLoadedIsTold()
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

void LoadedDaysTest::theAxisEmptiesBeforeTheDeletion_data()
{
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("deleted") << true;
    QTest::newRow("not deleted") << false;
}

void LoadedDaysTest::theAxisEmptiesBeforeTheDeletion()
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

void LoadedDaysTest::aRangeAboveTheLastEmptiesTheAxisAllTheSame()
{
    state().days["2024-03-15"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    QVERIFY(!m_facade->info.clearUserData(5));
    QCOMPARE(days()->rowCount(), 0);
    QCOMPARE(m_facade->reader.getImageDateIndex("2024-03-15"), 0);
}

void LoadedDaysTest::afterClearingACaptureArrivesAsANewDay()
{
    state().days["2024-03-15"] = {{"/a.desktop", 2}};
    m_facade = std::make_unique<Facade>();
    m_facade->info.clearUserData(4);
    m_facade->reader.addNewAppData("/a.desktop");
    QCOMPARE(datesOf(days()), QStringList{"today"});
    QCOMPARE(lengthsOf(days(), 0), QList<int>{8});
}

QTEST_MAIN(LoadedDaysTest)
#include "loadeddaystest.moc"
