// The vision library against a runtime that dies, delays and refuses.

#include "answerlog.h"
#include "coreai/coreaivision.h"
#include "fakeprogram.h"
#include "support/logcapture.h"

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <csignal>
#include <thread>

namespace
{
// A session with its log; isDestroyed with it.
class Session
{
public:
    Session() : m_session(text_recognition_create_session())
    {
        text_recognition_result_set_callback(m_session, &AnswerLog::take, &log);
    }
    ~Session() { text_recognition_destroy_session(&m_session); }
    Q_DISABLE_COPY(Session)

    int init() { return text_recognition_init_session(m_session); }
    void ask(const QByteArray &picture)
    {
        text_recognition_recognize_text_from_image_data_async(
            m_session, reinterpret_cast<const uint8_t *>(picture.constData()),
            uint64_t(picture.size()));
    }
    void askNumbers(int first, int last)
    {
        for (int number = first; number <= last; ++number) {
            ask(QByteArray::number(number));
        }
    }
    TextRecognitionSession *handle() const { return m_session; }

    AnswerLog log;

private:
    TextRecognitionSession *m_session;
};

QStringList expectedFirstLines(int first, int last)
{
    QStringList texts;
    for (int number = first; number <= last; ++number) {
        texts << QStringLiteral("1: %1").arg(number);
    }
    return texts;
}

std::atomic<int> callsAfterDestruction{0};
std::atomic<bool> isDestroyed{false};

void countLateCalls(TextRecognitionResult *, void *)
{
    callsAfterDestruction += isDestroyed ? 1 : 0;
}

std::atomic<bool> requestReturned{false};

void destroyInside(TextRecognitionResult *, void *userData)
{
    while (!requestReturned) { // nobody else may still use the session
        std::this_thread::yield();
    }
    auto *session = static_cast<TextRecognitionSession **>(userData);
    text_recognition_destroy_session(session);
}
} // namespace

class VisionClientTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesTextAndCorners();
    void answersInRequestOrderExactlyOnce();
    void passesLongPicturesInMemory();
    void aKilledRuntimeLosesAndDoublesNothing();
    void aRequestThatKillsTwiceIsAnsweredEmpty();
    void aRuntimeThatDiesOnceIsAskedAgain();
    void aRuntimeThatCannotStartFailsTheSession();
    void aRuntimeThatBreaksTheProtocolIsReplaced();
    void passesTheStatusOfARefusal();
    void whatANewRuntimeRefusesIsAnsweredEmpty();
    void aRuntimeThatEndsOnceItHasSpokenIsLeftAlone();
    void aNullResultStaysNull();
    void aPictureWithoutTextHasNoArray();
    void aLineWithoutCornersGivesNone();
    void answersEmptyBeyondTheBoundInOrder();
    void theBytesThatWaitAreBounded();
    void aPictureThatIsTooLargeIsToldAsSuch();
    void requestsBeforeInitAreDroppedWithAWarning();
    void aReplacedCallbackGetsTheAnswers();
    void aNullCallbackDropsAnswers();
    void twoSessionsShareOneProcess();
    void aSlowCallbackDelaysNoOtherSession();
    void answersAreNotGivenBeforeTheCallReturned();
    void noCallbackAfterDestruction();
    void aSessionMayBeDestroyedInItsCallback();
    void theProcessGoesWithTheLastSession();
    void nullHandlesAreHarmless();
    void requestsFromSeveralThreadsAreAllAnswered();
};

void VisionClientTest::givesTextAndCorners()
{
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    QCOMPARE(session.init(), 0);
    session.ask("page");
    QTRY_COMPARE(session.log.count(), 1);
    const Answered answered = session.log.answers().first();
    QCOMPARE(answered.lines.size(), 2);
    QCOMPARE(answered.lines.at(1).text, QStringLiteral("2: page"));
    const QVector<QPoint> corners{{2, 20}, {200, 20}, {200, 40}, {2, 40}};
    QCOMPARE(answered.lines.at(1).corners, corners);
}

