#include "desktopbridge/wayland/sharedbuffer.h"

#include "desktopbridge/filedescriptor.h"

#include <fcntl.h>
#include <limits>
#include <sys/mman.h>

std::shared_ptr<SharedMemory> SharedMemory::create(size_t bytes)
{
    FileDescriptor file(::memfd_create("yestermark-picture", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (bytes == 0 || !file.isValid() || ::ftruncate(file.get(), off_t(bytes)) != 0) {
        return nullptr;
    }
    // A compositor can then rely on the size and need not guard its accesses.
    ::fcntl(file.get(), F_ADD_SEALS, F_SEAL_SHRINK);
    void *data = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (data == MAP_FAILED) {
        return nullptr;
    }
    return std::shared_ptr<SharedMemory>(
        new SharedMemory(file.release(), static_cast<unsigned char *>(data), bytes));
}

SharedMemory::SharedMemory(int descriptor, unsigned char *data, size_t size)
    : m_descriptor(descriptor), m_data(data), m_size(size)
{
}

SharedMemory::~SharedMemory()
{
    ::munmap(m_data, m_size);
    ::close(m_descriptor);
}

std::unique_ptr<SharedBuffer> SharedBuffer::create(wl_shm *shm, const QSize &size, int stride,
                                                   quint32 format)
{
    const qint64 bytes = qint64(stride) * size.height();
    if (size.isEmpty() || stride <= 0 || bytes > std::numeric_limits<int32_t>::max()) {
        return nullptr;
    }
    std::unique_ptr<SharedBuffer> buffer(new SharedBuffer);
    buffer->m_memory = SharedMemory::create(size_t(bytes));
    if (!buffer->m_memory) {
        return nullptr;
    }
    buffer->m_size = size;
    buffer->m_stride = stride;
    buffer->m_format = format;
    const WaylandPtr<wl_shm_pool> pool(
        wl_shm_create_pool(shm, buffer->m_memory->descriptor(), int32_t(bytes)));
    buffer->m_buffer.reset(
        wl_shm_pool_create_buffer(pool.get(), 0, size.width(), size.height(), stride, format));
    return buffer;
}
