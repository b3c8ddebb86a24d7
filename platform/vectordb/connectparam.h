#pragma once
// Where the store to connect to lies. Plain value. Any thread.

#include <string>
#include <utility>

namespace VectorDB
{
class ConnectParam
{
public:
    /// The user's own store: `vector_database/` in the mounted box `~/.vault/tavel-ai-yestermark/`,
    /// else in `~/.cache/tavel-ai-yestermark/`.
    ConnectParam() = default;

    /// Another folder, such as one inside an encrypted box; made if it is missing, its parent too.
    void SetDirectory(std::string directory) { m_directory = std::move(directory); }

    /// Empty for the user's own store.
    const std::string &Directory() const { return m_directory; }

private:
    std::string m_directory;
};
} // namespace VectorDB
