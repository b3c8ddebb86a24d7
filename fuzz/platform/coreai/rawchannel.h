#pragma once
// The far end of a channel, in hostile hands: packets of any bytes with any descriptors. Thread:
// one.

#include "coreai/protocol/descriptor.h"

#include <string_view>
#include <vector>

namespace RawChannel
{
/// A memfd of these bytes; its seals only where @p sealed.
coreai::Descriptor memory(std::string_view bytes, bool sealed);

/// Sends one packet with copies of @p descriptors. False where the socket takes no more.
bool send(int socket, std::string_view packet,
          const std::vector<coreai::Descriptor> &descriptors = {});
} // namespace RawChannel
