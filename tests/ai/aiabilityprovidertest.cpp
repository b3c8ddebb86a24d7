// The door to the AI abilities: which result goes to which record, on which thread, and what a
// request that was lost does to those behind it.

#include "ai/aiabilityprovider.h"

#include "ai/coreaidouble/coreaidouble.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>
#include <mutex>

using CoreAiDouble::Line;
using CoreAiDouble::Reading;

namespace
{
/// A provider beside the process's own, so that no test finds what another one left in the queue.
class FreshProvider : public AIAbilityProvider
{
};

ScreenShotData frame(int number)
{
    ScreenShotData data;
    data.videoName = QStringLiteral("2024-03-05_14-07-31.mp4");
    data.frameIndexOfVideo = static_cast<quint32>(number);
    data.frameIndexOfDay = static_cast<quint32>(number + 100);
    data.realTime = 1709647651 + number;
    data.desktopFilePath = QStringLiteral("/usr/share/applications/xterm.desktop");
    data.ocrText = QLatin1String("");
    return data;
}

Line line(const QByteArray &text)
{
    return {text, {{0, 0}, {9, 0}, {9, 9}, {0, 9}}};
}

/// Reads the number of a picture.
Reading readNumber(const QByteArray &encoded)
{
    const int number = Pictures::numberOf(QImage::fromData(encoded));
    return {{line("picture"), line(QByteArray::number(number))}};
}

QString textOf(int number)
{
    return QStringLiteral("picture; %1; ").arg(number);
}

/// Everything that a provider tells, in order, as it is emitted.
class Listener
{
public:
    explicit Listener(AIAbilityProvider *provider)
    {
        QObject::connect(
            provider, &AIAbilityProvider::screenshotOCRDataReady, provider,
            [this](ScreenShotData &data) { add(QStringLiteral("frame"), data); },
            Qt::DirectConnection);
        QObject::connect(
            provider, &AIAbilityProvider::imageOCRDataReady, provider,
            [this](const QVector<OCRTextData> &lines) {
                ScreenShotData data;
                data.ocrText = lines.isEmpty() ? QString() : lines.last().text;
                add(QStringLiteral("image"), data);
            },
            Qt::DirectConnection);
    }
    int count() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_records.size();
    }
    ScreenShotData at(int index) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_records.at(index);
    }
    QStringList kinds() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_kinds;
    }
    bool wasOnThread(QThread *thread) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_threads.contains(thread);
    }

private:
    void add(const QString &kind, const ScreenShotData &data)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_kinds << kind;
        m_records << data;
        m_threads << QThread::currentThread();
    }

    mutable std::mutex m_mutex;
    QStringList m_kinds;
    QVector<ScreenShotData> m_records;
    QVector<QThread *> m_threads;
};

void requestFrame(AIAbilityProvider *provider, int number)
{
    ScreenShotData data = frame(number);
    Q_EMIT provider->requestScreenshotOCRData(Pictures::numbered(number), data);
}

bool waitUntilReady()
{
    return QTest::qWaitFor([] {
        const QStringList calls = CoreAiDouble::calls();
        return calls.contains(QStringLiteral("text_recognition_result_set_callback")) &&
               calls.contains(QStringLiteral("image_embedding_init_session"));
    });
}
} // namespace

class TestAIAbilityProvider : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void signalsAreThoseOfTheDoor();
    void thereIsOneInstance();
    void aLoneImageAndAFrameInFlightAtOnceKeepTheirOrder();
    void aLoneImagesLinesComeAsTheyAre();
    void anImageWithNoTextLeavesTheTextUnchanged();
    void everyLineEndsInTheSeparatorAlsoTheLast();
    void linesAreAppendedToTheTextThatTheRecordHas();
    void theRestOfTheRecordComesBackAsItWas();
    void theRecordIsCopiedWhenItIsRequested();
    void resultsAreToldOnTheRuntimesThreadAndQueuedToOthers();
    void aRequestThatWasLostShiftsEveryLaterResult_data();
    void aRequestThatWasLostShiftsEveryLaterResult();
    void aResultThatNobodyAskedForIsDropped();
    void summariesAreAskedOfNobody();
    void embeddingsAreForwarded();
    void untilTheRuntimeIsUpVectorsAreEmpty();
    void theEndDropsWhatIsStillInFlight();
    void theSemanticModuleAnswersOnItsOwnThread();
    void theModulesEndInTheirOrder();
};

void TestAIAbilityProvider::initTestCase()
{
    qRegisterMetaType<ScreenShotData>("ScreenShotData&");
}

void TestAIAbilityProvider::init()
{
    CoreAiDouble::reset();
    CoreAiDouble::setReader(&readNumber);
}

