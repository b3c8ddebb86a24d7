// What cutting a frame into lines costs on one thread, and how many lines a picture without text
// gives: each is read at 15 ms and more.

#include "reading/linecut.h"
#include "support/figure.h"
#include "textpages.h"

#include <opencv2/core/utility.hpp>

#include <QGuiApplication>
#include <QPainter>

#include <set>

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
        const double time =
            Bench::cpuMilliseconds([&] { lines = coreai::cutLines(pixels).size(); });
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
std::vector<coreai::CutLine> linesOf(QImage picture)
{
    return coreai::cutLines(cv::Mat(picture.height(), picture.width(), CV_8UC4, picture.bits(),
                                    std::size_t(picture.bytesPerLine())));
}

// An editor that fills the screen, and a window of messages over it.
QImage desktop(const QSize &size, const QPoint &window, int firstLine, int typedLine)
{
    QImage picture = TextPages::editor(size, true, firstLine, typedLine).picture;
    const QImage messages = TextPages::chat({700, 500}).picture;
    QPainter painter(&picture);
    painter.drawImage(window, messages);
    painter.setPen(QColor(0x60, 0x60, 0x60));
    painter.drawRect(QRect(window, messages.size()));
    painter.end();
    return picture;
}

// Share of the lines' width in `after` that is not known from `before`.
void measureNew(const QString &change, const QImage &before, const QImage &after, double goal)
{
    const auto keyOf = [](const coreai::CutLine &line) {
        const auto *bytes = reinterpret_cast<const char *>(line.bitmap.data);
        return std::make_pair(line.box.width,
                              std::string(bytes, line.bitmap.total() * line.bitmap.elemSize()));
    };
    std::set<std::pair<int, std::string>> known;
    for (const coreai::CutLine &line : linesOf(before))
        known.insert(keyOf(line));
    double width = 0;
    double newWidth = 0;
    int newLines = 0;
    for (const coreai::CutLine &line : linesOf(after)) {
        width += line.box.width;
        if (known.count(keyOf(line)) == 0) {
            newWidth += line.box.width;
            ++newLines;
        }
    }
    Bench::Figure figure;
    figure.name = QStringLiteral("new line width, %1 (%2 lines)").arg(change).arg(newLines);
    figure.value = 100 * newWidth / width;
    figure.unit = QStringLiteral("%");
    figure.goal = goal;
    Bench::print(figure);
}

void measureChanges()
{
    const QSize size(1920, 1080);
    const QPoint window(900, 300);
    const QImage before = desktop(size, window, 100, -1);
    measureNew(QStringLiteral("nothing changed"), before, before, 0.01);
    measureNew(QStringLiteral("one line typed in"), before, desktop(size, window, 100, 120), 7);
    // Three of the 61 lines are really new, and those that the window's edges cut.
    measureNew(QStringLiteral("scrolled by three lines"), before, desktop(size, window, 103, -1),
               12);
    measureNew(QStringLiteral("window moved"), before, desktop(size, {1013, 377}, 100, -1), 30);
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
    measureChanges();
    return 0;
}
