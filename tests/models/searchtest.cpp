// A search from the pages' call to the rows of the models, over a history that is told what it
// finds and how long it takes.

#include "desktopentries.h"
#include "facade.h"

#include "picturememory/packedpicture.h"
#include "picturememory/pixelpages.h"
#include "support/logcapture.h"

#include <QAbstractItemModelTester>
#include <QCoreApplication>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <mutex>

using DataHandlerDouble::state;

namespace
{
constexpr int modelDataRole = 257;
constexpr qint64 firstTime = 1700000000;
const QString missingText = "Failed to obtain image results for text search:image id not exists !";
const QString missingImage =
    "Failed to obtain image results for image search:image id not exists !";

// Frames of one loaded day whose numbers are their places in the list of hits, from 1.
QVector<ScreenShotData> hits(int count, const QString &video = "v.mp4")
{
    QVector<ScreenShotData> found;
    for (int place = 1; place <= count; ++place) {
        ScreenShotData hit;
        hit.videoName = video;
        hit.frameIndexOfVideo = static_cast<quint32>(place);
        hit.frameIndexOfDay = static_cast<quint32>(place);
        hit.date = "2023-11-15";
        hit.realTime = firstTime + place;
        hit.desktopFilePath = "/none.desktop";
        found.append(hit);
    }
    return found;
}

QVector<ScreenShotData> textsFor(const SearchQuery &query)
{
    return hits(60, query.text);
}

QImage pictureOf(unsigned int frame)
{
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(frame);
    return image;
}

int numberOf(const QImage &image)
{
    return image.isNull() ? -1 : static_cast<int>(image.pixel(0, 0) & 0xFFFFFFU);
}

bool isToStop()
{
    return QThread::currentThread()->isInterruptionRequested();
}

void untilStopped()
{
    while (!isToStop()) {
        QThread::usleep(100);
    }
}

VideoPreviewItem *itemOf(QAbstractListModel *model, int row)
{
    return model->data(model->index(row, 0), modelDataRole).value<VideoPreviewItem *>();
}

QStringList sourcesOf(QAbstractListModel *model)
{
    QStringList sources;
    for (int row = 0; row < model->rowCount(); ++row) {
        sources << itemOf(model, row)->videoPreviewImageSource();
    }
    return sources;
}

QStringList sources(const QString &kind, int first, int last, const QString &generation)
{
    QStringList list;
    for (int place = first; place <= last; ++place) {
        list << "videoImageProvider/" + kind + QString::number(place) + generation;
    }
    return list;
}

/// What happens on the search's thread, written down there and read on the test's.
class Notes
{
public:
    void add(const QString &note)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_notes << note;
    }
    QStringList take()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_notes, {});
    }
    int count(const QString &note) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_notes.count(note);
    }

private:
    mutable std::mutex m_mutex; // not QMutex, which the thread sanitizer does not see
    QStringList m_notes;
};
} // namespace

class SearchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void anEmptyTextStartsNoThreadAndEmptiesTheModels();
    void oneSearchLooksUpBothListsAndShowsItsOwn_data();
    void oneSearchLooksUpBothListsAndShowsItsOwn();
    void aQueryIsTheTextAlone_data();
    void aQueryIsTheTextAlone();
    void theCountsAreThoseOfTheLists();
    void emptyListsAreTold_data();
    void emptyListsAreTold();

    void aBatchEndsAtFullRows_data();
    void aBatchEndsAtFullRows();
    void searchAndContinuationsFillTheModel();
    void theGenerationChangesWithEveryBatch();
    void twoSearchesHaveDifferentIds();

    void aHitTellsItsFrame();
    void aHitOfADayThatIsNotLoadedHasNoPlace();
    void aHitWhoseRowIsGoneIsShownWithoutAFrame();
    void picturesAreHandedOutByTheirIds();
    void hitsWaitPackedAndAreHandedOutPlain();
    void anUnknownIdIsANullPictureAndAWarning();
    void picturesOutliveTheirSearch();

    void aSearchIsCancelledInEachPhase_data();
    void aSearchIsCancelledInEachPhase();
    void aSearchStoppedWhileItLooksUpIsContinuedWhole();
    void aLookUpMadeAnewShowsItsRows();
    void aSearchStoppedWhileItDecodesGoesOnWithoutLookingUp();
    void whatIsUnderWayIsNotShownAfterANewSearch();
    void aNoticeOfAnEarlierSearchComesTooLate();
    void cancellingKeepsTheRowsAndThoseUnderWay();
    void aContinuationBeforeTheRowsHaveArrivedRepeatsThem();
    void aContinuationWithoutATextDoesNothing();
    void theEndOfTheFacadeEndsItsSearch();
    void searchesContinuedWithoutAStopEndTogether();
    void theEndOfTheProgramEndsItsSearch();
    void typingFastShowsTheLastTextAlone();
    void anyOrderOfCallsKeepsToOneThread();

