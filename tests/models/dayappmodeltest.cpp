// The two levels of the time axis: rows, their signals, and what refuses a change.

#include "models/dayappmodel.h"
#include "models/appitem.h"
#include "models/appmodel.h"
#include "rowspy.h"

#include "support/fakeclock.h"
#include "support/logcapture.h"

#include <QAbstractItemModelTester>
#include <QIdentityProxyModel>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

namespace
{
constexpr int dateRole = 257;
constexpr int appModelRole = 258;

// The model tester refuses an item as the value of a role of texts, and a list of runs has the item
// for every role: it sees the rows alone.
class RowsAlone : public QIdentityProxyModel
{
public:
    explicit RowsAlone(AppModel *runs) { setSourceModel(runs); }
    QVariant data(const QModelIndex &index, int role) const override
    {
        return role == 257 ? QIdentityProxyModel::data(index, role) : QVariant();
    }
};

AppItemInfo run(const QString &name, int length)
{
    return {name, name + "-icon", length};
}

AppModel *appModelOf(const DayAppModel &days, int row)
{
    return days.data(days.index(row), appModelRole).value<AppModel *>();
}

AppItem *itemOf(const AppModel &runs, int row)
{
    return runs.data(runs.index(row), 257).value<AppItem *>();
}

// "name length" of every run of a day.
QStringList runsOf(const DayAppModel &days, int row)
{
    QStringList texts;
    const AppModel *runs = appModelOf(days, row);
    for (int index = 0; runs && index < runs->rowCount(); ++index) {
        const AppItem *item = itemOf(*runs, index);
        texts.append(QStringLiteral("%1 %2").arg(item->appName()).arg(item->timeLength()));
    }
    return texts;
}

QStringList datesOf(const DayAppModel &days)
{
    QStringList dates;
    for (int row = 0; row < days.rowCount(); ++row) {
        dates.append(days.data(days.index(row), dateRole).toString());
    }
    return dates;
}
} // namespace

class TestDayAppModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void anItemSignalsOnlyWhatDiffers();
    void aRunIsAnItemWhateverTheRole();
    void appendedRunsAreRowsAndBelongToTheModel();
    void theLastRunGrows();
    void clearedRunsAreDeleted();
    void clearingAnEmptyListOfRunsChangesNothing();

    void rolesAreTheDateAndTheRuns();
    void anInvalidRowIsAWarning_data();
    void anInvalidRowIsAWarning();
    void anUnknownRoleIsNothing();
    void datesReadAsTheFormatterHasThem();
    void withoutAFormatterTheDateStaysWithAWarning();
    void aRowWhoseRunsAreGoneIsAWarning();

    void olderDaysGoInAtTheFrontAndEveryRowIsTold();
    void aDayMayGoInAnywhere();
    void anInsertionOutsideTheRowsIsRefused_data();
    void anInsertionOutsideTheRowsIsRefused();
    void aDayWithoutRunsAddsNoRow();
    void aDayThatIsThereStaysAsItIs();
    void addedDaysGoInAtTheEnd();
    void aDayAddedTwiceShowsTheNewRunsInBothRows();
    void liveSignalsOfADayThatIsNotThereChangeNothing();
    void liveSignalsGrowTheDay();
    void clearingEmptiesTheDaysThenTheRows();
    void afterClearingACaptureArrivesAsANewDay();
    void clearingAnEmptyModelChangesNothing();

private:
    std::unique_ptr<LogCapture> m_log;
};

void TestDayAppModel::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    m_log = std::make_unique<LogCapture>();
}

void TestDayAppModel::cleanup()
{
    m_log.reset();
    FakeClock::reset();
}

