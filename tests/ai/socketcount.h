#pragma once
// Counts the internet sockets that the test program asks the system for, in any library. Any
// thread.

namespace SocketCount
{
/// How many since the start of the process.
int opened();
} // namespace SocketCount
