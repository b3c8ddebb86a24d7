#pragma once
// How every program below bench/ measures and prints: medians, one line a figure, each beside the
// floor measured in the same run where there is one.

#include <QSize>
#include <QString>

#include <functional>
#include <vector>

namespace Bench
{
/// Wall time of one call of @p work in milliseconds.
double milliseconds(const std::function<void()> &work);

/// CPU time of this process (all threads) that one call of @p work takes, in milliseconds.
double cpuMilliseconds(const std::function<void()> &work);

/// Median of @p values; not-a-number for none.
double median(std::vector<double> values);

/// Calls @p work @p rounds times, after one call that is not counted, and gives the median wall
/// time in milliseconds.
double medianMilliseconds(int rounds, const std::function<void()> &work);

/// Wall and CPU times of the same work, call by call, in milliseconds.
struct Times {
    std::vector<double> wall;
    std::vector<double> cpu;

    void measure(const std::function<void()> &work);
};

struct Figure {
    QString name;       ///< what was measured, with its size, such as "png 1920x1080"
    double value = 0.0; ///< in @a unit
    QString unit;       ///< "ms", "bytes", "ratio"
    double goal = 0.0;  ///< upper bound; 0 for none at this size
    double floor = 0.0; ///< the same work done in the least possible way; 0 for none
    QString floorName;  ///< what that least way is
};

/// Prints one line: name, value, unit, goal with "met" or "MISSED", floor and the ratio to it.
void print(const Figure &figure);

/// The two screen sizes at which figures are taken. Goals are told for the first.
const std::vector<QSize> &screenSizes();

/// "1920x1080".
QString sizeText(const QSize &size);
} // namespace Bench
