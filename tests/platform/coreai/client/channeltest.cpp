// What a channel does with messages, whole, damaged and hostile.

#include "coreai/protocol/channel.h"
#include "support/logcapture.h"
#include "support/testfiles.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <thread>

using namespace coreai;

namespace
{
constexpr std::size_t headerBytes = 24;

struct Ends {
    Channel ours;
    Descriptor theirs; // written raw
};

Ends makeEnds()
{
    Channel::Pair pair = Channel::makePair();
    return {Channel(std::move(pair.ours)), std::move(pair.theirs)};
}

// A header as the channel writes it, every field free.
QByteArray header(quint32 magic, quint16 type, quint16 carriage, quint32 size)
{
    QByteArray bytes(int(headerBytes), '\0');
    const quint32 session = 1;
    const quint64 request = 2;
    std::memcpy(bytes.data(), &magic, 4);
    std::memcpy(bytes.data() + 4, &type, 2);
    std::memcpy(bytes.data() + 6, &carriage, 2);
    std::memcpy(bytes.data() + 8, &session, 4);
    std::memcpy(bytes.data() + 12, &size, 4);
    std::memcpy(bytes.data() + 16, &request, 8);
    return bytes;
}

constexpr quint32 magic = 0x31494159;
constexpr quint16 readPicture = quint16(MessageType::ReadPicture);

void sendRaw(int socket, const QByteArray &bytes, const std::vector<int> &descriptors = {})
{
    iovec part = {const_cast<char *>(bytes.constData()), std::size_t(bytes.size())};
    msghdr packet = {};
    packet.msg_iov = &part;
    packet.msg_iovlen = 1;
    std::vector<char> space(CMSG_SPACE(sizeof(int) * descriptors.size()));
    if (!descriptors.empty()) {
        packet.msg_control = space.data();
        packet.msg_controllen = space.size();
        cmsghdr *control = CMSG_FIRSTHDR(&packet);
        control->cmsg_level = SOL_SOCKET;
        control->cmsg_type = SCM_RIGHTS;
        control->cmsg_len = CMSG_LEN(sizeof(int) * descriptors.size());
        std::memcpy(CMSG_DATA(control), descriptors.data(), sizeof(int) * descriptors.size());
    }
    QVERIFY(::sendmsg(socket, &packet, MSG_NOSIGNAL) >= 0);
}

int mappings()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    return maps.open(QIODevice::ReadOnly) ? maps.readAll().count("/memfd:") : -1;
}

Descriptor memory(std::size_t size, int seals)
{
    Descriptor made(::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (::ftruncate(made.get(), off_t(size)) != 0 || ::fcntl(made.get(), F_ADD_SEALS, seals) != 0) {
        return {};
    }
    return made;
}

constexpr int allSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
} // namespace

class ChannelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void carriesAMessage_data();
    void carriesAMessage();
    void carriesEveryKind();
    void smallPayloadsTravelInside();
    void aViewsMemoryIsGivenBack();
    void tellsTheEndOnce();
    void anEndBehindNothingIsTold();
    void sendingToADeadSideEndsWithoutASignal();
    void itsSocketNeitherBlocksNorOutlivesAnExec();
    void waitsForWhatItIsAskedFor();
    void whatADeadSideHadSentStillCounts();
    void isFullWithoutBlocking();
    void hostilePacketsEndTheConnection_data();
    void hostilePacketsEndTheConnection();
    void memoryWhereNoneMayBeEndsTheConnection_data();
    void memoryWhereNoneMayBeEndsTheConnection();
    void strangeMemoryEndsTheConnection_data();
    void strangeMemoryEndsTheConnection();
    void noDescriptorIsLeftOver();
    void descriptorsCloseOnExec();
    void randomPacketsNeverCrash();
    void damagedHeadersNeverCrash();
    void twoThreadsTalk();
    void payloadsBeyondTheBoundAreInvalid();
};

void ChannelTest::carriesAMessage_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("nothing") << 0;
    QTest::newRow("one byte") << 1;
    QTest::newRow("most that goes inside") << int(Payload::inlineBytes);
    QTest::newRow("least that goes by memory") << int(Payload::inlineBytes) + 1;
    QTest::newRow("a picture") << 3000000;
}

void ChannelTest::carriesAMessage()
{
    QFETCH(int, size);
    Channel::Pair pair = Channel::makePair();
    Channel sender(std::move(pair.ours));
    Channel receiver(std::move(pair.theirs));
    QByteArray bytes(size, 'a');
    for (int index = 0; index < size; ++index) {
        bytes[index] = char(index * 31);
    }
    const Message sent{MessageType::ReadPicture, 7, 1ULL << 40,
                       Payload::of({bytes.constData(), std::size_t(size)})};
    QVERIFY(sender.send(sent) == Channel::Sending::Sent);
    Message received;
    QVERIFY(receiver.receive(received) == Channel::Receiving::Received);
    QVERIFY(received.type == MessageType::ReadPicture);
    QCOMPARE(received.session, 7U);
    QCOMPARE(received.request, std::uint64_t(1) << 40);
    const Payload::View view = received.payload.view();
    QCOMPARE(QByteArray(view.bytes().data(), int(view.bytes().size())), bytes);
    QVERIFY(receiver.receive(received) == Channel::Receiving::Nothing);
}