void VisionClientTest::answersInRequestOrderExactlyOnce()
{
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    session.askNumbers(1, 200);
    QTRY_COMPARE(session.log.count(), 200);
    QTest::qWait(50);
    QCOMPARE(session.log.firstLines(), expectedFirstLines(1, 200));
}

void VisionClientTest::passesLongPicturesInMemory()
{
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    for (const int size : {0, 64, 65, 16384, 16385, 5000000}) {
        session.ask(QByteArray(size, 'x'));
    }
    QTRY_COMPARE(session.log.count(), 6);
    const QStringList texts = session.log.firstLines();
    QCOMPARE(texts.at(0), QStringLiteral("1: "));
    QCOMPARE(texts.at(2), QStringLiteral("1: 65 bytes"));
    QCOMPARE(texts.at(3), QStringLiteral("1: 16384 bytes"));
    QCOMPARE(texts.at(4), QStringLiteral("1: 16385 bytes"));
    QCOMPARE(texts.at(5), QStringLiteral("1: 5000000 bytes"));
}

void VisionClientTest::aKilledRuntimeLosesAndDoublesNothing()
{
    const FakeProgram program({"--delay", "5"});
    Session session;
    QCOMPARE(session.init(), 0);
    session.askNumbers(1, 100);
    QTRY_VERIFY(session.log.count() >= 30);
    const pid_t process = FakeProgram::processId();
    ::kill(process, SIGKILL);
    QTRY_COMPARE_WITH_TIMEOUT(session.log.count(), 100, 10000);
    QTest::qWait(50);
    QCOMPARE(session.log.firstLines(), expectedFirstLines(1, 100));
    QVERIFY(FakeProgram::processId() != process);
}

void VisionClientTest::aRequestThatKillsTwiceIsAnsweredEmpty()
{
    const FakeProgram program({"--die-on-size", "7"});
    Session session;
    QCOMPARE(session.init(), 0);
    session.ask("1");
    session.ask("deadly!");
    session.ask("3");
    QTRY_COMPARE_WITH_TIMEOUT(session.log.count(), 3, 10000);
    QTest::qWait(50);
    QCOMPARE(session.log.firstLines(), QStringList({"1: 1", "empty", "1: 3"}));
    QVERIFY(!session.log.answers().at(1).isNull);
    QVERIFY(!session.log.answers().at(1).hasArray);
}

void VisionClientTest::aRuntimeThatDiesOnceIsAskedAgain()
{
    const FakeProgram program({"--die-at", "3"});
    Session session;
    QCOMPARE(session.init(), 0);
    session.askNumbers(1, 4); // dies at 3; the next process gets 3 and 4 only
    QTRY_COMPARE_WITH_TIMEOUT(session.log.count(), 4, 10000);
    QCOMPARE(session.log.firstLines(), expectedFirstLines(1, 4));
}

void VisionClientTest::aRuntimeThatCannotStartFailsTheSession()
{
    LogCapture log;
    coreai::setRuntimeProgram({"/nowhere/yestermark-ai-runtime"});
    {
        Session session;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(session.init() != 0);
        QVERIFY(timer.elapsed() < 2000);
    }
    coreai::setRuntimeProgram({"/bin/false"});
    {
        Session session;
        QVERIFY(session.init() != 0);
    }
    coreai::setRuntimeProgram({});
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("does not start")));
}

void VisionClientTest::aRuntimeThatBreaksTheProtocolIsReplaced()
{
    LogCapture log;
    const FakeProgram program({"--garbage-at", "2"});
    Session session;
    QCOMPARE(session.init(), 0);
    session.askNumbers(1, 2);
    QTRY_COMPARE_WITH_TIMEOUT(session.log.count(), 2, 10000);
    QCOMPARE(session.log.firstLines(), expectedFirstLines(1, 2));
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("breaks the protocol")), 1);
}

void VisionClientTest::passesTheStatusOfARefusal()
{
    const FakeProgram program({"--status", "42"});
    Session session;
    QCOMPARE(session.init(), 42);
}

