// What cutting a frame into lines costs on one thread, and how many lines a picture without text
// gives: each is read at 15 ms and more.

#include "support/figure.h"
#include "reading/linecut.h"
#include "textpages.h"

#include <opencv2/core/utility.hpp>

#include <QGuiApplication>

namespace
{
constexpr int rounds = 15;

// How many times as large as 1920x1080, at which 20 ms and ten lines are the goals.
double screensIn(const QSize &size)
{
    return size.width() * size.height() / (1920.0 * 1080.0);
}

// The frame's lines, after printing what the cut costs.
std::size_t measure(const QString &name, QImage picture)
{
    const cv::Mat pixels(picture.height(), picture.width(), CV_8UC4, picture.bits(),
                         std::size_t(picture.bytesPerLine()));
    std::vector<double> milliseconds;
    std::size_t lines = 0;
    for (int round = 0; round <= rounds; ++round) {
        const double time = Bench::cpuMilliseconds(
            [&] { lines = coreai::cutLines(pixels).size(); });
        if (round > 0)
            milliseconds.push_back(time);
    }
    Bench::Figure figure;
    figure.name = QStringLiteral("cut %1 %2 (%3 lines)")
                      .arg(Bench::sizeText(picture.size()), name)
                      .arg(lines);
    figure.value = Bench::median(milliseconds);
    figure.unit = QStringLiteral("ms");
    figure.goal = 20 * screensIn(picture.size());
    Bench::print(figure);
    return lines;
}
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    cv::setNumThreads(1);
    for (const QSize &size : Bench::screenSizes()) {
        for (const TextPages::Page &page : TextPages::all(size))
            measure(page.name, page.picture);
        Bench::Figure lines;
        lines.value = double(measure(QStringLiteral("photograph"), TextPages::photograph(size)));
        lines.name = QStringLiteral("lines of a photograph ") + Bench::sizeText(size);
        lines.unit = QStringLiteral("lines");
        lines.goal = 10 * screensIn(size);
        Bench::print(lines);
    }
    return 0;
}
