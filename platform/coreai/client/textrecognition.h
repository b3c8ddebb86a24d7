// One text-recognition session: sends requests and lets the answers be delivered in order, on a
// thread of the session's own, so that a slow callback delays no other session.
// Owner: the C interface's handle. Thread: any.

#pragma once

#include "coreai/client/delivery.h"

#include <string_view>

// NOLINTNEXTLINE(bugprone-reserved-identifier): the C interface names it
struct _TextRecognitionSession {
public:
    _TextRecognitionSession();
    // No callback runs after this. From inside the callback it returns at once, and the callback
    // that runs is the last.
    ~_TextRecognitionSession();
    _TextRecognitionSession(const _TextRecognitionSession &) = delete;
    _TextRecognitionSession &operator=(const _TextRecognitionSession &) = delete;

    // 0, also where it was ready before; else a LinkStatus or what the runtime tells.
    std::int32_t init();
    void setCallback(TextRecognitionCallback callback, void *userData);
    // Dropped with a warning before a successful init().
    void request(std::string_view picture);

private:
    std::mutex m_mutex; // requests get their numbers and their places in one order
    std::shared_ptr<coreai::Delivery> m_delivery;
    std::shared_ptr<coreai::RuntimeLink> m_link;
    std::uint32_t m_session = 0;
};
