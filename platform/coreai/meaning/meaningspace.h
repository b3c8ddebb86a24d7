// The one space of 1024 dimensions in which queries find frames: text meaning, picture meaning and
// constant dimensions that bring the scores to the scale of the program's fixed cut-offs.
// Thread: any; the class has no state.

#pragma once

#include <vector>

namespace coreai
{
// One line of a frame. `vector` is TextMeaning::ofPassage() of its text; `weight` grows with its
// type size and width.
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

    // The weight of a line of this size in pixels.
    static float weightOf(int width, int height);
};
} // namespace coreai
