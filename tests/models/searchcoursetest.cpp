// Searches that are stopped, continued, overtaken by another or ended with the program.

#include "searchfixture.h"
#include "support/logcapture.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QThread>

#include <atomic>

using DataHandlerDouble::state;
using namespace SearchWorld;

namespace
{
QVector<ScreenShotData> textsFor(const SearchQuery &query)
{
    return hits(60, query.text);
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
} // namespace

class SearchCourseTest : public SearchFixture
{
    Q_OBJECT

private Q_SLOTS:
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
    bool searchUntilStopped(std::atomic<bool> *isDecoding);
};

/// Begins a search that decodes its first hit until it is stopped, and tells while it does.
bool SearchCourseTest::searchUntilStopped(std::atomic<bool> *isDecoding)
{
    state().decode = [isDecoding](const QString &, unsigned int) {
        *isDecoding = true;
        untilStopped();
        *isDecoding = false;
        return QImage();
    };
    m_facade->info.showTextSearchResult("a");
    return QTest::qWaitFor([isDecoding] { return isDecoding->load(); }, 20000);
}

void SearchCourseTest::aSearchIsCancelledInEachPhase_data()
{
    QTest::addColumn<QString>("phase");
    QTest::addColumn<int>("rows"); // shown before

    QTest::newRow("looking up texts") << "texts" << 0;
    QTest::newRow("looking up pictures") << "pictures" << 0;
    QTest::newRow("decoding the first hit") << "decode1" << 0;
    QTest::newRow("decoding a later hit") << "decode20" << 19;
    QTest::newRow("decoding the last hit of a batch") << "decode36" << 35;
}

void SearchCourseTest::aSearchIsCancelledInEachPhase()
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

void SearchCourseTest::aSearchStoppedWhileItLooksUpIsContinuedWhole()
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

void SearchCourseTest::aLookUpMadeAnewShowsItsRows()
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

void SearchCourseTest::aSearchStoppedWhileItDecodesGoesOnWithoutLookingUp()
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

void SearchCourseTest::whatIsUnderWayIsNotShownAfterANewSearch()
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

void SearchCourseTest::aNoticeOfAnEarlierSearchComesTooLate()
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

void SearchCourseTest::cancellingKeepsTheRowsAndThoseUnderWay()
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

void SearchCourseTest::aContinuationBeforeTheRowsHaveArrivedRepeatsThem()
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

void SearchCourseTest::aContinuationWithoutATextDoesNothing()
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

void SearchCourseTest::theEndOfTheFacadeEndsItsSearch()
{
    std::atomic<bool> isDecoding{false};
    QVERIFY(searchUntilStopped(&isDecoding));
    m_facade.reset();
    QVERIFY(!isDecoding);
}

// No page of ours does so; the thread that was left behind outlived the facade.
void SearchCourseTest::searchesContinuedWithoutAStopEndTogether()
{
    std::atomic<bool> isDecoding{false};
    QVERIFY(searchUntilStopped(&isDecoding));
    m_facade->info.continueShowTextSearchResult("a");
    m_facade->info.continueShowImageSearchResult("a");
    m_facade.reset();
    QVERIFY(!isDecoding);
}

void SearchCourseTest::theEndOfTheProgramEndsItsSearch()
{
    std::atomic<bool> isDecoding{false};
    QVERIFY(searchUntilStopped(&isDecoding));
    QVERIFY(QMetaObject::invokeMethod(QCoreApplication::instance(), "aboutToQuit"));
    QVERIFY(!isDecoding); // before the backend takes the reader down
}

void SearchCourseTest::typingFastShowsTheLastTextAlone()
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

void SearchCourseTest::anyOrderOfCallsKeepsToOneThread()
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

QTEST_MAIN(SearchCourseTest)
#include "searchcoursetest.moc"
