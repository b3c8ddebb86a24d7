#pragma once
// The program's cut-off of search results, and how well it separates hits from the rest.

#include "labelledset.h"

#include <vector>

/// How far from the best score, and from which score on, a frame is shown.
struct CutOff {
    double floor = 0.46;
    double boundary = 0.56; ///< above it the best score selects the wide band
    double wide = 0.037;
    double narrow = 0.026;

    bool keeps(double score, double best) const
    {
        return best - score <= (best > boundary ? wide : narrow) && score >= floor;
    }
};

/// Rates between 0 and 1, means over the queries.
struct Separation {
    double precision = 0; ///< share of right frames among those shown, of queries that show any
    double recall = 0;    ///< share of the right frames that are shown
    double harmony = 0; ///< harmonic mean of both; of a query without answer 1 if nothing is shown
    double silent = 0;  ///< share of the queries without answer for which nothing is shown
    double firstEnglish = 0; ///< share of English queries whose best frame is right
    double firstChinese = 0;
    double bestHit = 0;   ///< mean score of the best right frame
    double bestWrong = 0; ///< mean score of the best wrong one
};

/// @p scores holds a row a query of @p set, a column a frame.
Separation separation(const Labelled::Set &set, const std::vector<std::vector<double>> &scores,
                      Labelled::Part part, const CutOff &cutOff);

/// The floor and band with the best harmony on the calibration part; the program's own shape of a
/// cut-off, for vectors that are not on its scale.
CutOff fitted(const Labelled::Set &set, const std::vector<std::vector<double>> &scores);
