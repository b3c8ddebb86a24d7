// One end of the connection: sends and receives whole messages without blocking. What the other
// side sends is not trusted: a message that breaks a rule ends the channel with one line on the
// log, and nothing is allocated from a size that it claims.
// Thread: one at a time.

#pragma once

#include "coreai/protocol/message.h"

#include <string_view>
#include <vector>

namespace coreai
{
class Channel
{
public:
    enum class Sending { Sent, Later, Ended };
    enum class Receiving { Received, Nothing, Ended };

    struct Pair {
        Descriptor ours;
        Descriptor theirs;
    };

    // Two connected sockets that close on exec; invalid descriptors on failure.
    static Pair makePair();

    Channel() = default;
    // `socket` is the end of a pair from makePair(); becomes non-blocking.
    explicit Channel(Descriptor socket);

    bool isOpen() const { return m_socket.isValid(); }
    int descriptor() const { return m_socket.get(); }
    void close() { m_socket.reset(); }

    // Later: the other side has not read enough yet; try again when poll() tells room.
    Sending send(const Message &message);

    Receiving receive(Message &message);

    // Until the socket is readable (or has ended) or `milliseconds` are over; -1 waits for ever.
    bool waitReadable(int milliseconds) const;
    bool waitWritable(int milliseconds) const;

private:
    Receiving read(std::string_view packet, std::vector<Descriptor> descriptors, Message &message);
    Receiving violation(const char *what);
    bool waitFor(short events, int milliseconds) const;

    Descriptor m_socket;
};
} // namespace coreai
