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

FrameVectors::FrameVectors(TextMeaning &model) : m_model(model) {}

std::vector<float> FrameVectors::of(const Labelled::Frame &frame)
{
    std::vector<std::string> unknown;
    for (const Labelled::Line &line : frame.lines) {
        const std::string text = line.text.toStdString();
        if (m_known.emplace(text, std::vector<float>()).second) {
            unknown.push_back(text);
        }
    }
    std::vector<std::vector<float>> vectors = m_model.ofPassages(unknown);
    for (size_t i = 0; i < unknown.size(); ++i) {
        m_known[unknown[i]] = std::move(vectors[i]);
    }
    std::vector<coreai::WeighedLine> lines;
    for (const Labelled::Line &line : frame.lines) {
        const std::string text = line.text.toStdString();
        lines.push_back({&m_known[text], MeaningSpace::weightOf(text, line.height)});
    }
    return MeaningSpace::forFrame(lines, {});
}

std::vector<std::vector<double>> scoresOf(TextMeaning &model, const Labelled::Set &set)
{
    FrameVectors vectors(model);
    std::vector<std::vector<float>> frames;
    for (const Labelled::Frame &frame : set.frames) {
        frames.push_back(vectors.of(frame));
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
