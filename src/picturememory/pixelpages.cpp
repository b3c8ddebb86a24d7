#include "picturememory/pixelpages.h"

#include <QDebug>

#include <algorithm>
#include <fcntl.h>
#include <linux/userfaultfd.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace
{
size_t wholePages(size_t bytes)
{
    static const auto page = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) / page * page;
}

quint64 addressOf(const uchar *pointer)
{
    return reinterpret_cast<quintptr>(pointer);
}
} // namespace

const std::shared_ptr<PixelPages> &PixelPages::ofProcess()
{
    static const auto pages = std::make_shared<PixelPages>(openFaults());
    return pages;
}

int PixelPages::openFaults()
{
    const auto faults =
        static_cast<int>(::syscall(SYS_userfaultfd, O_CLOEXEC | O_NONBLOCK | UFFD_USER_MODE_ONLY));
    uffdio_api api{};
    api.api = UFFD_API;
    if (faults >= 0 && ::ioctl(faults, UFFDIO_API, &api) != 0) {
        ::close(faults);
        return -1;
    }
    return faults;
}

PixelPages::PixelPages(int faults)
    : m_faults(faults)
    , m_stop(::eventfd(0, EFD_CLOEXEC))
    , m_context(PackedPixels::unpackingContext())
{
    if (m_faults < 0 || m_stop < 0 || !m_context) {
        qDebug() << "Pictures stay unpacked in memory: no page faults from the kernel";
        return;
    }
    m_unpacked.resize(PackedPixels::pieceBytes);
    try {
        m_thread = std::thread(&PixelPages::run, this);
    } catch (const std::system_error &error) {
        qWarning() << "No thread for the pages of pictures:" << error.what();
    }
}

PixelPages::~PixelPages()
{
    if (m_thread.joinable()) {
        ::eventfd_write(m_stop, 1);
        m_thread.join();
    }
    for (const int descriptor : {m_faults, m_stop}) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
}

uchar *PixelPages::add(PackedPixels pixels)
{
    if (!isServed()) {
        return nullptr;
    }
    const size_t bytes = wholePages(pixels.bytes());
    // Read-only: what was written would be lost with its page.
    void *mapped =
        ::mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED) {
        return nullptr;
    }
    auto *begin = static_cast<uchar *>(mapped);
    uffdio_register request{};
    request.range = {addressOf(begin), bytes};
    request.mode = UFFDIO_REGISTER_MODE_MISSING;
    if (::ioctl(m_faults, UFFDIO_REGISTER, &request) != 0) {
        ::munmap(mapped, bytes);
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pixels.emplace(begin, std::move(pixels));
    return begin;
}

bool PixelPages::holds(const uchar *begin)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_pixels.count(const_cast<uchar *>(begin)) > 0;
}

void PixelPages::remove(const uchar *begin)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto pixels = m_pixels.find(const_cast<uchar *>(begin));
    const auto gone = std::remove_if(m_present.begin(), m_present.end(),
                                     [begin](const Piece &piece) { return piece.begin == begin; });
    m_present.erase(gone, m_present.end());
    ::munmap(pixels->first, wholePages(pixels->second.bytes()));
    m_pixels.erase(pixels);
}

void PixelPages::run()
{
    pthread_setname_np(pthread_self(), "pixel pages");
    pollfd waiting[] = {{m_faults, POLLIN, 0}, {m_stop, POLLIN, 0}};
    while (waiting[1].revents == 0) {
        uffd_msg message{};
        // Nothing to read after all: another page of the same piece was asked for, and woken with
        // it.
        if (::poll(waiting, 2, -1) > 0 && waiting[0].revents != 0 &&
            ::read(m_faults, &message, sizeof(message)) == sizeof(message) &&
            message.event == UFFD_EVENT_PAGEFAULT) {
            serve(reinterpret_cast<uchar *>(message.arg.pagefault.address));
        }
    }
}

void PixelPages::serve(uchar *address)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    auto pixels = m_pixels.upper_bound(address);
    if (pixels == m_pixels.begin()) {
        return;
    }
    --pixels;
    uchar *const begin = pixels->first;
    const size_t number = static_cast<size_t>(address - begin) / PackedPixels::pieceBytes;
    const size_t offset = number * PackedPixels::pieceBytes;
    if (offset >= pixels->second.bytes()) {
        return; // of a picture that has gone
    }
    makeRoom();
    if (!pixels->second.unpack(number, m_unpacked.data(), m_context)) {
        qWarning() << "A picture could not be unpacked";
        std::fill(m_unpacked.begin(), m_unpacked.end(), uchar{0});
    }
    m_present.push_back({begin, number});
    fillIn(begin + offset,
           std::min(PackedPixels::pieceBytes, wholePages(pixels->second.bytes()) - offset));
}

void PixelPages::fillIn(uchar *begin, size_t bytes)
{
    uffdio_copy copy{};
    copy.dst = addressOf(begin);
    copy.src = addressOf(m_unpacked.data());
    copy.len = bytes;
    if (::ioctl(m_faults, UFFDIO_COPY, &copy) != 0) {
        // Memory is short. Half a piece must not stay: the reader asks for all of it anew.
        ::madvise(begin, bytes, MADV_DONTNEED);
        uffdio_range waiting{addressOf(begin), bytes};
        ::ioctl(m_faults, UFFDIO_WAKE, &waiting);
    }
}

void PixelPages::makeRoom()
{
    while (m_present.size() >= mostPieces) {
        const Piece oldest = m_present.front();
        m_present.pop_front();
        const size_t offset = oldest.number * PackedPixels::pieceBytes;
        const size_t bytes = wholePages(m_pixels.at(oldest.begin).bytes());
        // Harmless to one who is reading there: it asks again.
        ::madvise(oldest.begin + offset, std::min(PackedPixels::pieceBytes, bytes - offset),
                  MADV_DONTNEED);
    }
}
