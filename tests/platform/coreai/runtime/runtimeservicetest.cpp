// The runtime's side of the connection against clients that behave and clients that do not.

#include "coreai/runtime/runtimeservice.h"
#include "coreai/protocol/answers.h"
#include "support/logcapture.h"
#include "testengines.h"

#include <QTest>

#include <random>
#include <sys/socket.h>
#include <thread>

using namespace coreai;

namespace
{
// A service on a thread of its own, and the client's end of its connection.
class Served
{
public:
    explicit Served(RuntimeService::Abilities abilities = {true, true})
    {
        Channel::Pair pair = Channel::makePair();
        client = Channel(std::move(pair.ours));
        service = std::make_unique<RuntimeService>(
            Channel(std::move(pair.theirs)), abilities,
            std::make_unique<TestEngines::CountingSet>(counts), Worker::Settings());
        thread = std::thread([this] {
            service->run();
            ended = true;
        });
    }
    ~Served()
    {
        client.close();
        thread.join();
    }
    Q_DISABLE_COPY(Served)

    // The next message of this type, within 5 seconds.
    bool receive(MessageType type, Message *message)
    {
        while (client.waitReadable(5000)) {
            switch (client.receive(*message)) {
            case Channel::Receiving::Ended:
                return false;
            case Channel::Receiving::Received:
                if (message->type == type) {
                    return true;
                }
                break;
            case Channel::Receiving::Nothing:
                break;
            }
        }
        return false;
    }
    std::uint64_t open(std::uint32_t session, SessionKind kind)
    {
        client.send({MessageType::OpenSession, session, std::uint64_t(kind), Payload()});
        Message message;
        return receive(MessageType::SessionOpened, &message) ? message.request : 999;
    }

    TestEngines::Counts counts;
    Channel client;
    std::unique_ptr<RuntimeService> service;
    std::atomic<bool> ended{false};
    std::thread thread;
};
} // namespace

class RuntimeServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void opensAndAnswers();
    void refusesWhatIsNotInstalled();
    void requestsOfUnknownSessionsAreNotAnswered();
    void endsWithTheClient();
    void messagesThatNoClientSendsEndTheConnection_data();
    void messagesThatNoClientSendsEndTheConnection();
    void randomMessagesNeverCrash();
    void aClientThatReadsNothingBlocksNothing();
};

void RuntimeServiceTest::opensAndAnswers()
{
    Served served;
    QCOMPARE(served.open(1, SessionKind::TextRecognition), std::uint64_t(0));
    QCOMPARE(served.open(2, SessionKind::Embedding), std::uint64_t(0));
    served.client.send({MessageType::EmbedText, 2, 7, Payload::of("query")});
    Message message;
    QVERIFY(served.receive(MessageType::Begun, &message));
    QCOMPARE(message.request, std::uint64_t(7));
    QVERIFY(served.receive(MessageType::Vector, &message));
    QCOMPARE(message.session, 2U);
    QCOMPARE(message.request, std::uint64_t(7));
}

void RuntimeServiceTest::refusesWhatIsNotInstalled()
{
    Served served({false, false});
    QCOMPARE(served.open(1, SessionKind::TextRecognition), RuntimeService::noTextEngine);
    QCOMPARE(served.open(2, SessionKind::Embedding), RuntimeService::noTextMeaning);
}

void RuntimeServiceTest::requestsOfUnknownSessionsAreNotAnswered()
{
    Served served;
    QCOMPARE(served.open(1, SessionKind::Embedding), std::uint64_t(0));
    served.client.send({MessageType::EmbedText, 9, 1, Payload::of("stray")});
    served.client.send({MessageType::EmbedText, 1, 2, Payload::of("query")});
    Message message;
    QVERIFY(served.receive(MessageType::Vector, &message));
    QCOMPARE(message.request, std::uint64_t(2));
}

void RuntimeServiceTest::endsWithTheClient()
{
    Served served;
    QCOMPARE(served.open(1, SessionKind::TextRecognition), std::uint64_t(0));
    served.client.close();
    QTRY_VERIFY(served.ended);
}

void RuntimeServiceTest::messagesThatNoClientSendsEndTheConnection_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("an answer") << int(MessageType::Lines);
    QTest::newRow("a notice") << int(MessageType::Begun);
    QTest::newRow("a question to the engines") << int(MessageType::EngineReadLines);
    QTest::newRow("an answer of the engines") << int(MessageType::EngineVectors);
}

void RuntimeServiceTest::messagesThatNoClientSendsEndTheConnection()
{
    QFETCH(int, type);
    LogCapture log;
    Served served;
    served.client.send({MessageType(type), 1, 1, Payload::of("x")});
    QTRY_VERIFY(served.ended);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
}

void RuntimeServiceTest::randomMessagesNeverCrash()
{
    LogCapture log;
    std::mt19937 random(6);
    for (int round = 0; round < 60; ++round) {
        Served served;
        for (int message = 0; message < 30; ++message) {
            std::string bytes(random() % 300, '\0');
            for (char &byte : bytes) {
                byte = char(random());
            }
            if (random() % 20 == 0) {
                ::send(served.client.descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            } else {
                served.client.send({MessageType(1 + random() % 5), std::uint32_t(random() % 3),
                                    random() % 4, Payload::of(bytes)});
            }
        }
    }
}

void RuntimeServiceTest::aClientThatReadsNothingBlocksNothing()
{
    Served served;
    QCOMPARE(served.open(1, SessionKind::Embedding), std::uint64_t(0));
    constexpr std::uint64_t count = 3000; // answers far beyond what the socket holds
    for (std::uint64_t request = 1; request <= count;) {
        if (served.client.send({MessageType::EmbedText, 1, request, Payload::of("query")}) ==
            Channel::Sending::Sent) {
            ++request;
        } else {
            QVERIFY(served.client.waitWritable(5000));
        }
    }
    QTRY_COMPARE_WITH_TIMEOUT(served.counts.queries.load(), int(count), 20000);
    Message message;
    for (std::uint64_t request = 1; request <= count; ++request) {
        QVERIFY(served.receive(MessageType::Vector, &message));
        QCOMPARE(message.request, request);
    }
}

QTEST_GUILESS_MAIN(RuntimeServiceTest)
#include "runtimeservicetest.moc"
