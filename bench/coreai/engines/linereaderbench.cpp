// What reading a line costs: loading the engine up to the first text, CPU time by the width of the
// network's input, memory at work and after unloading. Lines are drawn here.

#include "coreai/engines/modelfolders.h"
#include "coreai/engines/reading/loadlinerecognizer.h"
#include "support/figure.h"

#include <QFile>
#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QProcess>

#include <opencv2/core/mat.hpp>

#include <cstdio>
#include <cstring>
#include <malloc.h>

using namespace coreai;

namespace
{
constexpr int rounds = 7;
constexpr double goalFirstLine = 500; // ms from the start of a process
constexpr double goalMemory = 550e6;  // bytes resident at work
const QString sentence = QStringLiteral("The build is green again after the last commit, "
                                        "请把上周的测试报告发给我, and nobody has to wait. ");

// A line of text of exactly this many columns.
cv::Mat lineOf(int columns)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(14);
    QImage picture(columns, 17, QImage::Format_RGB32);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.setFont(font);
    painter.drawText(1, 13, sentence.repeated(1 + columns / 300));
    painter.end();
    return cv::Mat(picture.height(), picture.width(), CV_8UC4, picture.bits(),
                   size_t(picture.bytesPerLine()))
        .clone();
}

double residentBytes()
{
    QFile status(QStringLiteral("/proc/self/statm"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    return status.readAll().split(' ').value(1).toDouble() * 4096;
}

void print(const char *name, double value, const char *unit, double goal = 0)
{
    Bench::Figure figure;
    figure.name = QString::fromLatin1(name);
    figure.value = value;
    figure.unit = QString::fromLatin1(unit);
    figure.goal = goal;
    Bench::print(figure);
}

// In a process of its own: from its start to the first text.
int firstLine()
{
    const auto engine = loadLineRecognizer(ModelFolders::standard());
    return engine->read(lineOf(300)).value_or(LineText()).text.empty() ? 1 : 0;
}

void measureFirstLine(const QString &program)
{
    print("engine process, start to first line read",
          Bench::medianMilliseconds(
              rounds, [&] { QProcess::execute(program, {QStringLiteral("--first-line")}); }),
          "ms", goalFirstLine);
}

void measureEngine(LineEngine wanted, const QByteArray &kind = {})
{
    const ModelFolders models = ModelFolders::standard();
    const double before = residentBytes();
    std::unique_ptr<LineRecognizer> engine;
    const double load = Bench::milliseconds([&] { engine = loadLineRecognizer(models, wanted); });
    const QByteArray name = QByteArray::fromStdString(engine->name()) + kind;
    print(name + ": load", load, "ms");
    for (const int columns : {24, 60, 120, 240, 480, 960, 1900}) {
        const cv::Mat line = lineOf(columns);
        engine->read(line); // shapes the network
        std::vector<double> times;
        times.reserve(rounds);
        for (int round = 0; round < rounds; ++round) {
            times.push_back(Bench::cpuMilliseconds([&] { engine->read(line); }));
        }
        print(name + ": line of " + QByteArray::number(columns) + "x17, CPU time",
              Bench::median(times), "ms");
    }
    for (int columns = 12; columns < 500; columns += 4) {
        engine->read(lineOf(columns)); // every width of the network
    }
    print(name + ": resident at work", residentBytes(), "bytes", goalMemory);
    engine.reset();
    malloc_trim(0);
    print(name + ": resident before loading", before, "bytes");
    // Far above the 40 MB that a process without work may hold: why engines stand in one that ends.
    print(name + ": resident after unloading in the same process", residentBytes(), "bytes");
}
} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    if (argc > 1 && std::strcmp(argv[1], "--first-line") == 0) {
        return firstLine();
    }
    measureFirstLine(QCoreApplication::applicationFilePath());
    measureEngine(LineEngine::OpenVinoFloats, ", floats");
    measureEngine(LineEngine::OpenVinoIntegers, ", integers");
    measureEngine(LineEngine::Tesseract);
    return 0;
}