private:
    void awaitRows(QAbstractListModel *model, int rows)
    {
        QTRY_COMPARE_WITH_TIMEOUT(model->rowCount(), rows, 20000);
    }

    QAbstractListModel *texts() { return m_facade->info.textMatchResultModel(); }
    QAbstractListModel *pictures() { return m_facade->info.imageMatchResultModel(); }

    std::unique_ptr<Facade> m_facade;
};

void SearchTest::init()
{
    DataHandlerDouble::reset();
    state().days["2023-11-15"] = {{"/none.desktop", 1000}};
    state().searchTexts = [](const SearchQuery &) { return hits(40); };
    state().searchPictures = [](const SearchQuery &) { return hits(50); };
    state().decode = [](const QString &, unsigned int frame) { return pictureOf(frame); };
    m_facade = std::make_unique<Facade>();
}

void SearchTest::cleanup()
{
    m_facade.reset();
    DataHandlerDouble::reset();
}

void SearchTest::anEmptyTextStartsNoThreadAndEmptiesTheModels()
{
    VideoInfo &info = m_facade->info;
    info.showTextSearchResult("a");
    awaitRows(texts(), 36);
    std::atomic<int> asked{0};
    state().searchTexts = state().searchPictures = [&asked](const SearchQuery &) {
        ++asked;
        return hits(1);
    };
    const QSignalSpy textsChanged(&info, &VideoInfo::textMatchResultModelChanged);
    const QSignalSpy picturesChanged(&info, &VideoInfo::imageMatchResultModelChanged);
    info.showTextSearchResult("");
    QCOMPARE(texts()->rowCount(), 0);
    QCOMPARE(textsChanged.count(), 1);
    QCOMPARE(picturesChanged.count(), 1);
    info.showImageSearchResult("");
    QCOMPARE(textsChanged.count(), 2);
    // A search that does start runs after whatever had been started before.
    info.showTextSearchResult("b");
    awaitRows(texts(), 1);
    QCOMPARE(asked.load(), 2);
}

void SearchTest::oneSearchLooksUpBothListsAndShowsItsOwn_data()
{
    QTest::addColumn<bool>("isInTexts");
    QTest::addColumn<QStringList>("order");

    QTest::newRow("texts") << true << QStringList{"texts", "pictures", "decode"};
    QTest::newRow("pictures") << false << QStringList{"pictures", "texts", "decode"};
}

