// Which requests are repeated after a process died, and which are given up.

#include "coreai/client/unanswered.h"

#include <QTest>

using namespace coreai;

namespace
{
Message request(std::uint32_t session, std::uint64_t number)
{
    return {MessageType::ReadPicture, session, number, Payload()};
}

std::vector<std::uint64_t> sendAll(Unanswered &unanswered)
{
    std::vector<std::uint64_t> sent;
    while (const Message *message = unanswered.firstUnsent()) {
        sent.push_back(message->request);
        unanswered.setSent(message->request);
    }
    return sent;
}

using Numbers = std::vector<std::uint64_t>;
} // namespace

class UnansweredTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void repeatsInOrderWhatHadNoAnswer();
    void givesUpWhatHadBegunInTwoDeadProcesses();
    void keepsWhatOnlyWaited();
    void blamesTheOldestWhereNothingHadBegun();
    void anAnswerCountsOnlyForItsSession();
    void takesOneSession();
    void countsTheBytesOfASession();
};

void UnansweredTest::repeatsInOrderWhatHadNoAnswer()
{
    Unanswered unanswered;
    for (std::uint64_t number = 1; number <= 4; ++number) {
        unanswered.add(request(1, number));
    }
    QCOMPARE(sendAll(unanswered), Numbers({1, 2, 3, 4}));
    QVERIFY(unanswered.remove(1, 2));
    unanswered.setBegun(1, 1);
    QVERIFY(unanswered.processDied().empty());
    QCOMPARE(sendAll(unanswered), Numbers({1, 3, 4}));
}

void UnansweredTest::givesUpWhatHadBegunInTwoDeadProcesses()
{
    Unanswered unanswered;
    unanswered.add(request(1, 1));
    unanswered.add(request(1, 2));
    unanswered.setBegun(1, 1);
    QVERIFY(unanswered.processDied().empty());
    unanswered.setBegun(1, 1);
    const std::vector<Message> givenUp = unanswered.processDied();
    QCOMPARE(givenUp.size(), std::size_t(1));
    QCOMPARE(givenUp.front().request, std::uint64_t(1));
    QCOMPARE(sendAll(unanswered), Numbers({2}));
}

void UnansweredTest::keepsWhatOnlyWaited()
{
    Unanswered unanswered;
    for (std::uint64_t number = 1; number <= 3; ++number) {
        unanswered.add(request(1, number));
    }
    for (std::uint64_t number = 1; number <= 3; ++number) {
        unanswered.setBegun(1, number);
        QVERIFY(unanswered.processDied().empty());
        QVERIFY(unanswered.remove(1, number));
    }
    QVERIFY(unanswered.isEmpty());
}

void UnansweredTest::blamesTheOldestWhereNothingHadBegun()
{
    Unanswered unanswered;
    unanswered.add(request(1, 1));
    unanswered.add(request(1, 2));
    unanswered.add(request(2, 3));
    QVERIFY(unanswered.processDied().empty());
    const std::vector<Message> givenUp = unanswered.processDied();
    QCOMPARE(givenUp.size(), std::size_t(2));
    QCOMPARE(givenUp.at(0).request, std::uint64_t(1));
    QCOMPARE(givenUp.at(1).request, std::uint64_t(3));
    QCOMPARE(unanswered.countOf(1), std::size_t(1));
}

void UnansweredTest::anAnswerCountsOnlyForItsSession()
{
    Unanswered unanswered;
    unanswered.add(request(1, 1));
    QVERIFY(!unanswered.remove(2, 1));
    QVERIFY(!unanswered.remove(1, 9));
    QVERIFY(unanswered.remove(1, 1));
    QVERIFY(!unanswered.remove(1, 1));
}

void UnansweredTest::takesOneSession()
{
    Unanswered unanswered;
    unanswered.add(request(1, 1));
    unanswered.add(request(2, 2));
    QCOMPARE(unanswered.takeSession(2).size(), std::size_t(1));
    QCOMPARE(unanswered.takeAll().size(), std::size_t(1));
    QVERIFY(unanswered.isEmpty());
}

void UnansweredTest::countsTheBytesOfASession()
{
    Unanswered unanswered;
    for (std::uint64_t number = 1; number <= 2; ++number) {
        Message message = request(std::uint32_t(number), number);
        message.payload = Payload::of(std::string(100 * number, 'x'));
        unanswered.add(std::move(message));
    }
    unanswered.add(request(1, 3));
    QCOMPARE(unanswered.countOf(1), std::size_t(2));
    QCOMPARE(unanswered.bytesOf(1), std::size_t(100));
    QCOMPARE(unanswered.bytesOf(2), std::size_t(200));
    QVERIFY(unanswered.remove(2, 2));
    QCOMPARE(unanswered.bytesOf(2), std::size_t(0));
}

QTEST_GUILESS_MAIN(UnansweredTest)
#include "unansweredtest.moc"
