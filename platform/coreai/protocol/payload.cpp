#include "coreai/protocol/payload.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace coreai
{
namespace
{
constexpr int unchangeable = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

bool writeAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written > 0) {
            bytes.remove_prefix(std::size_t(written));
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

Descriptor sealedMemory(std::string_view bytes)
{
    Descriptor memory(::memfd_create("yestermark-ai", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memory.isValid() || !writeAll(memory.get(), bytes) ||
        ::fcntl(memory.get(), F_ADD_SEALS, unchangeable | F_SEAL_SEAL) != 0) {
        return {};
    }
    return memory;
}
} // namespace

Payload::View::View(void *mapping, std::size_t size)
    : m_bytes(static_cast<const char *>(mapping), size), m_mapping(mapping)
{
}

Payload::View::View(View &&other) noexcept
    : m_bytes(std::exchange(other.m_bytes, {})), m_mapping(std::exchange(other.m_mapping, nullptr))
{
}

Payload::View::~View()
{
    if (m_mapping) {
        ::munmap(m_mapping, m_bytes.size());
    }
}

Payload Payload::of(std::string_view bytes)
{
    Payload payload;
    payload.m_size = bytes.size();
    if (bytes.size() <= inlineBytes) {
        payload.m_inline = bytes;
        return payload;
    }
    Descriptor memory = bytes.size() <= mostBytes ? sealedMemory(bytes) : Descriptor();
    payload.m_valid = memory.isValid();
    payload.m_memory = std::make_shared<const Descriptor>(std::move(memory));
    return payload;
}

Payload Payload::adopt(Descriptor memory, std::size_t size)
{
    struct stat facts = {};
    // Only a memfd has seals, so no other kind of file, which could change or block, passes.
    const int seals = ::fcntl(memory.get(), F_GET_SEALS);
    Payload payload;
    payload.m_valid = seals >= 0 && (seals & unchangeable) == unchangeable && size <= mostBytes &&
                      ::fstat(memory.get(), &facts) == 0 && facts.st_size >= 0 &&
                      std::size_t(facts.st_size) == size;
    payload.m_size = size;
    payload.m_memory = std::make_shared<const Descriptor>(std::move(memory));
    return payload;
}

Payload::View Payload::view() const
{
    if (!m_valid || m_size == 0) {
        return {};
    }
    if (!m_memory) {
        return View(std::string_view(m_inline));
    }
    void *mapping = ::mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, m_memory->get(), 0);
    return mapping == MAP_FAILED ? View() : View(mapping, m_size);
}
} // namespace coreai
