#include "coreai/protocol/answers.h"

#include <cstring>
#include <type_traits>

namespace coreai
{
namespace
{
template <typename Value>
void append(std::string &bytes, const Value &value)
{
    static_assert(std::is_trivially_copyable_v<Value>);
    bytes.append(reinterpret_cast<const char *>(&value), sizeof(value));
}

template <typename Value>
bool take(std::string_view &bytes, Value &value)
{
    static_assert(std::is_trivially_copyable_v<Value>);
    if (bytes.size() < sizeof(value)) {
        return false;
    }
    std::memcpy(&value, bytes.data(), sizeof(value));
    bytes.remove_prefix(sizeof(value));
    return true;
}

bool takeBytes(std::string_view &bytes, std::string_view &part)
{
    std::uint32_t length = 0;
    if (!take(bytes, length) || bytes.size() < length) {
        return false;
    }
    part = bytes.substr(0, length);
    bytes.remove_prefix(length);
    return true;
}

void appendBytes(std::string &bytes, std::string_view part)
{
    append(bytes, std::uint32_t(part.size()));
    bytes += part;
}

bool takeLine(std::string_view &bytes, ReadLine &line)
{
    std::string_view text;
    std::uint32_t corners = 0;
    if (!takeBytes(bytes, text)) {
        return false;
    }
    line.text = text;
    if (!take(bytes, corners) || bytes.size() / sizeof(Corner) < corners) {
        return false;
    }
    line.corners.resize(corners);
    for (Corner &corner : line.corners) {
        take(bytes, corner);
    }
    return true;
}
} // namespace

std::string encodeLines(const std::vector<ReadLine> &lines)
{
    std::string bytes;
    for (const ReadLine &line : lines) {
        appendBytes(bytes, line.text);
        append(bytes, std::uint32_t(line.corners.size()));
        for (const Corner &corner : line.corners) {
            append(bytes, corner);
        }
    }
    return bytes;
}

std::optional<std::vector<ReadLine>> decodeLines(std::string_view bytes)
{
    if (bytes.size() > mostLinesBytes) {
        return std::nullopt;
    }
    // No count is told ahead, so nothing is allocated that the bytes do not hold.
    std::vector<ReadLine> lines;
    while (!bytes.empty()) {
        if (!takeLine(bytes, lines.emplace_back())) {
            return std::nullopt;
        }
    }
    return lines;
}

std::string encodeFloats(const std::vector<float> &values)
{
    return std::string(reinterpret_cast<const char *>(values.data()),
                       values.size() * sizeof(float));
}

std::optional<std::vector<float>> decodeFloats(std::string_view bytes)
{
    if (bytes.size() % sizeof(float) != 0) {
        return std::nullopt;
    }
    std::vector<float> values(bytes.size() / sizeof(float));
    if (!values.empty()) {
        std::memcpy(values.data(), bytes.data(), bytes.size());
    }
    return values;
}

std::string encodeVectors(const std::vector<std::vector<float>> &vectors)
{
    std::string bytes;
    for (const std::vector<float> &vector : vectors) {
        appendBytes(bytes, encodeFloats(vector));
    }
    return bytes;
}

std::optional<std::vector<std::vector<float>>> decodeVectors(std::string_view bytes)
{
    std::vector<std::vector<float>> vectors;
    for (std::string_view part; !bytes.empty();) {
        std::optional<std::vector<float>> vector;
        if (!takeBytes(bytes, part) || !(vector = decodeFloats(part))) {
            return std::nullopt;
        }
        vectors.push_back(std::move(*vector));
    }
    return vectors;
}

std::string encodeTexts(const std::vector<std::string> &texts)
{
    std::string bytes;
    for (const std::string &text : texts) {
        appendBytes(bytes, text);
    }
    return bytes;
}

std::optional<std::vector<std::string>> decodeTexts(std::string_view bytes)
{
    std::vector<std::string> texts;
    for (std::string_view part; !bytes.empty();) {
        if (!takeBytes(bytes, part)) {
            return std::nullopt;
        }
        texts.emplace_back(part);
    }
    return texts;
}

std::string encodeLine(std::string_view text, float confidence)
{
    std::string bytes;
    append(bytes, confidence);
    bytes += text;
    return bytes;
}

bool decodeLine(std::string_view bytes, std::string &text, float &confidence)
{
    if (!take(bytes, confidence)) {
        return false;
    }
    text = bytes;
    return true;
}

std::string encodeBitmap(const BitmapView &bitmap)
{
    std::string bytes;
    append(bytes, bitmap.width);
    append(bytes, bitmap.height);
    bytes += bitmap.pixels;
    return bytes;
}

std::optional<BitmapView> decodeBitmap(std::string_view bytes)
{
    BitmapView bitmap;
    if (!take(bytes, bitmap.width) || !take(bytes, bitmap.height) || bitmap.width <= 0 ||
        bitmap.height <= 0 ||
        bytes.size() != std::size_t(bitmap.width) * std::size_t(bitmap.height) * 4) {
        return std::nullopt;
    }
    bitmap.pixels = bytes;
    return bitmap;
}
} // namespace coreai
