#include "coreai/client/delivery.h"

#include "coreai/client/recognitionresult.h"

#include <algorithm>
#include <pthread.h>

namespace coreai
{
std::shared_ptr<Delivery> Delivery::start()
{
    std::shared_ptr<Delivery> delivery(new Delivery);
    std::thread thread([delivery] { delivery->run(); });
    const std::lock_guard lock(delivery->m_mutex);
    delivery->m_thread = thread.get_id();
    thread.detach();
    return delivery;
}

void Delivery::stop()
{
    std::unique_lock lock(m_mutex);
    m_stop = true;
    m_places.clear();
    m_changed.notify_all();
    if (std::this_thread::get_id() != m_thread) {
        m_returned.wait(lock, [this] { return !m_running; });
    }
}

void Delivery::setCallback(TextRecognitionCallback callback, void *userData)
{
    const std::lock_guard lock(m_mutex);
    m_callback = callback;
    m_userData = userData;
}

void Delivery::expect(std::uint64_t request)
{
    const std::lock_guard lock(m_mutex);
    m_places.push_back({request, std::chrono::steady_clock::now(), std::nullopt});
}

void Delivery::put(Message answer)
{
    const std::lock_guard lock(m_mutex);
    const auto place = std::find_if(m_places.begin(), m_places.end(), [&](const Place &candidate) {
        return candidate.request == answer.request;
    });
    if (place != m_places.end() && !place->answer) {
        place->answer = std::move(answer);
        m_changed.notify_all();
    }
}

void Delivery::putEmpty(std::uint64_t request)
{
    Message empty;
    empty.type = MessageType::Lines;
    empty.request = request;
    put(std::move(empty));
}

void Delivery::run()
{
    pthread_setname_np(pthread_self(), "ai answers");
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock,
                       [this] { return m_stop || (!m_places.empty() && m_places.front().answer); });
        if (m_stop) {
            return;
        }
        const auto due = m_places.front().expected + leastAge;
        if (m_changed.wait_until(lock, due, [this] { return m_stop; })) {
            return;
        }
        const Message answer = std::move(*m_places.front().answer);
        m_places.pop_front();
        const TextRecognitionCallback callback = m_callback;
        void *userData = m_userData;
        m_running = true;
        lock.unlock();
        if (callback) {
            const std::unique_ptr<TextRecognitionResult> result = resultOf(answer);
            callback(result.get(), userData);
        }
        lock.lock();
        m_running = false;
        m_returned.notify_all();
    }
}
} // namespace coreai
