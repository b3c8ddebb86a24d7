#include "coreai/engines/reading/tesseractlinerecognizer.h"

#include "coreai/engines/reading/lineink.h"

#include <QFile>

#include <opencv2/imgproc.hpp>
#include <tesseract/baseapi.h>

#include <algorithm>

// Of the OpenMP runtime that Tesseract links; the header comes with the one compiler only.
extern "C" int omp_get_max_active_levels();
extern "C" void omp_set_max_active_levels(int levels);

namespace coreai
{
namespace
{
// Rows of the scaled text, and of paper around it, with which most words were found.
constexpr int textRows = 40;
constexpr double marginShare = 0.2;
// Columns, far beyond any screen; what is wider is compressed to it.
constexpr int mostColumns = 32000;

// Grey, dark on light, as the engine was trained.
cv::Mat prepared(const cv::Mat &line)
{
    cv::Mat grey;
    cv::cvtColor(framed(line, std::max(1, cvRound(line.rows * marginShare))), grey,
                 cv::COLOR_BGRA2GRAY);
    if (grey.at<uchar>(0, 0) < 128) {
        cv::bitwise_not(grey, grey);
    }
    const double scale = textRows * (1 + 2 * marginShare) / grey.rows;
    const cv::Size size(std::clamp(int(grey.cols * scale), 1, mostColumns),
                        std::max(1, cvRound(grey.rows * scale)));
    cv::resize(grey, grey, size, 0, 0, scale < 1 ? cv::INTER_AREA : cv::INTER_CUBIC);
    return grey;
}

// The library asks for four threads a line, which wait for each other more than they work: on two
// cores a page took 116 s of CPU time, on one thread 23 s.
class OneThread
{
public:
    OneThread() : m_before(omp_get_max_active_levels()) { omp_set_max_active_levels(0); }
    ~OneThread() { omp_set_max_active_levels(m_before); }
    OneThread(const OneThread &) = delete;
    OneThread &operator=(const OneThread &) = delete;

private:
    int m_before;
};

std::string oneLine(const char *text)
{
    std::string line(text ? text : ""); // none: it saw no line there
    std::replace(line.begin(), line.end(), '\n', ' ');
    while (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return line;
}
} // namespace

std::unique_ptr<TesseractLineRecognizer> TesseractLineRecognizer::load(const QString &folder,
                                                                       QString &whyNot)
{
    const QByteArray data = QFile::encodeName(folder);
    for (const char *languages : {"eng+chi_sim", "eng", "chi_sim"}) {
        auto api = std::make_unique<tesseract::TessBaseAPI>();
        // The library prints its complaints; nobody reads them there.
        api->SetVariable("debug_file", "/dev/null");
        if (api->Init(data.constData(), languages, tesseract::OEM_LSTM_ONLY) == 0) {
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

std::optional<LineText> TesseractLineRecognizer::read(const cv::Mat &line)
{
    if (!hasInk(line)) {
        return LineText();
    }
    const OneThread oneThread;
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
