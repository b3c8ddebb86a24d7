#include "coreai/meaning/meaningspace.h"

#include "coreai/engines/picturemeaning.h"
#include "coreai/engines/textmeaning.h"
#include "coreai/meaning/wordcount.h"

#include <algorithm>
#include <cmath>

namespace coreai
{
namespace
{
// The program drops hits below 0.46 and, where the best is below 0.56, those that are further than
// 0.026 from it. With a constant part C in all vectors and a text part of squared length T the
// score is C + T * cosine. On the labelled pages of bench/coreai/meaning the two cut-offs separate
// best at a cosine of 0.24 and 0.19 below the best hit: T = 0.026 / 0.19 and C = 0.46 - 0.24 * T.
// The root of C is a multiple of 1/127, so that a store of eight bits a value keeps it exactly.
constexpr double constantPart = 83.0 / 127.0;
constexpr double textSquare = 0.137;

// Cosines of a CLIP model's picture and text lie near 0.18 for pairs that have nothing to do with
// each other and above 0.28 for fitting ones; the latter alone reaches the floor.
constexpr double pictureSquare = 0.33;
constexpr double pictureOffset = 0.18;

// A line of fewer words is a fragment. Chosen, as the scale above, on the labelled pages, where a
// page in front of a terminal full of file names is then found nearly twice as often.
constexpr double wordsOfSentence = 4;
constexpr double shareOfFragment = 0.02;

enum Place {
    TextPlace = 0,
    PicturePlace = TextPlace + TextMeaning::dimensions,
    ConstantPlace = PicturePlace + PictureMeaning::dimensions,
    OffsetPlace,
    // What fills a vector up to length 1 stands apart in queries and frames, so that it adds
    // nothing to a score.
    QueryFillPlace,
    FrameFillPlace
};
static_assert(FrameFillPlace < MeaningSpace::dimensions, "every part has its place");
static_assert(constantPart * constantPart + textSquare + pictureSquare * (1.0 + pictureOffset) <=
                  1.0,
              "all parts fit into a vector of length 1");

double squaredLength(const std::vector<double> &vector)
{
    double squares = 0;
    for (const double value : vector) {
        squares += value * value;
    }
    return squares;
}

// `part`, brought to the squared length `square`, at `place` of the vector. Nothing where the part
// is missing, of another size or holds what is no number. Tells whether it was put in.
bool put(const std::vector<double> &part, size_t size, double square, size_t place,
         std::vector<double> &vector)
{
    const double squares = squaredLength(part);
    if (part.size() != size || !std::isfinite(squares) || squares <= 0) {
        return false;
    }
    const double scale = std::sqrt(square / squares);
    std::transform(part.begin(), part.end(), vector.begin() + static_cast<std::ptrdiff_t>(place),
                   [scale](double value) { return value * scale; });
    return true;
}

std::vector<double> doubles(const std::vector<float> &vector)
{
    return {vector.begin(), vector.end()};
}

std::vector<float> assembled(const std::vector<double> &text, const std::vector<float> &picture,
                             Place fill)
{
    std::vector<double> vector(MeaningSpace::dimensions, 0.0);
    put(text, TextMeaning::dimensions, textSquare, TextPlace, vector);
    if (put(doubles(picture), PictureMeaning::dimensions, pictureSquare, PicturePlace, vector)) {
        const double offset = std::sqrt(pictureSquare * pictureOffset);
        vector[OffsetPlace] = fill == FrameFillPlace ? -offset : offset;
    }
    vector[ConstantPlace] = constantPart;
    vector[fill] = std::sqrt(std::max(0.0, 1.0 - squaredLength(vector)));
    return {vector.begin(), vector.end()};
}
} // namespace

std::vector<float> MeaningSpace::forFrame(const std::vector<WeighedLine> &lines,
                                          const std::vector<float> &picture)
{
    std::vector<double> sum(TextMeaning::dimensions, 0.0);
    for (const WeighedLine &line : lines) {
        if (!line.vector || line.vector->size() != sum.size() || !(line.weight > 0)) {
            continue;
        }
        for (size_t i = 0; i < sum.size(); ++i) {
            sum[i] += static_cast<double>(line.weight) * static_cast<double>((*line.vector)[i]);
        }
    }
    return assembled(sum, picture, FrameFillPlace);
}

std::vector<float> MeaningSpace::forQuery(const std::vector<float> &text,
                                          const std::vector<float> &picture)
{
    return assembled(doubles(text), picture, QueryFillPlace);
}

bool MeaningSpace::isSentence(const std::string &text)
{
    return wordCount(text) >= wordsOfSentence;
}

float MeaningSpace::weightOf(const std::string &text, int height)
{
    const double words = wordCount(text);
    const double share = words < wordsOfSentence ? shareOfFragment : 1.0;
    return static_cast<float>(share * words * std::max(height, 0));
}
} // namespace coreai