void VisionClientTest::whatANewRuntimeRefusesIsAnsweredEmpty()
{
    LogCapture log;
    Session session;
    {
        const FakeProgram program;
        QCOMPARE(session.init(), 0);
    }
    const FakeProgram program({"--status", "42"});
    ::kill(FakeProgram::processId(), SIGKILL);
    for (int request = 1; request <= 2; ++request) { // before, or after it is told, then after
        session.ask("1");
        QTRY_COMPARE(session.log.count(), request);
    }
    QCOMPARE(session.log.firstLines(), QStringList({"empty", "empty"}));
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("the session is refused")));
}

void VisionClientTest::aRuntimeThatEndsOnceItHasSpokenIsLeftAlone()
{
    LogCapture log;
    const FakeProgram program({"--die-opened"});
    Session session;
    QCOMPARE(session.init(), 0);
    QTRY_VERIFY(log.contains(QtWarningMsg, QStringLiteral("left alone for a while")));
    const int starts = log.count(QtWarningMsg, QStringLiteral("the process ended"));
    session.ask("1");
    QTRY_COMPARE(session.log.count(), 1);
    QCOMPARE(session.log.firstLines(), QStringList("empty"));
    QCOMPARE(log.count(QtWarningMsg, QStringLiteral("the process ended")), starts);
    QCOMPARE(FakeProgram::processId(), pid_t(-1));
}

void VisionClientTest::aNullResultStaysNull()
{
    const FakeProgram program({"--null", "2"});
    Session session;
    QCOMPARE(session.init(), 0);
    session.askNumbers(1, 3);
    QTRY_COMPARE(session.log.count(), 3);
    QCOMPARE(session.log.firstLines(), QStringList({"1: 1", "null", "1: 3"}));
}

void VisionClientTest::aPictureWithoutTextHasNoArray()
{
    const FakeProgram program({"--empty", "1"});
    Session session;
    QCOMPARE(session.init(), 0);
    session.ask("1");
    QTRY_COMPARE(session.log.count(), 1);
    QVERIFY(!session.log.answers().first().isNull);
    QVERIFY(!session.log.answers().first().hasArray);
}

void VisionClientTest::aLineWithoutCornersGivesNone()
{
    const FakeProgram program({"--lines", "3", "--no-corners", "2"});
    Session session;
    QCOMPARE(session.init(), 0);
    session.ask("1");
    QTRY_COMPARE(session.log.count(), 1);
    const QVector<AnsweredLine> lines = session.log.answers().first().lines;
    QCOMPARE(lines.size(), 3);
    QVERIFY(lines.at(0).hasCorners && !lines.at(1).hasCorners && lines.at(2).hasCorners);
}

void VisionClientTest::answersEmptyBeyondTheBoundInOrder()
{
    LogCapture log;
    const FakeProgram program({"--delay", "2"});
    Session session;
    QCOMPARE(session.init(), 0);
    const int bound = int(coreai::RuntimeLink::mostWaiting);
    session.askNumbers(1, 2 * bound);
    QTRY_COMPARE_WITH_TIMEOUT(session.log.count(), 2 * bound, 20000);
    const QStringList texts = session.log.firstLines();
    QCOMPARE(texts.mid(0, bound), expectedFirstLines(1, bound));
    QVERIFY(texts.count(QStringLiteral("empty")) > 0);
    for (int index = 0; index < texts.size(); ++index) {
        const QString read = QStringLiteral("1: %1").arg(index + 1);
        QVERIFY2(texts.at(index) == read || texts.at(index) == QStringLiteral("empty"),
                 qPrintable(texts.at(index)));
    }
}

