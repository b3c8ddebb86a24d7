#pragma once
// The vectors of a year's frames. Blocks for a minute or so at 150,000. Any thread.

#include "support/yearstore/plan.h"

namespace YearStore
{
/// Makes a vector store in @p directory with one random unit vector for each frame of @p plan.
void makeVectors(const QString &directory, const Plan &plan, quint32 seed);
} // namespace YearStore
