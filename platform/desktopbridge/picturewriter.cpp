#include "desktopbridge/picturewriter.h"

#include <QDebug>
#include <QRunnable>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <vector>

namespace
{
constexpr int PIPE_BYTES =
    1 << 20; // with the 64 KiB of a new pipe a 1080p frame takes 3.5 times as long
constexpr int PART_PIXELS =
    32 << 10;                      // 128 KiB: stays in the second-level cache until it is written
constexpr qint32 FORMAT_RGB32 = 4; // QImage::Format_RGB32: 0xffRRGGBB
constexpr quint32 OPAQUE = 0xff000000;

class PictureJob : public QRunnable
{
public:
    PictureJob(FileDescriptor pipe, const PicturePtr &picture, int stop, int patience,
               std::atomic_int &underWay)
        : m_pipe(std::move(pipe))
        , m_picture(picture)
        , m_stop(stop)
        , m_patience(patience)
        , m_underWay(underWay)
    {
    }

    void run() override;

private:
    bool writeAll(const void *bytes, size_t count);
    bool waitForReader() const;
    bool writeHeader();
    bool writePixels();

    FileDescriptor m_pipe;
    PicturePtr m_picture;
    int m_stop;
    int m_patience;
    std::atomic_int &m_underWay;
};

void PictureJob::run()
{
    pthread_setname_np(pthread_self(), "picture writer");
    ::fcntl(m_pipe.get(), F_SETPIPE_SZ, PIPE_BYTES);
    ::fcntl(m_pipe.get(), F_SETFL, ::fcntl(m_pipe.get(), F_GETFL) | O_NONBLOCK);
    if (writeHeader()) {
        writePixels();
    }
    // Before the end of the file: who saw that finds room for the next picture.
    m_picture.reset();
    --m_underWay;
    m_pipe = FileDescriptor();
}

bool PictureJob::writeHeader()
{
    const qint32 fields[] = {m_picture->area.width(), m_picture->area.height(), FORMAT_RGB32};
    return writeAll(fields, sizeof(fields));
}

bool PictureJob::writePixels()
{
    const quint32 *pixels = m_picture->pixels.get();
    const size_t count = size_t(m_picture->area.width()) * size_t(m_picture->area.height());
    std::vector<quint32> part(std::min<size_t>(count, PART_PIXELS));
    for (size_t begin = 0; begin < count; begin += part.size()) {
        const size_t length = std::min(part.size(), count - begin);
        std::transform(pixels + begin, pixels + begin + length, part.begin(),
                       [](quint32 pixel) { return pixel | OPAQUE; });
        if (!writeAll(part.data(), length * sizeof(quint32))) {
            return false;
        }
    }
    return true;
}

bool PictureJob::writeAll(const void *bytes, size_t count)
{
    const char *next = static_cast<const char *>(bytes);
    while (count > 0) {
        const ssize_t written = ::write(m_pipe.get(), next, count);
        if (written >= 0) {
            next += written;
            count -= size_t(written);
        } else if (errno == EAGAIN) {
            if (!waitForReader()) {
                return false;
            }
        } else if (errno != EINTR) {
            return false; // the reader has closed: its own affair
        }
    }
    return true;
}

bool PictureJob::waitForReader() const
{
    pollfd waiting[] = {{m_pipe.get(), POLLOUT, 0}, {m_stop, POLLIN, 0}};
    int ready = 0;
    do {
        ready = ::poll(waiting, 2, m_patience);
    } while (ready < 0 && errno == EINTR);
    if (ready == 0) {
        qWarning("A reader took nothing for %d ms; its picture is given up", m_patience);
    }
    return ready > 0 && waiting[1].revents == 0;
}
} // namespace

PictureWriter::PictureWriter(int patience)
    : m_patience(patience), m_stop(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    m_threads.setMaxThreadCount(MOST_PICTURES);
    m_threads.setExpiryTimeout(-1); // an expiring thread would wake a still desktop once more
}

PictureWriter::~PictureWriter()
{
    ::eventfd_write(m_stop.get(), 1);
    m_threads.waitForDone();
}

void PictureWriter::write(FileDescriptor pipe, const PicturePtr &picture)
{
    if (!hasRoom()) {
        return;
    }
    ++m_underWay;
    m_threads.start(new PictureJob(std::move(pipe), picture, m_stop.get(), m_patience, m_underWay));
}
