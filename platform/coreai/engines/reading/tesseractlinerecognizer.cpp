#include "coreai/engines/reading/tesseractlinerecognizer.h"

#include "coreai/engines/reading/lineink.h"

#include <opencv2/imgproc.hpp>
#include <tesseract/baseapi.h>

#include <algorithm>

namespace coreai
{
namespace
{
// The network of Tesseract works on lines of 36 pixels and wants some empty rows around them; text
// of the screen is smaller. Measured: 40 pixels with a margin of 8 find the most words.
constexpr int textHeight = 40;
constexpr int margin = 8;
// A line of this many times its height is longer than any screen shows.
constexpr int longestLine = 32000;

// Dark on light, as the engine was trained.
cv::Mat prepared(const cv::Mat &line)
{
    cv::Mat grey;
    cv::cvtColor(line, grey, cv::COLOR_BGRA2GRAY);
    const double scale = double(textHeight) / grey.rows;
    const int width = std::clamp(int(grey.cols * scale), 1, longestLine);
    cv::resize(grey, grey, {width, textHeight}, 0, 0, scale < 1 ? cv::INTER_AREA : cv::INTER_CUBIC);
    const uchar background = borderGrey(grey);
    if (background < 128) {
        cv::bitwise_not(grey, grey);
    }
    const int outside = background < 128 ? 255 - background : background;
    cv::copyMakeBorder(grey, grey, margin, margin, margin, margin, cv::BORDER_CONSTANT, outside);
    return grey;
}

std::string oneLine(const char *text)
{
    std::string line(text ? text : "");
    std::replace(line.begin(), line.end(), '\n', ' ');
    while (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return line;
}
} // namespace

std::unique_ptr<TesseractLineRecognizer> TesseractLineRecognizer::load(QString &whyNot)
{
    for (const char *languages : {"eng+chi_sim", "eng", "chi_sim"}) {
        auto api = std::make_unique<tesseract::TessBaseAPI>();
        // The library prints its complaints; nobody reads them there.
        api->SetVariable("debug_file", "/dev/null");
        if (api->Init(nullptr, languages, tesseract::OEM_LSTM_ONLY) == 0) {
            api->SetPageSegMode(tesseract::PSM_SINGLE_LINE);
            return std::unique_ptr<TesseractLineRecognizer>(
                new TesseractLineRecognizer(std::move(api)));
        }
    }
    whyNot = QStringLiteral("Tesseract has no language data");
    return nullptr;
}

TesseractLineRecognizer::TesseractLineRecognizer(std::unique_ptr<tesseract::TessBaseAPI> api)
    : m_api(std::move(api))
{
}

TesseractLineRecognizer::~TesseractLineRecognizer() = default;

LineText TesseractLineRecognizer::read(const cv::Mat &line)
{
    if (!hasInk(line)) {
        return {};
    }
    const cv::Mat picture = prepared(line);
    // What was learned from one line must not colour the next.
    m_api->ClearAdaptiveClassifier();
    m_api->SetImage(picture.data, picture.cols, picture.rows, 1, int(picture.step));
    m_api->SetSourceResolution(300);
    const std::unique_ptr<char[]> text(m_api->GetUTF8Text());
    LineText answer;
    answer.text = oneLine(text.get());
    answer.confidence = answer.text.empty() ? 0.0F : float(m_api->MeanTextConf()) / 100.0F;
    m_api->Clear();
    return answer;
}

std::string TesseractLineRecognizer::name() const
{
    return std::string("Tesseract ") + tesseract::TessBaseAPI::Version();
}
} // namespace coreai
