#include "coreai/engines/reading/quantization.h"

#include <openvino/core/model.hpp>
#include <openvino/op/constant.hpp>
#include <openvino/op/convolution.hpp>
#include <openvino/op/fake_quantize.hpp>
#include <openvino/op/matmul.hpp>

#include <algorithm>
#include <cmath>
#include <functional>

namespace coreai
{
namespace
{
using ov::op::v0::Constant;
using ov::op::v0::FakeQuantize;

constexpr std::size_t inputLevels = 256;
constexpr std::size_t weightLevels = 255; // as many below 0 as above it
constexpr float leastWeight = 1e-6F;      // for a channel of zeros
constexpr float steps = float(inputLevels - 1);
constexpr std::size_t mostWeight = weightLevels / 2;
// A processor without an instruction for dot products (VNNI) cuts the sum of two products off here.
constexpr float mostOfTwoProducts = 32767;

std::shared_ptr<ov::Node> scalar(float value)
{
    return Constant::create(ov::element::f32, {}, {value});
}

// 0 must be one of the values: what is filled up with zeros would be something else.
LayerRange withZero(LayerRange range)
{
    range.least = std::min(range.least, 0.0F);
    range.most = std::max(range.most, 0.0F);
    const float zero = std::round(-range.least * steps / (range.most - range.least));
    const float below = zero > 0 ? -range.least / zero : 0.0F;
    const float above = zero < steps ? range.most / (steps - zero) : 0.0F;
    const float step = std::max(below, above);
    range.least = -zero * step;
    range.most = (steps - zero) * step;
    return range;
}

// How much further than the weights their range goes, so that no two products with zeros of the
// input are cut off: edges and what is blank consist of them. Other pairs seldom are, and as many
// words are read; room for any pair leaves 7 bits, and an eighth more words are missed.
float wideningOfWeights(const LayerRange &input)
{
    const float zero = std::round(-input.least * steps / (input.most - input.least));
    if (zero == 0) {
        return 1.0F;
    }
    return std::max(1.0F, float(mostWeight) / std::floor(mostOfTwoProducts / (2 * zero)));
}

void roundInput(ov::Node &layer, const LayerRange &range)
{
    layer.input(0).replace_source_output(std::make_shared<FakeQuantize>(
        layer.input_value(0), scalar(range.least), scalar(range.most), scalar(range.least),
        scalar(range.most), inputLevels));
}

// Number of the weights' dimension that counts the output channels.
std::size_t channelDimension(const ov::Node &layer)
{
    const auto *product = ov::as_type<const ov::op::v0::MatMul>(&layer);
    return product != nullptr && !product->get_transpose_b() ? 1 : 0;
}

// The largest amount of a weight of each channel.
std::vector<float> largestOfChannels(const Constant &weights, std::size_t dimension)
{
    const ov::Shape &shape = weights.get_shape();
    const std::vector<float> values = weights.cast_vector<float>();
    std::size_t inner = 1; // values of one channel that lie side by side
    for (std::size_t after = dimension + 1; after < shape.size(); ++after) {
        inner *= shape[after];
    }
    std::vector<float> largest(shape[dimension], leastWeight);
    for (std::size_t place = 0; place < values.size(); ++place) {
        float &most = largest[place / inner % largest.size()];
        most = std::max(most, std::abs(values[place]));
    }
    return largest;
}

void roundWeights(ov::Node &layer, float widening)
{
    const auto weights = ov::as_type_ptr<Constant>(layer.get_input_node_shared_ptr(1));
    const std::size_t dimension = channelDimension(layer);
    std::vector<float> bounds = largestOfChannels(*weights, dimension);
    for (float &bound : bounds) {
        bound *= widening;
    }
    ov::Shape spread(weights->get_shape().size(), 1);
    spread[dimension] = bounds.size();
    const auto most = Constant::create(ov::element::f32, spread, bounds);
    std::transform(bounds.begin(), bounds.end(), bounds.begin(), std::negate<>());
    const auto least = Constant::create(ov::element::f32, spread, bounds);
    layer.input(1).replace_source_output(
        std::make_shared<FakeQuantize>(weights, least, most, least, most, weightLevels));
}
} // namespace

bool hasWeights(const ov::Node &layer)
{
    const bool computes =
        ov::is_type<ov::op::v1::Convolution>(&layer) || ov::is_type<ov::op::v0::MatMul>(&layer);
    return computes && ov::is_type<Constant>(layer.get_input_node_ptr(1));
}

std::size_t quantize(ov::Model &model, const std::vector<LayerRange> &ranges)
{
    std::size_t rounded = 0;
    for (const std::shared_ptr<ov::Node> &layer : model.get_ordered_ops()) {
        const auto range = std::find_if(ranges.begin(), ranges.end(), [&](const LayerRange &each) {
            return layer->get_friendly_name() == each.layer;
        });
        if (range != ranges.end() && range->least < range->most && hasWeights(*layer)) {
            const LayerRange input = withZero(*range);
            roundInput(*layer, input);
            roundWeights(*layer, wideningOfWeights(input));
            ++rounded;
        }
    }
    return rounded;
}
} // namespace coreai
