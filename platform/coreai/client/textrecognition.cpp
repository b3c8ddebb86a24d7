#include "coreai/client/textrecognition.h"

#include <QtGlobal>

#include <exception>

using namespace coreai;

namespace
{
const char *reasonOf(RuntimeLink::Sending refusal)
{
    switch (refusal) {
    case RuntimeLink::Sending::TooManyWait:
        return "too many pictures wait";
    case RuntimeLink::Sending::NoSession:
        return "the session is refused";
    default:
        return "a picture cannot be passed on";
    }
}

// NoPayload also where no memory is left for the request.
RuntimeLink::Sending sendPicture(RuntimeLink &link, Message message, std::string_view picture)
{
    try {
        message.payload = Payload::of(picture);
        return link.send(std::move(message));
    } catch (const std::exception &) {
        return RuntimeLink::Sending::NoPayload;
    }
}
} // namespace

_TextRecognitionSession::_TextRecognitionSession() : m_delivery(Delivery::start()) {}

_TextRecognitionSession::~_TextRecognitionSession()
{
    if (m_link) {
        m_link->close(m_session);
    }
    m_delivery->stop();
}

std::int32_t _TextRecognitionSession::init()
{
    const std::lock_guard lock(m_mutex);
    if (m_link) {
        return LinkReady;
    }
    const std::shared_ptr<RuntimeLink> link = RuntimeLink::shared();
    const std::int32_t status = link->open(
        SessionKind::TextRecognition,
        [delivery = m_delivery](Message answer) { delivery->put(std::move(answer)); }, &m_session);
    if (status == LinkReady) {
        m_link = link;
    }
    return status;
}

void _TextRecognitionSession::setCallback(TextRecognitionCallback callback, void *userData)
{
    m_delivery->setCallback(callback, userData);
}

void _TextRecognitionSession::request(std::string_view picture)
{
    const std::lock_guard lock(m_mutex);
    if (!m_link) {
        qWarning("AI runtime: a request before the session was initialised is dropped");
        return;
    }
    Message message;
    message.type = MessageType::ReadPicture;
    message.session = m_session;
    message.request = m_link->nextRequest();
    const std::uint64_t number = message.request;
    m_delivery->expect(number);
    const RuntimeLink::Sending sending = sendPicture(*m_link, std::move(message), picture);
    if (sending != RuntimeLink::Sending::Accepted) {
        qWarning("AI runtime: %s; one is answered without lines", reasonOf(sending));
        m_delivery->putEmpty(number);
    }
}
