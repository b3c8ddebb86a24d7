// Lets a network's convolutions and matrix products run in whole numbers of 8 bits.
// Thread: any; one model at a time.

#pragma once

#include <cstddef>
#include <vector>

namespace ov
{
class Model;
class Node;
} // namespace ov

namespace coreai
{
// What the first input of a layer holds while lines of screens are read: it is rounded to 256
// values from `least` to `most`, and what lies beyond them is cut off.
struct LayerRange {
    const char *layer; // as the network names it
    float least;
    float most;
};

// Whether the layer is a convolution or a matrix product with weights of its own.
bool hasWeights(const ov::Node &layer);

// Rounds the inputs of these layers, and their weights to 255 values for each output channel, so
// that the compiler takes whole numbers for them. Layers that the model does not have, or that
// have no weights, are left out. Returns how many were rounded. Throws what the library throws.
std::size_t quantize(ov::Model &model, const std::vector<LayerRange> &ranges);
} // namespace coreai
