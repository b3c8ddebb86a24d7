// Sets of things that are joined one after the other: each thing names a parent in its set, and one
// of them, the root, itself.

#pragma once

#include <vector>

namespace coreai
{
// The root of the set of `i`. Shortens the way to it for the next time.
inline int rootOf(std::vector<int> &parents, int i)
{
    while (parents[i] != i) {
        parents[i] = parents[parents[i]];
        i = parents[i];
    }
    return i;
}
} // namespace coreai
