// Which program is started as the runtime.
// Thread: any.

#pragma once

#include <string>
#include <vector>

namespace coreai
{
// The command that the next start of the runtime uses: an absolute path and its arguments.
std::vector<std::string> runtimeProgram();

// For tests: replaces the installed runtime, which stands beside this executable's installation;
// an empty command brings it back. Takes effect at the next start of the process.
void setRuntimeProgram(const std::vector<std::string> &command);
} // namespace coreai
