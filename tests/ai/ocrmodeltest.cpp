// Reading screenshots through the runtime: the session's start, what is handed over, what comes
// back, on which thread.

#include "ai/ocrmodel.h"

#include "ai/coreaidouble/coreaidouble.h"
#include "fakesleep.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <dlfcn.h>
#include <memory>
#include <mutex>

using CoreAiDouble::Line;
using CoreAiDouble::Reading;
using namespace std::chrono_literals;

namespace
{
const QString NOT_READY = QStringLiteral("Warning: vision session is not initialized");
const QString CALLBACK_EARLY =
    QStringLiteral("Warning: text recognition session is not initialized");
const QString RECOGNIZE = QStringLiteral("text_recognition_recognize_text_from_image_data_async");
const QString REGISTER = QStringLiteral("text_recognition_result_set_callback");

std::atomic<bool> refusesBuffers{false};

/// What came back, and on which threads.
class Results
{
public:
    OcrModel::ResultCallback callback()
    {
        return [this](const QVector<OCRTextData> &lines) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_results.append(lines);
            m_threads.push_back(std::this_thread::get_id());
        };
    }
    int count() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_results.size();
    }
    QVector<OCRTextData> at(int index) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_results.at(index);
    }
    std::vector<std::thread::id> threads() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_threads;
    }

private:
    mutable std::mutex m_mutex;
    QVector<QVector<OCRTextData>> m_results;
    std::vector<std::thread::id> m_threads;
};

/// Lines that stand below each other, with the corners of a box 100 pixels wide.
Line line(const char *text, int top)
{
    return {text, {{0, top}, {100, top}, {100, top + 20}, {0, top + 20}}};
}

QStringList textsOf(const QVector<OCRTextData> &lines)
{
    QStringList texts;
    for (const OCRTextData &each : lines) {
        texts << each.text;
    }
    return texts;
}

int registrations()
{
    return CoreAiDouble::calls().count(REGISTER);
}
} // namespace

// Stands before the library's own, which refuses nobody.
bool QBuffer::open(OpenMode mode)
{
    using Function = bool (*)(QBuffer *, OpenMode);
    static const auto real = reinterpret_cast<Function>(
        dlsym(RTLD_NEXT, "_ZN7QBuffer4openE6QFlagsIN9QIODevice12OpenModeFlagEE"));
    return !refusesBuffers && real(this, mode);
}

class TestOcrModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theSessionGetsItsModelAndThenStarts();
    void theConstructorDoesNotWaitForTheRuntime();
    void aRequestBeforeTheSessionIsReadyYieldsOneWarningAndNoCallback();
    void aCallbackSetBeforeTheSessionWasReadyStillGetsResultsAfterwards();
    void anEmptyCallbackSetBeforeTheSessionWasReadyIsNotRegistered();
    void aCallbackSetAfterwardsIsRegisteredAtOnce();
    void theStartHasAThreadWithAName();
    void thePictureGoesOutAsPngWithEveryPixel();
    void resultsComeInTheOrderOfTheRequestsOnTheRuntimesThread();
    void aNullResultHandleYieldsNoCallbackToTheOwner();
    void anImageWithNoTextYieldsACallbackWithAnEmptyVector();
    void linesKeepTheirOrderTextAndCorners();
    void cornersPassThroughSinglePrecision();
    void aLineWithoutCornerPointsIsMissingAndTheOthersStand();
    void aPictureThatCannotBeEncodedReachesNobody();
    void aBufferThatCannotBeOpenedIsTold();
    void aResultWithoutACallbackIsTold();
    void noSessionAtAllIsFinal();
    void aFailedStartBlocksTheThreadFor5SecondsAndIsFinal();
    void aSleepThatASignalInterruptedIsResumed();
    void noRetriesMeanNoAttempt();
    void theDestructorWaitsForTheStartAndEndsTheSession();

