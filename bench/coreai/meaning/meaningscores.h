#pragma once
// Frames and queries of the labelled set in the space that the program searches.

#include "cutoff.h"
#include "labelledset.h"

#include "coreai/engines/textmeaning.h"

#include <vector>

/// The vector of a frame without a picture's meaning.
std::vector<float> frameVector(coreai::TextMeaning &model, const Labelled::Frame &frame);

/// A row a query, a column a frame.
std::vector<std::vector<double>> scoresOf(coreai::TextMeaning &model, const Labelled::Set &set);

/// One line a figure, each beginning with @p name.
void printSeparation(const QString &name, const Separation &found);
