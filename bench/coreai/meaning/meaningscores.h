#pragma once
// Frames and queries of the labelled set in the space that the program searches.

#include "cutoff.h"
#include "labelledset.h"

#include "coreai/engines/textmeaning.h"

#include <string>
#include <unordered_map>
#include <vector>

/// The vectors of frames without a picture's meaning. Each text is embedded once, as the runtime
/// does. The model has to outlive it.
class FrameVectors
{
public:
    explicit FrameVectors(coreai::TextMeaning &model);

    std::vector<float> of(const Labelled::Frame &frame);

private:
    coreai::TextMeaning &m_model;
    std::unordered_map<std::string, std::vector<float>> m_known;
};

/// A row a query, a column a frame.
std::vector<std::vector<double>> scoresOf(coreai::TextMeaning &model, const Labelled::Set &set);

/// One line a figure, each beginning with @p name.
void printSeparation(const QString &name, const Separation &found);
