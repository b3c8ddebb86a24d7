#include "linecut.h"

#include "edgemap.h"
#include "inkparts.h"
#include "linechains.h"
#include "lineorder.h"
#include "textlike.h"

#include <algorithm>
#include <cstdint>

namespace coreai
{
namespace
{
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

} // namespace

std::vector<CutLine> cutLines(const cv::Mat &picture)
{
    if (picture.empty() || picture.dims != 2 || picture.type() != CV_8UC4 ||
        picture.total() > largestCutPicture)
        return {};
    const cv::Mat edges = edgeMap(picture);
    InkParts parts = inkParts(edges);
    std::vector<cv::Rect> boxes = lineBoxes(parts, edges);
    const auto isNoText = [&](const cv::Rect &box) { return !looksLikeText(picture, edges, box); };
    boxes.erase(std::remove_if(boxes.begin(), boxes.end(), isNoText), boxes.end());

    std::vector<CutLine> lines;
    lines.reserve(boxes.size());
    for (int i : readingOrder(boxes))
        lines.push_back(lineAt(picture, boxes[i]));
    return lines;
}
} // namespace coreai
