#include "vectordb/local/privatefiles.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <vector>

namespace VectorDB::PrivateFiles
{
namespace
{
constexpr mode_t DIRECTORY_MODE = 0700;
constexpr mode_t FILE_MODE = 0600;
constexpr char BOXES[] = "/.vault";
constexpr char BOX[] = "/.vault/tavel-ai-yestermark";
constexpr char CACHE[] = "/.cache/tavel-ai-yestermark";
constexpr char FOLDER[] = "/vector_database/";

std::string homeDirectory()
{
    const char *home = std::getenv("HOME");
    if (home && *home) {
        return home;
    }
    passwd entry{};
    passwd *found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found) {
        return found->pw_dir;
    }
    return {};
}

// The folder of a box that is not mounted lies on the file system of the folder above.
bool isBoxMounted(const std::string &home)
{
    struct stat boxes {
    };
    struct stat box {
    };
    struct statfs system {
    };
    // The last question alone is never answered from the kernel's memory of a box that died.
    return stat((home + BOXES).c_str(), &boxes) == 0 && stat((home + BOX).c_str(), &box) == 0 &&
           box.st_dev != boxes.st_dev && access((home + BOX).c_str(), R_OK | W_OK | X_OK) == 0 &&
           statfs((home + BOX).c_str(), &system) == 0;
}
} // namespace

std::string defaultDirectory()
{
    const std::string home = homeDirectory();
    return home + (isBoxMounted(home) ? BOX : CACHE) + FOLDER;
}

Status systemFailure(const std::string &doing)
{
    const int error = errno;
    const bool isFull = error == ENOSPC || error == EDQUOT || error == EFBIG;
    return {isFull ? StatusCode::STORE_FULL : StatusCode::IO_ERROR,
            "cannot " + doing + ": " + std::strerror(error)};
}

Status makeDirectory(const std::string &path)
{
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        mkdir(path.substr(0, slash).c_str(), DIRECTORY_MODE);
    }
    if (mkdir(path.c_str(), DIRECTORY_MODE) != 0 && errno != EEXIST) {
        return systemFailure("make the folder " + path);
    }
    struct stat facts {
    };
    if (stat(path.c_str(), &facts) != 0) {
        return systemFailure("use the folder " + path);
    }
    if (!S_ISDIR(facts.st_mode)) {
        errno = ENOTDIR;
        return systemFailure("use the folder " + path);
    }
    if ((facts.st_mode & 07777) != DIRECTORY_MODE && chmod(path.c_str(), DIRECTORY_MODE) != 0) {
        return systemFailure("close the folder " + path + " to others");
    }
    return {};
}

Status makeFile(const std::string &path)
{
    // A file that is there is not opened: closing it again would end every lock that this process
    // holds on it.
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, FILE_MODE);
    if (file >= 0) {
        ::close(file);
    } else if (errno != EEXIST) {
        return systemFailure("make " + path);
    }
    return chmod(path.c_str(), FILE_MODE) == 0 ? Status()
                                               : systemFailure("close " + path + " to others");
}
} // namespace VectorDB::PrivateFiles
