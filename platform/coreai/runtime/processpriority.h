// The runtime stays out of everybody's way.
// Thread: main, before any other is started: what is set here is inherited.

#pragma once

namespace coreai
{
// Nice 19, idle input and output, room for as many descriptors as the system allows. What the
// system refuses is left as it is.
void takeLowPriority();
} // namespace coreai
