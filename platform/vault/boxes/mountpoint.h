#pragma once
// The folder where a box shows its content, and what keeps everybody from writing into it while the
// box is not there: mode 0500, and for root, whom no mode stops, an empty read-only file system
// below the box. Owner: Boxes. Thread: main.

#include "vault/boxes/outcome.h"

#include <filesystem>
#include <functional>

namespace Vault
{
class MountPoint
{
public:
    enum class State {
        Closed, ///< there is no box, or no folder either
        Open,   ///< the box is there and answers
        Dead,   ///< the box is there, but who served it is gone
        Foreign ///< something else is mounted there
    };

    explicit MountPoint(std::filesystem::path path);

    const std::filesystem::path &path() const { return m_path; }

    State state() const;

    /// Lets @p mount show a box there. Makes the folder if it is missing; refuses one that is not
    /// empty, since its files would be hidden. Closed to writing before and after, and below.
    Outcome open(const std::function<Outcome()> &mount) const;

    /// To be called when the box is gone.
    void close() const;

private:
    Outcome prepare() const;
    Outcome guard() const;

    std::filesystem::path m_path;
};
} // namespace Vault
