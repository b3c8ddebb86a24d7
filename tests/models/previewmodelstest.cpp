// What is shown beside a frame, the lists of hits and of lines of text.

#include "models/previewimagetextitem.h"
#include "models/previewimagetextmodel.h"
#include "models/videopreviewitem.h"
#include "models/videopreviewmodel.h"
#include "rowspy.h"

#include "support/fakeclock.h"
#include "support/logcapture.h"

#include <QAbstractItemModelTester>
#include <QGSettings>
#include <QMetaProperty>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

namespace
{
constexpr int modelDataRole = 257;

VideoPreviewImageItem hit(const QString &name)
{
    return {"videoImageProvider/" + name, "2024/03/15", "13:00:00", name + "-icon", name, 132, 7};
}

VideoPreviewItem *itemOf(const VideoPreviewModel &model, int row)
{
    return model.data(model.index(row), modelDataRole).value<VideoPreviewItem *>();
}

PreviewImageTextItem *itemOf(const PreviewImageTextModel &model, int row)
{
    return model.data(model.index(row), modelDataRole).value<PreviewImageTextItem *>();
}

OCRTextData line(const QString &text, const QVector<QPointF> &corners)
{
    return {text, corners};
}

// Values that differ from a new object's.
QVariant newValue(const QMetaProperty &property)
{
    return property.type() == QVariant::Int ? QVariant(5) : QVariant("2023/03/15");
}
} // namespace

class TestPreviewModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void everyPropertyIsReadAndWrittenAndTold_data();
    void everyPropertyIsReadAndWrittenAndTold();
    void datesAndTimesReadAsTheFormatterHasThem();
    void withoutAFormatterTextsStayWithAWarning();

    void hitsAreRowsWithAllThatTheyBear();
    void onlyTheOneRoleHasData();
    void aResetClearsThenInsertsAll();
    void aResetToNothingOnlyClears();
    void clearedHitsAreDeleted();
    void clearingAnEmptyModelOpensAndClosesTheBracket();
    void newHoursAreToldByEveryHit();

    void linesTellEveryAssignment_data();
    void linesTellEveryAssignment();
    void linesStandWhereTheirCornersAre_data();
    void linesStandWhereTheirCornersAre();
    void linesAreRows();
    void linesAreLoggedWithoutTheirText();

private:
    std::unique_ptr<LogCapture> m_log;
};

void TestPreviewModels::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    m_log = std::make_unique<LogCapture>();
}

void TestPreviewModels::cleanup()
{
    m_log.reset();
    FakeClock::reset();
}

void TestPreviewModels::everyPropertyIsReadAndWrittenAndTold_data()
{
    QTest::addColumn<bool>("tellsEqualValues");
    QTest::newRow("videoPreviewImageSource") << true;
    QTest::newRow("previewImageDate") << true;
    QTest::newRow("previewImageTime") << true;
    QTest::newRow("previewAppIcon") << false;
    QTest::newRow("previewAppName") << false;
    QTest::newRow("curShowImageSource") << true;
    QTest::newRow("curShowAppIcon") << false;
    QTest::newRow("curShowAppName") << false;
    QTest::newRow("frameLengthOfDay") << false;
    QTest::newRow("imageDateIndex") << false;
}

void TestPreviewModels::everyPropertyIsReadAndWrittenAndTold()
{
    VideoPreviewItem item;
    const QMetaObject *meta = item.metaObject();
    QCOMPARE(meta->propertyCount() - meta->propertyOffset(), 10);
    const QMetaProperty property = meta->property(meta->indexOfProperty(QTest::currentDataTag()));
    QVERIFY(property.isReadable() && property.isWritable());
    QCOMPARE(property.notifySignal().name(), QByteArray(QTest::currentDataTag()) + "Changed");
    const QSignalSpy told(&item, property.notifySignal());
    const QVariant value = newValue(property);
    QVERIFY(property.write(&item, value));
    QCOMPARE(property.read(&item), value);
    QCOMPARE(told.count(), 1);
    property.write(&item, value);
    QTEST(told.count() == 2, "tellsEqualValues");
}

void TestPreviewModels::datesAndTimesReadAsTheFormatterHasThem()
{
    QGSettings desktop("org.vesk.control-center.panel.plugins");
    VideoPreviewItem item;
    item.setPreviewImageDate("2024/03/14");
    item.setPreviewImageTime("13:00:00");
    QCOMPARE(item.previewImageDate(), QString("1 day ago"));
    QCOMPARE(item.previewImageTime(), QString("13:00:00"));
    desktop.set("hoursystem", "12");
    QCOMPARE(item.previewImageTime(), QString("PM 01:00:00"));
    desktop.set("hoursystem", "24");
    QCOMPARE(item.previewImageTime(), QString("13:00:00"));
}

