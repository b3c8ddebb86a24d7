#include "textlike.h"

#include "edgemap.h"

#include <algorithm>
#include <array>

namespace coreai
{
namespace
{
// Measured on 1,500 lines that were read with confidence (screens light and dark, small print,
// Chinese, spreadsheets; and plain text upon photographs) against 2,700 scraps of photographs,
// noise and landscapes: each bound lies below the hundredth part of the lines that is lowest.
constexpr int lowestRows = 6;
constexpr int tallestRows = 80;
constexpr int fewestEdges = 20;       // strokes' sides that make up even a single digit
constexpr double edgesAColumn = 1.9;  // lines have 3 to 6 at any size of type, as letters recur
constexpr double shareOfColour = 0.3; // of the edges that end in one and the same brightness

// In a long line the shares of ground and of ink are measured well, and may be lower upon pictures.
constexpr int longLine = 6;
constexpr double shareInLongLine = 0.18;

// A few letters on their own look like any spot of a photograph but for the ground around them.
constexpr double shortLine = 2.5;
constexpr double edgesAColumnOfShortLine = 2.6;
constexpr double shareOfGround = 0.85;

constexpr int levels = 32;
using Histogram = std::array<int, levels + 1>;

int levelOf(const cv::Vec4b &pixel)
{
    return (29 * pixel[0] + 150 * pixel[1] + 77 * pixel[2]) >> 11;
}

// The largest count of two levels beside each other, so that no brightness falls between two.
int peakOf(const Histogram &histogram)
{
    int peak = 0;
    for (int i = 0; i < levels; ++i)
        peak = std::max(peak, histogram[i] + histogram[i + 1]);
    return peak;
}
// Whether the pixels just outside `box` have one brightness.
bool standsOnOneGround(const cv::Mat &picture, const cv::Rect &box)
{
    Histogram around{};
    int count = 0;
    const auto look = [&](int y, int x) {
        if (y >= 0 && y < picture.rows && x >= 0 && x < picture.cols) {
            ++around[levelOf(picture.at<cv::Vec4b>(y, x))];
            ++count;
        }
    };
    for (int x = box.x - 1; x <= box.x + box.width; ++x) {
        look(box.y - 1, x);
        look(box.y + box.height, x);
    }
    for (int y = box.y; y < box.y + box.height; ++y) {
        look(y, box.x - 1);
        look(y, box.x + box.width);
    }
    return peakOf(around) >= shareOfGround * count;
}
} // namespace

bool looksLikeText(const cv::Mat &picture, const cv::Mat &edges, const cv::Rect &box)
{
    if (box.height < lowestRows || box.height > tallestRows || 5 * box.width < 2 * box.height)
        return false;
    Histogram brighter{};
    Histogram darker{};
    int count = 0;
    for (int y = box.y; y < box.y + box.height; ++y) {
        const uchar *edge = edges.ptr(y);
        const auto *row = picture.ptr<cv::Vec4b>(y);
        for (int x = box.x + 1; x < box.x + box.width; ++x) {
            if (!(edge[x] & SideEdge))
                continue;
            const auto [low, high] = std::minmax({levelOf(row[x - 1]), levelOf(row[x])});
            ++darker[low];
            ++brighter[high];
            ++count;
        }
    }
    const bool isShort = box.width < shortLine * box.height;
    const double fewest = (isShort ? edgesAColumnOfShortLine : edgesAColumn) * box.width;
    if (count < fewestEdges || count < fewest)
        return false;
    // Text has one ground or, upon a picture, at least one ink.
    const double share = box.width > longLine * box.height ? shareInLongLine : shareOfColour;
    if (std::max(peakOf(brighter), peakOf(darker)) < share * count)
        return false;
    return !isShort || standsOnOneGround(picture, box);
}
} // namespace coreai