private:
    /// A model whose session is ready and whose results go to m_results.
    std::unique_ptr<OcrModel> readyModel();

    std::unique_ptr<Results> m_results;
};

void TestOcrModel::init()
{
    CoreAiDouble::reset();
    FakeSleep::reset();
    m_results = std::make_unique<Results>();
}

void TestOcrModel::cleanup()
{
    CoreAiDouble::releaseStarts();
    FakeSleep::release();
}

std::unique_ptr<OcrModel> TestOcrModel::readyModel()
{
    auto model = std::make_unique<OcrModel>();
    model->setImageOCRResultCallback(m_results->callback());
    return QTest::qWaitFor([] { return registrations() > 0; }) ? std::move(model) : nullptr;
}

void TestOcrModel::theSessionGetsItsModelAndThenStarts()
{
    const OcrModel model;
    const QStringList expected{
        QStringLiteral("text_recognition_create_session"),
        QStringLiteral("text_recognition_model_config_create"),
        QStringLiteral("text_recognition_model_config_set_name vision"),
        QStringLiteral("text_recognition_model_config_set_deploy_type 0"),
        QStringLiteral("text_recognition_set_model_config"),
        QStringLiteral("text_recognition_init_session"),
    };
    QTRY_COMPARE(CoreAiDouble::calls(), expected);
}

void TestOcrModel::theConstructorDoesNotWaitForTheRuntime()
{
    CoreAiDouble::holdStarts();
    const auto model = std::make_unique<OcrModel>(); // would not return
    QTRY_VERIFY(CoreAiDouble::calls().contains(QStringLiteral("text_recognition_init_session")));
    CoreAiDouble::releaseStarts();
}

void TestOcrModel::aRequestBeforeTheSessionIsReadyYieldsOneWarningAndNoCallback()
{
    CoreAiDouble::holdStarts();
    const LogCapture log;
    OcrModel model;
    model.setImageOCRResultCallback(m_results->callback());
    model.requestOCRTextDataAsync(Pictures::numbered(1));
    QCOMPARE(log.texts(QtWarningMsg), QStringList({CALLBACK_EARLY, NOT_READY}));

    // Nothing ever comes back for it, also once the session is there.
    CoreAiDouble::releaseStarts();
    QTRY_COMPARE(registrations(), 1);
    model.requestOCRTextDataAsync(Pictures::numbered(2));
    QTRY_COMPARE(m_results->count(), 1);
    QCOMPARE(CoreAiDouble::readPictures().size(), 1);
    QCOMPARE(Pictures::numberOf(QImage::fromData(CoreAiDouble::readPictures().first())), 2);
}

void TestOcrModel::aCallbackSetBeforeTheSessionWasReadyStillGetsResultsAfterwards()
{
    CoreAiDouble::holdStarts();
    const LogCapture log;
    OcrModel model;
    model.setImageOCRResultCallback(m_results->callback());
    QCOMPARE(log.count(QtWarningMsg, CALLBACK_EARLY), 1);
    QCOMPARE(registrations(), 0);

    CoreAiDouble::releaseStarts();
    QTRY_COMPARE(registrations(), 1);
    model.requestOCRTextDataAsync(Pictures::numbered(1));
    QTRY_COMPARE(m_results->count(), 1);
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList({CALLBACK_EARLY, QStringLiteral("No text detected in image.")}));
}

void TestOcrModel::anEmptyCallbackSetBeforeTheSessionWasReadyIsNotRegistered()
{
    CoreAiDouble::holdStarts();
    auto model = std::make_unique<OcrModel>();
    model->setImageOCRResultCallback({});
    CoreAiDouble::releaseStarts();
    model.reset(); // waits for the start, whose last step it would be
    QVERIFY(CoreAiDouble::calls().contains(QStringLiteral("text_recognition_init_session")));
    QCOMPARE(registrations(), 0);
}

