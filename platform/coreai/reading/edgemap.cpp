#include "edgemap.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <vector>

namespace coreai
{
namespace
{
// Grey text of 40 % contrast that is smoothed at its edges still passes; most of the texture of
// a photograph out of focus does not.
constexpr uchar contrast = 28;

// Stems of type of 64 pixels stay; borders of windows, cells and pictures are longer.
constexpr int wallLength = 72;

// No stroke of small type is as long; a cell's border is.
constexpr int floorLength = 32;

// How thick the horizontal border may be at which a vertical one is interrupted.
constexpr int floorThickness = 3;

bool differs(const uchar *a, const uchar *b)
{
    return std::abs(a[0] - b[0]) > contrast || std::abs(a[1] - b[1]) > contrast ||
           std::abs(a[2] - b[2]) > contrast;
}

// All bits set for each of the 16 pixels that differs between `a` and `b` in any colour.
inline cv::v_uint8x16 differing16(const uchar *a, const uchar *b)
{
    using namespace cv;
    const v_uint8x16 threshold = v_setall_u8(contrast);
    const v_uint32x4 colours = v_setall_u32(0x00ffffff);
    v_int32x4 parts[4];
    for (std::ptrdiff_t i = 0; i < 4; ++i) {
        const v_uint8x16 large = v_absdiff(v_load(a + 16 * i), v_load(b + 16 * i)) > threshold;
        parts[i] = v_reinterpret_as_s32((v_reinterpret_as_u32(large) & colours) != v_setzero_u32());
    }
    return v_reinterpret_as_u8(v_pack(v_pack(parts[0], parts[1]), v_pack(parts[2], parts[3])));
}

// `above` is null for the picture's first row.
void findEdges(const uchar *row, const uchar *above, int width, uchar *edges)
{
    using namespace cv;
    edges[0] = above && differs(row, above) ? TopEdge : 0;
    const uchar *compared = above ? above : row;
    std::ptrdiff_t x = 1;
    for (; x + 16 <= width; x += 16) {
        const v_uint8x16 side = differing16(row + 4 * x, row + 4 * x - 4);
        const v_uint8x16 top = differing16(row + 4 * x, compared + 4 * x);
        v_store(edges + x, (side & v_setall_u8(SideEdge)) | (top & v_setall_u8(TopEdge)));
    }
    for (; x < width; ++x) {
        edges[x] = (differs(row + 4 * x, row + 4 * x - 4) ? SideEdge : 0) |
                   (differs(row + 4 * x, compared + 4 * x) ? TopEdge : 0);
    }
}

void markFloors(uchar *edges, int width)
{
    int x = 0;
    while (x < width) {
        if (edges[x] != TopEdge) {
            ++x;
            continue;
        }
        const int start = x;
        while (x < width && edges[x] == TopEdge)
            ++x;
        if (x - start < floorLength)
            continue;
        // A border that ends at a vertical one interrupts that too.
        for (int i = std::max(0, start - 2); i < std::min(width, x + 2); ++i)
            edges[i] |= Floor;
    }
}

// Lengths of the vertical edges that end in each pixel, 0 where there is none. An edge goes on
// through the thickness of a floor that it crosses.
void countVerticals(const uchar *const rows[floorThickness], const uchar *lengthsAbove, int width,
                    uchar *lengths)
{
    for (int x = 0; x < width; ++x) {
        const uchar edges = rows[0][x];
        const uchar vertical = edges & SideEdge;
        const uchar crossing = (edges | rows[1][x] | rows[2][x]) & Floor ? 1 : 0;
        const uchar length = std::min<uchar>(lengthsAbove[x], 250) + vertical;
        lengths[x] = vertical | crossing ? length : 0;
    }
}

void markWalls(cv::Mat &edges, const cv::Mat &lengths)
{
    std::vector<uchar> below(edges.cols, 0);
    for (int y = edges.rows - 1; y >= 0; --y) {
        uchar *row = edges.ptr(y);
        const uchar *length = lengths.ptr(y);
        uchar *wall = below.data();
        for (int x = 0; x < edges.cols; ++x) {
            const uchar inside = length[x] > 0 ? 0xff : 0;
            const uchar reached = length[x] >= wallLength ? 0xff : 0;
            wall[x] = inside & (reached | wall[x]);
            row[x] = (row[x] & ~(wall[x] & SideEdge)) | (wall[x] & Wall);
        }
    }
}
} // namespace

cv::Mat edgeMap(const cv::Mat &picture)
{
    cv::Mat edges(picture.size(), CV_8U);
    cv::Mat lengths(picture.size(), CV_8U);
    const std::vector<uchar> nothing(picture.cols, 0);
    for (int y = 0; y < picture.rows; ++y) {
        findEdges(picture.ptr(y), y > 0 ? picture.ptr(y - 1) : nullptr, picture.cols, edges.ptr(y));
        markFloors(edges.ptr(y), picture.cols);
        const uchar *rows[floorThickness];
        for (int i = 0; i < floorThickness; ++i)
            rows[i] = y >= i ? edges.ptr(y - i) : nothing.data();
        countVerticals(rows, y > 0 ? lengths.ptr(y - 1) : nothing.data(), picture.cols,
                       lengths.ptr(y));
    }
    markWalls(edges, lengths);
    return edges;
}
} // namespace coreai
