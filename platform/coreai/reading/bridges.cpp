#include "bridges.h"

#include <algorithm>
#include <climits>

namespace coreai
{
namespace
{
struct Neighbourhood {
    int highestBottom = INT_MAX; // of the neighbours; one row below it
    int lowestTop = INT_MIN;
    bool ofItsHeight = false; // one of them is nearly as high: the line is, too
};

// A comma below and a quotation mark above a word are no two lines.
bool isLetterBeside(const cv::Rect &neighbour, const cv::Rect &part)
{
    return 25 * neighbour.height >= 9 * part.height;
}

void look(Neighbourhood &hood, const cv::Rect &part, const cv::Rect &neighbour)
{
    if (!isLetterBeside(neighbour, part))
        return;
    hood.ofItsHeight |= 4 * neighbour.height >= 3 * part.height;
    hood.highestBottom = std::min(hood.highestBottom, neighbour.y + neighbour.height);
    hood.lowestTop = std::max(hood.lowestTop, neighbour.y);
}

// The row from which on `part` belongs to its lower line, or -1.
int cutOf(const Neighbourhood &hood, const cv::Rect &part)
{
    if (hood.ofItsHeight || hood.highestBottom > hood.lowestTop)
        return -1;
    const int row = (hood.highestBottom + hood.lowestTop) / 2;
    return row > part.y && row < part.y + part.height ? row : -1;
}
} // namespace

bool cutBridges(InkParts &parts, const std::vector<std::pair<int, int>> &neighbours)
{
    const std::size_t count = parts.boxes.size();
    std::vector<Neighbourhood> hoods(count);
    for (const auto &[a, b] : neighbours) {
        look(hoods[a], parts.boxes[a], parts.boxes[b]);
        look(hoods[b], parts.boxes[b], parts.boxes[a]);
    }
    std::vector<int> cuts(count, -1);
    std::vector<int> lower(count, -1); // the part that takes the rows from the cut on
    bool any = false;
    for (std::size_t i = 0; i < count; ++i) {
        cuts[i] = cutOf(hoods[i], parts.boxes[i]);
        if (cuts[i] < 0)
            continue;
        any = true;
        lower[i] = static_cast<int>(parts.boxes.size());
        parts.boxes[i] = {};
        parts.boxes.emplace_back();
    }
    if (!any)
        return false;
    for (InkRun &run : parts.runs) {
        if (lower[run.part] < 0)
            continue;
        const int part = run.row < cuts[run.part] ? run.part : lower[run.part];
        parts.boxes[part] |= cv::Rect(run.first, run.row, run.last - run.first + 1, 1);
        run.part = part;
    }
    return true;
}
} // namespace coreai
