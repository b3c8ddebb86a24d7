#include "coreai/client/runtimelink.h"

#include "coreai/client/runtimeprogram.h"

#include <QtGlobal>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>

namespace coreai
{
namespace
{
using namespace std::chrono_literals;

constexpr auto openPatience = 10s;
constexpr int mostFailedStarts = 2;    // in a row, then requests are answered empty ...
constexpr auto pauseAfterFailure = 5s; // ... for so long

// A process that dies so soon, with nothing answered, counts as one that failed to start where
// others before it did the same. More than the four deaths that two requests may cost.
constexpr auto shortLife = 3s;
constexpr int mostShortLives = 5;

bool isAnswer(MessageType type)
{
    return type == MessageType::Lines || type == MessageType::NoResult ||
           type == MessageType::Vector;
}
} // namespace

std::shared_ptr<RuntimeLink> RuntimeLink::shared()
{
    static std::mutex mutex;
    static std::weak_ptr<RuntimeLink> present;
    const std::lock_guard lock(mutex);
    std::shared_ptr<RuntimeLink> link = present.lock();
    if (!link) {
        link = std::make_shared<RuntimeLink>();
        present = link;
    }
    return link;
}

RuntimeLink::RuntimeLink(std::size_t mostWaitingBytes)
    : m_mostWaitingBytes(mostWaitingBytes)
    , m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_thread([this] { run(); })
{
}

RuntimeLink::~RuntimeLink()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    wake();
    m_thread.join();
}

void RuntimeLink::wake()
{
    ::eventfd_write(m_wake.get(), 1);
}

std::int32_t RuntimeLink::open(SessionKind kind, Handler handler, std::uint32_t *session)
{
    std::unique_lock lock(m_mutex);
    const std::uint32_t number = ++m_lastSession;
    Session &added = m_sessions[number];
    added.kind = kind;
    added.handler = std::move(handler);
    m_nextStart = Clock::time_point::min(); // who asks for a session asks for another try
    m_failedStarts = 0;
    m_shortLives = 0;
    wake();
    const bool told =
        m_opened.wait_for(lock, openPatience, [&] { return m_sessions.at(number).answered; });
    const std::int32_t status = told ? m_sessions.at(number).status : std::int32_t(LinkTimeout);
    lock.unlock();
    if (status != LinkReady) {
        close(number);
        return status;
    }
    *session = number;
    return LinkReady;
}

void RuntimeLink::close(std::uint32_t session)
{
    std::unique_lock lock(m_mutex);
    m_unanswered.removeSession(session);
    if (m_sessions.erase(session) > 0) {
        Message closing;
        closing.type = MessageType::CloseSession;
        closing.session = session;
        m_closings.push_back(std::move(closing));
    }
    m_idle.wait(lock, [&] { return m_inHandler != session; });
    lock.unlock();
    wake();
}

RuntimeLink::Sending RuntimeLink::send(Message message)
{
    {
        const std::lock_guard lock(m_mutex);
        const Sending refusal = refusalOf(message);
        if (refusal != Sending::Accepted) {
            return refusal;
        }
        m_unanswered.add(std::move(message));
    }
    wake();
    return Sending::Accepted;
}

// Called with the lock held.
RuntimeLink::Sending RuntimeLink::refusalOf(const Message &message) const
{
    if (!message.payload.isValid()) {
        return Sending::NoPayload;
    }
    const auto session = m_sessions.find(message.session);
    if (session == m_sessions.end() ||
        (session->second.answered && session->second.status != LinkReady)) {
        return Sending::NoSession;
    }
    const std::size_t count = m_unanswered.countOf(message.session);
    const std::size_t bytes = m_unanswered.bytesOf(message.session) + message.payload.size();
    const bool tooMany = count >= mostWaiting || (count > 0 && bytes > m_mostWaitingBytes);
    return tooMany ? Sending::TooManyWait : Sending::Accepted;
}

void RuntimeLink::forget(std::uint32_t session, std::uint64_t request)
{
    const std::lock_guard lock(m_mutex);
    m_unanswered.remove(session, request);
}

pid_t RuntimeLink::processId() const
{
    const std::lock_guard lock(m_mutex);
    return m_processId;
}

void RuntimeLink::run()
{
    pthread_setname_np(pthread_self(), "ai link");
    for (;;) {
        {
            const std::lock_guard lock(m_mutex);
            if (m_stop) {
                return;
            }
        }
        bool full = false;
        if (startIfNeeded()) {
            receiveAll();
            full = !sendAll();
        }
        if (m_process.isRunning() && !m_process.channel().isOpen()) {
            onDied();
            continue;
        }
        waitForWork(full);
    }
}

