// Where a line's bitmap holds ink: what tells an empty line, and where a long one may be parted.
// Pure functions of the pixels. Thread: any.

#pragma once

#include <opencv2/core/mat.hpp>

#include <vector>

namespace coreai
{
// False for an empty picture, one of another type than CV_8UC4, one below 2x3 pixels, and one
// without contrast.
bool hasInk(const cv::Mat &line);

// One byte a column, 1 where the column differs within itself or from the one before it.
std::vector<unsigned char> inkColumns(const cv::Mat &line);

// Grey of the background, of a CV_8UC1 picture: the median of its border.
unsigned char borderGrey(const cv::Mat &grey);

// A stretch of a line's columns that is read at once.
struct LinePart {
    int left = 0;
    int width = 0;
    bool newWord = false; // a gap as wide as one between words lies before it
};

// Parts of at most `widest` columns, without the blank columns around them, cut at the widest gap
// in the last third of what fits, or where there is none at the column with the least contrast.
std::vector<LinePart> lineParts(const cv::Mat &line, int widest);
} // namespace coreai
