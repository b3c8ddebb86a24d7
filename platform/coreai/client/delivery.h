// The answers of one text-recognition session on their way to its callback.
// Owner: the session and the delivering thread share it. Thread: any.

#pragma once

#include "coreai/client/runtimelink.h"
#include "coreai/coreaivision.h"

#include <deque>
#include <optional>

namespace coreai
{
class Delivery
{
public:
    // A caller may put its own record of a request away after the call that makes it; an answer is
    // therefore held back until its request is so old.
    static constexpr std::chrono::milliseconds leastAge{5};

    // Starts the thread, which shares the ownership and ends after stop().
    static std::shared_ptr<Delivery> start();

    // No callback begins after this, and none is running unless this was called from inside it.
    void stop();

    void setCallback(TextRecognitionCallback callback, void *userData);

    // A place for the answer to `request`; places are delivered in this order.
    void expect(std::uint64_t request);
    void put(Message answer);
    // The request was not accepted by the link: an empty result takes its place.
    void putEmpty(std::uint64_t request);

private:
    struct Place {
        std::uint64_t request = 0;
        std::chrono::steady_clock::time_point expected;
        std::optional<Message> answer;
    };

    Delivery() = default;
    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::condition_variable m_returned;
    std::deque<Place> m_places;
    TextRecognitionCallback m_callback = nullptr;
    void *m_userData = nullptr;
    std::thread::id m_thread;
    bool m_running = false; // inside the callback
    bool m_stop = false;
};
} // namespace coreai
