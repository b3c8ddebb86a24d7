#pragma once
// The second start's end of the socket. Any thread; wants no event loop.

#include <QString>

namespace InstanceClient
{
/// Hands @p message to the instance that listens at @p socketPath and waits for its word that it
/// has all of it. Until @p timeoutMs milliseconds are over it keeps trying to connect, for the
/// other process may hold the session's lock and not listen yet. The message is sent once at most.
/// False without the other's word in time, and at once if the text exceeds 1 MB.
bool send(const QString &socketPath, const QString &message, int timeoutMs);
} // namespace InstanceClient
