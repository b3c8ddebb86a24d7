// Reading a part of a picture while the user waits: the session's start, the nested wait, what ends
// it, which answer belongs to which task.

#include "ai/ocrmodule.h"

#include "ai/coreaidouble/coreaidouble.h"
#include "fakesleep.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QCoreApplication>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

using CoreAiDouble::Line;
using CoreAiDouble::Reading;
using namespace std::chrono_literals;

// A result comes to the waiting thread in Qt's event queue and by its lists of connections, whose
// locks the thread sanitizer does not see: what it holds against these two is left out, nothing
// else.
extern "C" const char *__tsan_default_suppressions()
{
    return "called_from_lib:libQt5Core.so\n"
           "race:QtMetaTypePrivate::QMetaTypeFunctionHelper\n"
           "race:QObject::event\n"
           "race:QObjectPrivate::ConnectionData::deleteOrphaned\n";
}

namespace
{
const QString NOT_READY = QStringLiteral("Warning: text recognition session is not initialized");
const QString NO_TASK = QStringLiteral("No task to cancel");
const QString NO_TEXT = QStringLiteral("No text detected in image.");
const QString RECOGNIZE = QStringLiteral("text_recognition_recognize_text_from_image_data_async");
const QString START = QStringLiteral("text_recognition_init_session");

Line line(const QByteArray &text, int top = 0)
{
    return {text, {{0, top}, {100, top}, {100, top + 20}, {0, top + 20}}};
}

/// One line: the number of the picture.
Reading readNumber(const QByteArray &encoded)
{
    return {{line(QByteArray::number(Pictures::numberOf(QImage::fromData(encoded))))}};
}

OCRTask task(int number, const QString &taskID)
{
    OCRTask task;
    task.image = Pictures::numbered(number, QSize(64, 48));
    task.taskID = taskID;
    return task;
}

QStringList textsOf(const QVector<OCRTextData> &lines)
{
    QStringList texts;
    for (const OCRTextData &each : lines) {
        texts << each.text;
    }
    return texts;
}

bool isReady(OcrModule *module)
{
    const LogCapture log;
    module->getOCRTextDataSync(OCRTask());
    return !log.contains(QtWarningMsg, NOT_READY);
}

/// On the main thread, by an event of its own.
void soon(const std::function<void()> &work)
{
    QTimer::singleShot(0, QCoreApplication::instance(), work);
}

/// The signals of a module, told on the main thread, until it disconnects them: at the end of each
/// wait.
struct Signals {
    explicit Signals(OcrModule *module)
    {
        QObject::connect(module, &OcrModule::ocrResultReady, &context,
                         [this](const QVector<OCRTextData> &lines, const QString &taskID) {
                             results << taskID + QLatin1Char(':') + textsOf(lines).join(',');
                         });
        QObject::connect(module, &OcrModule::ocrTaskCancelled, &context,
                         [this](const QString &taskID) { cancels << taskID; });
    }
    QStringList results;
    QStringList cancels;
    QObject context; ///< last, so that nothing is told while the lists go
};
} // namespace

class TestOcrModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aTaskIsNeitherFinishedNorCancelledAtFirst();
    void theSessionGetsItsModelThenStartsThenTheCallbackIsRegistered();
    void theConstructorDoesNotWaitForTheRuntime();
    void noSessionAtAllIsFinal();
    void aFailedStartBlocksTheThreadFor5SecondsAndIsFinal();
    void noRetriesMeanNoAttempt();
    void theDestructorWaitsForTheStartAndEndsTheSession();

    void aRequestBeforeTheSessionIsReadyYieldsAnEmptyVectorAndTheWarningAndNoTask();
    void aNullImageCannotBeSavedYieldsAnEmptyVectorAndNoTask();
    void thePictureGoesOutAsPngWithEveryPixel();
    void theLinesOfTheRegionAreReturnedInTheirOrder();
    void aRegionWithoutTextYieldsAnEmptyVector();
    void aNullResultHandleYieldsAnEmptyVector();
    void aLineWithoutCornerPointsIsMissingAndTheOthersStand();
    void aResultTellsTheTaskThatItBelongsTo();

    void eventsGoOnBeingHandledDuringTheWait();
    void aCancelBeforeTheResultEndsTheWaitWithAnEmptyVector();
    void aLaterResultOfACancelledTaskCausesNoSignal();
    void aCancelWithAnUnknownIdIsAWarningAndChangesNothing();
    void aCancelAfterTheResultFindsNoTask();
    void aCancelMarksTheOldestTaskOfTheId();
    void resultsPairWithTheirTasksAfterCancels();
    void anyResultEndsEveryWait();
    void aResultTooManyIsDropped();
    void theEndOfAWaitDisconnectsEverySignal();

    void cancelRacingTheResult();
    void quittingTheProgramEndsTheWait();
    void destructionWithAnAnswerOutstanding();

