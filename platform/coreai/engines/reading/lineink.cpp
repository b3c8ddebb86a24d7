#include "coreai/engines/reading/lineink.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdlib>

namespace coreai
{
namespace
{
// Grey levels; below it lie compression noise and gradients of backgrounds.
constexpr int leastContrast = 24;
// Blank columns between words, of the line's height. Where a line is cut, the widest gap of a
// stretch was chosen, which lies between letters only where there are no words.
constexpr double wordGap = 0.12;
constexpr int leastWordGap = 2;

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

cv::Scalar borderColour(const cv::Mat &line)
{
    cv::Scalar colour;
    std::vector<uchar> border;
    for (int channel = 0; channel < 4; ++channel) {
        border.clear();
        for (int x = 0; x < line.cols; ++x) {
            border.push_back(line.at<cv::Vec4b>(0, x)[channel]);
            border.push_back(line.at<cv::Vec4b>(line.rows - 1, x)[channel]);
        }
        for (int y = 0; y < line.rows; ++y) {
            border.push_back(line.at<cv::Vec4b>(y, 0)[channel]);
            border.push_back(line.at<cv::Vec4b>(y, line.cols - 1)[channel]);
        }
        const auto middle = border.begin() + long(border.size() / 2);
        std::nth_element(border.begin(), middle, border.end());
        colour[channel] = *middle;
    }
    return colour;
}

cv::Mat framed(const cv::Mat &line, int margin)
{
    cv::Mat frame;
    cv::copyMakeBorder(line, frame, margin, margin, margin, margin,
                       cv::BORDER_CONSTANT | cv::BORDER_ISOLATED, borderColour(line));
    return frame;
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
        const bool newWord =
            !parts.empty() && left - end >= std::max(double(leastWordGap), wordGap * line.rows);
        parts.push_back({left, right - left, newWord});
        left = end = right;
    }
}
} // namespace coreai
