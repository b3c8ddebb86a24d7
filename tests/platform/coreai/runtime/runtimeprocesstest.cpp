// The installed process under the client libraries: killed, idle, refused, and what it leaves on
// the log. The engines are the test's.

#include "coreai/client/runtimelink.h"
#include "coreai/client/runtimeprogram.h"
#include "coreai/coreaiembedding.h"
#include "coreai/coreaivision.h"
#include "coreai/engines/modelfiles.h"
#include "reading/drawnsession.h"
#include "support/childprocesses.h"
#include "support/testfiles.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QMutex>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
// The engines run at nice 19: on a busy machine they wait for everybody.
constexpr int patience = 60000; // ms

QByteArray encoded(const QImage &image, const char *format = "PNG")
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

bool isAlive(pid_t process)
{
    // A child that its parent has not waited for yet still has an entry.
    const QByteArray stat = contentOf(QStringLiteral("/proc/%1/stat").arg(process));
    return !stat.isEmpty() && stat.at(stat.lastIndexOf(')') + 2) != 'Z';
}

pid_t runtime()
{
    return coreai::RuntimeLink::shared()->processId();
}

// The recorder's session with every answer as one text.
class Recorder
{
public:
    Recorder() : m_session(text_recognition_create_session())
    {
        text_recognition_result_set_callback(m_session, &Recorder::take, this);
    }
    ~Recorder() { text_recognition_destroy_session(&m_session); }
    Q_DISABLE_COPY(Recorder)

    int init() { return text_recognition_init_session(m_session); }
    void hand(const QByteArray &png)
    {
        text_recognition_recognize_text_from_image_data_async(
            m_session, reinterpret_cast<const uint8_t *>(png.constData()), uint64_t(png.size()));
    }
    QStringList answers() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_answers;
    }
    int count() const { return answers().size(); }

private:
    static void take(TextRecognitionResult *result, void *userData)
    {
        int32_t count = 0;
        TextLine *const *lines = text_recognition_result_get_text_lines(result, &count);
        QString text = result ? QString() : QStringLiteral("null");
        for (int32_t line = 0; line < count; ++line) {
            text += QString::fromUtf8(text_line_get_value(lines[line])) + QLatin1Char('\n');
        }
        auto *self = static_cast<Recorder *>(userData);
        const QMutexLocker lock(&self->m_mutex);
        self->m_answers << text;
    }

    TextRecognitionSession *m_session;
    mutable QMutex m_mutex;
    QStringList m_answers;
};

QStringList readingOf(const QVector<QByteArray> &frames)
{
    Recorder recorder;
    recorder.init();
    for (const QByteArray &frame : frames) {
        recorder.hand(frame);
    }
    const bool all = QTest::qWaitFor([&] { return recorder.count() == frames.size(); }, patience);
    return all ? recorder.answers() : QStringList();
}

/// Opens a session and asks for the vector of a text in it.
bool askForAVector(coreai::ChannelProcess &client)
{
    coreai::Message opening;
    opening.session = 1;
    opening.request = std::uint64_t(coreai::SessionKind::Embedding);
    coreai::Message question = opening;
    question.type = coreai::MessageType::EmbedText;
    return client.channel().send(opening) == coreai::Channel::Sending::Sent &&
           client.channel().send(question) == coreai::Channel::Sending::Sent;
}
} // namespace

class RuntimeProcessTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void killedAmid100FramesGives100AnswersInOrder();
    void killedEnginesLoseNoLine();
    void bothProcessesGoWithTheLastSession();
    void bothProcessesGoWithAKilledClient();
    void stuckEnginesGoWithAKilledRuntime_data();
    void stuckEnginesGoWithAKilledRuntime();
    void enginesEndWhenIdleAndComeBackUnnoticed();
    void theEnginesRunAtTheLowestPriority();
    void threadsAreNamed();
    void refusesSessionsWithoutModels();
    void twoSessionsAtOnce();
    void embedsPicturesAndTexts();
    void logsNothingOfTheText();

