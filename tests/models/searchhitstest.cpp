// The hits of a search: what their rows tell, and the pictures that are handed out for them.

#include "desktopentries.h"
#include "picturememory/packedpicture.h"
#include "picturememory/pixelpages.h"
#include "rowspy.h"
#include "searchfixture.h"
#include "support/logcapture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

using DataHandlerDouble::state;
using namespace SearchWorld;

namespace
{
const QString missingText = "Failed to obtain image results for text search:image id not exists !";
const QString missingImage =
    "Failed to obtain image results for image search:image id not exists !";
} // namespace

class SearchHitsTest : public SearchFixture
{
    Q_OBJECT

private Q_SLOTS:
    void aHitTellsItsFrame();
    void aHitOfADayThatIsNotLoadedHasNoPlace();
    void olderDaysPlaceTheHitsAnew();
    void aRowThatNoSearchSignalledStaysInItsPlace();
    void aHitWhoseRowIsGoneIsShownWithoutAFrame();
    void picturesAreHandedOutByTheirIds();
    void hitsWaitPackedAndAreHandedOutPlain();
    void anUnknownIdIsANullPictureAndAWarning();
    void picturesOutliveTheirSearch();
};

void SearchHitsTest::aHitTellsItsFrame()
{
    const DesktopEntries entries;
    ScreenShotData hit = hits(1).first();
    hit.frameIndexOfDay = 3;
    hit.desktopFilePath = entries.add("editor.desktop", "Name=Editor\nIcon=kept-icon\n");
    state().searchTexts = [hit](const SearchQuery &) { return QVector<ScreenShotData>{hit}; };
    state().days["2023-11-14"] = {{"/none.desktop", 5}};
    m_facade->reader.getDayAppInfo("2023-11-14"); // the hit's day becomes the second one
    QStringList decoded;
    state().decode = [&decoded](const QString &video, unsigned int frame) {
        decoded << video + "#" + QString::number(frame);
        return pictureOf(frame);
    };
    QVector<VideoPreviewImageItem> items;
    connect(&m_facade->reader, &VideoReader::resetTextSearchModel, this,
            [&items](const VideoPreviewImageItem &item) { items << item; });
    m_facade->reader.getTextSearchResultCount("a");
    m_facade->reader.getTextSearchResult(0);
    QCOMPARE(items.size(), 1);
    const VideoPreviewImageItem &item = items.first();
    QCOMPARE(item.videoPreviewImageSource, QString("videoImageProvider/textsearch0two"));
    QCOMPARE(item.previewImageDate, VideoReader::getStringDate(firstTime + 1));
    QCOMPARE(item.previewImageTime, VideoReader::getStringTime(firstTime + 1));
    QCOMPARE(item.previewAppIcon, QString("kept-icon"));
    QCOMPARE(item.previewAppName, QString("Editor"));
    QCOMPARE(item.frameLengthOfDay, 2 * 8 + 4);
    QCOMPARE(item.imageDateIndex, 1);
    QCOMPARE(decoded, QStringList{"v.mp4#1"});
}

void SearchHitsTest::aHitOfADayThatIsNotLoadedHasNoPlace()
{
    ScreenShotData hit = hits(1).first();
    hit.date = "2022-01-01";
    state().searchTexts = [hit](const SearchQuery &) { return QVector<ScreenShotData>{hit}; };
    m_facade->info.showTextSearchResult("a");
    awaitRows(texts(), 1);
    QCOMPARE(itemOf(texts(), 0)->frameLengthOfDay(), -1);
    QCOMPARE(itemOf(texts(), 0)->imageDateIndex(), -1);
}

// A page that opens a hit takes it to its day's row, which the days loaded since have shifted.
void SearchHitsTest::olderDaysPlaceTheHitsAnew()
{
    state().days["2023-11-11"] = {{"/none.desktop", 2}, {"/other.desktop", 2}};
    state().days["2023-11-13"] = {{"/none.desktop", 2}};
    m_facade.reset();
    m_facade = std::make_unique<Facade>();
    QVector<ScreenShotData> found = hits(3);
    found[1].date = "2023-11-11";
    found[1].frameIndexOfDay = 3;
    found[2].date = "2023-11-01"; // stays unknown
    state().searchTexts = [found](const SearchQuery &) { return found; };
    state().searchPictures = [found](const SearchQuery &) { return found.mid(0, 2); };
    m_facade->info.showTextSearchResult("a");
    awaitRows(texts(), 3);
    m_facade->info.clearSearchTask();
    m_facade->info.continueShowImageSearchResult("a");
    awaitRows(pictures(), 2);
    const auto placesOf = [](QAbstractListModel *model) {
        QVector<QPair<int, int>> places;
        for (int row = 0; row < model->rowCount(); ++row) {
            const VideoPreviewItem *item = itemOf(model, row);
            places << qMakePair(item->imageDateIndex(), item->frameLengthOfDay());
        }
        return places;
    };
    using Places = QVector<QPair<int, int>>;
    QCOMPARE(placesOf(texts()), (Places{{0, 4}, {-1, -1}, {-1, -1}}));
    QCOMPARE(placesOf(pictures()), (Places{{0, 4}, {-1, -1}}));

    const auto mode = QAbstractItemModelTester::FailureReportingMode::QtTest;
    const QAbstractItemModelTester textTester(texts(), mode);
    const QAbstractItemModelTester pictureTester(pictures(), mode);
    RowSpy rows(*texts());
    const QSignalSpy shifted(itemOf(texts(), 0), &VideoPreviewItem::imageDateIndexChanged);
    const LogCapture log;
    m_facade->info.showPreDayAppData();
    QCOMPARE(m_facade->info.dayAppModel()->rowCount(), 3);
    QCOMPARE(placesOf(texts()), (Places{{2, 4}, {0, 28}, {-1, -1}}));
    QCOMPARE(placesOf(pictures()), (Places{{2, 4}, {0, 28}}));
    QCOMPARE(shifted.count(), 1);
    QCOMPARE(rows.take(), QStringList()); // an item tells its changes itself
    QCOMPARE(log.texts(QtWarningMsg).filter("date not exist"), QStringList());
    m_facade->info.showPreDayAppData(); // there are no more
    QCOMPARE(shifted.count(), 1);
}