void ChannelTest::carriesEveryKind()
{
    Channel::Pair pair = Channel::makePair();
    Channel sender(std::move(pair.ours));
    Channel receiver(std::move(pair.theirs));
    const std::pair<MessageType, MessageType> groups[] = {
        {MessageType::OpenSession, MessageType::EmbedText},
        {MessageType::SessionOpened, MessageType::Vector},
        {MessageType::EngineLoadReader, MessageType::EngineOfPicture},
        {MessageType::EngineLines, MessageType::EngineVectors}};
    for (const auto &[first, last] : groups) {
        for (int type = int(first); type <= int(last); ++type) {
            QVERIFY(sender.send({MessageType(type), 1, 2, Payload::of("x")}) ==
                    Channel::Sending::Sent);
            Message received;
            QVERIFY(receiver.receive(received) == Channel::Receiving::Received);
            QCOMPARE(int(received.type), type);
        }
    }
}

void ChannelTest::smallPayloadsTravelInside()
{
    std::string bytes(Payload::inlineBytes, 'x');
    QVERIFY(Payload::of(bytes).isInline());
    bytes += 'x';
    QVERIFY(!Payload::of(bytes).isInline());
}

void ChannelTest::aViewsMemoryIsGivenBack()
{
    const Payload payload = Payload::of(std::string(Payload::inlineBytes + 1, 'x'));
    const int before = mappings();
    {
        const Payload::View view = payload.view();
        QCOMPARE(mappings(), before + 1);
    }
    QCOMPARE(mappings(), before);
}

void ChannelTest::tellsTheEndOnce()
{
    LogCapture log;
    Ends ends = makeEnds();
    ends.theirs.reset();
    Message message;
    QVERIFY(ends.ours.receive(message) == Channel::Receiving::Ended);
    QVERIFY(!ends.ours.isOpen());
    QVERIFY(ends.ours.receive(message) == Channel::Receiving::Ended);
    QVERIFY(ends.ours.send(message) == Channel::Sending::Ended);
    QCOMPARE(log.texts().size(), 0);
}

void ChannelTest::anEndBehindNothingIsTold()
{
    Ends ends = makeEnds();
    Message message;
    QVERIFY(ends.ours.receive(message) == Channel::Receiving::Nothing);
    ends.theirs.reset();
    errno = EAGAIN; // as the empty read left it
    QVERIFY(ends.ours.receive(message) == Channel::Receiving::Ended);
}

void ChannelTest::sendingToADeadSideEndsWithoutASignal()
{
    struct sigaction deadly = {};
    struct sigaction before = {};
    deadly.sa_handler = SIG_DFL;
    QCOMPARE(::sigaction(SIGPIPE, &deadly, &before), 0);
    Ends ends = makeEnds();
    ends.theirs.reset();
    QVERIFY(ends.ours.send(Message()) == Channel::Sending::Ended);
    ::sigaction(SIGPIPE, &before, nullptr);
}

