// The runtime's side of the connection without engines. Line k of a picture reads "k: " and the
// request's bytes where they are 64 at most, else "k: n bytes"; its corners are (k, 10 k),
// (100 k, 10 k), (100 k, 20 k), (k, 20 k). A vector has 1024 parts, all 0 but one 1, whose place
// depends on the request's bytes.
// Owner: the fake's main function. Thread: main.

#pragma once

#include "coreai/protocol/channel.h"

namespace coreai
{
class FakeRuntime
{
public:
    // What the options of the program tell; numbers count from 1, 0 is never.
    struct Behaviour {
        int delay = 0; // ms
        int status = 0;
        int lines = 2;
        int nullAt = 0;
        int emptyAt = 0;
        int dieAt = 0;
        int dieOnSize = -1;
        int noCornersOf = 0;
        int garbageAt = 0;
        bool silent = false;
        bool dieOpened = false;
    };

    FakeRuntime(Channel channel, Behaviour behaviour);

    // Serves until the client closes.
    void run();

private:
    void take(const Message &message);
    void answerPicture(const Message &message);
    void misbehave(const Message &message);
    void send(MessageType type, const Message &to, std::uint64_t request, std::string_view bytes);

    Channel m_channel;
    Behaviour m_behaviour;
    int m_requests = 0;
    int m_pictures = 0;
};
} // namespace coreai
