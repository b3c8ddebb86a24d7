// The one space of 1024 dimensions in which queries find frames: text meaning, picture meaning and
// constant dimensions that bring the scores to the scale of the program's fixed cut-offs.
// Thread: any; the class has no state.

#pragma once

#include <string>
#include <vector>

namespace coreai
{
// One line of a frame. `vector` is TextMeaning::ofPassage() of its text; `weight` is
// MeaningSpace::weightOf() of it.
struct WeighedLine {
    const std::vector<float> *vector = nullptr;
    float weight = 0;
};

class MeaningSpace
{
public:
    static constexpr int dimensions = 1024;

    // A frame of the given lines and, where a picture model is there, picture vector (else empty).
    // 1024 floats of length 1, also for a frame without anything that means something.
    static std::vector<float> forFrame(const std::vector<WeighedLine> &lines,
                                       const std::vector<float> &picture);

    // A query; either vector may be empty.
    static std::vector<float> forQuery(const std::vector<float> &text,
                                       const std::vector<float> &picture);

    // False for a line of less than four words.
    static bool isSentence(const std::string &text);

    // The weight of a line of this text (UTF-8) in type of this many pixels: its words, times the
    // size. Lines of less than four words (menus, cells, file names) count for next to nothing,
    // since a screen full of them would drown the page that it is about.
    static float weightOf(const std::string &text, int height);
};
} // namespace coreai
