#include "vectordb/local/filterexpression.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace VectorDB
{
namespace
{
bool isNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isNameRest(char c)
{
    return isNameStart(c) || (c >= '0' && c <= '9');
}

// Reads the parts one after the other; after the first error everything else fails too.
class Reader
{
public:
    explicit Reader(std::string_view text) : m_text(text) {}

    bool symbol(std::string_view symbol)
    {
        skipBlanks();
        if (m_text.substr(m_position, symbol.size()) != symbol) {
            return fail("expected \"" + std::string(symbol) + '"');
        }
        m_position += symbol.size();
        return true;
    }

    bool number(std::int64_t &value)
    {
        skipBlanks();
        const char *first = m_text.data() + m_position;
        const char *last = m_text.data() + m_text.size();
        const auto [end, error] = std::from_chars(first, last, value);
        if (error == std::errc::result_out_of_range) {
            return fail("a number beyond 64 bits");
        }
        if (error != std::errc() || (end != last && isNameRest(*end))) {
            return fail("expected a whole number");
        }
        m_position += static_cast<std::size_t>(end - first);
        return true;
    }

    bool name(std::string &value)
    {
        skipBlanks();
        const std::size_t start = m_position;
        if (start < m_text.size() && isNameStart(m_text[start])) {
            while (m_position < m_text.size() && isNameRest(m_text[m_position])) {
                ++m_position;
            }
        }
        value = m_text.substr(start, m_position - start);
        return !value.empty() || fail("expected the name of a field");
    }

    bool end()
    {
        skipBlanks();
        return m_position == m_text.size() || fail("expected nothing more");
    }

    bool fail(const std::string &reason)
    {
        m_error = reason + " at position " + std::to_string(m_position);
        return false;
    }

    const std::string &error() const { return m_error; }

private:
    void skipBlanks()
    {
        while (m_position < m_text.size() && m_text[m_position] == ' ') {
            ++m_position;
        }
    }

    std::string_view m_text;
    std::size_t m_position = 0;
    std::string m_error;
};
} // namespace

std::optional<RangeFilter> parseRangeFilter(const std::string &text, std::string &error)
{
    RangeFilter filter;
    std::string second;
    Reader reader(text);
    bool ok = reader.number(filter.lower) && reader.symbol("<=") && reader.name(filter.field) &&
              reader.symbol("&&") && reader.name(second) && reader.symbol("<=") &&
              reader.number(filter.upper) && reader.end();
    if (ok && second != filter.field) {
        ok = reader.fail("two different fields");
    }
    if (!ok) {
        error = reader.error();
        return std::nullopt;
    }
    return filter;
}
} // namespace VectorDB
