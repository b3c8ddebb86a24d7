#include "coreai/engines/reading/openvinolinerecognizer.h"

#include "coreai/engines/reading/ctctext.h"
#include "coreai/engines/reading/lineranges.h"
#include "coreai/engines/reading/linetensor.h"
#include "coreai/engines/reading/partedlines.h"

#include <QDebug>
#include <QFile>
#include <openvino/openvino.hpp>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <system_error>
#include <thread>

namespace coreai
{
namespace
{
// Where the ONNX front end puts the metadata that the model's makers wrote.
std::string characterList(const ov::Model &model)
{
    return model.get_rt_info<std::string>("framework", "character");
}
// Integers take 0.8 times as long as the half floats of processors that have them. Beside other
// floats it was 0.4 to 0.5 with AVX-512 VNNI, all layers rounded, and 0.7 to 0.9 with AVX2 alone.
// They cost 0.3 s more to load and 110 MB, and read as well: of the words on five screens 1.46 %
// were missed, 1.55 % with floats.
bool hasHalfFloats(const ov::Core &core)
{
    const auto abilities = core.get_property("CPU", ov::device::capabilities);
    return std::find(abilities.begin(), abilities.end(), ov::device::capability::BF16) !=
           abilities.end();
}
} // namespace

struct OpenVinoLineRecognizer::Network {
    std::unique_ptr<CtcText> characters;
    // Compiled once for every width: the weights are then held once, and a width that is new costs
    // 20 ms, a compilation of its own 170 ms and 30 MB. The outputs are the same to the bit.
    // Two streams of one thread share the weights. Beside one stream of one thread that is 50 ms
    // more to compile and 40 MB, 80 MB where two lines were read at once; a line alone takes the
    // same time.
    std::array<ov::InferRequest, 2> requests;

    void compile(const QString &modelFile, Arithmetic arithmetic);
    void readOn(PartedLines &lines, std::atomic<std::size_t> &next, ov::InferRequest &request);
    LineText readPart(const cv::Mat &part, ov::InferRequest &request) const;
};

void OpenVinoLineRecognizer::Network::compile(const QString &modelFile, Arithmetic arithmetic)
{
    ov::Core core;
    if (arithmetic == Arithmetic::OfProcessor) {
        arithmetic = hasHalfFloats(core) ? Arithmetic::Floats : Arithmetic::Integers;
    }
    const std::shared_ptr<ov::Model> model =
        core.read_model(QFile::encodeName(modelFile).toStdString());
    characters = std::make_unique<CtcText>(characterList(*model));
    const ov::PartialShape output = model->output().get_partial_shape();
    if (output.size() != 3 || output[2] != int64_t(characters->classes())) {
        throw std::runtime_error("the model's output does not fit its characters");
    }
    model->reshape(ov::PartialShape{1, 3, tensorRows, ov::Dimension::dynamic()});
    if (arithmetic == Arithmetic::Integers && quantize(*model, lineRanges) < lineRanges.size()) {
        qWarning() << "not the line model that was measured: reading takes more time";
    }
    const int streams = int(requests.size());
    // Not bound to cores: which of them is free is for the system to know.
    ov::CompiledModel compiled = core.compile_model(
        model, "CPU", ov::inference_num_threads(streams), ov::num_streams(streams),
        ov::hint::num_requests(uint32_t(streams)), ov::hint::enable_cpu_pinning(false));
    for (ov::InferRequest &request : requests) {
        request = compiled.create_infer_request();
    }
}

LineText OpenVinoLineRecognizer::Network::readPart(const cv::Mat &part,
                                                   ov::InferRequest &request) const
{
    const size_t width = size_t(tensorWidth(scaledWidth(part.size())));
    ov::Tensor input(ov::element::f32, {1, 3, tensorRows, width});
    fillTensor(part, int(width), input.data<float>());
    request.set_input_tensor(input);
    request.infer();
    const ov::Tensor output = request.get_output_tensor();
    return characters->decode(output.data<float>(), output.get_shape()[1]);
}

// Takes one part after the other until none is left.
void OpenVinoLineRecognizer::Network::readOn(PartedLines &lines, std::atomic<std::size_t> &next,
                                             ov::InferRequest &request)
{
    for (std::size_t number = next++; number < lines.count(); number = next++) {
        try {
            lines.put(number, readPart(lines.part(number), request));
        } catch (const std::exception &error) {
            qWarning() << "a line could not be read:" << error.what();
        }
    }
}

std::unique_ptr<OpenVinoLineRecognizer>
OpenVinoLineRecognizer::load(const QString &modelFile, QString &whyNot, Arithmetic arithmetic)
{
    try {
        auto network = std::make_unique<Network>();
        network->compile(modelFile, arithmetic);
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

std::optional<LineText> OpenVinoLineRecognizer::read(const cv::Mat &line)
{
    PartedLines lines(std::vector<cv::Mat>(1, line));
    std::atomic<std::size_t> next{0};
    m_network->readOn(lines, next, m_network->requests.front());
    return lines.texts().front();
}

std::vector<std::optional<LineText>>
OpenVinoLineRecognizer::readAll(const std::vector<cv::Mat> &bitmaps)
{
    PartedLines lines(bitmaps);
    std::atomic<std::size_t> next{0};
    std::thread beside;
    try {
        beside = std::thread([&] {
            pthread_setname_np(pthread_self(), "ai reader");
            m_network->readOn(lines, next, m_network->requests.back());
        });
    } catch (const std::system_error &) {
        // No thread is to be had: this one reads them all.
    }
    m_network->readOn(lines, next, m_network->requests.front());
    if (beside.joinable()) {
        beside.join();
    }
    return lines.texts();
}

std::string OpenVinoLineRecognizer::name() const
{
    return "PP-OCRv6 small";
}
} // namespace coreai
