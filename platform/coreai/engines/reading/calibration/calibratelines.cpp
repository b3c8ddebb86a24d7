// Makes the ranges of the line model's layers from pictures of screens:
//   calibratelines MODEL PICTURE... > lineranges.cpp
// Lines of the pictures go through the network as it is. A layer's range is that of most lines: one
// line's extreme value would make all steps coarser. Then each layer is rounded alone; those that
// change what is read the most are left as they are.

#include "coreai/engines/reading/lineranges.h"
#include "coreai/engines/reading/linetensor.h"
#include "coreai/engines/reading/partedlines.h"
#include "coreai/reading/framereader.h"
#include "coreai/reading/picturedecoder.h"

#include <QFile>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <openvino/openvino.hpp>

namespace
{
using namespace coreai;

constexpr std::size_t measuredParts = 400; // of lines; more do not change the ranges
constexpr std::size_t comparedParts = 50;
constexpr double shareOfLines = 0.8; // 0.95 and all of them read worse
// Mean divergence of a step's probabilities, in thousandths. Beyond it are the five layers that see
// the picture itself and one more.
constexpr double mostDivergence = 8.0;
constexpr std::size_t cacheBytes = 64 << 20;

using Tensors = std::vector<ov::Tensor>;
using Probabilities = std::vector<std::vector<float>>; // of a line's steps and classes

struct Layer {
    std::string name;
    std::size_t output;         // of the model: layers may share one
    std::vector<float> least{}; // one a line
    std::vector<float> most{};
};

std::vector<cv::Mat> linesOf(const std::vector<QString> &pictures)
{
    std::vector<cv::Mat> lines;
    LineCache cache(cacheBytes);
    for (const QString &path : pictures) {
        QFile file(path);
        const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        FrameReader reader(cache);
        reader.cut(decodePicture({bytes.constData(), std::size_t(bytes.size())}));
        while (!reader.isComplete()) {
            reader.readNext([&](const cv::Mat &line) {
                lines.push_back(line.clone());
                return LineText();
            });
        }
    }
    return lines;
}

// As many as are wanted, evenly out of all.
Tensors inputsOf(const PartedLines &parts, std::size_t wanted)
{
    Tensors inputs;
    const std::size_t step = std::max<std::size_t>(1, parts.count() / wanted);
    for (std::size_t number = 0; number < parts.count(); number += step) {
        const cv::Mat &part = parts.part(number);
        const auto width = std::size_t(tensorWidth(scaledWidth(part.size())));
        inputs.emplace_back(ov::element::f32, ov::Shape{1, 3, tensorRows, width});
        fillTensor(part, int(width), inputs.back().data<float>());
    }
    return inputs;
}

std::shared_ptr<ov::Model> modelOf(ov::Core &core, const std::string &file)
{
    std::shared_ptr<ov::Model> model = core.read_model(file);
    model->reshape(ov::PartialShape{1, 3, tensorRows, ov::Dimension::dynamic()});
    return model;
}

ov::InferRequest compiled(ov::Core &core, const std::shared_ptr<ov::Model> &model)
{
    return core.compile_model(model, "CPU", ov::hint::inference_precision(ov::element::f32))
        .create_infer_request();
}

// What each layer with weights is given becomes a further output of the model.
std::vector<Layer> showInputs(ov::Model &model)
{
    std::vector<Layer> layers;
    for (const std::shared_ptr<ov::Node> &node : model.get_ordered_ops()) {
        if (hasWeights(*node)) {
            const ov::Output<ov::Node> shown = model.add_output(node->input_value(0));
            layers.push_back(
                {node->get_friendly_name(), std::size_t(model.get_result_index(shown))});
        }
    }
    return layers;
}

void look(ov::InferRequest &request, const ov::Tensor &input, std::vector<Layer> &layers)
{
    request.set_input_tensor(input);
    request.infer();
    for (Layer &layer : layers) {
        const ov::Tensor seen = request.get_output_tensor(layer.output);
        // One value a channel: such a layer costs nothing.
        if (seen.get_size() > seen.get_shape()[1]) {
            const auto [least, most] =
                std::minmax_element(seen.data<float>(), seen.data<float>() + seen.get_size());
            layer.least.push_back(*least);
            layer.most.push_back(*most);
        }
    }
}

// The value that `share` of the lines do not go beyond.
float bound(std::vector<float> values, double share)
{
    const auto place = values.begin() + std::ptrdiff_t(share * double(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

Probabilities read(ov::InferRequest request, const Tensors &inputs)
{
    Probabilities all;
    for (const ov::Tensor &input : inputs) {
        request.set_input_tensor(input);
        request.infer();
        const ov::Tensor output = request.get_output_tensor();
        all.emplace_back(output.data<float>(), output.data<float>() + output.get_size());
    }
    return all;
}

double divergence(const Probabilities &exact, const Probabilities &rounded, std::size_t classes)
{
    constexpr double tiny = 1e-7;
    double sum = 0;
    double steps = 0;
    for (std::size_t line = 0; line < exact.size(); ++line) {
        for (std::size_t place = 0; place < exact[line].size(); ++place) {
            const double wanted = double(exact[line][place]);
            sum += wanted * std::log((wanted + tiny) / (double(rounded[line][place]) + tiny));
        }
        steps += double(exact[line].size()) / double(classes);
    }
    return 1000 * sum / steps;
}

void printRange(const LayerRange &range)
{
    std::printf("    {\"%s\", %.3fF, %.3fF},\n", range.layer, double(range.least),
                double(range.most));
}

void print(ov::Core &core, const std::string &file, const std::vector<Layer> &layers,
           const Tensors &inputs)
{
    const std::shared_ptr<ov::Model> model = modelOf(core, file);
    const auto classes = std::size_t(model->output().get_partial_shape()[2].get_length());
    const Probabilities exact = read(compiled(core, model), inputs);
    std::printf("// Generated by calibration/calibratelines; not to be edited.\n\n"
                "#include \"coreai/engines/reading/lineranges.h\"\n\n"
                "namespace coreai\n{\n"
                "const std::vector<LayerRange> lineRanges = {\n");
    for (const Layer &layer : layers) {
        if (layer.least.empty()) {
            continue;
        }
        const LayerRange range = {layer.name.c_str(), bound(layer.least, 1 - shareOfLines),
                                  bound(layer.most, shareOfLines)};
        const std::shared_ptr<ov::Model> rounded = modelOf(core, file);
        quantize(*rounded, {range});
        const double change = divergence(exact, read(compiled(core, rounded), inputs), classes);
        std::fprintf(stderr, "%s %.3f\n", range.layer, change);
        if (change < mostDivergence) {
            printRange(range);
        }
    }
    std::printf("};\n} // namespace coreai\n");
}

int calibrate(const std::string &file, const std::vector<QString> &pictures)
{
    const std::vector<cv::Mat> lines = linesOf(pictures);
    const PartedLines parts(lines);
    ov::Core core;
    const std::shared_ptr<ov::Model> model = modelOf(core, file);
    std::vector<Layer> layers = showInputs(*model);
    ov::InferRequest request = compiled(core, model);
    for (const ov::Tensor &input : inputsOf(parts, measuredParts)) {
        look(request, input, layers);
    }
    print(core, file, layers, inputsOf(parts, comparedParts));
    return parts.count() > 0 ? 0 : 1;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s MODEL PICTURE...\n", argv[0]);
        return 2;
    }
    try {
        return calibrate(argv[1], std::vector<QString>(argv + 2, argv + argc));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
