#include "coreai/engines/reading/openvinolinerecognizer.h"

#include "coreai/engines/reading/ctctext.h"
#include "coreai/engines/reading/lineink.h"
#include "coreai/engines/reading/linetensor.h"

#include <QDebug>
#include <QFile>
#include <openvino/openvino.hpp>

#include <algorithm>
#include <map>

namespace coreai
{
namespace
{
// Where the ONNX front end puts the metadata that the model's makers wrote.
std::string characterList(const ov::Model &model)
{
    return model.get_rt_info<std::string>("framework", "character");
}
} // namespace

struct OpenVinoLineRecognizer::Network {
    ov::Core core;
    std::shared_ptr<ov::Model> model;
    std::unique_ptr<CtcText> characters;
    std::map<int, ov::InferRequest> requests; // by the width of their input; made when first needed
    int threads = 1;

    ov::InferRequest &request(int width);
    LineText readPart(const cv::Mat &part);
};

ov::InferRequest &OpenVinoLineRecognizer::Network::request(int width)
{
    const auto known = requests.find(width);
    if (known != requests.end()) {
        return known->second;
    }
    const std::shared_ptr<ov::Model> shaped = model->clone();
    shaped->reshape(ov::PartialShape{1, 3, tensorRows, width});
    ov::CompiledModel compiled =
        core.compile_model(shaped, "CPU", ov::inference_num_threads(threads), ov::num_streams(1),
                           ov::hint::num_requests(1));
    return requests.emplace(width, compiled.create_infer_request()).first->second;
}

LineText OpenVinoLineRecognizer::Network::readPart(const cv::Mat &part)
{
    const int width = tensorWidth(scaledWidth(part.size()));
    ov::InferRequest &engine = request(width);
    fillTensor(part, width, engine.get_input_tensor().data<float>());
    engine.infer();
    const ov::Tensor output = engine.get_output_tensor();
    return characters->decode(output.data<float>(), output.get_shape()[1]);
}

std::unique_ptr<OpenVinoLineRecognizer> OpenVinoLineRecognizer::load(const QString &modelFile,
                                                                     QString &whyNot)
{
    try {
        auto network = std::make_unique<Network>();
        network->model = network->core.read_model(QFile::encodeName(modelFile).toStdString());
        network->characters = std::make_unique<CtcText>(characterList(*network->model));
        const ov::PartialShape input = network->model->input().get_partial_shape();
        const ov::PartialShape output = network->model->output().get_partial_shape();
        if (input.compatible({1, 3, tensorRows, widestTensor}) && output.size() == 3 &&
            output[2] == int64_t(network->characters->classes())) {
            return std::unique_ptr<OpenVinoLineRecognizer>(
                new OpenVinoLineRecognizer(std::move(network)));
        }
        whyNot = modelFile + QStringLiteral(" is another model");
    } catch (const std::exception &) {
        // The library's text tells its own source lines, not what is wrong with the file.
        whyNot = modelFile + QStringLiteral(" cannot be loaded");
    }
    return nullptr;
}

OpenVinoLineRecognizer::OpenVinoLineRecognizer(std::unique_ptr<Network> network)
    : m_network(std::move(network))
{
}

OpenVinoLineRecognizer::~OpenVinoLineRecognizer() = default;

LineText OpenVinoLineRecognizer::read(const cv::Mat &line)
{
    if (!hasInk(line)) {
        return {};
    }
    LineText answer;
    int weight = 0;
    try {
        for (const LinePart &part : lineParts(line, widestPart(line.rows))) {
            const LineText read =
                m_network->readPart(line.colRange(part.left, part.left + part.width));
            if (part.newWord && !answer.text.empty() && !read.text.empty()) {
                answer.text += ' ';
            }
            answer.text += read.text;
            answer.confidence += read.confidence * float(read.text.size());
            weight += int(read.text.size());
        }
    } catch (const std::exception &error) {
        qWarning() << "a line could not be read:" << error.what();
        return {};
    }
    answer.confidence = weight > 0 ? answer.confidence / float(weight) : 0.0F;
    return answer;
}

std::string OpenVinoLineRecognizer::name() const
{
    return "PP-OCRv6 small";
}

void OpenVinoLineRecognizer::setThreads(int threads)
{
    threads = std::max(threads, 1);
    if (threads != m_network->threads) {
        m_network->threads = threads;
        m_network->requests.clear();
    }
}
} // namespace coreai