void ChannelTest::itsSocketNeitherBlocksNorOutlivesAnExec()
{
    int ends[2] = {-1, -1};
    QCOMPARE(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    const Descriptor theirs(ends[1]);
    const Channel channel{Descriptor(ends[0])};
    QVERIFY(::fcntl(channel.descriptor(), F_GETFD) & FD_CLOEXEC);
    QVERIFY(::fcntl(channel.descriptor(), F_GETFL) & O_NONBLOCK);
    QCOMPARE(::fcntl(channel.descriptor(), F_GETFL) & O_ACCMODE, O_RDWR);
}

void ChannelTest::waitsForWhatItIsAskedFor()
{
    Channel::Pair pair = Channel::makePair();
    Channel sender(std::move(pair.ours));
    Channel receiver(std::move(pair.theirs));
    QVERIFY(!receiver.waitReadable(0));
    QVERIFY(sender.waitWritable(0));
    const std::string bytes(Payload::inlineBytes, 'x');
    const Message message{MessageType::EmbedText, 1, 1, Payload::of(bytes)};
    while (sender.send(message) == Channel::Sending::Sent) {
    }
    QVERIFY(receiver.waitReadable(0));
    QVERIFY(!sender.waitWritable(0));
}

void ChannelTest::whatADeadSideHadSentStillCounts()
{
    Channel::Pair pair = Channel::makePair();
    Channel ours(std::move(pair.ours));
    Message message{MessageType::Lines, 1, 1, Payload::of("answer")};
    {
        Channel theirs(std::move(pair.theirs));
        QVERIFY(theirs.send(message) == Channel::Sending::Sent);
        QVERIFY(ours.send(message) == Channel::Sending::Sent); // never read
    }
    QVERIFY(ours.receive(message) == Channel::Receiving::Received);
    QVERIFY(ours.receive(message) == Channel::Receiving::Ended);
}

void ChannelTest::isFullWithoutBlocking()
{
    Ends ends = makeEnds();
    const std::string bytes(Payload::inlineBytes, 'x');
    const Message message{MessageType::EmbedText, 1, 1, Payload::of(bytes)};
    Channel::Sending sending = Channel::Sending::Sent;
    for (int count = 0; count < 10000 && sending == Channel::Sending::Sent; ++count) {
        sending = ends.ours.send(message);
    }
    QVERIFY(sending == Channel::Sending::Later);
    QVERIFY(ends.ours.isOpen());
}

void ChannelTest::hostilePacketsEndTheConnection_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::newRow("one byte") << QByteArray("x");
    QTest::newRow("header cut short") << header(magic, readPicture, 0, 0).left(23);
    QTest::newRow("other magic") << header(0, readPicture, 0, 0);
    QTest::newRow("type 0") << header(magic, 0, 0, 0);
    for (const int unknown : {6, 31, 37, 63, 70, 95, 98}) {
        QTest::addRow("type %d", unknown) << header(magic, quint16(unknown), 0, 0);
    }
    QTest::newRow("type 65535") << header(magic, 65535, 0, 0);
    QTest::newRow("size larger than what comes") << header(magic, readPicture, 0, 10) + "abc";
    QTest::newRow("size smaller than what comes") << header(magic, readPicture, 0, 2) + "abc";
    QTest::newRow("size of 4 GB") << header(magic, readPicture, 0, 0xffffffff);
    QTest::newRow("memory that is not there") << header(magic, readPicture, 1, 100);
    QTest::newRow("memory of 4 GB that is not there") << header(magic, readPicture, 1, 0xffffffff);
    QTest::newRow("carriage 2") << header(magic, readPicture, 2, 0);
    QTest::newRow("longer than a packet may be")
        << header(magic, readPicture, 0, Payload::inlineBytes + 1) +
               QByteArray(int(Payload::inlineBytes) + 1, 'x');
}

void ChannelTest::hostilePacketsEndTheConnection()
{
    QFETCH(QByteArray, packet);
    LogCapture log;
    Ends ends = makeEnds();
    sendRaw(ends.theirs.get(), packet);
    Message message;
    QVERIFY(ends.ours.receive(message) == Channel::Receiving::Ended);
    QVERIFY(!ends.ours.isOpen());
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
}

void ChannelTest::memoryWhereNoneMayBeEndsTheConnection_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::newRow("beside bytes that are all") << header(magic, readPicture, 0, 3) + "abc";
    QTest::newRow("beside other bytes") << header(magic, readPicture, 1, 100) + "abc";
    QTest::newRow("carriage 2") << header(magic, readPicture, 2, 100);
}

void ChannelTest::memoryWhereNoneMayBeEndsTheConnection()
{
    QFETCH(QByteArray, packet);
    LogCapture log;
    Ends ends = makeEnds();
    const Descriptor sent = memory(100, allSeals);
    sendRaw(ends.theirs.get(), packet, {sent.get()});
    Message message;
    QVERIFY(ends.ours.receive(message) == Channel::Receiving::Ended);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
}

void ChannelTest::strangeMemoryEndsTheConnection_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("told");
    QTest::addColumn<int>("seals");
    QTest::addColumn<int>("count");
    QTest::newRow("not sealed") << 100 << 100 << 0 << 1;
    QTest::newRow("can shrink") << 100 << 100 << (F_SEAL_GROW | F_SEAL_WRITE) << 1;
    QTest::newRow("can be written") << 100 << 100 << (F_SEAL_GROW | F_SEAL_SHRINK) << 1;
    QTest::newRow("shorter than told") << 99 << 100 << allSeals << 1;
    QTest::newRow("longer than told") << 101 << 100 << allSeals << 1;
    QTest::newRow("two of them") << 100 << 100 << allSeals << 2;
    QTest::newRow("more than there is room for") << 100 << 100 << allSeals << 50;
    QTest::newRow("a file of no memory")
        << -1 << int(QFileInfo(QStringLiteral("/proc/self/exe")).size()) << 0 << 1;
    QTest::newRow("beyond the bound") << (256 << 20) + 1 << (256 << 20) + 1 << allSeals << 1;
}