void TestOcrModel::theStartHasAThreadWithAName()
{
    CoreAiDouble::holdStarts();
    const OcrModel model;
    QStringList names;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString &thread : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name(tasks.filePath(thread) + QStringLiteral("/comm"));
        if (name.open(QFile::ReadOnly)) {
            names << QString::fromLatin1(name.readAll().trimmed());
        }
    }
    CoreAiDouble::releaseStarts();
    QVERIFY2(names.contains(QStringLiteral("ai frames start")), qPrintable(names.join(u' ')));
}

void TestOcrModel::aCallbackSetAfterwardsIsRegisteredAtOnce()
{
    const auto model = readyModel();
    QVERIFY(model);
    const int before = registrations();
    const LogCapture log;
    Results others;
    model->setImageOCRResultCallback(others.callback());
    QCOMPARE(registrations(), before + 1);
    QVERIFY(log.texts().isEmpty());
    model->requestOCRTextDataAsync(Pictures::numbered(1));
    QTRY_COMPARE(others.count(), 1);
    QCOMPARE(m_results->count(), 0);
}

void TestOcrModel::thePictureGoesOutAsPngWithEveryPixel()
{
    const auto model = readyModel();
    QVERIFY(model);
    const QImage picture = Pictures::numbered(7);
    model->requestOCRTextDataAsync(picture);
    const QVector<QByteArray> read = CoreAiDouble::readPictures();
    QCOMPARE(read.size(), 1);
    QVERIFY(read.first().startsWith("\x89PNG\r\n"));
    QCOMPARE(QImage::fromData(read.first()).convertToFormat(picture.format()), picture);
}

void TestOcrModel::resultsComeInTheOrderOfTheRequestsOnTheRuntimesThread()
{
    CoreAiDouble::setReader([](const QByteArray &encoded) {
        const int number = Pictures::numberOf(QImage::fromData(encoded));
        return Reading{{line(QByteArray::number(number).constData(), 0)}};
    });
    const auto model = readyModel();
    QVERIFY(model);
    CoreAiDouble::holdAnswers();
    for (int number = 1; number <= 5; ++number) {
        model->requestOCRTextDataAsync(Pictures::numbered(number)); // returns without an answer
    }
    QCOMPARE(m_results->count(), 0);
    CoreAiDouble::releaseAnswers();
    QTRY_COMPARE(m_results->count(), 5);
    for (int number = 1; number <= 5; ++number) {
        QCOMPARE(textsOf(m_results->at(number - 1)), QStringList(QString::number(number)));
    }
    for (const std::thread::id thread : m_results->threads()) {
        QVERIFY(thread != std::this_thread::get_id());
        QVERIFY(thread == m_results->threads().front());
    }
}

void TestOcrModel::aNullResultHandleYieldsNoCallbackToTheOwner()
{
    int answered = 0; // the runtime's thread alone touches it until the last answer is there
    CoreAiDouble::setReader([&answered](const QByteArray & /*encoded*/) {
        Reading reading;
        reading.isNull = ++answered == 1;
        return reading;
    });
    const auto model = readyModel();
    QVERIFY(model);
    const LogCapture log;
    model->requestOCRTextDataAsync(Pictures::numbered(1));
    model->requestOCRTextDataAsync(Pictures::numbered(2));
    QTRY_COMPARE(log.count(QtWarningMsg, QStringLiteral("No text detected in image.")), 1);
    QTRY_COMPARE(m_results->count(), 1);
    QCOMPARE(log.texts(QtDebugMsg), QStringList(QStringLiteral("OCR的SDK传入的result为空")));
}

void TestOcrModel::anImageWithNoTextYieldsACallbackWithAnEmptyVector()
{
    const auto model = readyModel();
    QVERIFY(model);
    const LogCapture log;
    model->requestOCRTextDataAsync(Pictures::numbered(1));
    QTRY_COMPARE(m_results->count(), 1);
    QVERIFY(m_results->at(0).isEmpty());
    QCOMPARE(log.texts(QtWarningMsg), QStringList(QStringLiteral("No text detected in image.")));
}