void TestAIAbilityProvider::signalsAreThoseOfTheDoor()
{
    const QMetaObject &meta = AIAbilityProvider::staticMetaObject;
    QList<QByteArray> signatures;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        QCOMPARE(meta.method(index).methodType(), QMetaMethod::Signal);
        signatures += meta.method(index).methodSignature();
    }
    QCOMPARE(signatures,
             QList<QByteArray>({"requestImageOCRData(QImage)", "requestImageSemanticData(QImage)",
                                "requestScreenshotOCRData(QImage,ScreenShotData&)",
                                "imageOCRDataReady(QVector<OCRTextData>)",
                                "imageSemanticDataReady(QString)",
                                "screenshotOCRDataReady(ScreenShotData&)"}));
}

void TestAIAbilityProvider::thereIsOneInstance()
{
    AIAbilityProvider *instance = AIAbilityProvider::getInstance();
    QVERIFY(instance);
    QCOMPARE(AIAbilityProvider::getInstance(), instance);
    QVERIFY(waitUntilReady());
    QCOMPARE(CoreAiDouble::calls().count(QStringLiteral("text_recognition_create_session")), 1);
    QCOMPARE(CoreAiDouble::calls().count(QStringLiteral("image_embedding_create_session")), 1);
}

void TestAIAbilityProvider::aLoneImageAndAFrameInFlightAtOnceKeepTheirOrder()
{
    FreshProvider provider;
    const Listener listener(&provider);
    QVERIFY(waitUntilReady());
    CoreAiDouble::holdAnswers();
    Q_EMIT provider.requestImageOCRData(Pictures::numbered(1));
    requestFrame(&provider, 2);
    Q_EMIT provider.requestImageOCRData(Pictures::numbered(3));
    requestFrame(&provider, 4);
    QCOMPARE(CoreAiDouble::readPictures().size(), 4); // handed over directly
    QCOMPARE(listener.count(), 0);
    CoreAiDouble::releaseAnswers();
    QTRY_COMPARE(listener.count(), 4);
    QCOMPARE(listener.kinds(), QStringList({QStringLiteral("image"), QStringLiteral("frame"),
                                            QStringLiteral("image"), QStringLiteral("frame")}));
    QCOMPARE(listener.at(0).ocrText, QStringLiteral("1"));
    QCOMPARE(listener.at(1).frameIndexOfVideo, 2U);
    QCOMPARE(listener.at(1).ocrText, textOf(2));
    QCOMPARE(listener.at(2).ocrText, QStringLiteral("3"));
    QCOMPARE(listener.at(3).frameIndexOfVideo, 4U);
    QCOMPARE(listener.at(3).ocrText, textOf(4));
}

void TestAIAbilityProvider::aLoneImagesLinesComeAsTheyAre()
{
    FreshProvider provider;
    QVector<OCRTextData> received;
    connect(&provider, &AIAbilityProvider::imageOCRDataReady, this,
            [&received](const QVector<OCRTextData> &lines) { received = lines; });
    qRegisterMetaType<QVector<OCRTextData>>("QVector<OCRTextData>");
    QVERIFY(waitUntilReady());
    Q_EMIT provider.requestImageOCRData(Pictures::numbered(5));
    QTRY_COMPARE(received.size(), 2);
    QCOMPARE(received.last().text, QStringLiteral("5"));
    QCOMPARE(received.last().cornerPoints,
             QVector<QPointF>({{0.0, 0.0}, {9.0, 0.0}, {9.0, 9.0}, {0.0, 9.0}}));
}

void TestAIAbilityProvider::anImageWithNoTextLeavesTheTextUnchanged()
{
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) { return Reading(); });
    FreshProvider provider;
    const Listener listener(&provider);
    QVERIFY(waitUntilReady());
    requestFrame(&provider, 1);
    QTRY_COMPARE(listener.count(), 1);
    QCOMPARE(listener.kinds(), QStringList(QStringLiteral("frame")));
    QCOMPARE(listener.at(0).ocrText, QLatin1String(""));
    QVERIFY(!listener.at(0).ocrText.isNull());
}

void TestAIAbilityProvider::everyLineEndsInTheSeparatorAlsoTheLast()
{
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) {
        return Reading{{line("one"), line(""), line("两; 2")}};
    });
    FreshProvider provider;
    const Listener listener(&provider);
    QVERIFY(waitUntilReady());
    requestFrame(&provider, 1);
    QTRY_COMPARE(listener.count(), 1);
    QCOMPARE(listener.at(0).ocrText, QStringLiteral("one; ; 两; 2; "));
}

void TestAIAbilityProvider::linesAreAppendedToTheTextThatTheRecordHas()
{
    FreshProvider provider;
    const Listener listener(&provider);
    QVERIFY(waitUntilReady());
    ScreenShotData data = frame(1);
    data.ocrText = QStringLiteral("before, ");
    Q_EMIT provider.requestScreenshotOCRData(Pictures::numbered(1), data);
    QTRY_COMPARE(listener.count(), 1);
    QCOMPARE(listener.at(0).ocrText, QStringLiteral("before, ") + textOf(1));
}

