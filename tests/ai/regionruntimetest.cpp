// Reading a region through the client library and a runtime process: one that is killed, fails or
// says nothing, one that the recorder keeps busy, and the installed one with its engines.

#include "ai/ocrmodel.h"
#include "ai/ocrmodule.h"
#include "coreai/aisubsystem.h"
#include "coreai/client/runtimelink.h"
#include "coreai/client/runtimeprogram.h"
#include "coreai/engines/modelfiles.h"
#include "platform/coreai/reading/drawnsession.h"
#include "support/childprocesses.h"
#include "support/logcapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QPolygonF>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <csignal>
#include <memory>

namespace
{
constexpr int PATIENCE_MS = 60000; // engines run at nice 19: on a busy machine they wait for all

const QString NOT_READY = QStringLiteral("Warning: text recognition session is not initialized");

OCRTask task(const QImage &image, const QString &taskID = QStringLiteral("a"))
{
    OCRTask task;
    task.image = image;
    task.taskID = taskID;
    return task;
}

/// Pictures of one colour and different sizes, by which the fake runtime's answers differ.
QImage plain(int width)
{
    QImage image(width, 40, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

/// What the fake runtime reads in it.
QString answerTo(const QImage &image)
{
    const std::optional<QByteArray> picture = TextRecognition::encoded(image);
    return QStringLiteral("1: %1 bytes").arg(picture ? picture->size() : -1);
}

QStringList textsOf(const QVector<OCRTextData> &lines)
{
    QStringList texts;
    for (const OCRTextData &line : lines) {
        texts << line.text;
    }
    return texts;
}

std::unique_ptr<OcrModule> readyModule()
{
    auto module = std::make_unique<OcrModule>();
    const auto isReady = [&module] {
        const LogCapture log;
        module->getOCRTextDataSync(OCRTask());
        return !log.contains(QtWarningMsg, NOT_READY);
    };
    return QTest::qWaitFor(isReady, PATIENCE_MS) ? std::move(module) : nullptr;
}

pid_t runtime()
{
    return coreai::RuntimeLink::shared()->processId();
}

/// Calls @p work on the main thread every few milliseconds until it is true.
template <typename Work>
void until(Work work)
{
    auto *timer = new QTimer(QCoreApplication::instance());
    QObject::connect(timer, &QTimer::timeout, timer, [timer, work] {
        if (work()) {
            timer->deleteLater();
        }
    });
    timer->start(5);
}
} // namespace

class TestRegionRuntime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void aKilledRuntimeReadsTheRegionAfterAll();
    void aKilledRuntimeGivesEveryOutstandingRequestItsAnswer();
    void aRuntimeThatDiesOfTheRegionEndsTheWaitWithAnEmptyVector();
    void aRuntimeWithoutAResultEndsTheWaitWithAnEmptyVector();
    void aSilentRuntimeIsCancelled();
    void quittingTheProgramEndsTheWaitForASilentRuntime();
    void killedEnginesEndTheWaitWithTheLines();
    void enginesThatDieOfALineEndTheWait();
    void theRegionDoesNotWaitForTheRecorderAndSharesItsProcess();
    void textInAPaintedPictureIsReadWithBoxesInsideTheRegion();

private:
    /// From now on the fake runtime is the one that is started.
    static void useFake(const std::vector<std::string> &options);
    /// The runtime with the test's engines, which take so many milliseconds a line.
    void useTestEngines(const std::vector<std::string> &options);

    QTemporaryDir m_models;
};

void TestRegionRuntime::cleanup()
{
    coreai::setRuntimeProgram({});
}

void TestRegionRuntime::useFake(const std::vector<std::string> &options)
{
    std::vector<std::string> command{FAKE_RUNTIME};
    command.insert(command.end(), options.begin(), options.end());
    coreai::setRuntimeProgram(command);
}

void TestRegionRuntime::useTestEngines(const std::vector<std::string> &options)
{
    for (const QString &name : {coreai::lineModelFile, coreai::textMeaningFile}) {
        QFile file(m_models.filePath(name));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write("model");
    }
    std::vector<std::string> command{RUNTIME_PROGRAM,
                                     "--engines",
                                     ENGINE_PROGRAM,
                                     "--models",
                                     m_models.path().toStdString(),
                                     "--"};
    command.insert(command.end(), options.begin(), options.end());
    coreai::setRuntimeProgram(command);
}

void TestRegionRuntime::aKilledRuntimeReadsTheRegionAfterAll()
{
    useFake({"--delay", "1000"});
    const auto module = readyModule();
    QVERIFY(module);
    const pid_t first = runtime();
    QTimer::singleShot(20, this, [first] { ::kill(first, SIGKILL); });
    const QStringList texts = textsOf(module->getOCRTextDataSync(task(plain(50))));
    QCOMPARE(texts.value(0), answerTo(plain(50)));
    QVERIFY(runtime() != first);
}

void TestRegionRuntime::aKilledRuntimeGivesEveryOutstandingRequestItsAnswer()
{
    useFake({"--delay", "50"});
    const auto module = readyModule();
    QVERIFY(module);
    const pid_t first = runtime();
    for (const QString &id : {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}) {
        QTimer::singleShot(0, this, [&module, id] { module->cancelRecognizeTextInImage(id); });
        QVERIFY(module->getOCRTextDataSync(task(plain(50), id)).isEmpty());
    }
    ::kill(first, SIGKILL);
    // A missing answer would let this one wait for ever, one too many would be taken for its own.
    for (int width = 60; width <= 80; width += 10) {
        QCOMPARE(textsOf(module->getOCRTextDataSync(task(plain(width)))).value(0),
                 answerTo(plain(width)));
    }
}

void TestRegionRuntime::aRuntimeThatDiesOfTheRegionEndsTheWaitWithAnEmptyVector()
{
    const std::optional<QByteArray> deadly = TextRecognition::encoded(plain(50));
    QVERIFY(deadly);
    useFake({"--die-on-size", std::to_string(deadly->size())});
    const auto module = readyModule();
    QVERIFY(module);
    const LogCapture log;
    QVERIFY(module->getOCRTextDataSync(task(plain(50))).isEmpty());
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("No text detected in image.")));
    QVERIFY(answerTo(plain(90)) != answerTo(plain(50)));
    QCOMPARE(textsOf(module->getOCRTextDataSync(task(plain(90)))).value(0), answerTo(plain(90)));
}

