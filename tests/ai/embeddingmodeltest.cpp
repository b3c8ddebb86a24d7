// Embedding pictures and texts through the runtime: the session's start with its retries, what is
// handed over, what counts as failure.

#include "ai/embeddingmodel.h"

#include "ai/coreaidouble/coreaidouble.h"
#include "ai/imageutils.h"
#include "fakesleep.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QTest>

#include <atomic>
#include <memory>

using namespace std::chrono_literals;

namespace
{
const QString NOT_READY = QStringLiteral("Image embedding session is not initialized.");
const QString START = QStringLiteral("image_embedding_init_session");
const QString GONE = QStringLiteral("删除图像session");

/// Vectors of 1024 numbers that tell the length of what they were made from.
QVector<float> vectorOf(const QByteArray &input)
{
    QVector<float> vector(1024, 0.5F);
    vector[0] = static_cast<float>(input.size());
    return vector;
}

QString retried(int attempt)
{
    return QStringLiteral("failed to init embedding session, retry %1 times").arg(attempt);
}

/// Both ways of embedding, so that one test looks at both.
using Embed = QVector<float> (*)(const EmbeddingModel &);

QVector<float> embedPicture(const EmbeddingModel &model)
{
    return model.getImageEmbeddingSync(Pictures::numbered(1));
}

QVector<float> embedText(const EmbeddingModel &model)
{
    return model.getTextEmbeddingSync(QStringLiteral("a 屏幕"));
}
} // namespace
Q_DECLARE_METATYPE(Embed)

class TestEmbeddingModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aCallBeforeTheSessionIsReadyYieldsAnEmptyVectorAndTheWarning_data();
    void aCallBeforeTheSessionIsReadyYieldsAnEmptyVectorAndTheWarning();
    void theVectorIsTheRuntimesAndItsResultIsDestroyed_data();
    void theVectorIsTheRuntimesAndItsResultIsDestroyed();
    void theRuntimesLengthIsKept_data();
    void theRuntimesLengthIsKept();
    void aFailedCallYieldsAnEmptyVectorAndItsOwnLine_data();
    void aFailedCallYieldsAnEmptyVectorAndItsOwnLine();
    void aResultOfLength0YieldsAnEmptyVectorAndIsDestroyed_data();
    void aResultOfLength0YieldsAnEmptyVectorAndIsDestroyed();
    void thePictureGoesOutAsJpegInBase64();
    void theTextGoesOutInUtf8();
    void pictureAndTextAtOnceOnOneSession();
    void aSessionThatFailsFourTimesIsReadyAfter20Seconds();
    void aSessionThatFailsFiveTimesIsGivenUpAfter25Seconds();
    void aSleepThatASignalInterruptedIsResumed();
    void noRetriesMeanNoAttempt();
    void noSessionAtAllIsFinal();
    void theEndIsLoggedAndTheSessionDestroyed();

private:
    static void addBothWays();
    std::unique_ptr<EmbeddingModel> readyModel();
};

void TestEmbeddingModel::addBothWays()
{
    QTest::addColumn<Embed>("embed");
    QTest::addColumn<QString>("failure");
    QTest::newRow("picture") << Embed(&embedPicture)
                             << QStringLiteral("embeddingImageResult is nullptr");
    QTest::newRow("text") << Embed(&embedText) << QStringLiteral("embeddingTextResult is nullptr");
}

void TestEmbeddingModel::init()
{
    CoreAiDouble::reset();
    FakeSleep::reset();
}

void TestEmbeddingModel::cleanup()
{
    CoreAiDouble::releaseStarts();
    FakeSleep::release();
    QCOMPARE(CoreAiDouble::livingResults(), 0);
}

std::unique_ptr<EmbeddingModel> TestEmbeddingModel::readyModel()
{
    auto model = std::make_unique<EmbeddingModel>();
    const LogCapture log; // of the calls that come too early
    const bool isReady =
        QTest::qWaitFor([&model] { return !model->getTextEmbeddingSync(QString()).isEmpty(); });
    return isReady ? std::move(model) : nullptr;
}

void TestEmbeddingModel::aCallBeforeTheSessionIsReadyYieldsAnEmptyVectorAndTheWarning_data()
{
    addBothWays();
}