void TestAIAbilityProvider::theRestOfTheRecordComesBackAsItWas()
{
    FreshProvider provider;
    const Listener listener(&provider);
    QVERIFY(waitUntilReady());
    requestFrame(&provider, 6);
    QTRY_COMPARE(listener.count(), 1);
    const ScreenShotData sent = frame(6);
    const ScreenShotData back = listener.at(0);
    QCOMPARE(back.videoName, sent.videoName);
    QCOMPARE(back.frameIndexOfVideo, sent.frameIndexOfVideo);
    QCOMPARE(back.frameIndexOfDay, sent.frameIndexOfDay);
    QCOMPARE(back.realTime, sent.realTime);
    QCOMPARE(back.desktopFilePath, sent.desktopFilePath);
    QCOMPARE(back.date, sent.date);
}

void TestAIAbilityProvider::theRecordIsCopiedWhenItIsRequested()
{
    FreshProvider provider;
    const Listener listener(&provider);
    QVERIFY(waitUntilReady());
    CoreAiDouble::holdAnswers();
    ScreenShotData data = frame(1);
    Q_EMIT provider.requestScreenshotOCRData(Pictures::numbered(1), data);
    data.frameIndexOfVideo = 99;
    CoreAiDouble::releaseAnswers();
    QTRY_COMPARE(listener.count(), 1);
    QCOMPARE(listener.at(0).frameIndexOfVideo, 1U);
    QVERIFY(data.ocrText.isEmpty()); // the caller's own record is left alone
}

void TestAIAbilityProvider::resultsAreToldOnTheRuntimesThreadAndQueuedToOthers()
{
    FreshProvider provider;
    const Listener listener(&provider);
    QThread *receiver = nullptr;
    ScreenShotData received;
    connect(&provider, &AIAbilityProvider::screenshotOCRDataReady, this, [&](ScreenShotData &data) {
        receiver = QThread::currentThread();
        received = data;
    });
    QVERIFY(waitUntilReady());
    requestFrame(&provider, 8);
    QTRY_VERIFY(receiver);
    QCOMPARE(receiver, thread());
    QCOMPARE(received.frameIndexOfVideo, 8U);
    QCOMPARE(received.ocrText, textOf(8));
    QVERIFY(!listener.wasOnThread(thread()));
}

void TestAIAbilityProvider::aRequestThatWasLostShiftsEveryLaterResult_data()
{
    QTest::addColumn<QString>("loss");
    QTest::newRow("session not ready") << QStringLiteral("early");
    QTest::newRow("picture that cannot be encoded") << QStringLiteral("unencodable");
    QTest::newRow("null result handle") << QStringLiteral("null");
}

void TestAIAbilityProvider::aRequestThatWasLostShiftsEveryLaterResult()
{
    QFETCH(QString, loss);
    if (loss == QLatin1String("early")) {
        CoreAiDouble::holdStarts();
    }
    CoreAiDouble::setReader([loss](const QByteArray &encoded) {
        Reading reading = readNumber(encoded);
        reading.isNull =
            loss == QLatin1String("null") && reading.lines.last().text == QByteArrayLiteral("1");
        return reading;
    });
    FreshProvider provider;
    const Listener listener(&provider);
    if (loss != QLatin1String("early")) {
        QVERIFY(waitUntilReady());
    }
    ScreenShotData lost = frame(1);
    const bool encodable = loss != QLatin1String("unencodable");
    Q_EMIT provider.requestScreenshotOCRData(encodable ? Pictures::numbered(1) : QImage(), lost);
    CoreAiDouble::releaseStarts();
    QVERIFY(waitUntilReady());

    requestFrame(&provider, 2);
    requestFrame(&provider, 3);
    QTRY_COMPARE(listener.count(), 2);
    QCOMPARE(listener.at(0).frameIndexOfVideo, 1U);
    QCOMPARE(listener.at(0).ocrText, textOf(2));
    QCOMPARE(listener.at(1).frameIndexOfVideo, 2U);
    QCOMPARE(listener.at(1).ocrText, textOf(3));
}

void TestAIAbilityProvider::aResultThatNobodyAskedForIsDropped()
{
    CoreAiDouble::setReader([](const QByteArray &encoded) {
        Reading reading = readNumber(encoded);
        reading.times = 2;
        return reading;
    });
    FreshProvider provider;
    const Listener listener(&provider);
    QVERIFY(waitUntilReady());
    const LogCapture log;
    requestFrame(&provider, 1);
    QTRY_COMPARE(log.count(QtWarningMsg, QStringLiteral("OCR result without a request")), 1);
    QCOMPARE(listener.count(), 1);
}

