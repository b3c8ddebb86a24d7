#pragma once
// Whether what is written into a folder comes back. Plain function. Any thread.

#include "vault/boxes/outcome.h"

#include <filesystem>

namespace Vault::RoundTrip
{
/// Writes a file of random bytes into @p folder down to the disk, reads it back and removes it.
Outcome check(const std::filesystem::path &folder);
} // namespace Vault::RoundTrip