private:
    void useRuntime(std::vector<std::string> options = {}, std::vector<std::string> engine = {});

    QTemporaryDir m_models;
};

void RuntimeProcessTest::init()
{
    for (const QString &name : {coreai::lineModelFile, coreai::textMeaningFile}) {
        QFile file(m_models.filePath(name));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write("model");
    }
    useRuntime();
}

void RuntimeProcessTest::cleanup()
{
    coreai::setRuntimeProgram({});
}

void RuntimeProcessTest::useRuntime(std::vector<std::string> options,
                                    std::vector<std::string> engine)
{
    std::vector<std::string> command{RUNTIME_PROGRAM, "--engines", ENGINE_PROGRAM, "--models",
                                     m_models.path().toStdString()};
    command.insert(command.end(), options.begin(), options.end());
    command.emplace_back("--");
    command.insert(command.end(), engine.begin(), engine.end());
    coreai::setRuntimeProgram(command);
}

void RuntimeProcessTest::killedAmid100FramesGives100AnswersInOrder()
{
    DrawnSession session({320, 200});
    QVector<QByteArray> frames;
    for (int frame = 0; frame < 100; ++frame) {
        session.openFile();
        frames << encoded(session.screen());
    }
    const QStringList expected = readingOf(frames);
    QCOMPARE(expected.size(), 100);
    QVERIFY(QSet<QString>(expected.begin(), expected.end()).size() == 100);
    QVERIFY(!expected.contains(QString()));

    useRuntime({}, {"1"});
    Recorder recorder;
    QCOMPARE(recorder.init(), 0);
    for (const QByteArray &frame : frames) {
        recorder.hand(frame);
    }
    QTRY_VERIFY_WITH_TIMEOUT(recorder.count() >= 20, patience);
    ::kill(runtime(), SIGKILL);
    QTRY_COMPARE_WITH_TIMEOUT(recorder.count(), 100, patience);
    QTest::qWait(50);
    QCOMPARE(recorder.answers(), expected);
}

void RuntimeProcessTest::killedEnginesLoseNoLine()
{
    DrawnSession session;
    const QByteArray frame = encoded(session.screen());
    const QStringList expected = readingOf({frame});
    useRuntime({}, {"20"});
    Recorder recorder;
    QCOMPARE(recorder.init(), 0);
    recorder.hand(frame);
    QTRY_VERIFY_WITH_TIMEOUT(childrenOf(runtime()).size() == 1, patience);
    QTest::qWait(200); // into the reading
    QCOMPARE(recorder.count(), 0);
    ::kill(childrenOf(runtime()).front(), SIGKILL);
    QTRY_COMPARE_WITH_TIMEOUT(recorder.count(), 1, patience);
    QCOMPARE(recorder.answers(), expected);
}

void RuntimeProcessTest::bothProcessesGoWithTheLastSession()
{
    pid_t process = -1;
    pid_t engines = -1;
    {
        Recorder recorder;
        QCOMPARE(recorder.init(), 0);
        DrawnSession session({640, 400});
        recorder.hand(encoded(session.screen()));
        QTRY_COMPARE_WITH_TIMEOUT(recorder.count(), 1, patience);
        process = runtime();
        engines = childrenOf(process).at(0);
    }
    QTRY_VERIFY_WITH_TIMEOUT(!isAlive(process), patience);
    QTRY_VERIFY_WITH_TIMEOUT(!isAlive(engines), patience);
}

void RuntimeProcessTest::bothProcessesGoWithAKilledClient()
{
    // Only the sockets tell them: the client gets no chance to say goodbye.
    coreai::ChannelProcess client;
    QVERIFY(client.start(coreai::runtimeProgram()));
    QVERIFY(askForAVector(client));
    const pid_t process = client.processId();
    QTRY_COMPARE_WITH_TIMEOUT(childrenOf(process).size(), std::size_t(1), patience);
    const pid_t engines = childrenOf(process).front();
    client.channel().close();
    QTRY_VERIFY_WITH_TIMEOUT(!isAlive(process), patience);
    QTRY_VERIFY_WITH_TIMEOUT(!isAlive(engines), patience);
}