private:
    /// A module whose session is ready; null if it does not come up.
    static std::unique_ptr<OcrModule> readyModule();
};

void TestOcrModule::init()
{
    CoreAiDouble::reset();
    FakeSleep::reset();
}

void TestOcrModule::cleanup()
{
    CoreAiDouble::releaseStarts();
    CoreAiDouble::releaseAnswers();
    FakeSleep::release();
}

std::unique_ptr<OcrModule> TestOcrModule::readyModule()
{
    auto module = std::make_unique<OcrModule>();
    return QTest::qWaitFor([&module] { return isReady(module.get()); }, 20000) ? std::move(module)
                                                                               : nullptr;
}

void TestOcrModule::aTaskIsNeitherFinishedNorCancelledAtFirst()
{
    const OCRTask task;
    QVERIFY(task.image.isNull());
    QVERIFY(task.taskID.isEmpty());
    QVERIFY(!task.isFinished);
    QVERIFY(!task.isCancelled);
}

void TestOcrModule::theSessionGetsItsModelThenStartsThenTheCallbackIsRegistered()
{
    const OcrModule module;
    const QStringList expected{
        QStringLiteral("text_recognition_create_session"),
        QStringLiteral("text_recognition_model_config_create"),
        QStringLiteral("text_recognition_model_config_set_name vision"),
        QStringLiteral("text_recognition_model_config_set_deploy_type 0"),
        QStringLiteral("text_recognition_set_model_config"),
        START,
        QStringLiteral("text_recognition_result_set_callback"),
    };
    QTRY_COMPARE(CoreAiDouble::calls(), expected);
}

void TestOcrModule::theConstructorDoesNotWaitForTheRuntime()
{
    CoreAiDouble::holdStarts();
    const auto module = std::make_unique<OcrModule>(); // would not return
    QTRY_VERIFY(CoreAiDouble::calls().contains(START));
    CoreAiDouble::releaseStarts();
}

void TestOcrModule::noSessionAtAllIsFinal()
{
    CoreAiDouble::refuseVisionSessions();
    const LogCapture log;
    OcrModule module;
    const QString failed = QStringLiteral("failed to create text recognition session");
    QTRY_COMPARE(log.texts(QtWarningMsg), QStringList(failed));
    QVERIFY(module.getOCRTextDataSync(task(1, QStringLiteral("a"))).isEmpty());
    QCOMPARE(log.texts(), QStringList({failed, NOT_READY}));
    QCOMPARE(CoreAiDouble::calls(), QStringList(QStringLiteral("text_recognition_create_session")));
    QVERIFY(FakeSleep::sleeps().empty());
}

void TestOcrModule::aFailedStartBlocksTheThreadFor5SecondsAndIsFinal()
{
    CoreAiDouble::failVisionStarts(1, 42);
    FakeSleep::hold();
    const LogCapture log;
    OcrModule module;
    const QString retry =
        QStringLiteral("failed to init text recognition session, retry 0 times 42");
    const QString failed = QStringLiteral("Warning: failed to init text recognition session");
    QTRY_COMPARE(FakeSleep::sleeps().size(), size_t(1));
    QCOMPARE(FakeSleep::sleeps().front().asked, std::chrono::milliseconds(5s));
    QVERIFY(FakeSleep::sleeps().front().thread != std::this_thread::get_id());
    QCOMPARE(log.texts(QtWarningMsg), QStringList(retry));

    FakeSleep::release();
    QTRY_COMPARE(log.texts(QtWarningMsg), QStringList({retry, failed}));
    QVERIFY(module.getOCRTextDataSync(task(1, QStringLiteral("a"))).isEmpty());
    QCOMPARE(log.texts(), QStringList({retry, failed, NOT_READY}));
    QCOMPARE(CoreAiDouble::calls().count(START), 1);
    QVERIFY(
        !CoreAiDouble::calls().contains(QStringLiteral("text_recognition_result_set_callback")));
}

