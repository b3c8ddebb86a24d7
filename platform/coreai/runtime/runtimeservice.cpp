#include "coreai/runtime/runtimeservice.h"

#include <QtGlobal>

#include <poll.h>
#include <sys/eventfd.h>

namespace coreai
{
RuntimeService::RuntimeService(Channel channel, Abilities abilities,
                               std::unique_ptr<EngineSet> engines, Worker::Settings settings)
    : m_channel(std::move(channel))
    , m_abilities(abilities)
    , m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_worker(std::move(engines), std::move(settings),
               [this](Message message) { answer(std::move(message)); })
{
}

void RuntimeService::run()
{
    while (m_channel.isOpen()) {
        short events = POLLIN;
        {
            const std::lock_guard lock(m_mutex);
            events |= m_answers.empty() ? 0 : POLLOUT;
        }
        pollfd waiting[] = {{m_channel.descriptor(), events, 0}, {m_wake.get(), POLLIN, 0}};
        ::poll(waiting, 2, -1);
        eventfd_t count = 0;
        ::eventfd_read(m_wake.get(), &count);
        if (waiting[0].revents & (POLLIN | POLLHUP | POLLERR)) {
            receiveAll();
        }
        sendAll();
    }
}

void RuntimeService::receiveAll()
{
    Message message;
    while (m_channel.receive(message) == Channel::Receiving::Received) {
        if (!take(std::move(message))) {
            qWarning("AI runtime: the client sent what only the runtime sends; closed");
            m_channel.close();
            return;
        }
    }
}

// False for a message that no client sends.
bool RuntimeService::take(Message message)
{
    switch (message.type) {
    case MessageType::OpenSession:
        open(message);
        return true;
    case MessageType::CloseSession:
        m_sessions.erase(message.session);
        m_worker.post(std::move(message));
        return true;
    case MessageType::ReadPicture:
    case MessageType::EmbedPicture:
    case MessageType::EmbedText:
        if (m_sessions.count(message.session) > 0) {
            m_worker.post(std::move(message));
        }
        return true;
    default:
        return false;
    }
}

void RuntimeService::open(const Message &message)
{
    std::uint64_t status = 0;
    if (message.request == std::uint64_t(SessionKind::TextRecognition)) {
        status = m_abilities.textEngine ? 0 : noTextEngine;
    } else {
        status = m_abilities.textMeaning ? 0 : noTextMeaning;
    }
    if (status == 0) {
        m_sessions.insert(message.session);
    }
    answer({MessageType::SessionOpened, message.session, status, Payload()});
}

void RuntimeService::answer(Message message)
{
    {
        const std::lock_guard lock(m_mutex);
        m_answers.push_back(std::move(message));
    }
    ::eventfd_write(m_wake.get(), 1);
}

void RuntimeService::sendAll()
{
    const std::lock_guard lock(m_mutex);
    while (!m_answers.empty()) {
        Message &message = m_answers.front();
        if (!message.payload.isValid()) {
            message.payload = Payload(); // no memory for the answer: an empty one
        }
        if (m_channel.send(message) != Channel::Sending::Sent) {
            return; // an ended channel is found by receiving from it
        }
        m_answers.pop_front();
    }
}
} // namespace coreai