void RuntimeProcessTest::stuckEnginesGoWithAKilledRuntime_data()
{
    QTest::addColumn<QString>("engines");
    QTest::newRow("the test's") << QStringLiteral(ENGINE_PROGRAM);
    QTest::newRow("the installed ones") << QStringLiteral(ENGINES_INSTALLED);
}

void RuntimeProcessTest::stuckEnginesGoWithAKilledRuntime()
{
    QFETCH(QString, engines);
    coreai::ChannelProcess client;
    QVERIFY(client.start({RUNTIME_PROGRAM, "--engines", engines.toStdString(), "--models",
                          m_models.path().toStdString()}));
    QVERIFY(askForAVector(client));
    const auto isAnswered = [&client] {
        coreai::Message answer;
        return client.channel().receive(answer) == coreai::Channel::Receiving::Received &&
               answer.type == coreai::MessageType::Vector;
    };
    QVERIFY(QTest::qWaitFor(isAnswered, patience)); // not QTRY_VERIFY, which would ask again
    const pid_t process = childrenOf(client.processId()).at(0);
    // It looks at its channel no more than inside a call that does not end.
    QCOMPARE(::kill(process, SIGSTOP), 0);
    ::kill(client.processId(), SIGKILL);
    QTRY_VERIFY_WITH_TIMEOUT(!isAlive(process), patience);
}

void RuntimeProcessTest::enginesEndWhenIdleAndComeBackUnnoticed()
{
    useRuntime({"--idle", "200"});
    Recorder recorder;
    QCOMPARE(recorder.init(), 0);
    const pid_t process = runtime();
    DrawnSession session({640, 400});
    const QByteArray first = encoded(session.screen());
    recorder.hand(first);
    QTRY_COMPARE_WITH_TIMEOUT(recorder.count(), 1, patience);
    QTRY_VERIFY_WITH_TIMEOUT(childrenOf(process).empty(), patience);
    session.openFile();
    recorder.hand(encoded(session.screen()));
    recorder.hand(first);
    QTRY_COMPARE_WITH_TIMEOUT(recorder.count(), 3, patience);
    const QStringList answers = recorder.answers();
    QVERIFY(!answers.at(1).isEmpty() && answers.at(1) != answers.at(0));
    QCOMPARE(answers.at(2), answers.at(0));
    QCOMPARE(runtime(), process);
}

void RuntimeProcessTest::theEnginesRunAtTheLowestPriority()
{
    Recorder recorder;
    QCOMPARE(recorder.init(), 0);
    DrawnSession session({640, 400});
    recorder.hand(encoded(session.screen()));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.count(), 1, patience);
    const std::vector<pid_t> processes = childrenOf(runtime());
    QCOMPARE(processes.size(), std::size_t(1));
    constexpr int whoProcess = 1;
    constexpr long idleClass = 3;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(processes.front()));
    const QStringList threads = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QVERIFY(!threads.isEmpty());
    for (const QString &thread : threads) {
        QCOMPARE(::getpriority(PRIO_PROCESS, id_t(thread.toInt())), 19);
        QCOMPARE(::syscall(SYS_ioprio_get, whoProcess, thread.toInt()) >> 13, idleClass);
    }
}

void RuntimeProcessTest::threadsAreNamed()
{
    Recorder recorder;
    QCOMPARE(recorder.init(), 0);
    const auto names = [] {
        QSet<QByteArray> found;
        const QDir tasks(QStringLiteral("/proc/%1/task").arg(runtime()));
        for (const QString &thread : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            found << contentOf(tasks.filePath(thread) + QStringLiteral("/comm")).trimmed();
        }
        return found;
    };
    QTRY_VERIFY(names().contains("ai worker"));
    QVERIFY(names().contains("ai runtime"));
}