void TestOcrModule::noRetriesMeanNoAttempt()
{
    const auto module = readyModule();
    QVERIFY(module);
    QVERIFY(!module->initSessionWithRetry(0));
    QCOMPARE(CoreAiDouble::calls().count(START), 1);
    QVERIFY(module->initSessionWithRetry(1));
    QCOMPARE(CoreAiDouble::calls().count(START), 2);
}

void TestOcrModule::theDestructorWaitsForTheStartAndEndsTheSession()
{
    CoreAiDouble::holdStarts();
    auto module = std::make_unique<OcrModule>();
    QTRY_VERIFY(CoreAiDouble::calls().contains(START));
    std::thread releaser([] {
        std::this_thread::sleep_for(50ms);
        CoreAiDouble::releaseStarts();
    });
    module.reset();
    releaser.join();
    const QStringList calls = CoreAiDouble::calls();
    QCOMPARE(calls.mid(calls.size() - 2),
             QStringList({QStringLiteral("text_recognition_model_config_destroy"),
                          QStringLiteral("text_recognition_destroy_session")}));
}

void TestOcrModule::aRequestBeforeTheSessionIsReadyYieldsAnEmptyVectorAndTheWarningAndNoTask()
{
    CoreAiDouble::holdStarts();
    OcrModule module;
    {
        const LogCapture log;
        QVERIFY(module.getOCRTextDataSync(task(1, QStringLiteral("a"))).isEmpty());
        QCOMPARE(log.texts(), QStringList(NOT_READY));
        module.cancelRecognizeTextInImage(QStringLiteral("a"));
        QCOMPARE(log.texts(), QStringList({NOT_READY, NO_TASK}));
    }
    CoreAiDouble::releaseStarts();
    QTRY_VERIFY(isReady(&module));
    QVERIFY(CoreAiDouble::readPictures().isEmpty());
}

void TestOcrModule::aNullImageCannotBeSavedYieldsAnEmptyVectorAndNoTask()
{
    const auto module = readyModule();
    QVERIFY(module);
    OCRTask empty;
    empty.taskID = QStringLiteral("a");
    const LogCapture log;
    QVERIFY(module->getOCRTextDataSync(empty).isEmpty());
    QCOMPARE(log.texts(QtDebugMsg), QStringList(QStringLiteral("image save error")));
    QVERIFY(!CoreAiDouble::calls().contains(RECOGNIZE));
    module->cancelRecognizeTextInImage(QStringLiteral("a"));
    QCOMPARE(log.texts(QtWarningMsg), QStringList(NO_TASK));
}

void TestOcrModule::thePictureGoesOutAsPngWithEveryPixel()
{
    const auto module = readyModule();
    QVERIFY(module);
    const OCRTask region = task(7, QStringLiteral("a"));
    module->getOCRTextDataSync(region);
    const QVector<QByteArray> read = CoreAiDouble::readPictures();
    QCOMPARE(read.size(), 1);
    QVERIFY(read.first().startsWith("\x89PNG\r\n"));
    QCOMPARE(QImage::fromData(read.first()).convertToFormat(region.image.format()), region.image);
}

void TestOcrModule::theLinesOfTheRegionAreReturnedInTheirOrder()
{
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) {
        return Reading{{line("second window", 40), line("屏幕历史 “quoted”", 0), line("", 80)}};
    });
    const auto module = readyModule();
    QVERIFY(module);
    const LogCapture log;
    const QVector<OCRTextData> lines = module->getOCRTextDataSync(task(1, QStringLiteral("a")));
    QCOMPARE(textsOf(lines), QStringList({QStringLiteral("second window"),
                                          QStringLiteral("屏幕历史 “quoted”"), QString()}));
    QCOMPARE(lines.at(0).cornerPoints,
             QVector<QPointF>({{0.0, 40.0}, {100.0, 40.0}, {100.0, 60.0}, {0.0, 60.0}}));
    QVERIFY(log.texts().isEmpty());
}

