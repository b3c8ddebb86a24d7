#include "meaningscores.h"

#include "coreai/meaning/meaningspace.h"
#include "support/figure.h"

using coreai::MeaningSpace;
using coreai::TextMeaning;

namespace
{
double cosine(const std::vector<float> &a, const std::vector<float> &b)
{
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        sum += static_cast<double>(a[i]) * static_cast<double>(b[i]);
    }
    return sum; // both have length 1
}
} // namespace

std::vector<float> frameVector(TextMeaning &model, const Labelled::Frame &frame)
{
    std::vector<std::string> texts;
    for (const Labelled::Line &line : frame.lines) {
        texts.push_back(line.text.toStdString());
    }
    const std::vector<std::vector<float>> vectors = model.ofPassages(texts);
    std::vector<coreai::WeighedLine> lines;
    for (size_t i = 0; i < texts.size(); ++i) {
        const Labelled::Line &line = frame.lines[i];
        lines.push_back({&vectors[i], MeaningSpace::weightOf(line.width, line.height)});
    }
    return MeaningSpace::forFrame(lines, {});
}

std::vector<std::vector<double>> scoresOf(TextMeaning &model, const Labelled::Set &set)
{
    std::vector<std::vector<float>> frames;
    for (const Labelled::Frame &frame : set.frames) {
        frames.push_back(frameVector(model, frame));
    }
    std::vector<std::vector<double>> scores;
    for (const Labelled::Query &query : set.queries) {
        const std::vector<float> vector =
            MeaningSpace::forQuery(model.ofQuery(query.text.toStdString()), {});
        scores.emplace_back();
        for (const std::vector<float> &frame : frames) {
            scores.back().push_back(cosine(vector, frame));
        }
    }
    return scores;
}

void printSeparation(const QString &name, const Separation &found)
{
    const std::pair<const char *, double> figures[] = {
        {"precision", found.precision},
        {"recall", found.recall},
        {"harmonic mean of both", found.harmony},
        {"nothing shown where nothing fits", found.silent},
        {"right screen first, English", found.firstEnglish},
        {"right screen first, Chinese", found.firstChinese},
        {"score of the best hit", found.bestHit},
        {"score of the best wrong screen", found.bestWrong},
    };
    for (const auto &[figure, value] : figures) {
        Bench::print({name + ", " + figure, value * 100, QStringLiteral("of 100"), 0, 0, {}});
    }
}