void SearchHitsTest::aRowThatNoSearchSignalledStaysInItsPlace()
{
    VideoPreviewImageItem row;
    row.imageDateIndex = 7;
    m_facade->info.setTextMatchResultModel({row});
    state().days["2023-11-14"] = {{"/none.desktop", 2}};
    m_facade->info.saveStartAndEndDate();
    m_facade->info.showPreDayAppData();
    m_facade->info.showPreDayAppData();
    QCOMPARE(m_facade->info.dayAppModel()->rowCount(), 2);
    QCOMPARE(itemOf(texts(), 0)->imageDateIndex(), 7);
}

void SearchHitsTest::aHitWhoseRowIsGoneIsShownWithoutAFrame()
{
    state().searchPictures = [](const SearchQuery &) {
        QVector<ScreenShotData> found = hits(3);
        found[1] = ScreenShotData();
        return found;
    };
    state().decode = [](const QString &, unsigned int frame) {
        return frame == 0 ? QImage() : pictureOf(frame);
    };
    m_facade->info.showImageSearchResult("a");
    awaitRows(pictures(), 3);
    QCOMPARE(itemOf(pictures(), 1)->frameLengthOfDay(), -1);
    QCOMPARE(itemOf(pictures(), 1)->imageDateIndex(), -1);
    QCOMPARE(itemOf(pictures(), 1)->previewAppName(), QString());
    const LogCapture log;
    QVERIFY(m_facade->provider.requestImage("imagesearch1two", nullptr, {}).isNull());
    QVERIFY(log.texts().isEmpty()); // it is there, a null picture
    QCOMPARE(numberOf(m_facade->provider.requestImage("imagesearch2two", nullptr, {})), 3);
}

void SearchHitsTest::picturesAreHandedOutByTheirIds()
{
    state().searchPictures = [](const SearchQuery &) { return hits(3, "other.mp4"); };
    state().decode = [](const QString &video, unsigned int frame) {
        return pictureOf(video == "other.mp4" ? 100 + frame : frame);
    };
    VideoReader &reader = m_facade->reader;
    reader.getSearchResultCount("a");
    reader.getTextSearchResult(0);
    reader.getImageSearchResult(0);
    VideoImageProvider &provider = m_facade->provider;
    const LogCapture log;
    QSize size(-7, -7);
    for (int place = 0; place < 3; ++place) {
        const QString textId = QString("textsearch%1two").arg(place);
        const QString imageId = QString("imagesearch%1one").arg(place);
        QCOMPARE(numberOf(reader.getTextSearchResultImage(textId)), place + 1);
        QCOMPARE(numberOf(provider.requestImage(textId, &size, QSize(1, 1))), place + 1);
        QCOMPARE(numberOf(reader.getImageSearchResultImage(imageId)), 101 + place);
        QCOMPARE(numberOf(provider.requestImage(imageId, &size, {})), 101 + place);
    }
    QCOMPARE(size, QSize(-7, -7));
    QVERIFY(provider.isPreviewImgNull()); // it speaks of previews alone
    QVERIFY(log.texts().isEmpty());
}

void SearchHitsTest::hitsWaitPackedAndAreHandedOutPlain()
{
    if (!PixelPages::ofProcess()->isServed()) {
        QSKIP("pictures stay as they are: this kernel tells no page faults");
    }
    VideoReader &reader = m_facade->reader;
    reader.getSearchResultCount("a");
    reader.getTextSearchResult(0);
    const QImage once = reader.getTextSearchResultImage("textsearch0two");
    const QImage again = reader.getTextSearchResultImage("textsearch0two");
    QVERIFY(!isPacked(once));
    QCOMPARE(once, again);
    QVERIFY(once.constBits() != again.constBits()); // a plain picture that is kept would be shared
}

void SearchHitsTest::anUnknownIdIsANullPictureAndAWarning()
{
    VideoReader &reader = m_facade->reader;
    reader.getSearchResultCount("a");
    reader.getTextSearchResult(0);
    LogCapture log;
    QVERIFY(reader.getTextSearchResultImage("textsearch0one").isNull());
    QCOMPARE(log.texts(QtWarningMsg), QStringList{missingText});
    log.clear();
    QVERIFY(reader.getImageSearchResultImage("textsearch0two").isNull()); // of the other kind
    QCOMPARE(log.texts(QtWarningMsg), QStringList{missingImage});
    log.clear();
    QVERIFY(m_facade->provider.requestImage("textsearch99two", nullptr, {}).isNull());
    QVERIFY(m_facade->provider.requestImage("imagesearch0two", nullptr, {}).isNull());
    QCOMPARE(log.texts(QtWarningMsg), (QStringList{missingText, missingImage}));
    log.clear();
    QVERIFY(m_facade->provider.requestImage("another", nullptr, {}).isNull());
    QVERIFY(log.texts().isEmpty());
}

void SearchHitsTest::picturesOutliveTheirSearch()
{
    m_facade->info.showTextSearchResult("a");
    awaitRows(texts(), 36);
    m_facade->info.showTextSearchResult("");
    QCOMPARE(numberOf(m_facade->provider.requestImage("textsearch35two", nullptr, {})), 36);
}

QTEST_MAIN(SearchHitsTest)
#include "searchhitstest.moc"
