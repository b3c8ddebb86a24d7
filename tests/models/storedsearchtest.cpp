// A search over a real history: month databases, vector store and videos, of which parts are gone.

#include "capture/capturefixture.h"
#include "database/databasemanager.h"
#include "database/storedhistory.h"
#include "database/teststore.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "desktopentries.h"
#include "storedprogram.h"

#include "ai/coreaidouble/coreaidouble.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <algorithm>

namespace
{
constexpr int modelDataRole = 257;
constexpr int awaitMs = 20000;

struct Program : StoredProgram {
    VideoPreviewItem *item(QAbstractListModel *model, int row)
    {
        return model->data(model->index(row, 0), modelDataRole).value<VideoPreviewItem *>();
    }

    // What a page that shows the row loads.
    QImage picture(QAbstractListModel *model, int row)
    {
        const QString id = item(model, row)->videoPreviewImageSource().section('/', 1);
        return provider.requestImage(id, nullptr, {});
    }

    QVector<int> numbers(QAbstractListModel *model)
    {
        QVector<int> list;
        for (int row = 0; row < model->rowCount(); ++row) {
            const QImage image = picture(model, row);
            list << (image.isNull() ? 0 : Pictures::numberOf(image));
        }
        return list;
    }

    QAbstractListModel *texts() { return info.textMatchResultModel(); }
    QAbstractListModel *pictures() { return info.imageMatchResultModel(); }
};

// Every vector is stored at its own place; so this finds the frame with that number of its day.
void lookFor(int frameOfDay)
{
    CoreAiDouble::setEmbedder([frameOfDay](const QByteArray &) {
        QVector<float> vector(1024, 0.0F);
        vector[frameOfDay] = 1.0F;
        return vector;
    });
}
} // namespace

class StoredSearchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void textsAreFoundNewestFirstWithTheirPictures();
    void aHitLeadsToItsPlaceOnTheAxis();
    void meaningFindsTheFrameOfItsVector();
    void anyTextIsSearchedAsItStands_data();
    void anyTextIsSearchedAsItStands();
    void aHitOfADayThatIsNotLoadedHasNoPlace();
    void aHitWhoseRowIsGoneStaysAsAnEmptyOne();
    void aHitWhoseVideoIsGoneIsShownWithoutAPicture();
    void aHitWhoseVideoIsDamagedIsShownWithoutAPicture();
    void hitsOfTheOpenBatchAreFoundToo();
    void thirtyKeysInTwoSecondsShowTheLastTextAndNeverFreeze();

private:
    std::unique_ptr<DesktopEntries> m_entries;
    QString m_editor;
};

void StoredSearchTest::initTestCase()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    StoredHistory::openVectorStore();
}

void StoredSearchTest::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    StoredHistory::eraseEverything();
    CoreAiDouble::reset();
    m_entries = std::make_unique<DesktopEntries>();
    m_editor = m_entries->add("editor.desktop", "Name=Editor\nIcon=kept-icon\n");
}

void StoredSearchTest::cleanup()
{
    StoredHistory::eraseEverything();
    FakeClock::reset();
}

void StoredSearchTest::textsAreFoundNewestFirstWithTheirPictures()
{
    const QDate day(2024, 3, 13);
    StoredHistory::store({QDateTime(day, QTime(9, 0)), 30, 60, 1, 1, m_editor});
    StoredHistory::store({QDateTime(day, QTime(10, 0)), 30, 60, 31, 31, m_editor});
    Program program;
    program.info.showTextSearchResult("picture");
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), 36, awaitMs);
    program.info.clearSearchTask();
    program.info.continueShowTextSearchResult("picture");
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), 48, awaitMs);
    program.info.clearSearchTask();
    program.info.continueShowTextSearchResult("picture");
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), 60, awaitMs);
    QVector<int> expected;
    for (int number = 60; number >= 1; --number) {
        expected << number;
    }
    // Each batch has the ids of its generation; the first one's were not taken by the third's.
    QCOMPARE(program.numbers(program.texts()), expected);
    VideoPreviewItem *newest = program.item(program.texts(), 0);
    QCOMPARE(newest->previewAppName(), QString("Editor"));
    QCOMPARE(newest->previewAppIcon(), QString("kept-icon"));
    QCOMPARE(newest->previewImageDate(), QString("2 days ago"));
    QCOMPARE(newest->previewImageTime(), QString("10:29:00"));
}

