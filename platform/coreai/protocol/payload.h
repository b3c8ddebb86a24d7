// The bytes that a message carries: short ones in the message itself, long ones in a sealed memfd,
// so that nobody can change or shorten them while they are read, and nobody copies them to pass
// them on. Copies of a payload share its bytes.
// Thread: any; immutable once made.

#pragma once

#include "coreai/protocol/descriptor.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace coreai
{
class Payload
{
public:
    // Up to so many bytes travel inside the message.
    static constexpr std::size_t inlineBytes = 16 << 10;

    // More than that is refused on either side: room for a PNG of the largest picture that is read.
    static constexpr std::size_t mostBytes = std::size_t(256) << 20;

    // The bytes for as long as the view lives.
    class View
    {
    public:
        View() = default;
        explicit View(std::string_view bytes) : m_bytes(bytes) {}
        View(void *mapping, std::size_t size);
        View(View &&other) noexcept;
        View &operator=(View &&) = delete;
        View(const View &) = delete;
        View &operator=(const View &) = delete;
        ~View();

        std::string_view bytes() const { return m_bytes; }

    private:
        std::string_view m_bytes;
        void *m_mapping = nullptr;
    };

    Payload() = default;

    // A payload of these bytes. Invalid where they are too many or the system has no memory or
    // descriptor left.
    static Payload of(std::string_view bytes);

    // What came in a message: invalid unless `memory` is sealed against every change and holds
    // exactly `size` bytes.
    static Payload adopt(Descriptor memory, std::size_t size);

    bool isValid() const { return m_valid; }
    std::size_t size() const { return m_size; }
    bool isInline() const { return !m_memory; }

    // Of the sealed memory; only where it is not inline.
    int descriptor() const { return m_memory->get(); }

    // Empty where the memory could not be mapped. An inline payload must outlive its view.
    View view() const;

private:
    bool m_valid = true;
    std::size_t m_size = 0;
    std::string m_inline;
    std::shared_ptr<const Descriptor> m_memory;
};
} // namespace coreai
