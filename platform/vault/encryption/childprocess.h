#pragma once
// Runs one program to its end. Plain functions. Thread: one at a time.

#include "vault/boxes/outcome.h"

#include <string>
#include <string_view>
#include <vector>

namespace Vault::ChildProcess
{
/// Whether PATH holds @p program.
bool isInstalled(const std::string &program);

/// Runs @p arguments, the first one looked for in PATH, with @p input on its standard input, which
/// no command line, environment or file ever shows. Fails with what it wrote if its status is not
/// 0; kills it after 30 s. What it leaves running keeps nothing of this process open.
Outcome run(const std::vector<std::string> &arguments, std::string_view input);
} // namespace Vault::ChildProcess
