// The embedding library against a runtime that dies, delays and refuses.

#include "coreai/coreaiembedding.h"
#include "fakeprogram.h"

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <csignal>
#include <thread>

namespace
{
// A session, and its answers as lists; an empty list is a failure.
class Session
{
public:
    Session() : m_session(image_embedding_create_session()) {}
    ~Session() { image_embedding_destroy_session(&m_session); }
    Q_DISABLE_COPY(Session)

    int init() { return image_embedding_init_session(m_session); }
    std::vector<float> text(const char *text)
    {
        EmbeddingResult *result = reinterpret_cast<EmbeddingResult *>(1);
        const bool success = text_embedding_by_image_model(m_session, text, &result);
        return take(success, result);
    }
    std::vector<float> picture(const QByteArray &base64)
    {
        EmbeddingResult *result = reinterpret_cast<EmbeddingResult *>(1);
        const bool success = image_embedding_by_base64_image_data(m_session, base64.constData(),
                                                                  base64.size(), &result);
        return take(success, result);
    }

private:
    static std::vector<float> take(bool success, EmbeddingResult *result)
    {
        if (success != (result != nullptr)) {
            return {-1}; // neither success nor failure
        }
        const float *data = embedding_result_get_vector_data(result);
        std::vector<float> vector(data, data + embedding_result_get_vector_length(result));
        embedding_result_destroy(&result);
        return result ? std::vector<float>{-1} : vector;
    }
    ImageEmbeddingSession *m_session;
};

constexpr std::size_t dimensions = 1024;
} // namespace

class EmbeddingClientTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesVectorsOf1024();
    void failsForWhatIsNoBase64_data();
    void failsForWhatIsNoBase64();
    void failsBeforeInit();
    void aDyingRuntimeIsAskedOnceAgain();
    void aCallThatKillsTwiceFails();
    void givesUpASilentRuntime();
    void passesTheStatusOfARefusal();
    void aSessionThatFailedCanBeInitialisedLater();
    void textsAndPicturesFromSeveralThreads();
    void longTextsPass();
    void sessionsShareOneProcess();
    void nullHandlesAreHarmless();
};

void EmbeddingClientTest::givesVectorsOf1024()
{
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    QCOMPARE(session.text("words").size(), dimensions);
    // The picture's bytes reach the runtime decoded: the same bytes give the same vector.
    QCOMPARE(session.picture(QByteArray("words").toBase64()), session.text("words"));
    QVERIFY(session.text("other words") != session.text("words"));
    QCOMPARE(session.text("").size(), dimensions);
}

void EmbeddingClientTest::failsForWhatIsNoBase64_data()
{
    QTest::addColumn<QByteArray>("base64");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("other characters") << QByteArray("****");
    QTest::newRow("cut short") << QByteArray("YWJj*");
    QTest::newRow("random") << QByteArray("\x01\x02\xff\xfe");
}

void EmbeddingClientTest::failsForWhatIsNoBase64()
{
    QFETCH(QByteArray, base64);
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    QVERIFY(session.picture(base64).empty());
}

void EmbeddingClientTest::failsBeforeInit()
{
    const FakeProgram program;
    Session session;
    QVERIFY(session.text("early").empty());
    QVERIFY(session.picture("YWJj").empty());
}

void EmbeddingClientTest::aDyingRuntimeIsAskedOnceAgain()
{
    const FakeProgram program({"--die-at", "2"});
    Session session;
    QCOMPARE(session.init(), 0);
    QCOMPARE(session.text("one").size(), dimensions);
    QCOMPARE(session.text("two").size(), dimensions);
}

void EmbeddingClientTest::aCallThatKillsTwiceFails()
{
    const FakeProgram program({"--die-on-size", "6"});
    Session session;
    QCOMPARE(session.init(), 0);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(session.text("deadly").empty());
    QVERIFY(timer.elapsed() < 3000);
    QCOMPARE(session.text("harmless").size(), dimensions);
}

void EmbeddingClientTest::givesUpASilentRuntime()
{
    const FakeProgram program({"--silent"});
    Session session;
    QCOMPARE(session.init(), 0);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(session.text("unheard").empty());
    QVERIFY(timer.elapsed() >= 4900);
    QVERIFY(timer.elapsed() < 7000);
}

void EmbeddingClientTest::passesTheStatusOfARefusal()
{
    const FakeProgram program({"--status", "3"});
    Session session;
    QCOMPARE(session.init(), 3);
    QVERIFY(session.text("refused").empty());
}

void EmbeddingClientTest::aSessionThatFailedCanBeInitialisedLater()
{
    Session session;
    {
        const FakeProgram program({"--status", "3"});
        QCOMPARE(session.init(), 3);
    }
    const FakeProgram program;
    QCOMPARE(session.init(), 0);
    QCOMPARE(session.text("words").size(), dimensions);
}

void EmbeddingClientTest::textsAndPicturesFromSeveralThreads()
{
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    std::vector<std::vector<float>> expected;
    expected.reserve(4);
    for (int index = 0; index < 4; ++index) {
        expected.push_back(session.text(QByteArray::number(index).constData()));
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            const QByteArray own = QByteArray::number(thread);
            for (int round = 0; round < 50; ++round) {
                const bool asText = (round + thread) % 2 != 0;
                const std::vector<float> vector =
                    asText ? session.text(own.constData()) : session.picture(own.toBase64());
                wrong += vector != expected.at(std::size_t(thread)) ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QCOMPARE(wrong.load(), 0);
}

void EmbeddingClientTest::longTextsPass()
{
    const FakeProgram program;
    Session session;
    QCOMPARE(session.init(), 0);
    const QByteArray megabyte(1 << 20, 'x');
    QCOMPARE(session.text(megabyte.constData()).size(), dimensions);
    QCOMPARE(session.picture(megabyte.toBase64()), session.text(megabyte.constData()));
}

void EmbeddingClientTest::sessionsShareOneProcess()
{
    const FakeProgram program;
    pid_t process = -1;
    {
        Session one;
        Session other;
        QCOMPARE(one.init(), 0);
        process = FakeProgram::processId();
        QCOMPARE(other.init(), 0);
        QCOMPARE(FakeProgram::processId(), process);
        QVERIFY(FakeProgram::isAlive(process));
    }
    QVERIFY(!FakeProgram::isAlive(process));
}

void EmbeddingClientTest::nullHandlesAreHarmless()
{
    EmbeddingResult *result = nullptr;
    QVERIFY(image_embedding_init_session(nullptr) != 0);
    QVERIFY(!text_embedding_by_image_model(nullptr, "text", &result));
    QVERIFY(!image_embedding_by_base64_image_data(nullptr, "YWJj", 4, &result));
    ImageEmbeddingSession *session = image_embedding_create_session();
    QVERIFY(!text_embedding_by_image_model(session, nullptr, &result));
    QVERIFY(!text_embedding_by_image_model(session, "text", nullptr));
    QVERIFY(!image_embedding_by_base64_image_data(session, nullptr, 4, &result));
    QVERIFY(!image_embedding_by_base64_image_data(session, "YWJj", -1, &result));
    QVERIFY(embedding_result_get_vector_data(nullptr) == nullptr);
    QCOMPARE(embedding_result_get_vector_length(nullptr), 0);
    embedding_result_destroy(nullptr);
    embedding_result_destroy(&result);
    image_embedding_destroy_session(&session);
    QVERIFY(session == nullptr);
    image_embedding_destroy_session(&session);
    image_embedding_destroy_session(nullptr);
}

QTEST_GUILESS_MAIN(EmbeddingClientTest)
#include "embeddingclienttest.moc"
