#pragma once
// Keeps two runs of the tool from working on boxes at once. Owner: an operation of Boxes. Thread:
// main.

#include "vault/boxes/outcome.h"

#include <filesystem>

namespace Vault
{
class BoxLock
{
public:
    BoxLock() = default;
    BoxLock(const BoxLock &) = delete;
    BoxLock &operator=(const BoxLock &) = delete;
    /// Ends with the process at the latest, however that ends.
    ~BoxLock();

    /// Makes the file @p path, mode 0600, and its folder, mode 0700, and waits as long as another
    /// process holds it.
    Outcome take(const std::filesystem::path &path);

    /// Removes the file, which must be held, and its folder if that holds nothing else.
    void discard();

private:
    Outcome makeFolder() const;
    bool isDiscarded() const;
    void letGo();

    std::filesystem::path m_path;
    int m_descriptor = -1;
};
} // namespace Vault