void SearchTest::oneSearchLooksUpBothListsAndShowsItsOwn()
{
    QFETCH(const bool, isInTexts);
    QFETCH(const QStringList, order);
    Notes notes;
    std::atomic<QThread *> thread{nullptr};
    state().searchTexts = [&](const SearchQuery &) {
        notes.add("texts");
        thread = QThread::currentThread();
        return hits(2);
    };
    state().searchPictures = [&](const SearchQuery &) {
        notes.add("pictures");
        return hits(3);
    };
    state().decode = [&](const QString &, unsigned int frame) {
        notes.add("decode");
        return pictureOf(frame);
    };
    VideoInfo &info = m_facade->info;
    const QAbstractItemModelTester tester(isInTexts ? texts() : pictures(),
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    isInTexts ? info.showTextSearchResult("a") : info.showImageSearchResult("a");
    awaitRows(isInTexts ? texts() : pictures(), isInTexts ? 2 : 3);
    QVERIFY(thread != QThread::currentThread());
    QCOMPARE((isInTexts ? pictures() : texts())->rowCount(), 0);
    QCOMPARE(notes.take().mid(0, 3), order);
    // The other tab has its hits at hand.
    info.clearSearchTask();
    isInTexts ? info.continueShowImageSearchResult("a") : info.continueShowTextSearchResult("a");
    awaitRows(isInTexts ? pictures() : texts(), isInTexts ? 3 : 2);
    QCOMPARE(notes.take().filter(QRegularExpression("texts|pictures")), QStringList());
}

void SearchTest::aQueryIsTheTextAlone_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("a word") << "word";
    QTest::newRow("quotes") << "it's \"so\"";
    QTest::newRow("percent sign and underscore") << "100%_";
    QTest::newRow("emoji") << QString::fromUtf8("🦊");
    QTest::newRow("blanks") << "  ";
    QTest::newRow("right to left") << QString::fromUtf8("שלום");
    QTest::newRow("10,000 characters") << QString(10000, 'x');
}

void SearchTest::aQueryIsTheTextAlone()
{
    QFETCH(const QString, text);
    Notes notes;
    const auto note = [&notes](const SearchQuery &query) {
        notes.add(QString("%1|%2|%3|%4|%5")
                      .arg(query.text)
                      .arg(query.startTime)
                      .arg(query.endTime)
                      .arg(query.extraText)
                      .arg(query.limit));
        return hits(1);
    };
    state().searchTexts = note;
    state().searchPictures = note;
    const LogCapture log;
    m_facade->info.showTextSearchResult(text);
    awaitRows(texts(), 1);
    QCOMPARE(notes.take(), (QStringList{text + "|0|0||0", text + "|0|0||0"}));
    for (const QString &line : log.texts()) {
        QVERIFY2(text.trimmed().isEmpty() || !line.contains(text), "a query stands on the log");
    }
}

void SearchTest::theCountsAreThoseOfTheLists()
{
    VideoReader &reader = m_facade->reader;
    QCOMPARE(reader.getTextSearchResultCount("a"), 40);
    QCOMPARE(reader.getImageSearchResultCount("a"), 50);
    QCOMPARE(reader.getSearchResultCount("a"), 90);
}

void SearchTest::emptyListsAreTold_data()
{
    QTest::addColumn<int>("textHits");
    QTest::addColumn<int>("pictureHits");
    QTest::addColumn<bool>("isInTexts");

    for (const bool isInTexts : {true, false}) {
        const char *tab = isInTexts ? "texts" : "pictures";
        QTest::addRow("%s, both found", tab) << 1 << 1 << isInTexts;
        QTest::addRow("%s, texts alone", tab) << 1 << 0 << isInTexts;
        QTest::addRow("%s, pictures alone", tab) << 0 << 1 << isInTexts;
        QTest::addRow("%s, neither", tab) << 0 << 0 << isInTexts;
    }
}

void SearchTest::emptyListsAreTold()
{
    QFETCH(const int, textHits);
    QFETCH(const int, pictureHits);
    QFETCH(const bool, isInTexts);
    state().searchTexts = [textHits](const SearchQuery &) { return hits(textHits); };
    state().searchPictures = [pictureHits](const SearchQuery &) { return hits(pictureHits); };
    VideoInfo &info = m_facade->info;
    QStringList told;
    connect(&info, &VideoInfo::textSearchResultIsEmpty, this, [&told] { told << "no text"; });
    connect(&info, &VideoInfo::imageSearchResultIsEmpty, this, [&told] { told << "no picture"; });
    isInTexts ? info.showTextSearchResult("a") : info.showImageSearchResult("a");
    const QStringList expected = QStringList{textHits == 0 ? "no text" : ""} +
                                 QStringList{pictureHits == 0 ? "no picture" : ""};
    QStringList inOrder = expected;
    inOrder.removeAll("");
    if (!isInTexts) {
        std::reverse(inOrder.begin(), inOrder.end());
    }
    awaitRows(isInTexts ? texts() : pictures(), isInTexts ? textHits : pictureHits);
    QTRY_COMPARE_WITH_TIMEOUT(told, inOrder, 20000);
    info.clearSearchTask();
    QCoreApplication::processEvents();
    QCOMPARE(told, inOrder);
}

