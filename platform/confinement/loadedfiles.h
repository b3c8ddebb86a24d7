// The files that the dynamic linker has mapped into this process, itself included.
// Thread: any.

#pragma once

#include <string>
#include <vector>

namespace confinement
{
// Libraries by their paths, without the main program.
std::vector<std::string> loadedLibraries();

// The dynamic linker that the main program names; empty for a static one.
std::string dynamicLinker();
} // namespace confinement