void TestDayAppModel::anItemSignalsOnlyWhatDiffers()
{
    AppItem item(run("a", 8));
    const QSignalSpy name(&item, &AppItem::appNameChanged);
    const QSignalSpy icon(&item, &AppItem::appIconChanged);
    const QSignalSpy length(&item, &AppItem::timeLengthChanged);
    QVERIFY(item.setProperty("appName", "a") && item.setProperty("appIcon", "a-icon") &&
            item.setProperty("timeLength", 8));
    QCOMPARE(name.count() + icon.count() + length.count(), 0);
    item.setProperty("appName", "b");
    QCOMPARE(QList<int>({name.count(), icon.count(), length.count()}), QList<int>({1, 0, 0}));
    item.setProperty("appIcon", "c");
    QCOMPARE(QList<int>({name.count(), icon.count(), length.count()}), QList<int>({1, 1, 0}));
    item.setProperty("timeLength", 16);
    QCOMPARE(QList<int>({name.count(), icon.count(), length.count()}), QList<int>({1, 1, 1}));
    QCOMPARE(item.property("appName").toString(), QString("b"));
    QCOMPARE(item.property("appIcon").toString(), QString("c"));
    QCOMPARE(item.property("timeLength").toInt(), 16);
}

void TestDayAppModel::aRunIsAnItemWhateverTheRole()
{
    AppModel runs;
    RowsAlone rows(&runs);
    const QAbstractItemModelTester tester(&rows,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(runs.roleNames(), (QHash<int, QByteArray>{{257, "modelData"}}));
    auto *item = new AppItem(run("a", 8));
    runs.addAppItem(item);
    for (const int role : {257, 258, 1000}) {
        QCOMPARE(runs.data(runs.index(0), role).value<AppItem *>(), item);
    }
    QVERIFY(!runs.data(QModelIndex(), 257).isValid());
    QVERIFY(!runs.data(runs.index(1), 257).isValid());
    QCOMPARE(runs.rowCount(runs.index(0)), 0);
}

void TestDayAppModel::appendedRunsAreRowsAndBelongToTheModel()
{
    AppModel runs;
    RowsAlone rows(&runs);
    const QAbstractItemModelTester tester(&rows,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    RowSpy spy(runs);
    runs.addAppItem(new AppItem(run("a", 8)));
    runs.addAppItem(new AppItem(run("b", 16)));
    QCOMPARE(spy.take(), QStringList({"insert 0-0", "inserted 0-0", "insert 1-1", "inserted 1-1"}));
    QCOMPARE(runs.rowCount(), 2);
    QCOMPARE(itemOf(runs, 1)->appName(), QString("b"));
    QCOMPARE(itemOf(runs, 1)->parent(), &runs);
}

void TestDayAppModel::theLastRunGrows()
{
    AppModel runs;
    RowSpy spy(runs);
    runs.updateLastAppItemLength(8);
    QCOMPARE(spy.take(), QStringList());
    runs.addAppItem(new AppItem(run("a", 8)));
    runs.addAppItem(new AppItem(run("b", 8)));
    spy.take();
    const QSignalSpy grown(itemOf(runs, 1), &AppItem::timeLengthChanged);
    runs.updateLastAppItemLength(24);
    QCOMPARE(grown.count(), 1);
    QCOMPARE(itemOf(runs, 0)->timeLength(), 8);
    QCOMPARE(itemOf(runs, 1)->timeLength(), 24);
    QCOMPARE(spy.take(), QStringList());
}

void TestDayAppModel::clearedRunsAreDeleted()
{
    AppModel runs;
    RowsAlone rows(&runs);
    const QAbstractItemModelTester tester(&rows,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    runs.addAppItem(new AppItem(run("a", 8)));
    runs.addAppItem(new AppItem(run("b", 8)));
    const QPointer<AppItem> first = itemOf(runs, 0);
    const QPointer<AppItem> last = itemOf(runs, 1);
    RowSpy spy(runs);
    runs.clearAppModel();
    QCOMPARE(spy.take(), QStringList({"remove 0-1", "removed 0-1"}));
    QCOMPARE(runs.rowCount(), 0);
    QVERIFY(first.isNull() && last.isNull());
}

void TestDayAppModel::clearingAnEmptyListOfRunsChangesNothing()
{
    AppModel runs;
    RowSpy spy(runs);
    runs.clearAppModel();
    QCOMPARE(spy.take(), QStringList({"remove 0--1", "removed 0--1"}));
    QCOMPARE(runs.rowCount(), 0);
}

void TestDayAppModel::rolesAreTheDateAndTheRuns()
{
    DayAppModel days;
    QCOMPARE(days.roleNames(), (QHash<int, QByteArray>{{257, "date"}, {258, "appModel"}}));
    days.addDayAppModel("2023/03/15", {run("a", 8), run("b", 16)});
    QCOMPARE(days.data(days.index(0), dateRole).toString(), QString("2023/03/15"));
    QCOMPARE(runsOf(days, 0), QStringList({"a 8", "b 16"}));
    QCOMPARE(itemOf(*appModelOf(days, 0), 0)->appIcon(), QString("a-icon"));
    QCOMPARE(appModelOf(days, 0)->parent(), &days);
    QCOMPARE(days.rowCount(days.index(0)), 0);
}

void TestDayAppModel::anInvalidRowIsAWarning_data()
{
    QTest::addColumn<int>("row");
    QTest::newRow("none") << -1;
    QTest::newRow("behind the last") << 1;
}

void TestDayAppModel::anInvalidRowIsAWarning()
{
    QFETCH(int, row);
    DayAppModel days;
    days.addDayAppModel("2024/03/15", {run("a", 8)});
    QVERIFY(!days.data(days.index(row), dateRole).isValid());
    QVERIFY(!days.data(days.index(row), appModelRole).isValid());
    const QString warning = "Invalid index in DayAppModel::data!";
    QCOMPARE(m_log->texts(), QStringList({warning, warning}));
    QCOMPARE(m_log->texts(QtWarningMsg).size(), 2);
}

void TestDayAppModel::anUnknownRoleIsNothing()
{
    DayAppModel days;
    days.addDayAppModel("2024/03/15", {run("a", 8)});
    for (const int role : {int(Qt::DisplayRole), 256, 259}) {
        QVERIFY(!days.data(days.index(0), role).isValid());
    }
    QCOMPARE(m_log->texts(), QStringList());
}

void TestDayAppModel::datesReadAsTheFormatterHasThem()
{
    DayAppModel days;
    for (const char *day : {"2023/12/31", "2024/01/31", "2024/03/13", "2024/03/14", "2024/03/15"}) {
        days.addDayAppModel(day, {run("a", 8)});
    }
    QCOMPARE(datesOf(days),
             QStringList({"2023/12/31", "01/31", "2 days ago", "1 day ago", "today"}));
}

void TestDayAppModel::withoutAFormatterTheDateStaysWithAWarning()
{
    DayAppModel days(nullptr, nullptr);
    days.addDayAppModel("2024/03/15", {run("a", 8)});
    QCOMPARE(days.data(days.index(0), dateRole).toString(), QString("2024/03/15"));
    QCOMPARE(m_log->texts(QtWarningMsg),
             QStringList{"data Failed to get DateTimeFormatter instance!"});
    QCOMPARE(runsOf(days, 0), QStringList{"a 8"});
    QCOMPARE(m_log->texts().size(), 1);
}

void TestDayAppModel::aRowWhoseRunsAreGoneIsAWarning()
{
    DayAppModel days;
    days.addDayAppModel("2024/03/15", {run("a", 8)});
    // The one moment: clearing has taken the runs and not yet the rows.
    QVariant seen(1);
    connect(appModelOf(days, 0), &QObject::destroyed, this,
            [&days, &seen] { seen = days.data(days.index(0), dateRole); });
    days.clearDayAppModel();
    QVERIFY(!seen.isValid());
    QCOMPARE(m_log->texts(QtWarningMsg), QStringList{"Date not found in appModelMap!"});
}

void TestDayAppModel::olderDaysGoInAtTheFrontAndEveryRowIsTold()
{
    DayAppModel days;
    const QAbstractItemModelTester tester(&days,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    RowSpy spy(days);
    days.insertDayAppModel(0, "2023/01/02", {run("b", 8)});
    QCOMPARE(spy.take(), QStringList({"insert 0-0", "inserted 0-0", "changed 0-0"}));
    days.insertDayAppModel(0, "2023/01/01", {run("a", 8)});
    QCOMPARE(spy.take(), QStringList({"insert 0-0", "inserted 0-0", "changed 0-1"}));
    QCOMPARE(datesOf(days), QStringList({"2023/01/01", "2023/01/02"}));
    QCOMPARE(runsOf(days, 0), QStringList{"a 8"});
    QCOMPARE(runsOf(days, 1), QStringList{"b 8"});
}

void TestDayAppModel::aDayMayGoInAnywhere()
{
    DayAppModel days;
    const QAbstractItemModelTester tester(&days,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    days.insertDayAppModel(0, "2023/01/01", {run("a", 8)});
    days.insertDayAppModel(1, "2023/01/03", {run("c", 8)});
    RowSpy spy(days);
    days.insertDayAppModel(1, "2023/01/02", {run("b", 8)});
    QCOMPARE(spy.take(), QStringList({"insert 1-1", "inserted 1-1", "changed 0-2"}));
    QCOMPARE(datesOf(days), QStringList({"2023/01/01", "2023/01/02", "2023/01/03"}));
}

void TestDayAppModel::anInsertionOutsideTheRowsIsRefused_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("day");
    QTest::addColumn<int>("runs");
    QTest::addColumn<QString>("warning");
    const QString range = "Invalid index: index is out of range";
    const QString input = "Invalid input parameters: date or appItemList is empty";
    QTest::newRow("before the first") << -1 << "2023/01/02" << 1 << range;
    QTest::newRow("behind the end") << 2 << "2023/01/02" << 1 << range;
    QTest::newRow("the place is looked at first") << 2 << "" << 0 << range;
    QTest::newRow("no day") << 0 << "" << 1 << input;
    QTest::newRow("no runs") << 0 << "2023/01/02" << 0 << input;
    QTest::newRow("no runs of a day that is there") << 0 << "2023/01/01" << 0 << input;
}

void TestDayAppModel::anInsertionOutsideTheRowsIsRefused()
{
    QFETCH(int, index);
    QFETCH(QString, day);
    QFETCH(int, runs);
    DayAppModel days;
    days.addDayAppModel("2023/01/01", {run("a", 8)});
    RowSpy spy(days);
    days.insertDayAppModel(index, day, QList<AppItemInfo>::fromVector({runs, run("b", 8)}));
    QFETCH(QString, warning);
    QCOMPARE(m_log->texts(QtWarningMsg), QStringList{warning});
    QCOMPARE(spy.take(), QStringList());
    QCOMPARE(datesOf(days), QStringList{"2023/01/01"});
}

void TestDayAppModel::aDayWithoutRunsAddsNoRow()
{
    DayAppModel days;
    days.insertDayAppModel(0, "2023/01/01", {});
    QCOMPARE(days.rowCount(), 0);
}

void TestDayAppModel::aDayThatIsThereStaysAsItIs()
{
    DayAppModel days;
    days.addDayAppModel("2023/01/01", {run("a", 8)});
    RowSpy spy(days);
    days.insertDayAppModel(0, "2023/01/01", {run("b", 16)});
    QCOMPARE(spy.take(), QStringList());
    QCOMPARE(m_log->texts(), QStringList());
    QCOMPARE(runsOf(days, 0), QStringList{"a 8"});
}

void TestDayAppModel::addedDaysGoInAtTheEnd()
{
    DayAppModel days;
    const QAbstractItemModelTester tester(&days,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    RowSpy spy(days);
    days.addDayAppModel("2023/01/01", {run("a", 8)});
    QCOMPARE(spy.take(), QStringList({"insert 0-0", "inserted 0-0", "changed 0-0"}));
    days.addDayAppModel("2023/01/02", {run("b", 8)});
    QCOMPARE(spy.take(), QStringList({"insert 1-1", "inserted 1-1", "changed 0-1"}));
    QCOMPARE(datesOf(days), QStringList({"2023/01/01", "2023/01/02"}));
}

void TestDayAppModel::aDayAddedTwiceShowsTheNewRunsInBothRows()
{
    DayAppModel days;
    days.addDayAppModel("2023/01/01", {run("a", 8)});
    const QPointer<AppModel> former = appModelOf(days, 0);
    days.addDayAppModel("2023/01/01", {run("b", 16)});
    QCOMPARE(datesOf(days), QStringList({"2023/01/01", "2023/01/01"}));
    QCOMPARE(runsOf(days, 0), QStringList{"b 16"});
    QCOMPARE(runsOf(days, 1), QStringList{"b 16"});
    QVERIFY(!former.isNull()); // a page may still show it
    days.clearDayAppModel();
    QCOMPARE(days.rowCount(), 0);
    QVERIFY(!former.isNull());
}

void TestDayAppModel::liveSignalsOfADayThatIsNotThereChangeNothing()
{
    DayAppModel days;
    days.addDayAppModel("2023/01/01", {run("a", 8)});
    RowSpy spy(days);
    days.updateModelAddAppItem("2023/01/02", run("b", 8));
    days.updateModelLastAppItemLength("2023/01/02", 80);
    QCOMPARE(runsOf(days, 0), QStringList{"a 8"});
    QCOMPARE(days.rowCount(), 1);
    QCOMPARE(spy.take(), QStringList());
    QCOMPARE(m_log->texts(), QStringList());
}

void TestDayAppModel::liveSignalsGrowTheDay()
{
    DayAppModel days;
    days.addDayAppModel("2023/01/01", {run("a", 8)});
    RowSpy spy(days);
    RowSpy runs(*appModelOf(days, 0));
    days.updateModelAddAppItem("2023/01/01", run("a", 8));
    QCOMPARE(runs.take(), QStringList({"insert 1-1", "inserted 1-1"}));
    days.updateModelLastAppItemLength("2023/01/01", 24);
    QCOMPARE(runsOf(days, 0), QStringList({"a 8", "a 24"})); // neighbours stay two bars
    QCOMPARE(runs.take(), QStringList());
    QCOMPARE(spy.take(), QStringList());
}

void TestDayAppModel::clearingEmptiesTheDaysThenTheRows()
{
    DayAppModel days;
    const QAbstractItemModelTester tester(&days,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    days.addDayAppModel("2023/01/01", {run("a", 8), run("b", 8)});
    days.addDayAppModel("2023/01/02", {run("c", 8)});
    const QPointer<AppModel> first = appModelOf(days, 0);
    QStringList order;
    connect(appModelOf(days, 0), &AppModel::rowsRemoved, this,
            [&order] { order.append("runs of the first"); });
    connect(appModelOf(days, 1), &AppModel::rowsRemoved, this,
            [&order] { order.append("runs of the second"); });
    connect(&days, &DayAppModel::rowsAboutToBeRemoved, this,
            [&order, &first] { order.append(first ? "rows" : "rows, too late"); });
    RowSpy spy(days);
    days.clearDayAppModel();
    QCOMPARE(order, QStringList({"runs of the first", "runs of the second", "rows"}));
    QCOMPARE(spy.take(), QStringList({"remove 0-1", "removed 0-1"}));
    QCOMPARE(days.rowCount(), 0);
    QVERIFY(first.isNull());
}

void TestDayAppModel::afterClearingACaptureArrivesAsANewDay()
{
    DayAppModel days;
    const QAbstractItemModelTester tester(&days,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    days.addDayAppModel("2024/03/15", {run("a", 8)});
    days.clearDayAppModel();
    days.updateModelAddAppItem("2024/03/15", run("a", 8));
    days.updateModelLastAppItemLength("2024/03/15", 16);
    QCOMPARE(days.rowCount(), 0);
    days.addDayAppModel("2024/03/15", {run("a", 8)});
    QCOMPARE(runsOf(days, 0), QStringList{"a 8"});
}

void TestDayAppModel::clearingAnEmptyModelChangesNothing()
{
    DayAppModel days;
    RowSpy spy(days);
    days.clearDayAppModel();
    QCOMPARE(spy.take(), QStringList({"remove 0--1", "removed 0--1"}));
    QCOMPARE(days.rowCount(), 0);
    QCOMPARE(m_log->texts(), QStringList());
}

QTEST_GUILESS_MAIN(TestDayAppModel)
#include "dayappmodeltest.moc"
