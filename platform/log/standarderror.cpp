#include "log/standarderror.h"

#include <QByteArray>
#include <cerrno>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// A reader that takes nothing for this long loses the rest of the line; the program goes on.
constexpr int STALLED_READER_MS = 100;
} // namespace

void StandardError::write(std::string_view text) noexcept
{
    while (!text.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        if (errno == EAGAIN) {
            pollfd reader{STDERR_FILENO, POLLOUT, 0};
            if (poll(&reader, 1, STALLED_READER_MS) > 0) {
                continue;
            }
        }
        if (errno != EINTR) {
            return;
        }
    }
}

bool StandardError::isJournal()
{
    struct stat stream = {};
    if (fstat(STDERR_FILENO, &stream) != 0) {
        return false;
    }
    return qgetenv("JOURNAL_STREAM") ==
           QByteArray::number(static_cast<qulonglong>(stream.st_dev)) + ':' +
               QByteArray::number(static_cast<qulonglong>(stream.st_ino));
}
