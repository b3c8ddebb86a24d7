#include "linecut.h"

#include "edgemap.h"
#include "inkparts.h"
#include "linechains.h"

#include <algorithm>
#include <cstdint>
#include <tuple>

namespace coreai
{
namespace
{
constexpr int lowestLine = 6;
constexpr int tallestLine = 96;

CutLine lineAt(const cv::Mat &picture, const cv::Rect &box)
{
    CutLine line{box, cv::Mat(box.size(), CV_8UC4)};
    for (int y = 0; y < box.height; ++y) {
        const auto *from = picture.ptr<std::uint32_t>(box.y + y) + box.x;
        // The ignored byte takes no part in what makes bitmaps equal.
        std::transform(from, from + box.width, line.bitmap.ptr<std::uint32_t>(y),
                       [](std::uint32_t pixel) { return pixel | 0xff000000U; });
    }
    return line;
}

bool readsBefore(const cv::Rect &a, const cv::Rect &b)
{
    return std::tie(a.y, a.x) < std::tie(b.y, b.x);
}
} // namespace

std::vector<CutLine> cutLines(const cv::Mat &picture)
{
    if (picture.empty() || picture.type() != CV_8UC4)
        return {};
    const cv::Mat edges = edgeMap(picture);
    LineChains chains = lineChains(inkParts(edges), edges);
    std::sort(chains.boxes.begin(), chains.boxes.end(), readsBefore);
    std::vector<CutLine> lines;
    for (const cv::Rect &box : chains.boxes) {
        if (box.height >= lowestLine && box.height <= tallestLine)
            lines.push_back(lineAt(picture, box));
    }
    return lines;
}
} // namespace coreai
