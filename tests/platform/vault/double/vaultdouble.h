#pragma once
// Answers for the library that tells whether there is an encrypted box. Owner: the process. Thread:
// main of a test.

namespace VaultDouble
{
/// What vault_enabled() gives from now on; 0 at start, so that tests store plainly.
void setEnabled(int enabled);
} // namespace VaultDouble
