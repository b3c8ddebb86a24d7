#include "coreai/protocol/channel.h"

#include <QtGlobal>

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

namespace coreai
{
namespace
{
constexpr std::uint32_t magic = 0x31494159; // "YAI1"
constexpr int mostDescriptors = 8;          // one is expected; what more comes is closed

enum class Carriage : std::uint16_t { Inline = 0, SealedMemory = 1 };

// As it stands in the packet. Both sides are one build on one machine: host byte order.
struct Header {
    std::uint32_t magic;
    std::uint16_t type;
    std::uint16_t carriage;
    std::uint32_t session;
    std::uint32_t size; // of the payload
    std::uint64_t request;
};
static_assert(sizeof(Header) == 24, "no padding travels");

constexpr std::size_t packetBytes = sizeof(Header) + Payload::inlineBytes;

union DescriptorSpace {
    cmsghdr aligned;
    char bytes[CMSG_SPACE(sizeof(int) * mostDescriptors)];
};

// Every descriptor that came is owned at once, wanted or not.
std::vector<Descriptor> descriptorsOf(msghdr &packet)
{
    std::vector<Descriptor> descriptors;
    for (cmsghdr *part = CMSG_FIRSTHDR(&packet); part; part = CMSG_NXTHDR(&packet, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t index = 0; index < count; ++index) {
            int number = -1;
            std::memcpy(&number, CMSG_DATA(part) + index * sizeof(int), sizeof(int));
            descriptors.emplace_back(number);
        }
    }
    return descriptors;
}

// The interface of sendmsg() is not const; it changes nothing.
iovec partOf(const void *bytes, std::size_t size)
{
    return {const_cast<void *>(bytes), size};
}

void attach(int descriptor, DescriptorSpace &space, msghdr &packet)
{
    packet.msg_control = space.bytes;
    packet.msg_controllen = CMSG_SPACE(sizeof(int));
    cmsghdr *control = CMSG_FIRSTHDR(&packet);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(control), &descriptor, sizeof(descriptor));
}

bool isKnown(std::uint16_t type)
{
    const auto within = [type](MessageType first, MessageType last) {
        return type >= std::uint16_t(first) && type <= std::uint16_t(last);
    };
    return within(MessageType::OpenSession, MessageType::EmbedText) ||
           within(MessageType::SessionOpened, MessageType::Vector) ||
           within(MessageType::EngineLoadReader, MessageType::EngineOfPicture) ||
           within(MessageType::EngineLines, MessageType::EngineVectors);
}
} // namespace

Channel::Pair Channel::makePair()
{
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return {};
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

Channel::Channel(Descriptor socket) : m_socket(std::move(socket))
{
    if (m_socket.isValid()) {
        ::fcntl(m_socket.get(), F_SETFL, ::fcntl(m_socket.get(), F_GETFL) | O_NONBLOCK);
        ::fcntl(m_socket.get(), F_SETFD, FD_CLOEXEC);
    }
}

Channel::Sending Channel::send(const Message &message)
{
    if (!isOpen() || !message.payload.isValid()) {
        return Sending::Ended;
    }
    const bool inlined = message.payload.isInline();
    Header header{magic,
                  std::uint16_t(message.type),
                  std::uint16_t(inlined ? Carriage::Inline : Carriage::SealedMemory),
                  message.session,
                  std::uint32_t(message.payload.size()),
                  message.request};
    const Payload::View view = inlined ? message.payload.view() : Payload::View();
    iovec parts[] = {partOf(&header, sizeof(header)),
                     partOf(view.bytes().data(), view.bytes().size())};
    msghdr packet = {};
    packet.msg_iov = parts;
    packet.msg_iovlen = 2;
    DescriptorSpace space = {};
    if (!inlined) {
        attach(message.payload.descriptor(), space, packet);
    }
    ssize_t sent = 0;
    do {
        sent = ::sendmsg(m_socket.get(), &packet, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    if (sent >= 0) {
        return Sending::Sent;
    }
    // ETOOMANYREFS: too many descriptors are under way in all; some will arrive.
    const bool later = errno == EAGAIN || errno == ENOBUFS || errno == ETOOMANYREFS;
    return later ? Sending::Later : Sending::Ended;
}

Channel::Receiving Channel::receive(Message &message)
{
    if (!isOpen()) {
        return Receiving::Ended;
    }
    std::array<char, packetBytes> bytes;
    iovec part = {bytes.data(), bytes.size()};
    DescriptorSpace space = {};
    msghdr packet = {};
    packet.msg_iov = &part;
    packet.msg_iovlen = 1;
    packet.msg_control = space.bytes;
    packet.msg_controllen = sizeof(space.bytes);
    ssize_t length = 0;
    do {
        // A side that died with unread packets leaves ECONNRESET, told once and before the packets
        // that it had sent; those still count.
        length = ::recvmsg(m_socket.get(), &packet, MSG_CMSG_CLOEXEC | MSG_DONTWAIT);
    } while (length < 0 && (errno == EINTR || errno == ECONNRESET));
    if (length < 0 && errno == EAGAIN) {
        return Receiving::Nothing;
    }
    if (length <= 0) {
        close();
        return Receiving::Ended;
    }

    std::vector<Descriptor> descriptors = descriptorsOf(packet);
    if ((packet.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0) {
        return violation("wrong length");
    }
    return read({bytes.data(), std::size_t(length)}, std::move(descriptors), message);
}

Channel::Receiving Channel::read(std::string_view packet, std::vector<Descriptor> descriptors,
                                 Message &message)
{
    Header header = {};
    if (packet.size() < sizeof(header)) {
        return violation("wrong length");
    }
    std::memcpy(&header, packet.data(), sizeof(header));
    if (header.magic != magic || !isKnown(header.type)) {
        return violation("unknown kind");
    }
    message.type = MessageType(header.type);
    message.session = header.session;
    message.request = header.request;
    const std::string_view inlined = packet.substr(sizeof(header));
    if (header.carriage == std::uint16_t(Carriage::Inline) && descriptors.empty() &&
        header.size == inlined.size()) {
        message.payload = Payload::of(inlined);
    } else if (header.carriage == std::uint16_t(Carriage::SealedMemory) &&
               descriptors.size() == 1 && inlined.empty()) {
        message.payload = Payload::adopt(std::move(descriptors.front()), header.size);
    } else {
        return violation("payload not as told");
    }
    return message.payload.isValid() ? Receiving::Received : violation("memory not sealed");
}

Channel::Receiving Channel::violation(const char *what)
{
    qWarning("AI runtime connection: a message breaks the protocol (%s); closed", what);
    close();
    return Receiving::Ended;
}

bool Channel::waitReadable(int milliseconds) const
{
    return waitFor(POLLIN, milliseconds);
}

bool Channel::waitWritable(int milliseconds) const
{
    return waitFor(POLLOUT, milliseconds);
}

bool Channel::waitFor(short events, int milliseconds) const
{
    pollfd waiting = {m_socket.get(), events, 0};
    int ready = 0;
    do {
        ready = ::poll(&waiting, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}
} // namespace coreai