void TestRegionRuntime::aRuntimeWithoutAResultEndsTheWaitWithAnEmptyVector()
{
    useFake({"--null", "1"});
    const auto module = readyModule();
    QVERIFY(module);
    const LogCapture log;
    QVERIFY(module->getOCRTextDataSync(task(plain(50))).isEmpty());
    QCOMPARE(log.count(QtDebugMsg, QStringLiteral("OCR的SDK传入的result为空")), 1);
    QCOMPARE(textsOf(module->getOCRTextDataSync(task(plain(50)))).value(0), answerTo(plain(50)));
}

void TestRegionRuntime::aSilentRuntimeIsCancelled()
{
    useFake({"--silent"});
    const auto module = readyModule();
    QVERIFY(module);
    QTimer::singleShot(20, this,
                       [&module] { module->cancelRecognizeTextInImage(QStringLiteral("a")); });
    QVERIFY(module->getOCRTextDataSync(task(plain(50))).isEmpty());
}

void TestRegionRuntime::quittingTheProgramEndsTheWaitForASilentRuntime()
{
    useFake({"--silent"});
    auto module = readyModule();
    QVERIFY(module);
    const pid_t process = runtime();
    bool hasReturned = false;
    QTimer::singleShot(0, this, [&module, &hasReturned] {
        QTimer::singleShot(20, QCoreApplication::instance(), &QCoreApplication::quit);
        hasReturned = module->getOCRTextDataSync(task(plain(50))).isEmpty();
    });
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(hasReturned);
    module.reset(); // as the program's end does, with the answer still owed
    QTRY_VERIFY_WITH_TIMEOUT(::kill(process, 0) != 0, PATIENCE_MS);
}

void TestRegionRuntime::killedEnginesEndTheWaitWithTheLines()
{
    const DrawnSession session;
    const QImage region = session.screen().copy(0, 100, 800, 200);
    useTestEngines({"30"});
    const auto module = readyModule();
    QVERIFY(module);
    const pid_t process = runtime();
    bool isKilled = false;
    until([process, &isKilled] {
        const std::vector<pid_t> engines = childrenOf(process);
        isKilled = !engines.empty() && ::kill(engines.front(), SIGKILL) == 0;
        return isKilled;
    });
    const QStringList texts = textsOf(module->getOCRTextDataSync(task(region)));
    QVERIFY(isKilled);
    QVERIFY(!texts.isEmpty());
    QCOMPARE(textsOf(module->getOCRTextDataSync(task(region))), texts);
    QCOMPARE(runtime(), process);
}

