#include "coreai/engines/reading/lineink.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace coreai
{
namespace
{
// Grey levels; below it lie compression noise and gradients of backgrounds.
constexpr int leastContrast = 24;
// Of the line's height: narrower gaps stand between letters, wider ones between words.
constexpr double wordGap = 0.2;

// How much each column differs within itself or from the one before it.
std::vector<int> columnContrasts(const cv::Mat &line)
{
    cv::Mat grey;
    cv::cvtColor(line, grey, cv::COLOR_BGRA2GRAY);
    cv::Mat least, most;
    cv::reduce(grey, least, 0, cv::REDUCE_MIN);
    cv::reduce(grey, most, 0, cv::REDUCE_MAX);
    std::vector<int> contrasts(grey.cols);
    const uchar *low = least.ptr<uchar>();
    const uchar *high = most.ptr<uchar>();
    for (int x = 0; x < grey.cols; ++x) {
        contrasts[x] = high[x] - low[x];
    }
    for (int x = 1; x < grey.cols; ++x) {
        const int step = std::max(std::abs(high[x] - high[x - 1]), std::abs(low[x] - low[x - 1]));
        contrasts[x] = std::max(contrasts[x], step);
    }
    return contrasts;
}

// The column at which [left, right) is cut in two, so that the first part has at most `widest`.
int cutColumn(const std::vector<int> &contrasts, int left, int widest)
{
    const int last = left + widest;
    const int first = left + widest - widest / 3;
    int bestGap = 0;
    int cut = 0;
    for (int x = first; x <= last;) {
        if (contrasts[x] >= leastContrast) {
            ++x;
            continue;
        }
        const int start = x;
        while (x <= last && contrasts[x] < leastContrast) {
            ++x;
        }
        if (x - start >= bestGap) {
            bestGap = x - start;
            cut = start;
        }
    }
    if (bestGap > 0) {
        return cut;
    }
    const auto weakest = std::min_element(contrasts.begin() + first, contrasts.begin() + last + 1);
    return int(weakest - contrasts.begin());
}
} // namespace

bool hasInk(const cv::Mat &line)
{
    if (line.type() != CV_8UC4 || line.cols < 2 || line.rows < 3) {
        return false;
    }
    const std::vector<int> contrasts = columnContrasts(line);
    return *std::max_element(contrasts.begin(), contrasts.end()) >= leastContrast;
}

std::vector<unsigned char> inkColumns(const cv::Mat &line)
{
    const std::vector<int> contrasts = columnContrasts(line);
    std::vector<unsigned char> ink(contrasts.size());
    std::transform(contrasts.begin(), contrasts.end(), ink.begin(),
                   [](int contrast) { return contrast >= leastContrast ? 1 : 0; });
    return ink;
}

unsigned char borderGrey(const cv::Mat &grey)
{
    std::array<int, 256> counts{};
    int total = 0;
    const auto count = [&](int y, int x) {
        ++counts[grey.at<uchar>(y, x)];
        ++total;
    };
    for (int x = 0; x < grey.cols; ++x) {
        count(0, x);
        count(grey.rows - 1, x);
    }
    for (int y = 0; y < grey.rows; ++y) {
        count(y, 0);
        count(y, grey.cols - 1);
    }
    int below = 0;
    for (int level = 0; level < 256; ++level) {
        below += counts[level];
        if (below * 2 >= total) {
            return static_cast<unsigned char>(level);
        }
    }
    return 255;
}

std::vector<LinePart> lineParts(const cv::Mat &line, int widest)
{
    const std::vector<int> contrasts = columnContrasts(line);
    const int columns = int(contrasts.size());
    const auto blank = [&](int x) { return contrasts[x] < leastContrast; };
    std::vector<LinePart> parts;
    int left = 0;
    int end = 0; // of the part before
    while (true) {
        while (left < columns && blank(left)) {
            ++left;
        }
        if (left >= columns) {
            return parts;
        }
        int right = columns;
        while (blank(right - 1)) {
            --right;
        }
        if (right - left > widest) {
            right = cutColumn(contrasts, left, widest);
        }
        parts.push_back({left, right - left, !parts.empty() && left - end >= wordGap * line.rows});
        left = end = right;
    }
}
} // namespace coreai
