#pragma once
// Stands before OpenCV's cv::setNumThreads in the test program: shows how often and with what it
// was called, and can throw in its place. One thread.

#include <QVector>

namespace ThreadSwitch
{
enum class Failure { None, Standard, Unknown };

/// From now on calls throw a std::runtime_error("out of luck"), an int, or nothing.
void fail(Failure failure);

/// The arguments of all calls so far.
QVector<int> calls();
} // namespace ThreadSwitch
