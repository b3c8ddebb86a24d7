#include "desktopbridge/fake/fakepicture.h"

#include <QThread>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <limits>
#include <poll.h>
#include <unistd.h>

namespace
{
constexpr int STOP_CHECK_MS = 20;
constexpr int CHUNKS = 8;

// A reader that closes early must not end the test process.
void blockPipeSignal()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}
} // namespace

FakePicture::FakePicture(int descriptor, FakePicturePlan plan, StopFlag stop)
    : m_descriptor(descriptor)
    , m_plan(std::move(plan))
    , m_stop(std::move(stop))
    , m_left(m_plan.bytesToWrite < 0 ? std::numeric_limits<qint64>::max() : m_plan.bytesToWrite)
{
}

FakePicture::~FakePicture()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

QByteArray FakePicture::header() const
{
    const qint32 fields[3] = {m_plan.image.width(), m_plan.image.height(),
                              m_plan.formatField < 0 ? qint32(m_plan.image.format())
                                                     : qint32(m_plan.formatField)};
    return QByteArray(reinterpret_cast<const char *>(fields), sizeof(fields));
}

bool FakePicture::pause(int milliseconds) const
{
    for (int waited = 0; waited < milliseconds && !*m_stop; waited += STOP_CHECK_MS) {
        QThread::msleep(static_cast<unsigned long>(std::min(STOP_CHECK_MS, milliseconds - waited)));
    }
    return !*m_stop;
}

bool FakePicture::write(const char *bytes, qint64 count)
{
    const qint64 allowed = std::min(count, m_left);
    qint64 written = 0;
    while (written < allowed) {
        pollfd waiting{m_descriptor, POLLOUT, 0};
        const int ready = ::poll(&waiting, 1, STOP_CHECK_MS);
        if (*m_stop || (ready < 0 && errno != EINTR)) {
            return false;
        }
        if (ready <= 0) {
            continue;
        }
        const ssize_t now =
            ::write(m_descriptor, bytes + written, static_cast<size_t>(allowed - written));
        if (now < 0 && errno != EAGAIN && errno != EINTR) {
            return false;
        }
        written += std::max<ssize_t>(now, 0);
    }
    m_left -= written;
    return written == count;
}

bool FakePicture::writePixels()
{
    const auto *pixels = reinterpret_cast<const char *>(m_plan.image.constBits());
    const qint64 size = m_plan.image.sizeInBytes();
    for (int chunk = 0; chunk < CHUNKS; ++chunk) {
        const qint64 begin = size * chunk / CHUNKS;
        const qint64 end = size * (chunk + 1) / CHUNKS;
        if (!pause(m_plan.chunkDelay) || !write(pixels + begin, end - begin)) {
            return false;
        }
    }
    return true;
}

void FakePicture::run()
{
    blockPipeSignal();
    const int flags = ::fcntl(m_descriptor, F_GETFL);
    ::fcntl(m_descriptor, F_SETFL, flags | O_NONBLOCK);
    const QByteArray fields = header();
    if (pause(m_plan.firstDelay) && write(fields.constData(), fields.size())) {
        writePixels();
    }
    ::close(m_descriptor);
    m_descriptor = -1;
    if (m_plan.done) {
        m_plan.done();
    }
}