void SearchTest::aBatchEndsAtFullRows_data()
{
    QTest::addColumn<int>("found");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("shown");

    QTest::newRow("none") << 0 << 0 << 0;
    QTest::newRow("one") << 1 << 0 << 1;
    QTest::newRow("30") << 30 << 0 << 30;
    QTest::newRow("35") << 35 << 0 << 35;
    QTest::newRow("36") << 36 << 0 << 36;
    QTest::newRow("37") << 37 << 0 << 36;
    QTest::newRow("many") << 500 << 0 << 36;
    QTest::newRow("many, from 36") << 500 << 36 << 12;
    QTest::newRow("many, from 48") << 500 << 48 << 12;
    QTest::newRow("40, from 36") << 40 << 36 << 4;
    QTest::newRow("the last one") << 37 << 36 << 1;
    QTest::newRow("from the end") << 36 << 36 << 0;
    QTest::newRow("from beyond the end") << 10 << 36 << 0;
    QTest::newRow("from 30") << 500 << 30 << 12;
    QTest::newRow("from 29") << 500 << 29 << 12;
    QTest::newRow("from 18") << 500 << 18 << 12;
    QTest::newRow("from 17") << 500 << 17 << 24;
    QTest::newRow("from 6") << 500 << 6 << 24;
    QTest::newRow("from 5") << 500 << 5 << 36;
}

void SearchTest::aBatchEndsAtFullRows()
{
    QFETCH(const int, found);
    QFETCH(const int, start);
    QFETCH(const int, shown);
    state().searchTexts =
        state().searchPictures = [found](const SearchQuery &) { return hits(found); };
    VideoReader &reader = m_facade->reader;
    reader.getSearchResultCount("a");
    reader.getTextSearchResult(start);
    QCOMPARE(sourcesOf(texts()), sources("textsearch", start, start + shown - 1, "two"));
    reader.getImageSearchResult(start);
    QCOMPARE(sourcesOf(pictures()), sources("imagesearch", start, start + shown - 1, "one"));
}

void SearchTest::searchAndContinuationsFillTheModel()
{
    VideoInfo &info = m_facade->info;
    state().searchPictures = [](const SearchQuery &) { return hits(55); };
    const QSignalSpy changed(&info, &VideoInfo::imageMatchResultModelChanged);
    info.showImageSearchResult("a"); // resets both models
    awaitRows(pictures(), 36);
    QCOMPARE(changed.count(), 1 + 36);
    for (const int rows : {48, 55, 55}) {
        info.clearSearchTask();
        info.continueShowImageSearchResult("a");
        awaitRows(pictures(), rows);
    }
    info.clearSearchTask();
    QCoreApplication::processEvents();
    QCOMPARE(sourcesOf(pictures()), sources("imagesearch", 0, 35, "two") +
                                        sources("imagesearch", 36, 47, "one") +
                                        sources("imagesearch", 48, 54, "two"));
    for (int row = 0; row < 55; ++row) {
        QCOMPARE(itemOf(pictures(), row)->frameLengthOfDay(), row * 8 + 4);
    }
}

