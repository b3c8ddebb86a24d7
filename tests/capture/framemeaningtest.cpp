// What the AI abilities add to a kept frame: its text, which comes later, and its embedding, for
// which the recorder waits.

#include "ai/coreaidouble/coreaidouble.h"
#include "capture/capturefixture.h"
#include "capture/screenhistorytracker.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "vectordb/databaseloader.h"
#include "vectordb/fake/fakedatabase.h"

#include <QRegularExpression>
#include <QTest>

#include <memory>

using CaptureFixture::Application;
using CaptureFixture::storedRows;
using CoreAiDouble::Line;
using CoreAiDouble::Reading;

namespace
{
Line line(const QByteArray &text)
{
    return {text, {{0, 0}, {9, 0}, {9, 9}, {0, 9}}};
}

Reading readNumber(const QByteArray &encoded)
{
    const int number = Pictures::numberOf(QImage::fromData(encoded));
    return {{line("picture"), line(QByteArray::number(number))}};
}

QString textOf(int number)
{
    return QStringLiteral("picture; %1; ").arg(number);
}

QVector<float> vectorOfNumber(const QByteArray &base64)
{
    const int number = Pictures::numberOf(QImage::fromData(QByteArray::fromBase64(base64)));
    return QVector<float>(1024, static_cast<float>(number));
}

QStringList storedTexts()
{
    QStringList texts;
    for (const ScreenShotData &row : storedRows()) {
        texts << row.ocrText;
    }
    return texts;
}
} // namespace

class TestFrameMeaning : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theTextReachesTheRowOfItsFrame();
    void everyLineEndsInTheSeparator();
    void aFrameWithoutTextKeepsAnEmptyText();
    void aSlowReaderDoesNotHoldUpTheRecorder();
    void copyRowAndRequestComeBeforeTheEmbedding();
    void theEmbeddingsTimeStandsOnTheLog();
    void theVectorIsStoredUnderTheNameOfItsFrame();
    void aFailedEmbeddingChangesNothingElse();
    void aVectorThatCannotBeStoredChangesNothingElse();
    void noTextReachesATrackerThatIsGone();

private:
    /// That everything but its vector became of pictures 1 and 2.
    void verifyTheRestOfTwoFrames();
    void keep(int picture) { m_tracker->screenshotReady(Pictures::numbered(picture)); }

    std::shared_ptr<VectorDB::FakeDatabase> m_vectors;
    std::unique_ptr<FakeDesktop> m_desktop;
    std::unique_ptr<Application> m_application;
    std::unique_ptr<ScreenHistoryTracker> m_tracker;
};

void TestFrameMeaning::initTestCase()
{
    m_vectors = std::make_shared<VectorDB::FakeDatabase>();
    VectorDB::DatabaseLoader::force([this] { return m_vectors; });
    m_application = std::make_unique<Application>(Application::FileManager);
    // The AI runtime comes up once for the process: a frame before that would have no text.
    m_desktop = std::make_unique<FakeDesktop>();
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    QTRY_VERIFY(
        CoreAiDouble::calls().contains(QStringLiteral("text_recognition_result_set_callback")));
    QTRY_VERIFY(CoreAiDouble::calls().contains(QStringLiteral("image_embedding_init_session")));
    QTRY_COMPARE(m_vectors->count("CreateCollection"), 1);
    m_tracker.reset();
    m_desktop.reset();
}

void TestFrameMeaning::init()
{
    CoreAiDouble::reset();
    CoreAiDouble::setReader(&readNumber);
    CaptureFixture::eraseEverything();
    m_desktop = std::make_unique<FakeDesktop>();
    m_desktop->setActivePid(m_application->pid());
    m_tracker = std::make_unique<ScreenHistoryTracker>();
}

void TestFrameMeaning::cleanup()
{
    m_vectors->succeed("Insert");
    CoreAiDouble::releaseAnswers();
    m_tracker.reset();
    m_desktop.reset();
}

void TestFrameMeaning::theTextReachesTheRowOfItsFrame()
{
    CoreAiDouble::holdAnswers();
    for (int picture = 1; picture <= 4; ++picture) {
        keep(picture);
    }
    QCOMPARE(storedTexts(), QStringList({QString(), QString(), QString(), QString()}));
    CoreAiDouble::releaseAnswers();
    QTRY_COMPARE(storedTexts(), QStringList({textOf(1), textOf(2), textOf(3), textOf(4)}));
}

void TestFrameMeaning::everyLineEndsInTheSeparator()
{
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) {
        return Reading{{line("文件"), line("Edit; View"), line("last")}};
    });
    keep(1);
    QTRY_COMPARE(storedTexts(), QStringList(QStringLiteral("文件; Edit; View; last; ")));
}

void TestFrameMeaning::aFrameWithoutTextKeepsAnEmptyText()
{
    CoreAiDouble::setReader([](const QByteArray &encoded) {
        return Pictures::numberOf(QImage::fromData(encoded)) == 1 ? Reading() : readNumber(encoded);
    });
    keep(1);
    keep(2);
    QTRY_COMPARE(storedTexts(), QStringList({QString(), textOf(2)}));
}