void TestAIAbilityProvider::summariesAreAskedOfNobody()
{
    FreshProvider provider;
    const Listener listener(&provider);
    const QSignalSpy summaries(&provider, &AIAbilityProvider::imageSemanticDataReady);
    QVERIFY(summaries.isValid());
    QVERIFY(waitUntilReady());
    const QStringList before = CoreAiDouble::calls();
    const LogCapture log;
    Q_EMIT provider.requestImageSemanticData(Pictures::numbered(1));
    Q_EMIT provider.requestImageOCRData(Pictures::numbered(2)); // is behind it in any queue
    QTRY_COMPARE(listener.count(), 1);
    QCOMPARE(listener.at(0).ocrText, QStringLiteral("2"));
    QCOMPARE(CoreAiDouble::calls().size(), before.size() + 1);
    QCOMPARE(summaries.count(), 0);
    QCOMPARE(log.texts(), QStringList());
}

void TestAIAbilityProvider::embeddingsAreForwarded()
{
    CoreAiDouble::setEmbedder(
        [](const QByteArray &input) { return QVector<float>{static_cast<float>(input.size())}; });
    const FreshProvider provider;
    QTRY_COMPARE(provider.embeddingText(QStringLiteral("屏幕")), QVector<float>({6.0F}));
    QCOMPARE(CoreAiDouble::embeddedTexts().last(), QByteArray("屏幕"));
    QCOMPARE(provider.embeddingImage(Pictures::numbered(1)).size(), 1);
    QCOMPARE(CoreAiDouble::embeddedPictures().size(), 1);
}

void TestAIAbilityProvider::untilTheRuntimeIsUpVectorsAreEmpty()
{
    CoreAiDouble::holdStarts();
    const FreshProvider provider;
    QVERIFY(provider.embeddingText(QStringLiteral("x")).isEmpty());
    QVERIFY(provider.embeddingImage(Pictures::numbered(1)).isEmpty());
    CoreAiDouble::releaseStarts();
}

void TestAIAbilityProvider::theEndDropsWhatIsStillInFlight()
{
    // Answers come while the provider goes, at another moment each time.
    for (int round = 0; round < 40; ++round) {
        CoreAiDouble::reset();
        std::atomic<int> read{0};
        CoreAiDouble::setReader([&read](const QByteArray & /*encoded*/) {
            ++read;
            return Reading{{line("text")}};
        });
        auto provider = std::make_unique<FreshProvider>();
        QVERIFY(waitUntilReady());
        CoreAiDouble::holdAnswers();
        for (int number = 1; number <= 5; ++number) {
            requestFrame(provider.get(), number);
        }
        CoreAiDouble::releaseAnswers();
        while (read < round % 5) {
            std::this_thread::yield();
        }
        provider.reset();
    }
}

void TestAIAbilityProvider::theSemanticModuleAnswersOnItsOwnThread()
{
    const LogCapture log;
    std::mutex mutex;
    QStringList answers;
    QVector<QThread::Priority> priorities;
    {
        AIAbilityManager manager;
        manager.setImageSemanticResultCallback([&](const QString &summary) {
            const std::lock_guard<std::mutex> lock(mutex);
            answers << QThread::currentThread()->objectName() + QLatin1Char(':') + summary;
            priorities << QThread::currentThread()->priority();
        });
        manager.getImageSemanticInfoAsync(QImage()); // ignored
        manager.getImageSemanticInfoAsync(Pictures::numbered(1));
        QTRY_COMPARE(log.count(QtDebugMsg, QStringLiteral("Failed to parse JSON")), 1);
        QTRY_COMPARE(log.count(QtDebugMsg, QStringLiteral("Multimodel Elapsed time:")), 1);
    }
    QCOMPARE(answers, QStringList(QStringLiteral("semantic:")));
    QCOMPARE(priorities, QVector<QThread::Priority>{QThread::InheritPriority});
}

void TestAIAbilityProvider::theModulesEndInTheirOrder()
{
    auto manager = std::make_unique<AIAbilityManager>();
    QTRY_VERIFY(CoreAiDouble::calls().contains(QStringLiteral("text_recognition_init_session")) &&
                CoreAiDouble::calls().contains(QStringLiteral("image_embedding_init_session")));
    manager.reset();
    QStringList ends;
    for (const QString &call : CoreAiDouble::calls()) {
        if (call.endsWith(QLatin1String("_destroy_session"))) {
            ends << call;
        }
    }
    QCOMPARE(ends, QStringList({QStringLiteral("text_recognition_destroy_session"),
                                QStringLiteral("image_embedding_destroy_session")}));
}

QTEST_GUILESS_MAIN(TestAIAbilityProvider)
#include "aiabilityprovidertest.moc"
