#include "capture/picturepipe.h"

#include <QDebug>

#include <cerrno>
#include <cstring>
#include <sys/select.h>
#include <unistd.h>

namespace
{
constexpr int firstByteTimeoutSeconds = 5;

struct PipeHeader {
    qint32 width;
    qint32 height;
    qint32 format; ///< a QImage::Format value
};
static_assert(sizeof(PipeHeader) == 12, "the compositor sends three 32-bit integers unpadded");

enum class ReadResult { Complete, EndOfFile, Error };

ReadResult readFully(int fd, void *buffer, qint64 size)
{
    qint64 done = 0;
    while (done < size) {
        const ssize_t got =
            ::read(fd, static_cast<char *>(buffer) + done, static_cast<size_t>(size - done));
        if (got == -1 && errno == EAGAIN) {
            continue;
        }
        if (got == -1) {
            return ReadResult::Error;
        }
        if (got == 0) {
            return ReadResult::EndOfFile;
        }
        done += got;
    }
    return ReadResult::Complete;
}

bool waitForFirstByte(int fd)
{
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    timeval timeout{firstByteTimeoutSeconds, 0};
    const int ready = ::select(fd + 1, &readable, nullptr, nullptr, &timeout);
    if (ready == -1) {
        qWarning() << "select() failed: " << strerror(errno);
    } else if (ready == 0) {
        qWarning() << "select() timeout, no data available";
    }
    return ready > 0;
}

bool readHeader(int fd, PipeHeader *header)
{
    if (!waitForFirstByte(fd)) {
        return false;
    }
    switch (readFully(fd, header, sizeof(*header))) {
    case ReadResult::Complete:
        return true;
    case ReadResult::Error:
        qWarning() << "Error reading metadata: " << strerror(errno);
        return false;
    case ReadResult::EndOfFile:
        qWarning() << "Reached EOF before reading all metadata.";
        return false;
    }
    return false;
}

// Null for what no image can have. QImage itself divides by the depth of the format, which is 0 for
// a number that is none.
QImage emptyImage(const PipeHeader &header)
{
    if (header.format <= QImage::Format_Invalid || header.format >= QImage::NImageFormats) {
        return {};
    }
    return {header.width, header.height, static_cast<QImage::Format>(header.format)};
}

QImage readImage(int fd, const PipeHeader &header)
{
    QImage image = emptyImage(header);
    switch (readFully(fd, image.bits(), image.sizeInBytes())) {
    case ReadResult::Complete:
        break;
    case ReadResult::Error:
        qWarning() << "Error reading image data: " << strerror(errno);
        return {};
    case ReadResult::EndOfFile:
        qWarning() << "Reached EOF before reading all image data.";
        return {};
    }
    if (image.isNull()) {
        qWarning() << "Failed to create QImage.";
    }
    return image;
}
} // namespace

QImage PicturePipe::read(int fd)
{
    PipeHeader header{};
    if (!readHeader(fd, &header)) {
        qWarning() << "Failed to load image metadata.";
        return {};
    }
    return readImage(fd, header);
}
