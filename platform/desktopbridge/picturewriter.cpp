#include "desktopbridge/picturewriter.h"

#include <QDebug>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <system_error>
#include <vector>

namespace
{
// With the 64 KiB of a new pipe a 1080p frame takes 3.5 times as long.
constexpr int PIPE_BYTES = 1 << 20;

// 128 KiB: what is made opaque stays in the second-level cache until it is written.
constexpr size_t PART_PIXELS = 32 << 10;

constexpr qint32 FORMAT_RGB32 = 4; // QImage::Format_RGB32: 0xffRRGGBB
constexpr quint32 OPAQUE = 0xff000000;

class PictureJob
{
public:
    PictureJob(FileDescriptor pipe, const PicturePtr &picture, int stop, int patience)
        : m_pipe(std::move(pipe)), m_picture(picture), m_stop(stop), m_patience(patience)
    {
    }

    void run();

private:
    bool writeAll(const void *bytes, size_t count);
    bool waitForReader() const;
    bool writeHeader();
    bool writePixels();

    FileDescriptor m_pipe;
    PicturePtr m_picture;
    int m_stop;
    int m_patience;
};

void PictureJob::run()
{
    pthread_setname_np(pthread_self(), "picture writer");
    ::fcntl(m_pipe.get(), F_SETPIPE_SZ, PIPE_BYTES);
    ::fcntl(m_pipe.get(), F_SETFL, ::fcntl(m_pipe.get(), F_GETFL) | O_NONBLOCK);
    if (writeHeader()) {
        writePixels();
    }
    m_picture.reset();
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
    std::vector<quint32> part(std::min(count, PART_PIXELS));
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
}

PictureWriter::~PictureWriter()
{
    ::eventfd_write(m_stop.get(), 1);
    for (Place &place : m_places) {
        if (place.thread.joinable()) {
            place.thread.join();
        }
    }
}

int PictureWriter::underWay() const
{
    return int(std::count_if(m_places.begin(), m_places.end(),
                             [](const Place &place) { return place.busy.load(); }));
}

void PictureWriter::write(FileDescriptor pipe, const PicturePtr &picture)
{
    const auto place = std::find_if(m_places.begin(), m_places.end(),
                                    [](const Place &candidate) { return !candidate.busy; });
    if (place == m_places.end()) {
        return;
    }
    if (place->thread.joinable()) {
        place->thread.join();
    }
    place->busy = true;
    try {
        place->thread = std::thread([place, job = PictureJob(std::move(pipe), picture, m_stop.get(),
                                                             m_patience)]() mutable {
            job.run();
            // Free before the end of the file: who saw that finds room for the next picture.
            place->busy = false;
        });
    } catch (const std::system_error &error) {
        qWarning("No thread to write a picture: %s", error.what());
        place->busy = false;
    }
}
