// Each picture that waits to be read holds a descriptor.
// Thread: any.

#pragma once

namespace coreai
{
// Room for as many descriptors as the system allows this process.
void raiseDescriptorLimit();
} // namespace coreai