void VisionClientTest::theBytesThatWaitAreBounded()
{
    using coreai::RuntimeLink;
    const FakeProgram program({"--silent"});
    RuntimeLink link(1000);
    std::uint32_t session = 0;
    const auto ignore = [](const coreai::Message &) {};
    QCOMPARE(link.open(coreai::SessionKind::TextRecognition, ignore, &session), 0);
    const auto send = [&](std::size_t bytes) {
        coreai::Message message;
        message.type = coreai::MessageType::ReadPicture;
        message.session = session;
        message.request = link.nextRequest();
        message.payload = coreai::Payload::of(std::string(bytes, 'x'));
        return link.send(message);
    };
    QVERIFY(send(5000) == RuntimeLink::Sending::Accepted); // where nothing else waits
    QVERIFY(send(1) == RuntimeLink::Sending::TooManyWait);
    link.forget(session, 1);
    QVERIFY(send(600) == RuntimeLink::Sending::Accepted);
    QVERIFY(send(400) == RuntimeLink::Sending::Accepted);
    QVERIFY(send(1) == RuntimeLink::Sending::TooManyWait);
    link.close(session);
}

void VisionClientTest::aPictureThatIsTooLargeIsToldAsSuch()
{
    LogCapture log;
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    const uint8_t byte = 0; // the size alone is looked at
    text_recognition_recognize_text_from_image_data_async(session.handle(), &byte,
                                                          coreai::Payload::mostBytes + 1);
    QTRY_COMPARE(session.log.count(), 1);
    QCOMPARE(session.log.firstLines(), QStringList("empty"));
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("a picture cannot be passed on")));
    QVERIFY(!log.contains(QtWarningMsg, QStringLiteral("too many")));
}

void VisionClientTest::requestsBeforeInitAreDroppedWithAWarning()
{
    LogCapture log;
    const FakeProgram program;
    Session session;
    session.ask("early");
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("before the session was initialised")));
    QCOMPARE(session.init(), 0);
    session.ask("1");
    QTRY_COMPARE(session.log.count(), 1);
    QCOMPARE(session.log.firstLines(), expectedFirstLines(1, 1));
}

void VisionClientTest::aReplacedCallbackGetsTheAnswers()
{
    const FakeProgram program({"--delay", "20"});
    Session session;
    QCOMPARE(session.init(), 0);
    AnswerLog second;
    session.askNumbers(1, 1);
    text_recognition_result_set_callback(session.handle(), &AnswerLog::take, &second);
    QTRY_COMPARE(second.count(), 1);
    QCOMPARE(session.log.count(), 0);
    text_recognition_result_set_callback(session.handle(), nullptr, nullptr);
}

void VisionClientTest::aNullCallbackDropsAnswers()
{
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    text_recognition_result_set_callback(session.handle(), nullptr, nullptr);
    session.ask("dropped");
    QTest::qWait(100);
    text_recognition_result_set_callback(session.handle(), &AnswerLog::take, &session.log);
    session.ask("1");
    QTRY_COMPARE(session.log.count(), 1);
    QCOMPARE(session.log.firstLines(), expectedFirstLines(1, 1));
}

void VisionClientTest::twoSessionsShareOneProcess()
{
    const FakeProgram program;
    Session recorder;
    Session region;
    QCOMPARE(recorder.init(), 0);
    const pid_t process = FakeProgram::processId();
    QCOMPARE(region.init(), 0);
    QCOMPARE(FakeProgram::processId(), process);
    recorder.askNumbers(1, 50);
    region.askNumbers(51, 100);
    QTRY_COMPARE(recorder.log.count() + region.log.count(), 100);
    QCOMPARE(recorder.log.firstLines(), expectedFirstLines(1, 50));
    QCOMPARE(region.log.firstLines(), expectedFirstLines(51, 100));
}

void VisionClientTest::aSlowCallbackDelaysNoOtherSession()
{
    const FakeProgram program;
    Session slow;
    Session quick;
    QCOMPARE(slow.init(), 0);
    QCOMPARE(quick.init(), 0);
    static std::atomic<bool> release{false};
    release = false;
    text_recognition_result_set_callback(
        slow.handle(),
        [](TextRecognitionResult *, void *) {
            while (!release) {
                std::this_thread::yield();
            }
        },
        nullptr);
    slow.ask("held");
    quick.ask("1");
    QTRY_COMPARE(quick.log.count(), 1);
    release = true;
}