void SearchTest::theGenerationChangesWithEveryBatch()
{
    state().searchTexts = state().searchPictures = [](const SearchQuery &) { return hits(1); };
    VideoReader &reader = m_facade->reader;
    reader.getSearchResultCount("a");
    QStringList ids;
    const auto note = [&ids](const VideoPreviewImageItem &item) {
        ids << item.videoPreviewImageSource;
    };
    connect(&reader, &VideoReader::resetTextSearchModel, this, note);
    connect(&reader, &VideoReader::resetImageSearchModel, this, note);
    reader.getTextSearchResult(0);
    reader.getTextSearchResult(0);
    reader.getImageSearchResult(0); // shares the generation
    reader.getTextSearchResult(7);  // nothing to show
    reader.getTextSearchResult(0);
    QCOMPARE(ids, (QStringList{
                      "videoImageProvider/textsearch0two", "videoImageProvider/textsearch0one",
                      "videoImageProvider/imagesearch0two", "videoImageProvider/textsearch0two"}));
}

void SearchTest::twoSearchesHaveDifferentIds()
{
    VideoInfo &info = m_facade->info;
    info.showTextSearchResult("a");
    awaitRows(texts(), 36);
    const QStringList first = sourcesOf(texts());
    info.showTextSearchResult("b");
    awaitRows(texts(), 36);
    const QStringList second = sourcesOf(texts());
    QCOMPARE(first, sources("textsearch", 0, 35, "two"));
    QCOMPARE(second, sources("textsearch", 0, 35, "one"));
}

void SearchTest::aHitTellsItsFrame()
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

void SearchTest::aHitOfADayThatIsNotLoadedHasNoPlace()
{
    ScreenShotData hit = hits(1).first();
    hit.date = "2022-01-01";
    state().searchTexts = [hit](const SearchQuery &) { return QVector<ScreenShotData>{hit}; };
    m_facade->info.showTextSearchResult("a");
    awaitRows(texts(), 1);
    QCOMPARE(itemOf(texts(), 0)->frameLengthOfDay(), -1);
    QCOMPARE(itemOf(texts(), 0)->imageDateIndex(), -1);
}

void SearchTest::aHitWhoseRowIsGoneIsShownWithoutAFrame()
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

void SearchTest::picturesAreHandedOutByTheirIds()
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

void SearchTest::hitsWaitPackedAndAreHandedOutPlain()
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

void SearchTest::anUnknownIdIsANullPictureAndAWarning()
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

void SearchTest::picturesOutliveTheirSearch()
{
    m_facade->info.showTextSearchResult("a");
    awaitRows(texts(), 36);
    m_facade->info.showTextSearchResult("");
    QCOMPARE(numberOf(m_facade->provider.requestImage("textsearch35two", nullptr, {})), 36);
}

void SearchTest::aSearchIsCancelledInEachPhase_data()
{
    QTest::addColumn<QString>("phase");
    QTest::addColumn<int>("rows"); // shown before

    QTest::newRow("looking up texts") << "texts" << 0;
    QTest::newRow("looking up pictures") << "pictures" << 0;
    QTest::newRow("decoding the first hit") << "decode1" << 0;
    QTest::newRow("decoding a later hit") << "decode20" << 19;
    QTest::newRow("decoding the last hit of a batch") << "decode36" << 35;
}

void SearchTest::aSearchIsCancelledInEachPhase()
{
    QFETCH(const QString, phase);
    QFETCH(const int, rows);
    Notes notes;
    const auto enter = [&](const QString &name) {
        notes.add(name);
        if (name == phase) {
            untilStopped();
        }
    };
    state().searchTexts = [&](const SearchQuery &) {
        enter("texts");
        return isToStop() ? hits(0) : hits(40);
    };
    state().searchPictures = [&](const SearchQuery &) {
        enter("pictures");
        return isToStop() ? hits(0) : hits(50);
    };
    state().decode = [&](const QString &, unsigned int frame) {
        enter("decode" + QString::number(frame));
        return pictureOf(frame);
    };
    VideoInfo &info = m_facade->info;
    const QSignalSpy noTexts(&info, &VideoInfo::textSearchResultIsEmpty);
    const QSignalSpy noPictures(&info, &VideoInfo::imageSearchResultIsEmpty);
    info.showTextSearchResult("a");
    QTRY_COMPARE_WITH_TIMEOUT(notes.count(phase), 1, 20000);
    awaitRows(texts(), rows);
    info.clearSearchTask();
    QCoreApplication::processEvents();
    QCOMPARE(texts()->rowCount(), rows);
    QCOMPARE(notes.take().last(), phase); // nothing was begun after it
    QCOMPARE(noTexts.count(), 0);         // a list that was not looked up to its end is not empty
    QCOMPARE(noPictures.count(), 0);
    info.clearSearchTaskAndResult();
    QCOMPARE(texts()->rowCount(), 0);
}

