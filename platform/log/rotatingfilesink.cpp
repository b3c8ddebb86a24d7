#include "log/rotatingfilesink.h"

#include "log/standarderror.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr mode_t DIRECTORY_MODE = 0700;
constexpr mode_t FILE_MODE = 0600;

// Cuts at a character's start, so that the file stays valid UTF-8.
void shorten(spdlog::memory_buf_t &line)
{
    if (line.size() <= RotatingFileSink::LINE_LIMIT) {
        return;
    }
    std::size_t end = RotatingFileSink::LINE_LIMIT;
    while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0) == 0x80) {
        --end;
    }
    const std::string tail = " [" + std::to_string(line.size() - end) + " bytes left out]\n";
    line.resize(end);
    line.append(tail.data(), tail.data() + tail.size());
}

// Every directory that is missing on the way is the user's own business as well.
bool makePath(const std::string &path)
{
    const auto make = [&path] {
        return ::mkdir(path.c_str(), DIRECTORY_MODE) == 0 || errno == EEXIST;
    };
    if (make()) {
        return true;
    }
    const std::size_t slash = path.rfind('/');
    return errno == ENOENT && slash != std::string::npos && slash > 0 &&
           makePath(path.substr(0, slash)) && make();
}
} // namespace

RotatingFileSink::RotatingFileSink(std::string directory, const std::string &fileName)
    : m_directory(std::move(directory)), m_path(m_directory + '/' + fileName)
{
}

RotatingFileSink::~RotatingFileSink()
{
    closeFile();
}

void RotatingFileSink::sink_it_(const spdlog::details::log_msg &message)
{
    spdlog::memory_buf_t line;
    if (m_torn) {
        line.push_back('\n');
    }
    formatter_->format(message, line);
    shorten(line);
    if (makeRoom(line.size()) && append({line.data(), line.size()})) {
        m_failing = false;
        m_torn = false;
    } else {
        report(errno);
    }
}

bool RotatingFileSink::append(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(m_file, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
            m_torn = !text.empty();
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool RotatingFileSink::makeRoom(std::size_t length)
{
    // The file that another process has begun meanwhile may be full again as well.
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (m_file < 0 && !openFile()) {
            return false;
        }
        struct stat own = {};
        if (fstat(m_file, &own) != 0) {
            return false;
        }
        const bool removed = own.st_nlink == 0;
        if (!removed && static_cast<std::size_t>(own.st_size) + length <= FILE_SIZE_LIMIT) {
            return true;
        }
        if (!removed && isCurrentFile() && !shiftFiles()) {
            return false;
        }
        closeFile();
    }
    errno = EFBIG;
    return false;
}

bool RotatingFileSink::isCurrentFile() const
{
    struct stat own = {};
    struct stat named = {};
    return fstat(m_file, &own) == 0 && stat(m_path.c_str(), &named) == 0 &&
           own.st_dev == named.st_dev && own.st_ino == named.st_ino;
}

bool RotatingFileSink::shiftFiles()
{
    for (int number = FILE_COUNT - 1; number > 1; --number) {
        std::rename(oldPath(number - 1).c_str(), oldPath(number).c_str());
    }
    // Another process may have been quicker; then there is nothing left to move.
    return std::rename(m_path.c_str(), oldPath(1).c_str()) == 0 || errno == ENOENT;
}

std::string RotatingFileSink::oldPath(int number) const
{
    return m_path + '.' + std::to_string(number);
}

bool RotatingFileSink::openFile()
{
    if (!makeDirectory()) {
        return false;
    }
    m_file =
        ::open(m_path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, FILE_MODE);
    return m_file >= 0;
}

bool RotatingFileSink::makeDirectory() const
{
    struct stat found = {};
    if (!makePath(m_directory) || stat(m_directory.c_str(), &found) != 0) {
        return false;
    }
    if (!S_ISDIR(found.st_mode)) {
        errno = ENOTDIR;
        return false;
    }
    return ::chmod(m_directory.c_str(), DIRECTORY_MODE) == 0;
}

void RotatingFileSink::closeFile()
{
    if (m_file >= 0) {
        ::close(m_file);
        m_file = -1;
    }
}

void RotatingFileSink::report(int error)
{
    if (m_failing) {
        return;
    }
    m_failing = true;
    const std::string line = "The log file " + m_path + " can't be written (" +
                             std::strerror(error) + "), logging goes on here only\n";
    StandardError::write(line);
}