void StoredSearchTest::aHitLeadsToItsPlaceOnTheAxis()
{
    const QDate day(2024, 3, 13);
    StoredHistory::store({QDateTime(day, QTime(9, 0)), 3, 60, 1, 1, m_editor});
    StoredHistory::store({QDateTime(day, QTime(10, 0)), 4, 60, 4, 4, "/other.desktop"});
    StoredHistory::store({QDateTime(day.addDays(1), QTime(9, 0)), 2, 60, 100, 1, m_editor});
    Program program;
    program.info.showTextSearchResult("picture");
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), 9, awaitMs);
    program.info.clearSearchTask();
    for (int row = 0; row < 9; ++row) {
        const VideoPreviewItem *hit = program.item(program.texts(), row);
        program.info.showCurShowImageItem(hit->imageDateIndex(), hit->frameLengthOfDay(), row);
        QCOMPARE(Pictures::numberOf(program.reader.getCurShowImage()),
                 Pictures::numberOf(program.picture(program.texts(), row)));
    }
}

void StoredSearchTest::meaningFindsTheFrameOfItsVector()
{
    StoredHistory::store({QDateTime(QDate(2024, 3, 13), QTime(9, 0)), 10, 60, 1, 1, m_editor});
    lookFor(7);
    Program program;
    const QSignalSpy noText(&program.info, &VideoInfo::textSearchResultIsEmpty);
    program.info.showImageSearchResult("words that stand nowhere");
    QTRY_COMPARE_WITH_TIMEOUT(program.pictures()->rowCount(), 1, awaitMs);
    QCOMPARE(program.numbers(program.pictures()), QVector<int>{7});
    QCOMPARE(program.item(program.pictures(), 0)->frameLengthOfDay(), 6 * 8 + 4);
    QTRY_COMPARE_WITH_TIMEOUT(noText.count(), 1, awaitMs);
}

void StoredSearchTest::anyTextIsSearchedAsItStands_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("isFound");

    const QString fox = QString::fromUtf8("the 🦊 runs");
    const QString hebrew = QString::fromUtf8("אמר שלום עולם; ");
    const QString longText(10000, QChar(0x4E2D));
    QTest::newRow("a quote ends the statement") << "it's"
                                                << "it's" << false;
    QTest::newRow("two quotes are one") << "it's"
                                        << "it''s" << true;
    QTest::newRow("double quotes") << "say \"so\""
                                   << "\"so\"" << true;
    QTest::newRow("a percent sign is anything") << "sold 100 of them"
                                                << "100%them" << true;
    QTest::newRow("a percent sign at the end") << "sold 100 of them"
                                               << "100%" << true;
    QTest::newRow("an underscore is one character") << "abc"
                                                    << "a_c" << true;
    QTest::newRow("and not none") << "ac"
                                  << "a_c" << false;
    QTest::newRow("emoji") << fox << QString::fromUtf8("🦊") << true;
    QTest::newRow("another emoji") << fox << QString::fromUtf8("🐺") << false;
    QTest::newRow("right to left") << hebrew << QString::fromUtf8("שלום") << true;
    QTest::newRow("10,000 characters") << longText << longText << true;
    QTest::newRow("10,001 characters") << longText << longText + 'x' << false;
}

void StoredSearchTest::anyTextIsSearchedAsItStands()
{
    QFETCH(const QString, stored);
    QFETCH(const QString, typed);
    QFETCH(const bool, isFound);
    ScreenShotData row = TestStore::frame("2024-03-15 09:00:00", 1, m_editor, stored);
    QVERIFY(DatabaseManager::getInstance()->saveScreenShotData(row));
    Program program;
    const LogCapture log;
    const QSignalSpy noText(&program.info, &VideoInfo::textSearchResultIsEmpty);
    const QSignalSpy noPicture(&program.info, &VideoInfo::imageSearchResultIsEmpty);
    program.info.showTextSearchResult(typed);
    QTRY_COMPARE_WITH_TIMEOUT(noPicture.count(), 1, awaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), isFound ? 1 : 0, awaitMs);
    QCOMPARE(noText.count(), isFound ? 0 : 1);
    program.info.clearSearchTask();
    QVERIFY2(log.texts().filter(typed).isEmpty(), "a query stands on the log");
}

void StoredSearchTest::aHitOfADayThatIsNotLoadedHasNoPlace()
{
    Program program; // before there is a day
    StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(9, 0)), 1, 60, 5, 1, m_editor});
    program.info.showTextSearchResult("picture");
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), 1, awaitMs);
    QCOMPARE(program.item(program.texts(), 0)->frameLengthOfDay(), -1);
    QCOMPARE(program.item(program.texts(), 0)->imageDateIndex(), -1);
    QCOMPARE(program.numbers(program.texts()), QVector<int>{5});
}

