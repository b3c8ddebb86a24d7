// What stands in the payloads of answers, and its text form. Readers check every length and give
// nothing for bytes that do not fit.
// Thread: any.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace coreai
{
struct Corner {
    std::int32_t x = 0;
    std::int32_t y = 0;
};

// A recognised line: UTF-8 and its corners, clockwise from the top left; no corners where they are
// not known.
struct ReadLine {
    std::string text;
    std::vector<Corner> corners;
};

// A bitmap with four bytes a pixel, row by row.
struct BitmapView {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::string_view pixels;
};

// More bytes of lines than this are refused: a screen full of small print has a hundredth of it.
constexpr std::size_t mostLinesBytes = std::size_t(16) << 20;

std::string encodeLines(const std::vector<ReadLine> &lines);
std::optional<std::vector<ReadLine>> decodeLines(std::string_view bytes);

std::string encodeFloats(const std::vector<float> &values);
std::optional<std::vector<float>> decodeFloats(std::string_view bytes);

std::string encodeVectors(const std::vector<std::vector<float>> &vectors);
std::optional<std::vector<std::vector<float>>> decodeVectors(std::string_view bytes);

// Texts, or other strings of bytes.
std::string encodeTexts(const std::vector<std::string> &texts);
std::optional<std::vector<std::string>> decodeTexts(std::string_view bytes);

// One line's text with its confidence.
std::string encodeLine(std::string_view text, float confidence);
bool decodeLine(std::string_view bytes, std::string &text, float &confidence);

std::string encodeBitmap(const BitmapView &bitmap);
// A view into `bytes`; nothing for an empty bitmap.
std::optional<BitmapView> decodeBitmap(std::string_view bytes);
} // namespace coreai