void SearchTest::aSearchStoppedWhileItLooksUpIsContinuedWhole()
{
    Notes notes;
    std::atomic<bool> isSlow{true};
    state().searchTexts = [&](const SearchQuery &query) {
        notes.add("texts " + query.text);
        if (isSlow) {
            untilStopped();
        }
        return isToStop() ? hits(3, "part of it") : hits(40);
    };
    state().searchPictures = [&](const SearchQuery &query) {
        notes.add("pictures " + query.text);
        return hits(0);
    };
    VideoInfo &info = m_facade->info;
    const QSignalSpy noPictures(&info, &VideoInfo::imageSearchResultIsEmpty);
    info.showTextSearchResult("a");
    QTRY_COMPARE_WITH_TIMEOUT(notes.count("texts a"), 1, 20000);
    info.clearSearchTask(); // as the page does when the other tab is clicked
    isSlow = false;
    info.continueShowImageSearchResult("a");
    QTRY_COMPARE_WITH_TIMEOUT(noPictures.count(), 1, 20000);
    info.clearSearchTask();
    info.continueShowTextSearchResult("a");
    awaitRows(texts(), 36);
    QCOMPARE(notes.take().filter("texts").size() - 1, 1);
}

void SearchTest::aLookUpMadeAnewShowsItsRows()
{
    Notes notes;
    std::atomic<bool> isSlow{true};
    state().searchTexts = [&](const SearchQuery &) {
        notes.add("texts");
        if (isSlow) {
            untilStopped();
        }
        return isToStop() ? hits(0) : hits(5);
    };
    VideoInfo &info = m_facade->info;
    info.showTextSearchResult("a");
    QTRY_COMPARE_WITH_TIMEOUT(notes.count("texts"), 1, 20000);
    info.clearSearchTask();
    isSlow = false;
    info.continueShowTextSearchResult("a");
    awaitRows(texts(), 5);
}

void SearchTest::aSearchStoppedWhileItDecodesGoesOnWithoutLookingUp()
{
    Notes notes;
    std::atomic<bool> isSlow{true};
    state().searchTexts = [&](const SearchQuery &) {
        notes.add("texts");
        return hits(40);
    };
    state().decode = [&](const QString &, unsigned int frame) {
        if (frame == 11 && isSlow) {
            notes.add("decoding");
            untilStopped();
        }
        return pictureOf(frame);
    };
    VideoInfo &info = m_facade->info;
    info.showTextSearchResult("a");
    QTRY_COMPARE_WITH_TIMEOUT(notes.count("decoding"), 1, 20000);
    awaitRows(texts(), 10);
    info.clearSearchTask();
    isSlow = false;
    info.continueShowTextSearchResult("a"); // places 10 to 33: the first full rows beyond 30
    awaitRows(texts(), 34);
    QCOMPARE(sourcesOf(texts()),
             sources("textsearch", 0, 9, "two") + sources("textsearch", 10, 33, "one"));
    QCOMPARE(notes.count("texts"), 1);
}