void TestPreviewModels::withoutAFormatterTextsStayWithAWarning()
{
    VideoPreviewItem item(nullptr, nullptr);
    item.setPreviewImageDate("2024/03/15");
    item.setPreviewImageTime("13:00:00");
    QCOMPARE(item.previewImageDate(), QString("2024/03/15"));
    QCOMPARE(item.previewImageTime(), QString("13:00:00"));
    QCOMPARE(m_log->texts(QtWarningMsg),
             QStringList({"previewImageDate Failed to get DateTimeFormatter instance!",
                          "previewImageTime Failed to get DateTimeFormatter instance!"}));
}

void TestPreviewModels::hitsAreRowsWithAllThatTheyBear()
{
    VideoPreviewModel hits;
    const QAbstractItemModelTester tester(&hits,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    RowSpy spy(hits);
    hits.addItem(hit("textsearch0one"));
    hits.addItem(hit("textsearch1one"));
    QCOMPARE(spy.take(), QStringList({"insert 0-0", "inserted 0-0", "insert 1-1", "inserted 1-1"}));
    QCOMPARE(hits.rowCount(), 2);
    const VideoPreviewItem *item = itemOf(hits, 1);
    QCOMPARE(item->videoPreviewImageSource(), QString("videoImageProvider/textsearch1one"));
    QCOMPARE(item->previewImageDate(), QString("today"));
    QCOMPARE(item->previewImageTime(), QString("13:00:00"));
    QCOMPARE(item->previewAppName(), QString("textsearch1one"));
    QCOMPARE(item->previewAppIcon(), QString("textsearch1one-icon"));
    QCOMPARE(item->frameLengthOfDay(), 132);
    QCOMPARE(item->imageDateIndex(), 7);
    QCOMPARE(item->parent(), &hits);
    QCOMPARE(hits.rowCount(hits.index(0)), 0);
}

void TestPreviewModels::onlyTheOneRoleHasData()
{
    VideoPreviewModel hits;
    PreviewImageTextModel lines;
    hits.addItem(hit("a"));
    lines.resetPreviewImageTextModel({line("a", {})});
    for (QAbstractListModel *model :
         {static_cast<QAbstractListModel *>(&hits), static_cast<QAbstractListModel *>(&lines)}) {
        QCOMPARE(model->roleNames(), (QHash<int, QByteArray>{{257, "modelData"}}));
        QVERIFY(model->data(model->index(0), 257).isValid());
        for (const int role : {int(Qt::DisplayRole), 256, 258}) {
            QVERIFY(!model->data(model->index(0), role).isValid());
        }
        QVERIFY(!model->data(model->index(1), 257).isValid());
        QVERIFY(!model->data(QModelIndex(), 257).isValid());
    }
}

void TestPreviewModels::aResetClearsThenInsertsAll()
{
    VideoPreviewModel hits;
    const QAbstractItemModelTester tester(&hits,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    hits.addItem(hit("old"));
    RowSpy spy(hits);
    hits.resetVideoPreviewModel({hit("a"), hit("b"), hit("c")});
    QCOMPARE(spy.take(), QStringList({"remove 0-0", "removed 0-0", "insert 0-2", "inserted 0-2"}));
    QCOMPARE(hits.rowCount(), 3);
    QCOMPARE(itemOf(hits, 0)->previewAppName(), QString("a"));
    QCOMPARE(itemOf(hits, 2)->previewAppName(), QString("c"));
}

void TestPreviewModels::aResetToNothingOnlyClears()
{
    VideoPreviewModel hits;
    hits.addItem(hit("old"));
    RowSpy spy(hits);
    hits.resetVideoPreviewModel({});
    QCOMPARE(spy.take(), QStringList({"remove 0-0", "removed 0-0"}));
    QCOMPARE(hits.rowCount(), 0);
}

void TestPreviewModels::clearedHitsAreDeleted()
{
    VideoPreviewModel hits;
    const QAbstractItemModelTester tester(&hits,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    hits.resetVideoPreviewModel({hit("a"), hit("b")});
    const QPointer<VideoPreviewItem> item = itemOf(hits, 1);
    RowSpy spy(hits);
    hits.clearVideoPreviewModel();
    QCOMPARE(spy.take(), QStringList({"remove 0-1", "removed 0-1"}));
    QVERIFY(item.isNull());
    QCOMPARE(hits.rowCount(), 0);
}

void TestPreviewModels::clearingAnEmptyModelOpensAndClosesTheBracket()
{
    VideoPreviewModel hits;
    PreviewImageTextModel lines;
    RowSpy hitSpy(hits);
    RowSpy lineSpy(lines);
    hits.clearVideoPreviewModel();
    lines.clearPreviewImageTextModel();
    QCOMPARE(hitSpy.take(), QStringList({"remove 0--1", "removed 0--1"}));
    QCOMPARE(lineSpy.take(), QStringList({"remove 0--1", "removed 0--1"}));
    QCOMPARE(hits.rowCount() + lines.rowCount(), 0);
}

void TestPreviewModels::newHoursAreToldByEveryHit()
{
    VideoPreviewModel hits;
    hits.resetTimeFormat();
    hits.resetVideoPreviewModel({hit("a"), hit("b")});
    const QSignalSpy first(itemOf(hits, 0), &VideoPreviewItem::previewImageTimeChanged);
    const QSignalSpy second(itemOf(hits, 1), &VideoPreviewItem::previewImageTimeChanged);
    const QSignalSpy date(itemOf(hits, 0), &VideoPreviewItem::previewImageDateChanged);
    hits.resetTimeFormat();
    QCOMPARE(first.count(), 1);
    QCOMPARE(second.count(), 1);
    QCOMPARE(date.count(), 0);
}

void TestPreviewModels::linesTellEveryAssignment_data()
{
    QTest::addColumn<int>("unused");
    for (const char *name : {"x", "y", "textWidth", "textHeight", "text"}) {
        QTest::newRow(name) << 0;
    }
}

void TestPreviewModels::linesTellEveryAssignment()
{
    PreviewImageTextItem item;
    const QMetaObject *meta = item.metaObject();
    QCOMPARE(meta->propertyCount() - meta->propertyOffset(), 5);
    const QMetaProperty property = meta->property(meta->indexOfProperty(QTest::currentDataTag()));
    QCOMPARE(property.notifySignal().name(), QByteArray(QTest::currentDataTag()) + "Changed");
    const QSignalSpy told(&item, property.notifySignal());
    for (const int times : {1, 2}) {
        QVERIFY(property.write(&item, newValue(property)));
        QCOMPARE(property.read(&item), newValue(property));
        QCOMPARE(told.count(), times);
    }
}

void TestPreviewModels::linesStandWhereTheirCornersAre_data()
{
    QTest::addColumn<QVector<QPointF>>("corners");
    QTest::addColumn<QRect>("place");
    QTest::newRow("upright") << QVector<QPointF>{{10, 20}, {110, 20}, {110, 36}, {10, 36}}
                             << QRect(10, 20, 100, 16);
    QTest::newRow("another order")
        << QVector<QPointF>{{110, 36}, {10, 36}, {10, 20}, {110, 20}} << QRect(10, 20, 100, 16);
    QTest::newRow("slanted") << QVector<QPointF>{{10, 25}, {100, 20}, {102, 40}, {12, 45}}
                             << QRect(10, 20, 92, 25);
    QTest::newRow("cut off, not rounded")
        << QVector<QPointF>{{10.9, 20.9}, {30.8, 20.9}, {30.8, 40.8}, {10.9, 40.8}}
        << QRect(10, 20, 19, 19);
    QTest::newRow("towards zero outside the part")
        << QVector<QPointF>{{-0.9, -1.9}, {5, 5}} << QRect(0, -1, 5, 6);
    QTest::newRow("none") << QVector<QPointF>() << QRect(0, 0, 0, 0);
    constexpr int farthest = 1 << 29;
    QTest::newRow("further away than an int tells")
        << QVector<QPointF>{{-4e9, -4e9}, {4e9, 4e9}}
        << QRect(-farthest, -farthest, farthest, farthest);
}

void TestPreviewModels::linesStandWhereTheirCornersAre()
{
    QFETCH(QVector<QPointF>, corners);
    PreviewImageTextModel lines;
    lines.resetPreviewImageTextModel({line("a", corners)});
    const PreviewImageTextItem *item = itemOf(lines, 0);
    QTEST(QRect(item->x(), item->y(), item->textWidth(), item->textHeight()), "place");
}

void TestPreviewModels::linesAreRows()
{
    PreviewImageTextModel lines;
    const QAbstractItemModelTester tester(&lines,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    RowSpy spy(lines);
    lines.resetPreviewImageTextModel({line("a", {}), line("b", {})});
    QCOMPARE(spy.take(),
             QStringList({"remove 0--1", "removed 0--1", "insert 0-1", "inserted 0-1"}));
    QCOMPARE(itemOf(lines, 1)->text(), QString("b"));
    QCOMPARE(itemOf(lines, 1)->parent(), &lines);
    const QPointer<PreviewImageTextItem> former = itemOf(lines, 1);
    lines.resetPreviewImageTextModel({line("c", {})});
    QCOMPARE(spy.take(), QStringList({"remove 0-1", "removed 0-1", "insert 0-0", "inserted 0-0"}));
    QVERIFY(former.isNull());
    lines.clearPreviewImageTextModel();
    QCOMPARE(spy.take(), QStringList({"remove 0-0", "removed 0-0"}));
    QCOMPARE(lines.rowCount(lines.index(0)), 0);
}

void TestPreviewModels::linesAreLoggedWithoutTheirText()
{
    PreviewImageTextModel lines;
    lines.resetPreviewImageTextModel({line("secret", {}), line("word", {})});
    const QStringList texts = m_log->texts(QtDebugMsg);
    QCOMPARE(texts.size(), 2);
    for (const QString &text : texts) {
        QVERIFY2(text.startsWith(" text   PreviewImageTextItem(0x"), qPrintable(text));
        QVERIFY(!text.contains("secret") && !text.contains("word"));
    }
    QCOMPARE(m_log->texts().size(), 2);
}

QTEST_GUILESS_MAIN(TestPreviewModels)
#include "previewmodelstest.moc"