void RuntimeProcessTest::refusesSessionsWithoutModels()
{
    QVERIFY(QFile::remove(m_models.filePath(coreai::textMeaningFile)));
    ImageEmbeddingSession *session = image_embedding_create_session();
    QCOMPARE(image_embedding_init_session(session), 2);
    image_embedding_destroy_session(&session);
}

void RuntimeProcessTest::twoSessionsAtOnce()
{
    useRuntime({}, {"1"});
    Recorder recorder;
    Recorder region;
    QCOMPARE(recorder.init(), 0);
    QCOMPARE(region.init(), 0);
    // Drawn and packed before the first one is handed over: on a busy machine that takes longer
    // than reading does, and the region would come when the recorder's frames are nearly done.
    DrawnSession session;
    QVector<QByteArray> frames;
    for (int frame = 0; frame < 20; ++frame) {
        session.openFile();
        frames << encoded(session.screen());
    }
    session.switchTo(1);
    const QByteArray marked = encoded(session.screen().copy(0, 200, 600, 300));
    for (const QByteArray &frame : frames) {
        recorder.hand(frame);
    }
    QTRY_VERIFY_WITH_TIMEOUT(recorder.count() > 0, patience);
    region.hand(marked);
    QTRY_COMPARE_WITH_TIMEOUT(region.count(), 1, patience);
    QVERIFY2(recorder.count() < 15, "the region waited for the recorder");
    QTRY_COMPARE_WITH_TIMEOUT(recorder.count(), 20, patience);
}

void RuntimeProcessTest::embedsPicturesAndTexts()
{
    ImageEmbeddingSession *session = image_embedding_create_session();
    QCOMPARE(image_embedding_init_session(session), 0);
    DrawnSession screen({640, 400});
    const QByteArray base64 = encoded(screen.screen(), "JPEG").toBase64();
    EmbeddingResult *result = nullptr;
    QVERIFY(
        image_embedding_by_base64_image_data(session, base64.constData(), base64.size(), &result));
    QCOMPARE(embedding_result_get_vector_length(result), 1024);
    embedding_result_destroy(&result);
    QVERIFY(text_embedding_by_image_model(session, "query", &result));
    QCOMPARE(embedding_result_get_vector_length(result), 1024);
    embedding_result_destroy(&result);
    QVERIFY(!image_embedding_by_base64_image_data(session, "bm8gcGljdHVyZQ==", 16, &result));
    image_embedding_destroy_session(&session);
}

void RuntimeProcessTest::logsNothingOfTheText()
{
    const QString log = m_models.filePath(QStringLiteral("log"));
    std::vector<std::string> command{"/bin/sh", "-c", "exec \"$@\" 2>\"$0\"", log.toStdString()};
    const std::vector<std::string> program = coreai::runtimeProgram();
    command.insert(command.end(), program.begin(), program.end());
    coreai::setRuntimeProgram(command);
    Recorder recorder;
    QCOMPARE(recorder.init(), 0);
    DrawnSession session({640, 400});
    recorder.hand(encoded(session.screen()));
    recorder.hand("no picture");
    QTRY_COMPARE_WITH_TIMEOUT(recorder.count(), 2, patience);
    QVERIFY(recorder.answers().front().startsWith(QStringLiteral("line ")));
    ImageEmbeddingSession *embedding = image_embedding_create_session();
    QCOMPARE(image_embedding_init_session(embedding), 0);
    EmbeddingResult *result = nullptr;
    QVERIFY(text_embedding_by_image_model(embedding, "secretquery", &result));
    embedding_result_destroy(&result);
    image_embedding_destroy_session(&embedding);
    ::kill(childrenOf(runtime()).at(0), SIGKILL); // something to log
    session.openFile();
    recorder.hand(encoded(session.screen()));
    QTRY_COMPARE_WITH_TIMEOUT(recorder.count(), 3, patience);
    const QByteArray logged = contentOf(log);
    QVERIFY(logged.contains("the engines' process ended"));
    QVERIFY(!logged.contains("line "));
    QVERIFY(!logged.contains("secretquery"));
}

QTEST_MAIN(RuntimeProcessTest)
#include "runtimeprocesstest.moc"
