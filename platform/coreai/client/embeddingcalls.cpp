#include "coreai/client/embeddingcalls.h"

#include "coreai/protocol/answers.h"

namespace coreai
{
void WaitingCalls::expect(std::uint64_t request)
{
    const std::lock_guard lock(m_mutex);
    m_calls[request];
}

void WaitingCalls::put(const Message &answer)
{
    const Payload::View view = answer.payload.view();
    std::vector<float> vector = decodeFloats(view.bytes()).value_or(std::vector<float>());
    const std::lock_guard lock(m_mutex);
    const auto call = m_calls.find(answer.request);
    if (call != m_calls.end()) {
        call->second = {true, std::move(vector)};
        m_answered.notify_all();
    }
}

std::vector<float> WaitingCalls::wait(std::uint64_t request)
{
    std::unique_lock lock(m_mutex);
    m_answered.wait_for(lock, patience, [&] { return m_calls.at(request).answered; });
    std::vector<float> vector = std::move(m_calls.at(request).vector);
    m_calls.erase(request);
    return vector;
}
} // namespace coreai

using namespace coreai;

_ImageEmbeddingSession::~_ImageEmbeddingSession()
{
    if (m_link) {
        m_link->close(m_session);
    }
}

std::int32_t _ImageEmbeddingSession::init()
{
    const std::lock_guard lock(m_mutex);
    if (m_link) {
        return LinkReady;
    }
    const std::shared_ptr<RuntimeLink> link = RuntimeLink::shared();
    const std::int32_t status = link->open(
        SessionKind::Embedding, [calls = m_calls](const Message &answer) { calls->put(answer); },
        &m_session);
    if (status == LinkReady) {
        m_link = link;
    }
    return status;
}

std::vector<float> _ImageEmbeddingSession::embed(MessageType type, std::string_view bytes)
{
    Message message;
    message.type = type;
    message.payload = Payload::of(bytes);
    {
        const std::lock_guard lock(m_mutex);
        if (!m_link) {
            return {};
        }
        message.session = m_session;
        message.request = m_link->nextRequest();
        m_calls->expect(message.request);
        if (m_link->send(message) != RuntimeLink::Sending::Accepted) {
            m_calls->put(Message{MessageType::Vector, m_session, message.request, Payload()});
        }
    }
    std::vector<float> vector = m_calls->wait(message.request);
    m_link->forget(message.session, message.request);
    return vector;
}