void TestEmbeddingModel::aCallBeforeTheSessionIsReadyYieldsAnEmptyVectorAndTheWarning()
{
    QFETCH(Embed, embed);
    CoreAiDouble::holdStarts();
    const EmbeddingModel model; // does not wait for the runtime either
    const LogCapture log;
    QVERIFY(embed(model).isEmpty());
    QCOMPARE(log.texts(QtWarningMsg), QStringList(NOT_READY));
    QVERIFY(CoreAiDouble::embeddedPictures().isEmpty());
    QVERIFY(CoreAiDouble::embeddedTexts().isEmpty());
    CoreAiDouble::releaseStarts();
    QTRY_COMPARE(embed(model).size(), 1024);
}

void TestEmbeddingModel::theVectorIsTheRuntimesAndItsResultIsDestroyed_data()
{
    addBothWays();
}

void TestEmbeddingModel::theVectorIsTheRuntimesAndItsResultIsDestroyed()
{
    QFETCH(Embed, embed);
    const auto model = readyModel();
    QVERIFY(model);
    CoreAiDouble::setEmbedder(&vectorOf);
    const LogCapture log;
    const QVector<float> vector = embed(*model);
    const QVector<QByteArray> inputs =
        CoreAiDouble::embeddedPictures() + CoreAiDouble::embeddedTexts();
    QCOMPARE(vector, vectorOf(embed == &embedPicture ? inputs.first() : inputs.last()));
    QCOMPARE(CoreAiDouble::livingResults(), 0);
    QVERIFY(log.texts().isEmpty());
}

void TestEmbeddingModel::theRuntimesLengthIsKept_data()
{
    addBothWays();
}

void TestEmbeddingModel::theRuntimesLengthIsKept()
{
    QFETCH(Embed, embed);
    const auto model = readyModel();
    QVERIFY(model);
    CoreAiDouble::setEmbedder([](const QByteArray & /*input*/) {
        return QVector<float>({0.25F, -1.0F, 3.0F});
    });
    QCOMPARE(embed(*model), QVector<float>({0.25F, -1.0F, 3.0F}));
}

void TestEmbeddingModel::aFailedCallYieldsAnEmptyVectorAndItsOwnLine_data()
{
    addBothWays();
}

void TestEmbeddingModel::aFailedCallYieldsAnEmptyVectorAndItsOwnLine()
{
    QFETCH(Embed, embed);
    QFETCH(QString, failure);
    const auto model = readyModel();
    QVERIFY(model);
    CoreAiDouble::failEmbeddings();
    const LogCapture log;
    QVERIFY(embed(*model).isEmpty());
    QCOMPARE(log.texts(), QStringList(failure));
}

void TestEmbeddingModel::aResultOfLength0YieldsAnEmptyVectorAndIsDestroyed_data()
{
    addBothWays();
}

void TestEmbeddingModel::aResultOfLength0YieldsAnEmptyVectorAndIsDestroyed()
{
    QFETCH(Embed, embed);
    const auto model = readyModel();
    QVERIFY(model);
    int made = 0;
    CoreAiDouble::setEmbedder([&made](const QByteArray & /*input*/) {
        ++made;
        return QVector<float>();
    });
    QVERIFY(embed(*model).isEmpty());
    QCOMPARE(made, 1);
    QCOMPARE(CoreAiDouble::livingResults(), 0);
}

void TestEmbeddingModel::thePictureGoesOutAsJpegInBase64()
{
    const auto model = readyModel();
    QVERIFY(model);
    model->getImageEmbeddingSync(Pictures::numbered(9));
    const QVector<QByteArray> sent = CoreAiDouble::embeddedPictures();
    QCOMPARE(sent.size(), 1);
    QCOMPARE(sent.first(), imageToBase64(Pictures::numbered(9)).toLatin1());
    const QByteArray file = QByteArray::fromBase64(sent.first());
    QVERIFY(file.startsWith("\xff\xd8"));
    QCOMPARE(Pictures::numberOf(QImage::fromData(file)), 9);
}

void TestEmbeddingModel::theTextGoesOutInUtf8()
{
    const auto model = readyModel();
    QVERIFY(model);
    model->getTextEmbeddingSync(QStringLiteral("屏幕 history é"));
    QCOMPARE(CoreAiDouble::embeddedTexts().last(), QByteArray("屏幕 history é"));
}