void VisionClientTest::answersAreNotGivenBeforeTheCallReturned()
{
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    for (int round = 0; round < 20; ++round) {
        QElapsedTimer timer;
        timer.start();
        session.ask("1");
        while (session.log.count() <= round) {
            std::this_thread::yield();
        }
        QVERIFY2(timer.nsecsElapsed() >= 5000000, "a caller needs a moment to note its request");
    }
}

void VisionClientTest::noCallbackAfterDestruction()
{
    const FakeProgram program({"--delay", "1"});
    for (int round = 0; round < 10; ++round) {
        isDestroyed = false;
        TextRecognitionSession *session = text_recognition_create_session();
        text_recognition_result_set_callback(session, &countLateCalls, nullptr);
        QCOMPARE(text_recognition_init_session(session), 0);
        for (int request = 0; request < 20; ++request) {
            const uint8_t byte = 1;
            text_recognition_recognize_text_from_image_data_async(session, &byte, 1);
        }
        QTest::qWait(round);
        text_recognition_destroy_session(&session);
        isDestroyed = true;
        QVERIFY(session == nullptr);
        QTest::qWait(5);
    }
    QCOMPARE(callsAfterDestruction.load(), 0);
}

void VisionClientTest::aSessionMayBeDestroyedInItsCallback()
{
    const FakeProgram program;
    static TextRecognitionSession *session = nullptr; // written when this function may have ended
    session = text_recognition_create_session();
    text_recognition_result_set_callback(session, &destroyInside, &session);
    QCOMPARE(text_recognition_init_session(session), 0);
    const pid_t process = FakeProgram::processId();
    const uint8_t byte = 1;
    text_recognition_recognize_text_from_image_data_async(session, &byte, 1);
    requestReturned = true;
    QTRY_VERIFY(!FakeProgram::isAlive(process));
}

void VisionClientTest::theProcessGoesWithTheLastSession()
{
    const FakeProgram program;
    pid_t process = -1;
    {
        Session first;
        QCOMPARE(first.init(), 0);
        process = FakeProgram::processId();
        {
            Session second;
            QCOMPARE(second.init(), 0);
        }
        QVERIFY(FakeProgram::isAlive(process));
    }
    QVERIFY(!FakeProgram::isAlive(process));
}

void VisionClientTest::nullHandlesAreHarmless()
{
    text_recognition_destroy_session(nullptr);
    TextRecognitionSession *none = nullptr;
    text_recognition_destroy_session(&none);
    text_recognition_result_set_callback(nullptr, nullptr, nullptr);
    text_recognition_recognize_text_from_image_data_async(nullptr, nullptr, 0);
    QVERIFY(text_recognition_init_session(nullptr) != 0);

    TextRecognitionModelConfig *config = text_recognition_model_config_create();
    text_recognition_model_config_set_name(config, "vision");
    text_recognition_model_config_set_name(config, nullptr);
    text_recognition_model_config_set_deploy_type(config, 0);
    text_recognition_set_model_config(nullptr, config);
    text_recognition_model_config_destroy(&config);
    QVERIFY(config == nullptr);
    text_recognition_model_config_destroy(&config);
    text_recognition_model_config_destroy(nullptr);

    int32_t count = -1;
    QVERIFY(text_recognition_result_get_text_lines(nullptr, &count) == nullptr);
    QCOMPARE(count, 0);
    QVERIFY(text_line_get_corner_points(nullptr, &count) == nullptr);
}

void VisionClientTest::requestsFromSeveralThreadsAreAllAnswered()
{
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back(
            [&session, thread] { session.askNumbers(thread * 50 + 1, thread * 50 + 50); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QTRY_COMPARE(session.log.count(), 200);
    QStringList texts = session.log.firstLines();
    QStringList expected = expectedFirstLines(1, 200);
    texts.sort();
    expected.sort();
    QCOMPARE(texts, expected);
}

QTEST_GUILESS_MAIN(VisionClientTest)
#include "visionclienttest.moc"