void TestOcrModel::linesKeepTheirOrderTextAndCorners()
{
    const Line wide{"屏幕历史 “quoted”", {{-3, 5}, {3840, 5}, {3840, 2160}, {-3, 2160}}};
    CoreAiDouble::setReader([wide](const QByteArray & /*encoded*/) {
        return Reading{{line("second window", 40), wide, line("", 80)}};
    });
    const auto model = readyModel();
    QVERIFY(model);
    model->requestOCRTextDataAsync(Pictures::numbered(1));
    QTRY_COMPARE(m_results->count(), 1);
    const QVector<OCRTextData> lines = m_results->at(0);
    QCOMPARE(textsOf(lines), QStringList({QStringLiteral("second window"),
                                          QStringLiteral("屏幕历史 “quoted”"), QString()}));
    QCOMPARE(lines.at(1).cornerPoints,
             QVector<QPointF>({{-3.0, 5.0}, {3840.0, 5.0}, {3840.0, 2160.0}, {-3.0, 2160.0}}));
}

/// Exact for any real picture, and the nearest that 24 bits can tell beyond.
void TestOcrModel::cornersPassThroughSinglePrecision()
{
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) {
        return Reading{{Line{"far", {{16777215, -16777217}, {16777219, 65535}}}}};
    });
    const auto model = readyModel();
    QVERIFY(model);
    model->requestOCRTextDataAsync(Pictures::numbered(1));
    QTRY_COMPARE(m_results->count(), 1);
    QCOMPARE(m_results->at(0).value(0).cornerPoints,
             QVector<QPointF>({{16777215.0, -16777216.0}, {16777220.0, 65535.0}}));
}

void TestOcrModel::aLineWithoutCornerPointsIsMissingAndTheOthersStand()
{
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) {
        Line lost = line("lost", 20);
        lost.hasCorners = false;
        return Reading{{line("first", 0), lost, line("last", 40)}};
    });
    const auto model = readyModel();
    QVERIFY(model);
    const LogCapture log;
    model->requestOCRTextDataAsync(Pictures::numbered(1));
    QTRY_COMPARE(m_results->count(), 1);
    QCOMPARE(textsOf(m_results->at(0)),
             QStringList({QStringLiteral("first"), QStringLiteral("last")}));
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList(QStringLiteral("text_line_get_corner_points failed")));
}

void TestOcrModel::aPictureThatCannotBeEncodedReachesNobody()
{
    const auto model = readyModel();
    QVERIFY(model);
    const LogCapture log;
    model->requestOCRTextDataAsync(QImage());
    QCOMPARE(log.texts(QtDebugMsg), QStringList(QStringLiteral("image save error")));
    QVERIFY(!CoreAiDouble::calls().contains(RECOGNIZE));
}

void TestOcrModel::aBufferThatCannotBeOpenedIsTold()
{
    const auto model = readyModel();
    QVERIFY(model);
    const LogCapture log;
    refusesBuffers = true;
    model->requestOCRTextDataAsync(Pictures::numbered(1));
    refusesBuffers = false;
    QCOMPARE(log.texts(QtDebugMsg), QStringList(QStringLiteral("buffer open error")));
    QVERIFY(!CoreAiDouble::calls().contains(RECOGNIZE));
}

void TestOcrModel::aResultWithoutACallbackIsTold()
{
    const auto model = readyModel();
    QVERIFY(model);
    model->setImageOCRResultCallback(nullptr);
    const LogCapture log;
    model->requestOCRTextDataAsync(Pictures::numbered(1));
    QTRY_COMPARE(log.texts(QtWarningMsg),
                 QStringList(QStringLiteral("ocr result callback is nullptr")));
}