void TestOcrModule::aRegionWithoutTextYieldsAnEmptyVector()
{
    const auto module = readyModule();
    QVERIFY(module);
    Signals told(module.get());
    const LogCapture log;
    QVERIFY(module->getOCRTextDataSync(task(1, QStringLiteral("a"))).isEmpty());
    QCOMPARE(log.texts(), QStringList(NO_TEXT));
    QCOMPARE(log.texts(QtWarningMsg), QStringList(NO_TEXT));
    QCOMPARE(told.results, QStringList(QStringLiteral("a:")));
}

void TestOcrModule::aNullResultHandleYieldsAnEmptyVector()
{
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) {
        Reading reading{{line("lost")}};
        reading.isNull = true;
        return reading;
    });
    const auto module = readyModule();
    QVERIFY(module);
    Signals told(module.get());
    const LogCapture log;
    QVERIFY(module->getOCRTextDataSync(task(1, QStringLiteral("a"))).isEmpty());
    QCOMPARE(log.texts(), QStringList(QStringLiteral("OCR的SDK传入的result为空")));
    QCOMPARE(log.texts(QtDebugMsg).size(), 1);
    QCOMPARE(told.results, QStringList(QStringLiteral("a:")));
}

void TestOcrModule::aLineWithoutCornerPointsIsMissingAndTheOthersStand()
{
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) {
        Line lost = line("lost", 20);
        lost.hasCorners = false;
        return Reading{{line("first", 0), lost, line("last", 40)}};
    });
    const auto module = readyModule();
    QVERIFY(module);
    const LogCapture log;
    QCOMPARE(textsOf(module->getOCRTextDataSync(task(1, QStringLiteral("a")))),
             QStringList({QStringLiteral("first"), QStringLiteral("last")}));
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList(QStringLiteral("text_line_get_corner_points failed")));
}

void TestOcrModule::aResultTellsTheTaskThatItBelongsTo()
{
    CoreAiDouble::setReader(&readNumber);
    const auto module = readyModule();
    QVERIFY(module);
    for (int number = 1; number <= 3; ++number) {
        Signals told(module.get());
        const QString id = QStringLiteral("id%1").arg(number);
        QCOMPARE(textsOf(module->getOCRTextDataSync(task(number, id))),
                 QStringList(QString::number(number)));
        QCOMPARE(told.results, QStringList(QStringLiteral("id%1:%1").arg(number)));
        QVERIFY(told.cancels.isEmpty());
    }
}

void TestOcrModule::eventsGoOnBeingHandledDuringTheWait()
{
    CoreAiDouble::setReader(&readNumber);
    const auto module = readyModule();
    QVERIFY(module);
    CoreAiDouble::holdAnswers();
    int ticks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&ticks] {
        if (++ticks == 5) {
            CoreAiDouble::releaseAnswers(); // by nothing but an event of the waiting thread
        }
    });
    timer.start(1);
    QCOMPARE(textsOf(module->getOCRTextDataSync(task(1, QStringLiteral("a")))),
             QStringList(QStringLiteral("1")));
    QVERIFY(ticks >= 5);
}

void TestOcrModule::aCancelBeforeTheResultEndsTheWaitWithAnEmptyVector()
{
    CoreAiDouble::setReader(&readNumber);
    const auto module = readyModule();
    QVERIFY(module);
    CoreAiDouble::holdAnswers();
    Signals told(module.get());
    const LogCapture log;
    soon([&module] { module->cancelRecognizeTextInImage(QStringLiteral("a")); });
    QVERIFY(module->getOCRTextDataSync(task(1, QStringLiteral("a"))).isEmpty()); // returns
    QCOMPARE(told.cancels, QStringList(QStringLiteral("a")));
    QVERIFY(told.results.isEmpty());
    QVERIFY(log.texts().isEmpty());
}