void TestEmbeddingModel::pictureAndTextAtOnceOnOneSession()
{
    const auto model = readyModel();
    QVERIFY(model);
    // Each call waits in the runtime until the other is there too.
    std::atomic<int> inside{0};
    CoreAiDouble::setEmbedder([&inside](const QByteArray &input) {
        ++inside;
        for (int round = 0; round < 5000 && inside < 2; ++round) {
            std::this_thread::sleep_for(1ms);
        }
        return inside >= 2 ? vectorOf(input) : QVector<float>();
    });
    QVector<float> ofText;
    std::thread search([&] { ofText = embedText(*model); });
    const QVector<float> ofPicture = embedPicture(*model);
    search.join();
    QCOMPARE(ofPicture, vectorOf(CoreAiDouble::embeddedPictures().last()));
    QCOMPARE(ofText, vectorOf(CoreAiDouble::embeddedTexts().last()));
}

void TestEmbeddingModel::aSessionThatFailsFourTimesIsReadyAfter20Seconds()
{
    CoreAiDouble::failEmbeddingStarts(4);
    const LogCapture log;
    const EmbeddingModel model;
    QTRY_VERIFY(!embedText(model).isEmpty());
    const std::vector<FakeSleep::Sleep> sleeps = FakeSleep::sleeps();
    QCOMPARE(sleeps.size(), size_t(4));
    for (size_t attempt = 0; attempt < sleeps.size(); ++attempt) {
        QCOMPARE(sleeps.at(attempt).asked, std::chrono::milliseconds(5s));
        QVERIFY(sleeps.at(attempt).thread != std::this_thread::get_id());
        QCOMPARE(log.count(QtWarningMsg, retried(static_cast<int>(attempt))), 1);
    }
    QCOMPARE(CoreAiDouble::calls().count(START), 5);
    QVERIFY(!log.contains(QtWarningMsg, QStringLiteral("failed to initialize im_session")));
}

void TestEmbeddingModel::aSessionThatFailsFiveTimesIsGivenUpAfter25Seconds()
{
    CoreAiDouble::failEmbeddingStarts(5);
    const LogCapture log;
    const EmbeddingModel model;
    QTRY_VERIFY(log.contains(QtWarningMsg, QStringLiteral("failed to initialize im_session")));
    QCOMPARE(FakeSleep::sleeps().size(), size_t(5)); // the last attempt is followed by one too
    QCOMPARE(log.texts(QtWarningMsg).mid(0, 5),
             QStringList({retried(0), retried(1), retried(2), retried(3), retried(4)}));
    QCOMPARE(CoreAiDouble::calls().count(START), 5);
    QVERIFY(embedPicture(model).isEmpty());
    QVERIFY(embedText(model).isEmpty());
    QCOMPARE(log.count(QtWarningMsg, NOT_READY), 2);
}

void TestEmbeddingModel::aSleepThatASignalInterruptedIsResumed()
{
    CoreAiDouble::failEmbeddingStarts(1);
    FakeSleep::interruptNext(2);
    const EmbeddingModel model;
    QTRY_VERIFY(!embedText(model).isEmpty());
    const std::vector<FakeSleep::Sleep> sleeps = FakeSleep::sleeps();
    QCOMPARE(sleeps.size(), size_t(3));
    QCOMPARE(sleeps.at(1).asked, 2500ms);
    QCOMPARE(sleeps.at(2).asked, 1250ms);
}

void TestEmbeddingModel::noRetriesMeanNoAttempt()
{
    const auto model = readyModel();
    QVERIFY(model);
    QVERIFY(!model->initSessionWithRetry(0));
    QCOMPARE(CoreAiDouble::calls().count(START), 1);
}

void TestEmbeddingModel::noSessionAtAllIsFinal()
{
    CoreAiDouble::refuseEmbeddingSessions();
    const LogCapture log;
    {
        const EmbeddingModel model;
        QTRY_COMPARE(log.texts(QtWarningMsg),
                     QStringList(QStringLiteral("failed to create im_session")));
        QVERIFY(embedPicture(model).isEmpty());
    }
    QCOMPARE(log.texts(),
             QStringList({QStringLiteral("failed to create im_session"), NOT_READY, GONE}));
    QVERIFY(!CoreAiDouble::calls().contains(START));
}

void TestEmbeddingModel::theEndIsLoggedAndTheSessionDestroyed()
{
    auto model = readyModel();
    QVERIFY(model);
    const LogCapture log;
    model.reset();
    QCOMPARE(log.texts(QtDebugMsg), QStringList(GONE));
    QCOMPARE(CoreAiDouble::calls().last(), QStringLiteral("image_embedding_destroy_session"));
}

QTEST_GUILESS_MAIN(TestEmbeddingModel)
#include "embeddingmodeltest.moc"
