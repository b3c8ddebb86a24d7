#pragma once
// Anonymous memory that a compositor writes pictures into or reads them from. Made on the main
// thread; the memory alone may be read and freed on any thread and outlives the buffer.

#include "desktopbridge/wayland/waylandhandles.h"

#include <QSize>

class SharedMemory
{
public:
    /// Null if there is no memory.
    static std::shared_ptr<SharedMemory> create(size_t bytes);
    ~SharedMemory();
    SharedMemory(const SharedMemory &) = delete;
    SharedMemory &operator=(const SharedMemory &) = delete;

    int descriptor() const { return m_descriptor; }
    size_t size() const { return m_size; }
    unsigned char *data() const { return m_data; }

private:
    SharedMemory(int descriptor, unsigned char *data, size_t size);

    int m_descriptor;
    unsigned char *m_data;
    size_t m_size;
};

class SharedBuffer
{
public:
    /// @p format is a value of wl_shm.format, @p stride the bytes of a row. Null if there is no
    /// memory or the sides do not fit the protocol's numbers.
    static std::unique_ptr<SharedBuffer> create(wl_shm *shm, const QSize &size, int stride,
                                                quint32 format);

    wl_buffer *buffer() const { return m_buffer.get(); }
    QSize size() const { return m_size; }
    int stride() const { return m_stride; }
    quint32 format() const { return m_format; }
    const std::shared_ptr<SharedMemory> &memory() const { return m_memory; }
    unsigned char *row(int y) const { return m_memory->data() + qptrdiff(y) * m_stride; }

private:
    SharedBuffer() = default;

    std::shared_ptr<SharedMemory> m_memory;
    WaylandPtr<wl_buffer> m_buffer;
    QSize m_size;
    int m_stride = 0;
    quint32 m_format = 0;
};