void RuntimeLink::waitForWork(bool full)
{
    Channel &channel = m_process.channel();
    const short events = full ? POLLIN | POLLOUT : POLLIN;
    pollfd waiting[] = {{m_wake.get(), POLLIN, 0},
                        {channel.isOpen() ? channel.descriptor() : -1, events, 0}};
    // The limit is for descriptors under way in all, whose arrival wakes nobody.
    ::poll(waiting, 2, full ? 20 : -1);
    eventfd_t count = 0;
    ::eventfd_read(m_wake.get(), &count);
}

bool RuntimeLink::startIfNeeded()
{
    if (m_process.isRunning()) {
        return true;
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_sessions.empty()) {
            return false;
        }
        if (Clock::now() < m_nextStart) {
            answerEmpty(m_unanswered.takeAll());
            return false;
        }
    }
    m_spoken = m_useful = false;
    m_started = Clock::now();
    const bool started = m_process.start(runtimeProgram());
    const std::lock_guard lock(m_mutex);
    m_processId = m_process.processId();
    m_closings.clear();
    for (auto &[number, session] : m_sessions) {
        session.announced = false;
    }
    if (!started) {
        m_failedStarts = mostFailedStarts;
        onStartFailed();
    }
    return started;
}

void RuntimeLink::onStartFailed()
{
    m_nextStart = Clock::now() + pauseAfterFailure;
    answerEmpty(m_unanswered.takeAll());
    for (auto &[number, session] : m_sessions) {
        if (!session.answered) {
            setStatus(number, LinkNotStarted);
        }
    }
}

void RuntimeLink::onDied()
{
    m_process.end(0);
    const std::lock_guard lock(m_mutex);
    m_processId = -1;
    qWarning("AI runtime: the process ended%s", m_spoken ? "; it is started again" : " at once");
    answerEmpty(m_unanswered.processDied());
    if (m_spoken) {
        m_failedStarts = 0;
        countShortLife();
    } else if (++m_failedStarts >= mostFailedStarts) {
        onStartFailed();
    }
}

// Called with the lock held.
void RuntimeLink::countShortLife()
{
    const bool isShort = !m_useful && Clock::now() - m_started < shortLife;
    m_shortLives = isShort ? m_shortLives + 1 : 0;
    if (m_shortLives >= mostShortLives) {
        qWarning("AI runtime: the process keeps ending; it is left alone for a while");
        onStartFailed();
    }
}

void RuntimeLink::receiveAll()
{
    Message message;
    while (m_process.channel().receive(message) == Channel::Receiving::Received) {
        m_spoken = true;
        m_useful = m_useful || isAnswer(message.type);
        take(std::move(message));
    }
}

void RuntimeLink::take(Message message)
{
    std::unique_lock lock(m_mutex);
    if (message.type == MessageType::SessionOpened) {
        m_failedStarts = 0;
        setStatus(message.session, std::int32_t(message.request));
    } else if (message.type == MessageType::Begun) {
        m_unanswered.setBegun(message.session, message.request);
    } else if (isAnswer(message.type) && m_unanswered.remove(message.session, message.request)) {
        const auto session = m_sessions.find(message.session);
        if (session == m_sessions.end()) {
            return;
        }
        const Handler handler = session->second.handler;
        m_inHandler = message.session;
        lock.unlock();
        handler(std::move(message));
        lock.lock();
        m_inHandler = 0;
        m_idle.notify_all();
    }
}

void RuntimeLink::setStatus(std::uint32_t number, std::int32_t status)
{
    const auto session = m_sessions.find(number);
    if (session == m_sessions.end()) {
        return;
    }
    session->second.answered = true;
    session->second.status = status;
    m_opened.notify_all();
    if (status != LinkReady) {
        answerEmpty(m_unanswered.takeSession(number));
    }
}

// Called with the lock held: handlers of sessions only put the answer away.
void RuntimeLink::answerEmpty(std::vector<Message> requests)
{
    for (Message &request : requests) {
        const auto session = m_sessions.find(request.session);
        if (session == m_sessions.end()) {
            continue;
        }
        request.type =
            request.type == MessageType::ReadPicture ? MessageType::Lines : MessageType::Vector;
        request.payload = Payload();
        session->second.handler(std::move(request));
    }
}

// False where the socket is full.
bool RuntimeLink::sendAll()
{
    const std::lock_guard lock(m_mutex);
    Channel &channel = m_process.channel();
    // An ended channel counts as full: what it still holds is received first, then its end.
    const auto isSent = [&channel](const Message &message) {
        return channel.send(message) == Channel::Sending::Sent;
    };
    while (!m_closings.empty()) {
        if (!isSent(m_closings.back())) {
            return false;
        }
        m_closings.pop_back();
    }
    for (auto &[number, session] : m_sessions) {
        Message opening;
        opening.session = number;
        opening.request = std::uint64_t(session.kind);
        if (!session.announced && !isSent(opening)) {
            return false;
        }
        session.announced = true;
    }
    while (const Message *message = m_unanswered.firstUnsent()) {
        if (!isSent(*message)) {
            return false;
        }
        m_unanswered.setSent(message->request);
    }
    return true;
}
} // namespace coreai
