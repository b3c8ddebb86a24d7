#include "cutoff.h"

#include <algorithm>

namespace
{
using Labelled::Verdict;

class Mean
{
public:
    void add(double value)
    {
        m_sum += value;
        ++m_count;
    }
    double value() const { return m_count > 0 ? m_sum / m_count : 0; }

private:
    double m_sum = 0;
    int m_count = 0;
};

struct Outcome {
    int hits = 0; ///< right frames
    int shownHits = 0;
    int shownWrong = 0;
    double bestHit = -1;
    double bestWrong = -1;
};

Outcome outcomeOf(const Labelled::Query &query, const std::vector<Labelled::Frame> &frames,
                  const std::vector<double> &scores, const CutOff &cutOff)
{
    Outcome outcome;
    const double best = *std::max_element(scores.begin(), scores.end());
    for (size_t frame = 0; frame < frames.size(); ++frame) {
        const Verdict verdict = query.verdict(frames[frame]);
        const bool shown = cutOff.keeps(scores[frame], best);
        if (verdict == Verdict::Hit) {
            ++outcome.hits;
            outcome.shownHits += shown ? 1 : 0;
            outcome.bestHit = std::max(outcome.bestHit, scores[frame]);
        } else if (verdict == Verdict::Wrong) {
            outcome.shownWrong += shown ? 1 : 0;
            outcome.bestWrong = std::max(outcome.bestWrong, scores[frame]);
        }
    }
    return outcome;
}
} // namespace

Separation separation(const Labelled::Set &set, const std::vector<std::vector<double>> &scores,
                      Labelled::Part part, const CutOff &cutOff)
{
    Mean precision;
    Mean recall;
    Mean harmony;
    Mean silent;
    Mean first[2];
    Mean bestHit;
    Mean bestWrong;
    for (size_t i = 0; i < set.queries.size(); ++i) {
        const Labelled::Query &query = set.queries[i];
        if (query.part != part) {
            continue;
        }
        const Outcome outcome = outcomeOf(query, set.frames, scores[i], cutOff);
        const int shown = outcome.shownHits + outcome.shownWrong;
        const double right = shown > 0 ? static_cast<double>(outcome.shownHits) / shown : 0;
        if (shown > 0) {
            precision.add(right);
        }
        if (outcome.hits == 0) {
            silent.add(shown == 0 ? 1 : 0);
            harmony.add(shown == 0 ? 1 : 0);
            continue;
        }
        const double found = static_cast<double>(outcome.shownHits) / outcome.hits;
        recall.add(found);
        harmony.add(right + found > 0 ? 2 * right * found / (right + found) : 0);
        first[query.language == QStringLiteral("zh") ? 1 : 0].add(
            outcome.bestHit > outcome.bestWrong ? 1 : 0);
        bestHit.add(outcome.bestHit);
        bestWrong.add(outcome.bestWrong);
    }
    return {precision.value(), recall.value(),   harmony.value(), silent.value(),
            first[0].value(),  first[1].value(), bestHit.value(), bestWrong.value()};
}

CutOff fitted(const Labelled::Set &set, const std::vector<std::vector<double>> &scores)
{
    constexpr int steps = 60;
    double least = 1;
    double most = -1;
    for (const std::vector<double> &row : scores) {
        least = std::min(least, *std::min_element(row.begin(), row.end()));
        most = std::max(most, *std::max_element(row.begin(), row.end()));
    }
    CutOff best;
    double bestHarmony = -1;
    for (int floor = 0; floor < steps; ++floor) {
        for (int band = 1; band < steps; ++band) {
            CutOff tried;
            tried.floor = least + (most - least) * floor / steps;
            tried.wide = tried.narrow = (most - least) * band / steps;
            const double harmony =
                separation(set, scores, Labelled::Part::Calibration, tried).harmony;
            if (harmony > bestHarmony) {
                bestHarmony = harmony;
                best = tried;
            }
        }
    }
    return best;
}