void TestOcrModel::noSessionAtAllIsFinal()
{
    CoreAiDouble::refuseVisionSessions();
    const LogCapture log;
    OcrModel model;
    QTRY_COMPARE(log.texts(),
                 QStringList(QStringLiteral("text_recognition_create_session failed")));
    model.requestOCRTextDataAsync(Pictures::numbered(1));
    QCOMPARE(log.texts(QtWarningMsg), QStringList(NOT_READY));
    QCOMPARE(CoreAiDouble::calls(), QStringList(QStringLiteral("text_recognition_create_session")));
    QVERIFY(FakeSleep::sleeps().empty());
}

void TestOcrModel::aFailedStartBlocksTheThreadFor5SecondsAndIsFinal()
{
    CoreAiDouble::failVisionStarts(1, 42);
    FakeSleep::hold();
    const LogCapture log;
    OcrModel model;
    QTRY_COMPARE(FakeSleep::sleeps().size(), size_t(1));
    QCOMPARE(FakeSleep::sleeps().front().asked, std::chrono::milliseconds(5s));
    QVERIFY(FakeSleep::sleeps().front().thread != std::this_thread::get_id());
    QCOMPARE(log.texts(), QStringList(QStringLiteral(
                              "failed to init text recognition session, retry 0 times 42")));

    FakeSleep::release();
    QTRY_COMPARE(
        log.count(QtWarningMsg, QStringLiteral("Warning: Text_recognition_init_session failed")),
        1);
    model.requestOCRTextDataAsync(Pictures::numbered(1));
    QCOMPARE(log.count(QtWarningMsg, NOT_READY), 1);
    QCOMPARE(CoreAiDouble::calls().count(QStringLiteral("text_recognition_init_session")), 1);
    QCOMPARE(FakeSleep::sleeps().size(), size_t(1));
}

void TestOcrModel::aSleepThatASignalInterruptedIsResumed()
{
    CoreAiDouble::failVisionStarts(1, 1);
    FakeSleep::interruptNext(2);
    const LogCapture log;
    const OcrModel model;
    QTRY_VERIFY(log.contains(QtWarningMsg,
                             QStringLiteral("Warning: Text_recognition_init_session failed")));
    const std::vector<FakeSleep::Sleep> sleeps = FakeSleep::sleeps();
    QCOMPARE(sleeps.size(), size_t(3));
    QCOMPARE(sleeps.at(0).asked, 5000ms);
    QCOMPARE(sleeps.at(1).asked, 2500ms);
    QCOMPARE(sleeps.at(2).asked, 1250ms);
}

void TestOcrModel::noRetriesMeanNoAttempt()
{
    const auto model = readyModel();
    QVERIFY(model);
    const int starts = CoreAiDouble::calls().count(QStringLiteral("text_recognition_init_session"));
    QVERIFY(!model->initSessionWithRetry(0));
    QCOMPARE(CoreAiDouble::calls().count(QStringLiteral("text_recognition_init_session")), starts);
    QVERIFY(model->initSessionWithRetry(1));
    QCOMPARE(CoreAiDouble::calls().count(QStringLiteral("text_recognition_init_session")),
             starts + 1);
}

void TestOcrModel::theDestructorWaitsForTheStartAndEndsTheSession()
{
    CoreAiDouble::holdStarts();
    auto model = std::make_unique<OcrModel>();
    QTRY_VERIFY(CoreAiDouble::calls().contains(QStringLiteral("text_recognition_init_session")));
    std::thread releaser([] {
        std::this_thread::sleep_for(50ms);
        CoreAiDouble::releaseStarts();
    });
    model.reset();
    releaser.join();
    const QStringList calls = CoreAiDouble::calls();
    QCOMPARE(calls.mid(calls.size() - 2),
             QStringList({QStringLiteral("text_recognition_model_config_destroy"),
                          QStringLiteral("text_recognition_destroy_session")}));
}

QTEST_GUILESS_MAIN(TestOcrModel)
#include "ocrmodeltest.moc"
