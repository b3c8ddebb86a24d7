#include "vault/boxes/boxlock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace Vault
{
namespace
{
Outcome cannot(const std::string &doing, const std::filesystem::path &path)
{
    return Outcome::failure("cannot " + doing + ' ' + path.string() + ": " + std::strerror(errno));
}
} // namespace

BoxLock::~BoxLock()
{
    letGo();
}

void BoxLock::letGo()
{
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
    m_descriptor = -1;
}

Outcome BoxLock::makeFolder() const
{
    const std::filesystem::path folder = m_path.parent_path();
    std::error_code error;
    std::filesystem::create_directories(folder.parent_path(), error);
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        return cannot("make", folder);
    }
    return chmod(folder.c_str(), 0700) == 0 ? Outcome::success() : cannot("close", folder);
}

bool BoxLock::isDiscarded() const
{
    struct stat facts {
    };
    return fstat(m_descriptor, &facts) == 0 && facts.st_nlink == 0;
}

Outcome BoxLock::take(const std::filesystem::path &path)
{
    m_path = path;
    do { // anew if who held it has discarded it
        letGo();
        if (Outcome made = makeFolder(); !made) {
            return made;
        }
        m_descriptor = open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (m_descriptor < 0 && errno == ENOENT) {
            continue;
        }
        if (m_descriptor < 0) {
            return cannot("make", m_path);
        }
        while (flock(m_descriptor, LOCK_EX) != 0) {
            if (errno != EINTR) {
                return cannot("lock", m_path);
            }
        }
    } while (m_descriptor < 0 || isDiscarded());
    return Outcome::success();
}

void BoxLock::discard()
{
    unlink(m_path.c_str());
    rmdir(m_path.parent_path().c_str());
    letGo();
}
} // namespace Vault