void ChannelTest::strangeMemoryEndsTheConnection()
{
    QFETCH(int, size);
    QFETCH(int, told);
    QFETCH(int, seals);
    QFETCH(int, count);
    LogCapture log;
    Ends ends = makeEnds();
    const Descriptor sent = size < 0 ? Descriptor(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC))
                                     : memory(std::size_t(size), seals);
    QVERIFY(sent.isValid());
    const int before = openDescriptors();
    sendRaw(ends.theirs.get(), header(magic, readPicture, 1, quint32(told)),
            std::vector<int>(std::size_t(count), sent.get()));
    Message message;
    QVERIFY(ends.ours.receive(message) == Channel::Receiving::Ended);
    message = Message();
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    QCOMPARE(openDescriptors(), before - 1); // the channel's own
}

void ChannelTest::noDescriptorIsLeftOver()
{
    const int before = openDescriptors();
    {
        Channel::Pair pair = Channel::makePair();
        Channel sender(std::move(pair.ours));
        Channel receiver(std::move(pair.theirs));
        for (int count = 0; count < 100; ++count) {
            const Message message{MessageType::ReadPicture, 1, 1,
                                  Payload::of(std::string(Payload::inlineBytes + 1, 'x'))};
            QVERIFY(sender.send(message) == Channel::Sending::Sent);
            Message received;
            QVERIFY(receiver.receive(received) == Channel::Receiving::Received);
        }
    }
    QCOMPARE(openDescriptors(), before);
}

void ChannelTest::descriptorsCloseOnExec()
{
    Channel::Pair pair = Channel::makePair();
    Channel sender(std::move(pair.ours));
    Channel receiver(std::move(pair.theirs));
    const Payload payload = Payload::of(std::string(Payload::inlineBytes + 1, 'x'));
    QVERIFY(sender.send({MessageType::ReadPicture, 1, 1, payload}) == Channel::Sending::Sent);
    Message received;
    QVERIFY(receiver.receive(received) == Channel::Receiving::Received);
    for (const int descriptor : {sender.descriptor(), receiver.descriptor(), payload.descriptor(),
                                 received.payload.descriptor()}) {
        QVERIFY(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
    }
}

void ChannelTest::randomPacketsNeverCrash()
{
    LogCapture log;
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        Ends ends = makeEnds();
        QByteArray packet(int(1 + random() % 200), '\0');
        for (char &byte : packet) {
            byte = char(random());
        }
        sendRaw(ends.theirs.get(), packet);
        Message message;
        QVERIFY(ends.ours.receive(message) == Channel::Receiving::Ended);
    }
    QCOMPARE(log.texts(QtWarningMsg).size(), 2000);
}

void ChannelTest::damagedHeadersNeverCrash()
{
    LogCapture log;
    std::mt19937 random(2);
    const Descriptor sealed = memory(100, allSeals);
    for (int round = 0; round < 5000; ++round) {
        Ends ends = makeEnds();
        QByteArray packet =
            header(magic, readPicture, quint16(random() % 2), random() % 2 ? 0 : 100);
        packet[int(random() % headerBytes)] = char(random());
        sendRaw(ends.theirs.get(), packet,
                random() % 2 ? std::vector<int>{sealed.get()} : std::vector<int>());
        Message message;
        while (ends.ours.receive(message) == Channel::Receiving::Received) {
            QVERIFY(message.payload.size() == message.payload.view().bytes().size());
        }
    }
}

void ChannelTest::twoThreadsTalk()
{
    Channel::Pair pair = Channel::makePair();
    Channel sender(std::move(pair.ours));
    Channel receiver(std::move(pair.theirs));
    constexpr std::uint64_t count = 500;
    std::thread thread([&sender] {
        for (std::uint64_t request = 1; request <= count;) {
            const std::string bytes(request % 2 ? 10 : Payload::inlineBytes + request, 'x');
            switch (sender.send({MessageType::EmbedText, 1, request, Payload::of(bytes)})) {
            case Channel::Sending::Sent:
                ++request;
                break;
            default:
                sender.waitWritable(100);
            }
        }
    });
    std::uint64_t received = 0;
    bool inOrder = true;
    while (received < count && receiver.waitReadable(5000)) {
        Message message;
        while (receiver.receive(message) == Channel::Receiving::Received) {
            inOrder = inOrder && message.request == ++received;
        }
    }
    thread.join();
    QCOMPARE(received, count);
    QVERIFY(inOrder);
}

void ChannelTest::payloadsBeyondTheBoundAreInvalid()
{
    std::string bytes;
    bytes.resize(Payload::mostBytes + 1);
    QVERIFY(!Payload::of(bytes).isValid());
}

QTEST_GUILESS_MAIN(ChannelTest)
#include "channeltest.moc"
