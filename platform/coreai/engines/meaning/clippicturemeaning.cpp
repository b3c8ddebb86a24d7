#include "coreai/engines/meaning/clippicturemeaning.h"

#include "coreai/engines/meaning/cliptensor.h"
#include "coreai/engines/meaning/cliptokenizer.h"
#include "coreai/engines/meaning/meaningtext.h"

#include <QDebug>
#include <QFile>
#include <openvino/openvino.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace coreai
{
namespace
{
const char *const pixelsInput = "pixel_values";
const char *const tokensInput = "input_ids";
const char *const attentionInput = "attention_mask";
const char *const pictureOutput = "image_embeds";
const char *const textOutput = "text_embeds";

bool hasInput(const ov::Model &model, const std::string &name)
{
    const std::vector<ov::Output<const ov::Node>> inputs = model.inputs();
    return std::any_of(inputs.begin(), inputs.end(),
                       [&name](const auto &input) { return input.get_names().count(name) > 0; });
}

// The part of the model that leads to one output; the file's whole graph would want both a picture
// and a text at every call.
ov::InferRequest towerOf(ov::Core &core, const ov::Model &whole, const std::string &output,
                         const std::map<std::string, ov::PartialShape> &shapes)
{
    const ov::Output<const ov::Node> result = whole.output(output);
    const auto tower =
        std::make_shared<ov::Model>(ov::OutputVector{result.get_node()->input_value(0)}, output);
    std::map<std::string, ov::PartialShape> used;
    for (const auto &[name, shape] : shapes) {
        if (hasInput(*tower, name)) {
            used.emplace(name, shape);
        }
    }
    if (used.size() != tower->inputs().size()) {
        throw std::runtime_error("unknown inputs");
    }
    tower->reshape(used);
    const ov::PartialShape shape = tower->output().get_partial_shape();
    if (shape != ov::PartialShape{1, PictureMeaning::dimensions}) {
        throw std::runtime_error("unknown output");
    }
    return core
        .compile_model(tower, "CPU", ov::inference_num_threads(1), ov::num_streams(1),
                       ov::hint::num_requests(1))
        .create_infer_request();
}

std::vector<float> unitVector(const ov::Tensor &tensor)
{
    const auto *values = tensor.data<float>();
    double squares = 0;
    for (size_t i = 0; i < tensor.get_size(); ++i) {
        squares += static_cast<double>(values[i]) * static_cast<double>(values[i]);
    }
    if (!std::isfinite(squares) || squares <= 0) {
        return {};
    }
    const auto scale = static_cast<float>(1.0 / std::sqrt(squares));
    std::vector<float> vector(values, values + tensor.get_size());
    for (float &value : vector) {
        value *= scale;
    }
    return vector;
}
} // namespace

struct ClipPictureMeaning::Towers {
    std::unique_ptr<ClipTokenizer> tokenizer;
    ov::InferRequest picture;
    ov::InferRequest text;
    bool textTakesAttention = false;
};

std::unique_ptr<ClipPictureMeaning>
ClipPictureMeaning::load(const QString &modelFile, const QString &tokenizerFile, QString *fault)
{
    auto towers = std::make_unique<Towers>();
    towers->tokenizer = ClipTokenizer::load(tokenizerFile, fault);
    if (!towers->tokenizer) {
        return nullptr;
    }
    try {
        ov::Core core;
        const std::shared_ptr<ov::Model> whole =
            core.read_model(QFile::encodeName(modelFile).toStdString());
        towers->picture = towerOf(core, *whole, pictureOutput,
                                  {{pixelsInput, ov::PartialShape{1, 3, clipSide, clipSide}}});
        const ov::PartialShape tokens{1, ClipTokenizer::length};
        towers->text =
            towerOf(core, *whole, textOutput, {{tokensInput, tokens}, {attentionInput, tokens}});
        const std::vector<ov::Output<const ov::Node>> inputs =
            towers->text.get_compiled_model().inputs();
        towers->textTakesAttention = inputs.size() > 1;
    } catch (const std::exception &) {
        // The library's text tells its own source lines, not what is wrong with the file.
        *fault = QStringLiteral("damaged, or a model of another kind");
        return nullptr;
    }
    return std::unique_ptr<ClipPictureMeaning>(new ClipPictureMeaning(std::move(towers)));
}

ClipPictureMeaning::ClipPictureMeaning(std::unique_ptr<Towers> towers) : m_towers(std::move(towers))
{
}

ClipPictureMeaning::~ClipPictureMeaning() = default;

std::vector<float> ClipPictureMeaning::ofPicture(const cv::Mat &picture)
{
    if (picture.empty() || picture.type() != CV_8UC4) {
        return {};
    }
    try {
        ov::Tensor pixels(ov::element::f32, {1, 3, clipSide, clipSide});
        fillClipTensor(picture, pixels.data<float>());
        m_towers->picture.set_tensor(pixelsInput, pixels);
        m_towers->picture.infer();
        return unitVector(m_towers->picture.get_output_tensor());
    } catch (const std::exception &error) {
        qWarning() << "a picture's meaning could not be found:" << error.what();
        return {};
    }
}

std::vector<float> ClipPictureMeaning::ofText(const std::string &utf8)
{
    const std::string text = meaningText(utf8);
    if (!hasWords(text)) {
        return {};
    }
    try {
        ClipTokenizer::Tokens tokens = m_towers->tokenizer->tokens(text);
        const ov::Shape shape{1, ClipTokenizer::length};
        m_towers->text.set_tensor(tokensInput,
                                  ov::Tensor(ov::element::i64, shape, tokens.ids.data()));
        if (m_towers->textTakesAttention) {
            m_towers->text.set_tensor(attentionInput,
                                      ov::Tensor(ov::element::i64, shape, tokens.attention.data()));
        }
        m_towers->text.infer();
        return unitVector(m_towers->text.get_output_tensor());
    } catch (const std::exception &error) {
        qWarning() << "a text's picture meaning could not be found:" << error.what();
        return {};
    }
}

std::string ClipPictureMeaning::name() const
{
    return "CLIP";
}
} // namespace coreai
