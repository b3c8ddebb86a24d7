// The engines stay out of everybody's way.
// Thread: main, before any other is started: what is set here is inherited.

#pragma once

namespace coreai
{
// Nice 19, idle input and output. What the system refuses is left as it is.
void takeLowPriority();
} // namespace coreai
