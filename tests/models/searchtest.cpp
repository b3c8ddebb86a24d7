// A search from the pages' call to the rows of the models, over a history that is told what it
// finds and how long it takes.

#include "searchfixture.h"
#include "support/logcapture.h"

#include <QAbstractItemModelTester>
#include <QCoreApplication>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QThread>

#include <atomic>

using DataHandlerDouble::state;
using namespace SearchWorld;

class SearchTest : public SearchFixture
{
    Q_OBJECT

private Q_SLOTS:
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
};

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

QTEST_MAIN(SearchTest)
#include "searchtest.moc"
