#include "coreai/fake/fakeruntime.h"

#include "coreai/protocol/answers.h"

#include <csignal>
#include <ctime>
#include <functional>
#include <sys/socket.h>

namespace coreai
{
namespace
{
constexpr std::size_t dimensions = 1024;
constexpr std::size_t mostTold = 64;

std::vector<ReadLine> linesOf(std::string_view bytes, int count, int noCornersOf)
{
    std::vector<ReadLine> lines;
    for (int k = 1; k <= count; ++k) {
        ReadLine &line = lines.emplace_back();
        line.text = std::to_string(k) + ": ";
        line.text +=
            bytes.size() <= mostTold ? std::string(bytes) : std::to_string(bytes.size()) + " bytes";
        if (k != noCornersOf) {
            line.corners = {{k, 10 * k}, {100 * k, 10 * k}, {100 * k, 20 * k}, {k, 20 * k}};
        }
    }
    return lines;
}
} // namespace

FakeRuntime::FakeRuntime(Channel channel, Behaviour behaviour)
    : m_channel(std::move(channel)), m_behaviour(behaviour)
{
}

void FakeRuntime::run()
{
    Message message;
    while (m_channel.isOpen() && m_channel.waitReadable(-1)) {
        while (m_channel.receive(message) == Channel::Receiving::Received) {
            take(message);
        }
    }
}

void FakeRuntime::take(const Message &message)
{
    if (message.type == MessageType::OpenSession) {
        send(MessageType::SessionOpened, message, std::uint64_t(m_behaviour.status), {});
        if (m_behaviour.dieOpened) {
            std::raise(SIGKILL);
        }
        return;
    }
    if (message.type == MessageType::CloseSession || m_behaviour.status != 0) {
        return; // of a refused session nothing is answered
    }
    ++m_requests;
    misbehave(message);
    if (m_behaviour.silent) {
        return;
    }
    const timespec delay = {m_behaviour.delay / 1000, m_behaviour.delay % 1000 * 1000000L};
    ::nanosleep(&delay, nullptr);
    if (message.type == MessageType::ReadPicture) {
        answerPicture(message);
    } else {
        std::vector<float> vector(dimensions);
        vector[std::hash<std::string_view>()(message.payload.view().bytes()) % dimensions] = 1;
        send(MessageType::Vector, message, message.request, encodeFloats(vector));
    }
}

void FakeRuntime::misbehave(const Message &message)
{
    send(MessageType::Begun, message, message.request, {});
    if (m_requests == m_behaviour.dieAt ||
        std::int64_t(message.payload.size()) == m_behaviour.dieOnSize) {
        std::raise(SIGKILL);
    }
    if (m_requests == m_behaviour.garbageAt) {
        ::send(m_channel.descriptor(), "garbage", sizeof("garbage"), MSG_NOSIGNAL);
    }
}

void FakeRuntime::answerPicture(const Message &message)
{
    ++m_pictures;
    if (m_pictures == m_behaviour.nullAt) {
        send(MessageType::NoResult, message, message.request, {});
        return;
    }
    const int count = m_pictures == m_behaviour.emptyAt ? 0 : m_behaviour.lines;
    const Payload::View view = message.payload.view();
    send(MessageType::Lines, message, message.request,
         encodeLines(linesOf(view.bytes(), count, m_behaviour.noCornersOf)));
}

void FakeRuntime::send(MessageType type, const Message &to, std::uint64_t request,
                       std::string_view bytes)
{
    const Message message{type, to.session, request, Payload::of(bytes)};
    while (m_channel.send(message) == Channel::Sending::Later) {
        m_channel.waitWritable(100);
    }
}
} // namespace coreai
