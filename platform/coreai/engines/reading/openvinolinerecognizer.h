// Reads lines with PP-OCRv6 small, executed by OpenVINO on the CPU.
// Owner: the runtime's engine set. Thread: one at a time.

#pragma once

#include "coreai/engines/linerecognizer.h"

#include <QString>

#include <memory>

namespace coreai
{
class OpenVinoLineRecognizer : public LineRecognizer
{
public:
    enum class Arithmetic {
        OfProcessor, // the quicker one here
        Floats,
        Integers, // of 8 bits, but for the layers that see the picture itself
    };

    // Null where the file is no such model; `whyNot` then tells it in a few words.
    static std::unique_ptr<OpenVinoLineRecognizer>
    load(const QString &modelFile, QString &whyNot,
         Arithmetic arithmetic = Arithmetic::OfProcessor);
    ~OpenVinoLineRecognizer() override;

    std::optional<LineText> read(const cv::Mat &line) override;
    std::vector<std::optional<LineText>> readAll(const std::vector<cv::Mat> &lines) override;
    std::string name() const override;

private:
    struct Network;
    explicit OpenVinoLineRecognizer(std::unique_ptr<Network> network);

    std::unique_ptr<Network> m_network;
};
} // namespace coreai
