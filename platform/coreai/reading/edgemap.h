// Where neighbouring pixels differ, the first stage of the line cut, with long straight verticals
// (window and cell borders, edges of photographs) told apart from the edges of strokes.
// Owner: cutLines(). Thread: any; no state is kept between calls.

#pragma once

#include <opencv2/core/mat.hpp>

namespace coreai
{
// Bits of an edge map's bytes.
enum Edge : uchar {
    SideEdge = 1, // the pixel differs from its left neighbour
    TopEdge = 2,  // the pixel differs from the one above
    Wall = 4,     // part of a long straight vertical; SideEdge is cleared there
    Floor = 8,    // part of a long straight horizontal
};

// CV_8U, one byte of Edge bits for each pixel of `picture` (CV_8UC4, not empty).
cv::Mat edgeMap(const cv::Mat &picture);
} // namespace coreai
