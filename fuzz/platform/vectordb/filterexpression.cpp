// Any text as the filter of a deletion: what is not of the language must never be taken for it.

#include "fuzz/support/harness.h"
#include "fuzz/support/scratch.h"

#include "vectordb/local/filterexpression.h"

#include <algorithm>
#include <string>

namespace
{
std::string withoutBlanks(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    return text;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::string error;
    const auto filter = VectorDB::parseRangeFilter(text, error);
    Scratch::require(filter.has_value() == error.empty(), "a reason with every refusal");
    if (!filter) {
        return 0;
    }
    const std::string written = std::to_string(filter->lower) + "<=" + filter->field + "&&" +
                                filter->field + "<=" + std::to_string(filter->upper);
    const auto again = VectorDB::parseRangeFilter(written, error);
    Scratch::require(again && again->lower == filter->lower && again->upper == filter->upper &&
                         again->field == filter->field,
                     "the same range when written plainly");
    // Numbers may have been written with zeros before them.
    const std::string plain = withoutBlanks(text);
    Scratch::require(plain.size() >= written.size() && plain.find("&&") != std::string::npos,
                     "nothing was left out");
    return 0;
}
