// What reaches the item on show and in which order, and the rows of hits and of recognized lines.

#include "models/datetimeformatter.h"
#include "support/pictures.h"
#include "videoinfofixture.h"

#include <QGSettings>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>

#include <utility>

using DataHandlerDouble::state;

namespace
{
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

class ShownItemsTest : public VideoInfoFixture
{
    Q_OBJECT

private Q_SLOTS:
    void aPreviewReachesTheItemInOrder_data();
    void aPreviewReachesTheItemInOrder();
    void theLargePictureReachesTheItemInOrder();
    void aGapEmptiesThePreviewAndKeepsTheLargePicture();

    void newHoursAreToldByAllThatShowsATime();
    void hitsAreSetAndCleared();
    void linesOfTextAreSetAndCleared();
};

void ShownItemsTest::aPreviewReachesTheItemInOrder_data()
{
    QTest::addColumn<bool>("isOverBar");
    QTest::newRow("over a bar") << true;
    QTest::newRow("over a day") << false;
}

void ShownItemsTest::aPreviewReachesTheItemInOrder()
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

void ShownItemsTest::theLargePictureReachesTheItemInOrder()
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

void ShownItemsTest::aGapEmptiesThePreviewAndKeepsTheLargePicture()
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

void ShownItemsTest::newHoursAreToldByAllThatShowsATime()
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

void ShownItemsTest::hitsAreSetAndCleared()
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

void ShownItemsTest::linesOfTextAreSetAndCleared()
{
    m_facade = std::make_unique<Facade>();
    m_facade->info.setPreviewImageTextModel({{"a", {}}, {"b", {}}});
    QCOMPARE(m_facade->info.imageTextModel()->rowCount(), 2);
    m_facade->info.clearRecognizingTextResult();
    QCOMPARE(m_facade->info.imageTextModel()->rowCount(), 0);
}

QTEST_MAIN(ShownItemsTest)
#include "shownitemstest.moc"