void StoredSearchTest::aHitWhoseRowIsGoneStaysAsAnEmptyOne()
{
    StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(9, 0)), 3, 60, 1, 1, m_editor});
    const QString file =
        QDir::homePath() + "/.cache/tavel-ai-yestermark/traditional_database/2024-03.db";
    QCOMPARE(TestStore::query(file, "DELETE FROM screenshots WHERE frame_index_of_day = 2"),
             QStringList());
    lookFor(2);
    Program program;
    LogCapture log;
    program.info.showImageSearchResult("text");
    QTRY_COMPARE_WITH_TIMEOUT(program.pictures()->rowCount(), 1, awaitMs);
    program.info.clearSearchTask();
    QCOMPARE(program.numbers(program.pictures()), QVector<int>{0});
    QCOMPARE(program.item(program.pictures(), 0)->frameLengthOfDay(), -1);
    QCOMPARE(log.count(QtWarningMsg, "frameIndexOfVideo has to be greater than 0"), 1);
}

void StoredSearchTest::aHitWhoseVideoIsGoneIsShownWithoutAPicture()
{
    StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(9, 0)), 2, 60, 1, 1, m_editor});
    const QString gone =
        StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(10, 0)), 2, 60, 3, 3, m_editor});
    StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(11, 0)), 2, 60, 5, 5, m_editor});
    QVERIFY(QFile::remove(StoredHistory::pathOf(gone)));
    Program program;
    program.info.showTextSearchResult("picture");
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), 6, awaitMs);
    program.info.clearSearchTask();
    QCOMPARE(program.numbers(program.texts()), (QVector<int>{6, 5, 0, 0, 2, 1}));
    QCOMPARE(program.item(program.texts(), 2)->frameLengthOfDay(), 3 * 8 + 4); // its place is known
    QCOMPARE(program.item(program.texts(), 2)->previewAppName(), QString("Editor"));
}

void StoredSearchTest::aHitWhoseVideoIsDamagedIsShownWithoutAPicture()
{
    StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(9, 0)), 2, 60, 1, 1, m_editor});
    const QString damaged =
        StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(10, 0)), 2, 60, 3, 3, m_editor});
    QFile file(StoredHistory::pathOf(damaged));
    QVERIFY(file.resize(file.size() / 3));
    Program program;
    program.info.showTextSearchResult("picture");
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), 4, awaitMs);
    program.info.clearSearchTask();
    QCOMPARE(program.numbers(program.texts()), (QVector<int>{0, 0, 2, 1}));
}

void StoredSearchTest::hitsOfTheOpenBatchAreFoundToo()
{
    FakeDesktop desktop;
    const CaptureFixture::Application files(CaptureFixture::Application::FileManager);
    Program program;
    desktop.setActivePid(files.pid());
    for (int number = 1; number <= 2; ++number) {
        desktop.setImage(Pictures::numbered(number));
        program.tracker.processScreenShot();
        FakeClock::advance(5);
    }
    program.info.showTextSearchResult("%"); // nothing has been read, so anything
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), 2, awaitMs);
    program.info.clearSearchTask();
    QCOMPARE(program.numbers(program.texts()), (QVector<int>{2, 1}));
    QCOMPARE(program.item(program.texts(), 0)->frameLengthOfDay(), 8 + 4);
}

void StoredSearchTest::thirtyKeysInTwoSecondsShowTheLastTextAndNeverFreeze()
{
    constexpr int keys = 30;
    constexpr qint64 longestFreezeMs = 2000; // a frozen window; benches know the figure itself
    for (int hour = 0; hour < 4; ++hour) {
        StoredHistory::store({QDateTime(QDate(2024, 3, 14), QTime(9 + hour, 0)), 15, 60,
                              1 + hour * 15, static_cast<quint32>(1 + hour * 15), m_editor});
    }
    Program program;
    const QString text = "picture 5; ";
    QElapsedTimer sinceTick;
    qint64 longest = 0;
    QTimer ticks;
    connect(&ticks, &QTimer::timeout, this,
            [&] { longest = std::max(longest, sinceTick.restart()); });
    int typed = 0;
    QTimer typing;
    connect(&typing, &QTimer::timeout, this, [&] {
        ++typed;
        program.info.showTextSearchResult(text.left(1 + (typed - 1) % text.size()));
        if (typed == keys) {
            program.info.showTextSearchResult(text);
            typing.stop();
        }
    });
    sinceTick.start();
    ticks.start(5);
    typing.start(2000 / keys);
    QTRY_COMPARE_WITH_TIMEOUT(typed, keys, awaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(program.texts()->rowCount(), 1, awaitMs);
    program.info.clearSearchTask();
    QCoreApplication::processEvents();
    QCOMPARE(program.numbers(program.texts()), QVector<int>{5});
    QVERIFY2(longest < longestFreezeMs, qPrintable(QString::number(longest)));
}

QTEST_MAIN(StoredSearchTest)
#include "storedsearchtest.moc"
