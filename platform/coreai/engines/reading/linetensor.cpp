#include "coreai/engines/reading/linetensor.h"

#include "coreai/engines/reading/lineink.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace coreai
{
namespace
{
// Of the bitmap's height, on every side: bitmaps are cut close to the ink, the network was trained
// with lines that stand free. Words found on kept frames with 0.15, 0.2, 0.25, 0.3, 0.35 of
// it: 93.0, 92.6, 92.9, 93.5, 92.4 %, at a time that falls with the width from 1 to 0.8.
constexpr double marginShare = 0.3;
// Wider than the text is: fewer narrow letters and spaces get lost. Words found with 1, 1.1, 1.15,
// 1.25: 95.0, 95.4, 96.2, 96.1 %; the time is in proportion to it.
constexpr double stretch = 1.15;
// Small type is enlarged across by no more than this: there is nothing more in its pixels. Without
// such a limit and with 3, 2.6, 2.4, 2.2, 2 there went wrong, of lines in type of 9 to 12 pixels,
// light and dark, in five faces and scripts: 0.24, 0.10, 0.08, 0.06, 0.07, 0.12 % of the
// characters, at a time of 1, 0.87, 0.77, 0.74, 0.69, 0.63. Lines of usual type, of 15 rows and
// more, stay below it.
constexpr double mostEnlarged = 2.4;
// Short lines are the most, and lose the largest part of their time to what they do not fill.
constexpr int finelySteppedUpTo = 320;

int marginOf(int rows)
{
    return std::max(1, cvRound(rows * marginShare));
}

// Across; down it is what makes 48 rows of the line's.
double enlargement(int rows)
{
    return std::min(mostEnlarged, stretch * tensorRows / (rows + 2 * marginOf(rows)));
}
} // namespace

int scaledWidth(const cv::Size &part)
{
    const int width = part.width + 2 * marginOf(part.height);
    return std::clamp(cvRound(width * enlargement(part.height)), 1, widestTensor);
}

int tensorWidth(int width)
{
    const int step = width <= finelySteppedUpTo ? 32 : 64; // 10 widths, then 15
    return std::min((width + step - 1) / step * step, widestTensor);
}

int widestPart(int rows)
{
    return std::max(1, int(widestTensor / enlargement(rows)) - 2 * marginOf(rows));
}

void fillTensor(const cv::Mat &part, int width, float *to)
{
    const int margin = marginOf(part.rows);
    const int filled = std::min(width, scaledWidth(part.size()));
    const int method = part.rows + 2 * margin > tensorRows ? cv::INTER_AREA : cv::INTER_CUBIC;
    cv::Mat scaled;
    cv::resize(framed(part, margin), scaled, {filled, tensorRows}, 0, 0, method);
    const size_t plane = size_t(tensorRows) * width;
    // Grey, 0 of the network's range, behind the text.
    std::fill(to, to + 3 * plane, 0.0F);
    for (int y = 0; y < tensorRows; ++y) {
        const cv::Vec4b *row = scaled.ptr<cv::Vec4b>(y);
        float *at = to + size_t(y) * width;
        for (int x = 0; x < filled; ++x) {
            for (int colour = 0; colour < 3; ++colour) {
                at[colour * plane + x] = float(row[x][colour]) / 127.5F - 1.0F;
            }
        }
    }
}
} // namespace coreai
