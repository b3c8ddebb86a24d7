// Reads lines with the distribution's Tesseract, English and simplified Chinese: what stands in
// where the neural models are not installed.
// Owner: the runtime's engine set. Thread: one at a time.

#pragma once

#include "coreai/engines/linerecognizer.h"

#include <QString>

#include <memory>

namespace tesseract
{
class TessBaseAPI;
}

namespace coreai
{
class TesseractLineRecognizer : public LineRecognizer
{
public:
    // Null where `folder` holds no language data; `whyNot` then tells it in a few words. The
    // library's own way to it would follow the environment.
    static std::unique_ptr<TesseractLineRecognizer> load(const QString &folder, QString &whyNot);
    ~TesseractLineRecognizer() override;

    std::optional<LineText> read(const cv::Mat &line) override;
    std::string name() const override;

private:
    explicit TesseractLineRecognizer(std::unique_ptr<tesseract::TessBaseAPI> api);

    std::unique_ptr<tesseract::TessBaseAPI> m_api;
};
} // namespace coreai