void SearchTest::whatIsUnderWayIsNotShownAfterANewSearch()
{
    std::atomic<int> decoded{0};
    state().searchTexts = textsFor;
    state().decode = [&decoded](const QString &video, unsigned int frame) {
        ++decoded;
        return pictureOf(frame + (video == "b" ? 1000 : 0));
    };
    VideoInfo &info = m_facade->info;
    info.showTextSearchResult("a");
    while (decoded < 36) { // without taking any row over
        QThread::usleep(100);
    }
    info.showTextSearchResult("b");
    awaitRows(texts(), 36);
    info.clearSearchTask();
    QCoreApplication::processEvents();
    QCOMPARE(sourcesOf(texts()), sources("textsearch", 0, 35, "one"));
    QCOMPARE(numberOf(m_facade->reader.getTextSearchResultImage("textsearch0one")), 1001);
    const LogCapture log; // nobody can ask for the others: their pictures are not kept
    QVERIFY(m_facade->reader.getTextSearchResultImage("textsearch0two").isNull());
}

void SearchTest::aNoticeOfAnEarlierSearchComesTooLate()
{
    std::atomic<bool> isSecondBegun{false};
    state().searchTexts = [](const SearchQuery &query) {
        return query.text == "a" ? hits(0) : hits(1);
    };
    state().searchPictures = [&](const SearchQuery &query) {
        isSecondBegun = query.text == "a";
        return hits(1);
    };
    VideoInfo &info = m_facade->info;
    const QSignalSpy noTexts(&info, &VideoInfo::textSearchResultIsEmpty);
    info.showTextSearchResult("a");
    while (!isSecondBegun) { // its notice is under way
        QThread::usleep(100);
    }
    info.showTextSearchResult("b");
    awaitRows(texts(), 1);
    QCOMPARE(noTexts.count(), 0);
}

void SearchTest::cancellingKeepsTheRowsAndThoseUnderWay()
{
    std::atomic<int> decoded{0};
    state().decode = [&decoded](const QString &, unsigned int frame) {
        if (frame == 20) {
            decoded = 20;
            untilStopped();
        }
        return pictureOf(frame);
    };
    VideoInfo &info = m_facade->info;
    info.showTextSearchResult("a");
    while (decoded < 20) {
        QThread::usleep(100);
    }
    info.clearSearchTask();
    QCOMPARE(texts()->rowCount(), 0);
    awaitRows(texts(), 19);
}

void SearchTest::aContinuationBeforeTheRowsHaveArrivedRepeatsThem()
{
    std::atomic<int> lastOnes{0};
    state().decode = [&lastOnes](const QString &, unsigned int frame) {
        if (frame == 36) {
            ++lastOnes;
            untilStopped();
        }
        return pictureOf(frame);
    };
    VideoInfo &info = m_facade->info;
    for (int round = 1; round <= 2; ++round) { // no row has arrived: the second begins at 0 too
        round == 1 ? info.showTextSearchResult("a") : info.continueShowTextSearchResult("a");
        while (lastOnes < round) {
            QThread::usleep(100);
        }
        info.clearSearchTask();
    }
    awaitRows(texts(), 70);
    QCOMPARE(sourcesOf(texts()),
             sources("textsearch", 0, 34, "two") + sources("textsearch", 0, 34, "one"));
}

void SearchTest::aContinuationWithoutATextDoesNothing()
{
    VideoInfo &info = m_facade->info;
    info.showTextSearchResult("a");
    awaitRows(texts(), 36);
    std::atomic<int> decoded{0};
    state().decode = [&decoded](const QString &, unsigned int) {
        ++decoded;
        return QImage();
    };
    info.clearSearchTask();
    info.continueShowTextSearchResult("");
    info.continueShowImageSearchResult("");
    info.clearSearchTask();
    QCOMPARE(decoded.load(), 0);
    QCOMPARE(texts()->rowCount(), 36);
}

void SearchTest::theEndOfTheFacadeEndsItsSearch()
{
    std::atomic<bool> isDecoding{false};
    state().decode = [&isDecoding](const QString &, unsigned int) {
        isDecoding = true;
        untilStopped();
        isDecoding = false;
        return QImage();
    };
    m_facade->info.showTextSearchResult("a");
    QTRY_VERIFY_WITH_TIMEOUT(isDecoding, 20000);
    m_facade.reset();
    QVERIFY(!isDecoding);
}