void TestRegionRuntime::enginesThatDieOfALineEndTheWait()
{
    const DrawnSession session;
    const QImage region = session.screen().copy(0, 100, 800, 200);
    useTestEngines({"0"});
    int width = 0;
    int count = 0;
    {
        const auto module = readyModule();
        QVERIFY(module);
        const QVector<OCRTextData> lines = module->getOCRTextDataSync(task(region));
        QVERIFY(!lines.isEmpty());
        count = lines.size();
        width = static_cast<int>(QPolygonF(lines.first().cornerPoints).boundingRect().width());
    }
    useTestEngines({"0", std::to_string(width)});
    const auto module = readyModule();
    QVERIFY(module);
    const QVector<OCRTextData> lines = module->getOCRTextDataSync(task(region)); // returns
    QVERIFY(lines.size() < count);
    for (const OCRTextData &line : lines) {
        QVERIFY(static_cast<int>(QPolygonF(line.cornerPoints).boundingRect().width()) != width);
    }
}

void TestRegionRuntime::theRegionDoesNotWaitForTheRecorderAndSharesItsProcess()
{
    constexpr int frames = 10;
    useTestEngines({"50"});   // some seconds a frame: the recorder is far from done
    std::atomic<int> read{0}; // first: answers come for as long as the recorder is there
    OcrModel recorder;
    recorder.setImageOCRResultCallback([&read](const QVector<OCRTextData> & /*lines*/) { ++read; });
    const auto module = readyModule();
    QVERIFY(module);
    DrawnSession session;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] { // until its session is ready, too
            const LogCapture log;
            recorder.requestOCRTextDataAsync(session.screen());
            return log.texts(QtWarningMsg).isEmpty();
        }(),
        PATIENCE_MS);
    for (int frame = 1; frame < frames; ++frame) {
        session.openFile();
        recorder.requestOCRTextDataAsync(session.screen());
    }
    session.openFile();
    QVERIFY(!module->getOCRTextDataSync(task(session.screen().copy(0, 100, 800, 200))).isEmpty());
    QVERIFY2(read < frames / 2, "the region waited for the recorder");
    QCOMPARE(childrenOf(::getpid()).size(), std::size_t(1));
}

void TestRegionRuntime::textInAPaintedPictureIsReadWithBoxesInsideTheRegion()
{
    if (!is_ai_subsystem_inited()) {
        QSKIP("no reader or no model of meaning is there (scripts/setup brings both)");
    }
    const QStringList written{QStringLiteral("The meeting moved to Thursday"),
                              QStringLiteral("Invoice 4711 paid in full"),
                              QStringLiteral("Remember the umbrella")};
    QImage page(1280, 720, QImage::Format_RGB32);
    page.fill(Qt::white);
    QPainter painter(&page);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(22);
    painter.setFont(font);
    painter.drawText(20, 40, QStringLiteral("Outside of the region"));
    for (int line = 0; line < written.size(); ++line) {
        painter.drawText(260, 240 + 50 * line, written.at(line));
    }
    painter.end();

    const auto module = readyModule();
    QVERIFY(module);
    const QImage region = page.copy(240, 200, 800, 200);
    const QVector<OCRTextData> lines = module->getOCRTextDataSync(task(region));
    QCOMPARE(textsOf(lines), written);
    for (int line = 0; line < lines.size(); ++line) {
        const QRectF box = QPolygonF(lines.at(line).cornerPoints).boundingRect();
        QCOMPARE(lines.at(line).cornerPoints.size(), 4);
        QVERIFY(QRectF(region.rect()).contains(box));
        // Relative to the cut-out: the baseline of the text lies in its box.
        QVERIFY(box.top() < 40 + 50 * line && box.bottom() > 30 + 50 * line);
        QVERIFY(box.left() < 25 && box.left() > 10);
    }
}

QTEST_MAIN(TestRegionRuntime)
#include "regionruntimetest.moc"
