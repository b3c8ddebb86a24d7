#include "coreai/engines/reading/openvinolinerecognizer.h"

#include "coreai/engines/reading/ctctext.h"
#include "coreai/engines/reading/lineink.h"
#include "coreai/engines/reading/linetensor.h"

#include <QDebug>
#include <QFile>
#include <openvino/openvino.hpp>

#include <algorithm>
#include <utility>

namespace coreai
{
namespace
{
// Where the ONNX front end puts the metadata that the model's makers wrote.
std::string characterList(const ov::Model &model)
{
    return model.get_rt_info<std::string>("framework", "character");
}

// Chinese, Japanese and Korean put no blanks between words: U+3000 and above, of three bytes.
bool isIdeographic(unsigned char firstByte)
{
    return firstByte >= 0xe3;
}

bool startsWithWord(const std::string &text)
{
    return !text.empty() && !isIdeographic(static_cast<unsigned char>(text.front()));
}

bool endsWithWord(const std::string &text)
{
    const auto continues = [&](size_t at) { return (text[at] & 0xc0) == 0x80; };
    size_t last = text.empty() ? 0 : text.size() - 1;
    while (last > 0 && continues(last)) {
        --last;
    }
    return !text.empty() && !isIdeographic(static_cast<unsigned char>(text[last]));
}
} // namespace

struct OpenVinoLineRecognizer::Network {
    QString modelFile;
    std::unique_ptr<CtcText> characters;
    // Compiled once for every width: the weights are then held once, and a width that is new costs
    // 20 ms, a compilation of its own 170 ms and 30 MB. The outputs are the same to the bit.
    ov::InferRequest request;
    int threads = 1;

    void compile();
    LineText readPart(const cv::Mat &part);
};

void OpenVinoLineRecognizer::Network::compile()
{
    ov::Core core;
    const std::shared_ptr<ov::Model> model =
        core.read_model(QFile::encodeName(modelFile).toStdString());
    characters = std::make_unique<CtcText>(characterList(*model));
    const ov::PartialShape output = model->output().get_partial_shape();
    if (output.size() != 3 || output[2] != int64_t(characters->classes())) {
        throw std::runtime_error("the model's output does not fit its characters");
    }
    model->reshape(ov::PartialShape{1, 3, tensorRows, ov::Dimension::dynamic()});
    request = core.compile_model(model, "CPU", ov::inference_num_threads(threads),
                                 ov::num_streams(1), ov::hint::num_requests(1))
                  .create_infer_request();
}

LineText OpenVinoLineRecognizer::Network::readPart(const cv::Mat &part)
{
    const size_t width = size_t(tensorWidth(scaledWidth(part.size())));
    ov::Tensor input(ov::element::f32, {1, 3, tensorRows, width});
    fillTensor(part, int(width), input.data<float>());
    request.set_input_tensor(input);
    request.infer();
    const ov::Tensor output = request.get_output_tensor();
    return characters->decode(output.data<float>(), output.get_shape()[1]);
}

std::unique_ptr<OpenVinoLineRecognizer> OpenVinoLineRecognizer::load(const QString &modelFile,
                                                                     QString &whyNot)
{
    try {
        auto network = std::make_unique<Network>();
        network->modelFile = modelFile;
        network->compile();
        return std::unique_ptr<OpenVinoLineRecognizer>(
            new OpenVinoLineRecognizer(std::move(network)));
    } catch (const std::exception &) {
        // The library's text tells its own source lines, not what is wrong with the file.
        whyNot = modelFile + QStringLiteral(" cannot be loaded");
        return nullptr;
    }
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
            if (part.newWord && endsWithWord(answer.text) && startsWithWord(read.text)) {
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
    if (threads == m_network->threads) {
        return;
    }
    const int before = std::exchange(m_network->threads, threads);
    try {
        m_network->compile();
    } catch (const std::exception &error) {
        qWarning() << "still reading with" << before << "threads:" << error.what();
        m_network->threads = before;
    }
}
} // namespace coreai
