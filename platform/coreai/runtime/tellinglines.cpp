#include "coreai/runtime/tellinglines.h"

#include "coreai/meaning/meaningspace.h"

#include <algorithm>

namespace coreai
{
namespace
{
struct Weighed {
    std::size_t place;
    bool isSentence;
    float weight;
};

bool tellsMore(const Weighed &one, const Weighed &other)
{
    return one.isSentence != other.isSentence ? one.isSentence : one.weight > other.weight;
}
} // namespace

std::vector<std::size_t> tellingLines(const std::vector<FrameReader::Line> &lines)
{
    std::vector<Weighed> weighed;
    for (std::size_t place = 0; place < lines.size(); ++place) {
        const FrameReader::Line &line = lines[place];
        if (line.text && !line.text->text.empty()) {
            const std::string &text = line.text->text;
            weighed.push_back({place, MeaningSpace::isSentence(text),
                               MeaningSpace::weightOf(text, line.box.height)});
        }
    }
    std::stable_sort(weighed.begin(), weighed.end(), tellsMore);
    std::vector<std::size_t> places;
    for (const Weighed &line : weighed) {
        const bool belongs = line.isSentence == weighed.front().isSentence;
        if (belongs && places.size() < mostTellingLines) {
            places.push_back(line.place);
        }
    }
    return places;
}
} // namespace coreai