void TestOcrModule::aLaterResultOfACancelledTaskCausesNoSignal()
{
    // Its lines are not even looked at: the log has nothing of the missing text.
    const auto module = readyModule();
    QVERIFY(module);
    CoreAiDouble::holdAnswers();
    soon([&module] { module->cancelRecognizeTextInImage(QStringLiteral("a")); });
    module->getOCRTextDataSync(task(1, QStringLiteral("a")));
    CoreAiDouble::setReader([](const QByteArray &encoded) {
        const Reading number = readNumber(encoded);
        return number.lines.first().text == "1" ? Reading() : number;
    });
    Signals told(module.get());
    const LogCapture log;
    soon([] { CoreAiDouble::releaseAnswers(); });
    QCOMPARE(textsOf(module->getOCRTextDataSync(task(2, QStringLiteral("b")))),
             QStringList(QStringLiteral("2")));
    QCOMPARE(told.results, QStringList(QStringLiteral("b:2")));
    QVERIFY(log.texts().isEmpty());
}

void TestOcrModule::aCancelWithAnUnknownIdIsAWarningAndChangesNothing()
{
    CoreAiDouble::setReader(&readNumber);
    const auto module = readyModule();
    QVERIFY(module);
    CoreAiDouble::holdAnswers();
    Signals told(module.get());
    const LogCapture log;
    soon([&module] {
        module->cancelRecognizeTextInImage(QStringLiteral("b"));
        CoreAiDouble::releaseAnswers();
    });
    QCOMPARE(textsOf(module->getOCRTextDataSync(task(1, QStringLiteral("a")))),
             QStringList(QStringLiteral("1")));
    QVERIFY(told.cancels.isEmpty());
    QCOMPARE(told.results, QStringList(QStringLiteral("a:1")));
    QCOMPARE(log.texts(QtWarningMsg), QStringList(NO_TASK));
}

void TestOcrModule::aCancelAfterTheResultFindsNoTask()
{
    CoreAiDouble::setReader(&readNumber);
    const auto module = readyModule();
    QVERIFY(module);
    module->getOCRTextDataSync(task(1, QStringLiteral("a")));
    Signals told(module.get());
    const LogCapture log;
    module->cancelRecognizeTextInImage(QStringLiteral("a"));
    QCOMPARE(log.texts(QtWarningMsg), QStringList(NO_TASK));
    QVERIFY(told.cancels.isEmpty());
}

void TestOcrModule::aCancelMarksTheOldestTaskOfTheId()
{
    CoreAiDouble::setReader(&readNumber);
    const auto module = readyModule();
    QVERIFY(module);
    CoreAiDouble::holdAnswers();
    soon([&module] {
        soon([&module] { module->cancelRecognizeTextInImage(QStringLiteral("a")); });
        module->getOCRTextDataSync(task(2, QStringLiteral("a")));
    });
    module->getOCRTextDataSync(task(1, QStringLiteral("a")));
    Signals told(module.get());
    CoreAiDouble::releaseAnswers();
    QTRY_COMPARE(told.results, QStringList(QStringLiteral("a:2")));
}

void TestOcrModule::resultsPairWithTheirTasksAfterCancels()
{
    CoreAiDouble::setReader(&readNumber);
    const auto module = readyModule();
    QVERIFY(module);
    CoreAiDouble::holdAnswers();
    for (int number = 1; number <= 3; ++number) {
        const QString id = QString::number(number);
        soon([&module, id] { module->cancelRecognizeTextInImage(id); });
        QVERIFY(module->getOCRTextDataSync(task(number, id)).isEmpty());
    }
    soon([] { CoreAiDouble::releaseAnswers(); });
    for (int number = 4; number <= 6; ++number) {
        Signals told(module.get());
        const QString id = QString::number(number);
        QCOMPARE(textsOf(module->getOCRTextDataSync(task(number, id))), QStringList(id));
        QCOMPARE(told.results, QStringList(QStringLiteral("%1:%1").arg(id)));
    }
    QCOMPARE(CoreAiDouble::readPictures().size(), 6);
}

void TestOcrModule::anyResultEndsEveryWait()
{
    // Results pair with tasks by order; the waits do not look whose it is.
    CoreAiDouble::setReader(&readNumber);
    const auto module = readyModule();
    QVERIFY(module);
    CoreAiDouble::holdAnswers();
    QStringList inner;
    soon([&module, &inner] {
        soon([] { CoreAiDouble::releaseAnswers(); });
        inner = textsOf(module->getOCRTextDataSync(task(2, QStringLiteral("b"))));
    });
    const QStringList outer = textsOf(module->getOCRTextDataSync(task(1, QStringLiteral("a"))));
    QCOMPARE(outer.size(), 1);
    QCOMPARE(inner.size(), 1);
    QVERIFY2(outer.first() == QLatin1String("1") || outer.first() == QLatin1String("2"),
             qPrintable(outer.first()));
}

