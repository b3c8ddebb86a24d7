#include "vault/boxes/mountpoint.h"

#include "vault/boxes/mounttable.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace Vault
{
namespace
{
namespace fs = std::filesystem;

constexpr mode_t CLOSED = 0500;
constexpr mode_t PRIVATE = 0700;
constexpr char BOX_TYPE[] = "fuse.gocryptfs";
constexpr char GUARD_NAME[] = "vaultsm-guard";

std::string reasonOf(int error)
{
    return std::strerror(error);
}

// Reaches the folder below whatever is mounted over it later.
class Folder
{
public:
    explicit Folder(const fs::path &path)
        : m_descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC))
    {
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder()
    {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }

    bool isOpen() const { return m_descriptor >= 0; }
    void setMode(mode_t mode) const { fchmod(m_descriptor, mode); }

private:
    int m_descriptor;
};
} // namespace

MountPoint::MountPoint(fs::path path) : m_path(std::move(path)) {}

MountPoint::State MountPoint::state() const
{
    const MountTable::Entry top = MountTable::topmostAt(m_path);
    if (top.type.empty() || top.source == GUARD_NAME) {
        return State::Closed;
    }
    if (top.type != BOX_TYPE) {
        return State::Foreign;
    }
    // Of all questions this one is never answered from the kernel's memory.
    struct statfs facts {
    };
    return statfs(m_path.c_str(), &facts) == 0 ? State::Open : State::Dead;
}

Outcome MountPoint::prepare() const
{
    const fs::path parent = m_path.parent_path();
    if ((mkdir(parent.c_str(), PRIVATE) != 0 && errno != EEXIST) ||
        (mkdir(m_path.c_str(), CLOSED) != 0 && errno != EEXIST)) {
        return Outcome::failure("cannot make " + m_path.string() + ": " + reasonOf(errno));
    }
    chmod(parent.c_str(), PRIVATE);
    std::error_code error;
    if (fs::is_symlink(m_path, error) || !fs::is_directory(m_path, error)) {
        return Outcome::failure(m_path.string() + " is in the way, it is no folder");
    }
    if (!fs::is_empty(m_path, error) || error) {
        return Outcome::failure(m_path.string() +
                                " holds unencrypted files; move them away to use the box");
    }
    return Outcome::success();
}

Outcome MountPoint::guard() const
{
    if (geteuid() != 0 || MountTable::topmostAt(m_path).source == GUARD_NAME) {
        return Outcome::success();
    }
    if (::mount(GUARD_NAME, m_path.c_str(), "tmpfs", MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOEXEC,
                "mode=0500,size=4k") != 0) {
        return Outcome::failure("cannot keep root from writing into " + m_path.string() +
                                " without the box: " + reasonOf(errno));
    }
    return Outcome::success();
}

Outcome MountPoint::open(const std::function<Outcome()> &mount) const
{
    if (Outcome prepared = prepare(); !prepared) {
        return prepared;
    }
    if (Outcome guarded = guard(); !guarded) {
        return guarded;
    }
    const Folder folder(m_path);
    if (!folder.isOpen()) {
        return Outcome::failure("cannot open " + m_path.string() + ": " + reasonOf(errno));
    }
    folder.setMode(PRIVATE); // fusermount3 asks for the right to write
    Outcome mounted = mount();
    folder.setMode(CLOSED);
    return mounted;
}

void MountPoint::close() const
{
    if (state() == State::Closed) {
        const Folder folder(m_path);
        if (folder.isOpen()) {
            folder.setMode(CLOSED); // a kill while the box was opened leaves it writable
        }
    }
}
} // namespace Vault