void TestFrameMeaning::aSlowReaderDoesNotHoldUpTheRecorder()
{
    CoreAiDouble::holdAnswers();
    for (int picture = 1; picture <= 20; ++picture) {
        keep(picture); // would not return if it waited
    }
    QCOMPARE(storedRows().size(), 20);
    QCOMPARE(CoreAiDouble::readPictures().size(), 20);
}

void TestFrameMeaning::copyRowAndRequestComeBeforeTheEmbedding()
{
    QStringList copies;
    int rows = 0;
    int requests = 0;
    int embedded = 0;
    CoreAiDouble::setEmbedder([&](const QByteArray &base64) {
        copies = CaptureFixture::filesIn(CaptureFixture::todayDirectory(), QStringLiteral("*.png"));
        rows = storedRows().size();
        requests = CoreAiDouble::readPictures().size();
        embedded = Pictures::numberOf(QImage::fromData(QByteArray::fromBase64(base64)));
        return QVector<float>(1024, 0.03125F);
    });
    keep(5);
    QCOMPARE(copies.size(), 1);
    QCOMPARE(rows, 1);
    QCOMPARE(requests, 1);
    QCOMPARE(embedded, 5);
}

void TestFrameMeaning::theEmbeddingsTimeStandsOnTheLog()
{
    keep(1);
    CoreAiDouble::setEmbedder([](const QByteArray & /*base64*/) {
        QTest::qSleep(30);
        return QVector<float>(1024, 0.03125F);
    });
    const LogCapture log;
    keep(2);
    const QRegularExpression line(QStringLiteral("^Frame: 2 Embedding image elapsed: (\\d+) ms$"));
    QVector<int> times;
    for (const QString &text : log.texts(QtDebugMsg)) {
        const QRegularExpressionMatch match = line.match(text);
        if (match.hasMatch()) {
            times << match.captured(1).toInt();
        }
    }
    QCOMPARE(times.size(), 1);
    QVERIFY2(times.first() >= 29, qPrintable(QString::number(times.first())));
}

void TestFrameMeaning::theVectorIsStoredUnderTheNameOfItsFrame()
{
    CoreAiDouble::setEmbedder(&vectorOfNumber);
    for (const int picture : {6, 7}) {
        const int before = m_vectors->count("Insert");
        keep(picture);
        QCOMPARE(m_vectors->count("Insert"), before + 1);
        const ScreenShotData row = storedRows().last();
        int found = 0;
        for (const VectorDB::FieldPtr &column : m_vectors->lastColumns()) {
            if (column->Name() == "videoName") {
                const auto &names = static_cast<VectorDB::VarCharFieldData &>(*column).Data();
                QCOMPARE(QString::fromStdString(names.front()), row.videoName);
                ++found;
            } else if (column->Name() == "frameIndexOfVideo") {
                const auto &indexes = static_cast<VectorDB::Int32FieldData &>(*column).Data();
                QCOMPARE(static_cast<quint32>(indexes.front()), row.frameIndexOfVideo);
                ++found;
            } else if (column->Name() == "realTime") {
                const auto &times = static_cast<VectorDB::Int64FieldData &>(*column).Data();
                QCOMPARE(qint64(times.front()), row.realTime);
                ++found;
            } else if (column->Name() == "vector") {
                const auto &vectors = static_cast<VectorDB::FloatVectorFieldData &>(*column).Data();
                QCOMPARE(vectors.front(), std::vector<float>(1024, static_cast<float>(picture)));
                ++found;
            }
        }
        QCOMPARE(found, 4);
    }
}

void TestFrameMeaning::verifyTheRestOfTwoFrames()
{
    QCOMPARE(
        CaptureFixture::filesIn(CaptureFixture::todayDirectory(), QStringLiteral("*.png")).size(),
        2);
    QTRY_COMPARE(storedTexts(), QStringList({textOf(1), textOf(2)}));
    m_tracker.reset();
    QCOMPARE(
        CaptureFixture::filesIn(CaptureFixture::todayDirectory(), QStringLiteral("*.mp4")).size(),
        1);
}

void TestFrameMeaning::aFailedEmbeddingChangesNothingElse()
{
    CoreAiDouble::failEmbeddings();
    const int before = m_vectors->count("Insert");
    const LogCapture log;
    keep(1);
    keep(2);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("embeddingImageResult is nullptr")), 2);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Embedding image elapsed:")), 2);
    QCOMPARE(m_vectors->count("Insert"), before); // an empty vector is not stored
    verifyTheRestOfTwoFrames();
}

void TestFrameMeaning::aVectorThatCannotBeStoredChangesNothingElse()
{
    m_vectors->fail("Insert", VectorDB::Status(VectorDB::StatusCode::STORE_FULL, "full"));
    const LogCapture log;
    keep(1);
    keep(2);
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("Failed to insert:")), 2);
    verifyTheRestOfTwoFrames();
}

void TestFrameMeaning::noTextReachesATrackerThatIsGone()
{
    CoreAiDouble::holdAnswers();
    keep(1);
    m_tracker.reset();
    const LogCapture log;
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) { return Reading(); });
    CoreAiDouble::releaseAnswers();
    QTRY_VERIFY(log.contains(QtWarningMsg, QStringLiteral("No text detected in image.")));
    QTest::qWait(20);
    QCOMPARE(storedTexts(), QStringList(QString()));
}

QTEST_MAIN(TestFrameMeaning)
#include "framemeaningtest.moc"