void TestOcrModule::aResultTooManyIsDropped()
{
    CoreAiDouble::setReader([](const QByteArray &encoded) {
        Reading reading = readNumber(encoded);
        reading.times = 2;
        return reading;
    });
    const auto module = readyModule();
    QVERIFY(module);
    const LogCapture log;
    QCOMPARE(textsOf(module->getOCRTextDataSync(task(1, QStringLiteral("a")))),
             QStringList(QStringLiteral("1")));
    QTRY_COMPARE(log.texts(QtWarningMsg),
                 QStringList(QStringLiteral("OCR result without a request")));
}

void TestOcrModule::theEndOfAWaitDisconnectsEverySignal()
{
    CoreAiDouble::setReader(&readNumber);
    const auto module = readyModule();
    QVERIFY(module);
    Signals told(module.get());
    module->getOCRTextDataSync(task(1, QStringLiteral("a")));
    QCOMPARE(told.results.size(), 1);
    QVector<OCRTextData> lines;
    Q_EMIT module->ocrResultReady(lines, QStringLiteral("b"));
    Q_EMIT module->ocrTaskCancelled(QStringLiteral("b"));
    QCOMPARE(told.results.size(), 1);
    QVERIFY(told.cancels.isEmpty());
}

void TestOcrModule::cancelRacingTheResult()
{
    constexpr int runs = 1000;
    CoreAiDouble::setReader([](const QByteArray &encoded) {
        Reading reading = readNumber(encoded);
        // Spread over the time after which the other thread cancels.
        const int number = reading.lines.first().text.toInt();
        std::this_thread::sleep_for(std::chrono::microseconds((number % 20) * 100));
        return reading;
    });
    const auto module = readyModule();
    QVERIFY(module);
    int cancelled = 0;
    for (int run = 0; run < runs; ++run) {
        const QString id = QString::number(run);
        Signals told(module.get());
        bool hasTried = false;
        QTimer::singleShot(run % 4, Qt::PreciseTimer, this, [&module, &hasTried, id] {
            module->cancelRecognizeTextInImage(id);
            hasTried = true;
        });
        const LogCapture log;
        const QStringList lines = textsOf(module->getOCRTextDataSync(task(run, id)));
        while (!hasTried) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        if (told.cancels.isEmpty()) { // the result came first: it is this run's own
            QCOMPARE(lines, QStringList(id));
            QCOMPARE(told.results, QStringList(id + QLatin1Char(':') + id));
            QCOMPARE(log.texts(QtWarningMsg), QStringList(NO_TASK)); // the cancel came too late
        } else {
            ++cancelled;
            QCOMPARE(told.cancels, QStringList(id));
            QVERIFY(lines.isEmpty());
            QVERIFY(told.results.isEmpty());
            QVERIFY(log.texts().isEmpty());
        }
    }
    qInfo("%d of %d were cancelled in time", cancelled, runs);
    QCOMPARE(CoreAiDouble::readPictures().size(), runs);
}

void TestOcrModule::quittingTheProgramEndsTheWait()
{
    auto module = readyModule();
    QVERIFY(module);
    CoreAiDouble::holdAnswers();
    bool hasReturned = false;
    soon([&module, &hasReturned] {
        soon([] { QCoreApplication::quit(); });
        QVERIFY(module->getOCRTextDataSync(task(1, QStringLiteral("a"))).isEmpty());
        hasReturned = true;
    });
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(hasReturned);
    module.reset(); // what the program's end does next; the answer never came
}

void TestOcrModule::destructionWithAnAnswerOutstanding()
{
    // The answer is under way while the module goes; the sanitizers look on.
    for (int run = 0; run < 50; ++run) {
        auto module = readyModule();
        QVERIFY(module);
        CoreAiDouble::holdAnswers();
        soon([&module] { module->cancelRecognizeTextInImage(QStringLiteral("a")); });
        module->getOCRTextDataSync(task(1, QStringLiteral("a")));
        CoreAiDouble::releaseAnswers();
        module.reset();
    }
}

QTEST_GUILESS_MAIN(TestOcrModule)
#include "ocrmoduletest.moc"