// No page of ours does so; the thread that was left behind outlived the facade.
void SearchTest::searchesContinuedWithoutAStopEndTogether()
{
    std::atomic<bool> isDecoding{false};
    state().decode = [&isDecoding](const QString &, unsigned int) {
        isDecoding = true;
        untilStopped();
        isDecoding = false;
        return QImage();
    };
    m_facade->info.showTextSearchResult("a");
    QTRY_VERIFY_WITH_TIMEOUT(isDecoding, 20000);
    m_facade->info.continueShowTextSearchResult("a");
    m_facade->info.continueShowImageSearchResult("a");
    m_facade.reset();
    QVERIFY(!isDecoding);
}

void SearchTest::theEndOfTheProgramEndsItsSearch()
{
    std::atomic<bool> isDecoding{false};
    state().decode = [&isDecoding](const QString &, unsigned int) {
        isDecoding = true;
        untilStopped();
        isDecoding = false;
        return QImage();
    };
    m_facade->info.showTextSearchResult("a");
    QTRY_VERIFY_WITH_TIMEOUT(isDecoding, 20000);
    QVERIFY(QMetaObject::invokeMethod(QCoreApplication::instance(), "aboutToQuit"));
    QVERIFY(!isDecoding); // before the backend takes the reader down
}

void SearchTest::typingFastShowsTheLastTextAlone()
{
    constexpr int keys = 30;
    state().searchTexts = textsFor;
    state().decode = [](const QString &video, unsigned int frame) {
        QThread::usleep(500);
        return pictureOf(static_cast<unsigned int>(video.size()) * 100 + frame);
    };
    VideoInfo &info = m_facade->info;
    QString text;
    for (int key = 0; key < keys; ++key) {
        text += QChar('a' + key % 26);
        info.showTextSearchResult(text);
        QCOMPARE(texts()->rowCount(), 0);
        QCoreApplication::processEvents();
    }
    awaitRows(texts(), 36);
    info.clearSearchTask();
    QCoreApplication::processEvents();
    QCOMPARE(texts()->rowCount(), 36);
    for (int row = 0; row < 36; ++row) {
        const QString id = itemOf(texts(), row)->videoPreviewImageSource().section('/', 1);
        QCOMPARE(numberOf(m_facade->provider.requestImage(id, nullptr, {})), keys * 100 + row + 1);
    }
}

void SearchTest::anyOrderOfCallsKeepsToOneThread()
{
    std::atomic<int> running{0};
    std::atomic<int> most{0};
    const auto enter = [&] {
        const int now = ++running;
        if (now > most) {
            most = now;
        }
        QThread::usleep(50);
        --running;
    };
    state().searchTexts = [&](const SearchQuery &query) {
        enter();
        return isToStop() ? hits(0) : textsFor(query);
    };
    state().searchPictures = state().searchTexts;
    state().decode = [&](const QString &, unsigned int frame) {
        enter();
        return pictureOf(frame);
    };
    VideoInfo &info = m_facade->info;
    for (int round = 0; round < 300; ++round) {
        const QString text = QString::number(round / 4);
        switch ((round * 7 + round / 5) % 6) {
        case 0:
            info.showTextSearchResult(text);
            break;
        case 1:
            info.showImageSearchResult(text);
            break;
        case 2:
            info.clearSearchTask();
            info.continueShowTextSearchResult(text);
            break;
        case 3:
            info.clearSearchTask();
            info.continueShowImageSearchResult(text);
            break;
        case 4:
            info.clearSearchTaskAndResult();
            QCOMPARE(texts()->rowCount() + pictures()->rowCount(), 0);
            break;
        default:
            for (const QString &source : sourcesOf(texts())) { // as a page that shows them
                const QString id = source.section('/', 1);
                QVERIFY(!m_facade->provider.requestImage(id, nullptr, {}).isNull());
            }
        }
        if (round % 3 == 0) {
            QTest::qWait(1);
        }
    }
    info.showImageSearchResult("last");
    awaitRows(pictures(), 36);
    QCOMPARE(most.load(), 1);
}

QTEST_MAIN(SearchTest)
#include "searchtest.moc"
