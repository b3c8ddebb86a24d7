#pragma once
// Takes the bytes of an input apart into values, in their order. Past the end everything is zero
// and empty, so that every input means something. Thread: one.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

class InputBytes
{
public:
    InputBytes(const std::uint8_t *data, std::size_t size)
        : m_rest(size > 0 ? reinterpret_cast<const char *>(data) : "", size)
    {
    }

    explicit InputBytes(std::string_view bytes) : m_rest(bytes) {}

    bool isEmpty() const { return m_rest.empty(); }

    template <typename Number>
    Number number()
    {
        Number value{};
        const std::string_view bytes = take(sizeof(value));
        std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }

    bool flag() { return (number<std::uint8_t>() & 1U) != 0; }

    /// From 0 up to, but without, @p end.
    unsigned below(unsigned end) { return number<std::uint16_t>() % end; }

    /// As many bytes as there are, @p most of them at most.
    std::string_view take(std::size_t most)
    {
        const std::string_view taken = m_rest.substr(0, most);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    /// A piece whose length, below 64 KiB, stands before it.
    std::string_view piece() { return take(number<std::uint16_t>()); }

    std::string_view rest() { return take(m_rest.size()); }

    /// A text up to the next line feed.
    std::string_view line()
    {
        const std::string_view text = take(m_rest.find('\n'));
        take(1);
        return text;
    }

private:
    std::string_view m_rest;
};
