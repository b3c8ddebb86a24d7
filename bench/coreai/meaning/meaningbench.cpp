// How well queries find frames by their meaning, and what it costs: precision and recall of the
// program's cut-off on the labelled pages of data/, with and without the calibration, and the time
// of embedding. An argument names a folder of text files that are added as frames which nothing
// asks for.

#include "cutoff.h"
#include "labelledset.h"
#include "support/figure.h"

#include "coreai/engines/meaning/e5textmeaning.h"
#include "coreai/engines/modelfiles.h"
#include "coreai/engines/modelfolders.h"
#include "coreai/meaning/meaningspace.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

namespace
{
using coreai::E5TextMeaning;
using coreai::MeaningSpace;
using Labelled::Part;

constexpr double goalQueryMilliseconds = 30.0;
constexpr double goalLoadMilliseconds = 20.0;
constexpr int batch = 16;

double residentMegabytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QString text = QString::fromLatin1(status.readAll());
    const QString row = text.section(QStringLiteral("VmRSS:"), 1).section('\n', 0, 0);
    return row.simplified().section(' ', 0, 0).toDouble() / 1024;
}

std::vector<float> frameVector(E5TextMeaning &model, const Labelled::Frame &frame)
{
    std::vector<std::string> texts;
    for (const Labelled::Line &line : frame.lines) {
        texts.push_back(line.text.toStdString());
    }
    const std::vector<std::vector<float>> vectors = model.ofPassages(texts);
    std::vector<coreai::WeighedLine> lines;
    for (size_t i = 0; i < texts.size(); ++i) {
        const Labelled::Line &line = frame.lines[i];
        lines.push_back({&vectors[i], MeaningSpace::weightOf(line.width, line.height)});
    }
    return MeaningSpace::forFrame(lines, {});
}

double cosine(const std::vector<float> &a, const std::vector<float> &b)
{
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        sum += static_cast<double>(a[i]) * static_cast<double>(b[i]);
    }
    return sum; // both have length 1
}

std::vector<std::vector<double>> scoresOf(E5TextMeaning &model, const Labelled::Set &set)
{
    std::vector<std::vector<float>> frames;
    for (const Labelled::Frame &frame : set.frames) {
        frames.push_back(frameVector(model, frame));
    }
    std::vector<std::vector<double>> scores;
    for (const Labelled::Query &query : set.queries) {
        const std::vector<float> vector =
            MeaningSpace::forQuery(model.ofQuery(query.text.toStdString()), {});
        scores.emplace_back();
        for (const std::vector<float> &frame : frames) {
            scores.back().push_back(cosine(vector, frame));
        }
    }
    return scores;
}

void print(const QString &name, const Separation &found)
{
    const std::pair<const char *, double> figures[] = {
        {"precision", found.precision},
        {"recall", found.recall},
        {"harmonic mean of both", found.harmony},
        {"nothing shown where nothing fits", found.silent},
        {"right screen first, English", found.firstEnglish},
        {"right screen first, Chinese", found.firstChinese},
        {"score of the best hit", found.bestHit},
        {"score of the best wrong screen", found.bestWrong},
    };
    for (const auto &[figure, value] : figures) {
        Bench::print({name + ", " + figure, value * 100, QStringLiteral("of 100"), 0, 0, {}});
    }
}

void printSeparation(E5TextMeaning &calibrated, E5TextMeaning &raw, const Labelled::Set &set)
{
    const std::vector<std::vector<double>> scores = scoresOf(calibrated, set);
    const std::vector<std::vector<double>> rawScores = scoresOf(raw, set);
    print(QStringLiteral("calibrated"), separation(set, scores, Part::HeldOut, CutOff()));
    print(QStringLiteral("calibrated, part of the calibration"),
          separation(set, scores, Part::Calibration, CutOff()));
    print(QStringLiteral("raw"), separation(set, rawScores, Part::HeldOut, CutOff()));
    print(QStringLiteral("raw, cut-off fitted to it"),
          separation(set, rawScores, Part::HeldOut, fitted(set, rawScores)));
}

void printTimes(E5TextMeaning &model, const Labelled::Set &set, const QString &path,
                double megabytes)
{
    std::vector<double> queries;
    for (const Labelled::Query &query : set.queries) {
        const std::string text = query.text.toStdString();
        queries.push_back(Bench::milliseconds([&] { model.ofQuery(text); }));
    }
    Bench::print({QStringLiteral("embed a query"),
                  Bench::median(queries),
                  QStringLiteral("ms"),
                  goalQueryMilliseconds,
                  0,
                  {}});

    std::vector<double> alone;
    std::vector<double> together;
    for (size_t frame = 0; frame + 1 < set.frames.size(); frame += 8) {
        std::vector<std::string> texts;
        int tokens = 0;
        for (const Labelled::Line &line : set.frames[frame].lines) {
            const int count = model.tokenCount(line.text.toStdString());
            if (count > 0 && texts.size() < batch) {
                texts.push_back(line.text.toStdString());
                tokens += count;
            }
        }
        together.push_back(Bench::cpuMilliseconds([&] { model.ofPassages(texts); }) / tokens);
        alone.push_back(Bench::cpuMilliseconds([&] {
                            for (const std::string &text : texts) {
                                model.ofPassage(text);
                            }
                        }) /
                        tokens);
    }
    Bench::print({QStringLiteral("embed a frame's lines together, CPU a token"),
                  Bench::median(together),
                  QStringLiteral("ms"),
                  0,
                  0,
                  {}});
    Bench::print({QStringLiteral("embed a frame's lines one by one, CPU a token"),
                  Bench::median(alone),
                  QStringLiteral("ms"),
                  0,
                  0,
                  {}});
    QString fault;
    Bench::print({QStringLiteral("load the text model"),
                  Bench::medianMilliseconds(5, [&] { E5TextMeaning::load(path, &fault); }),
                  QStringLiteral("ms"),
                  goalLoadMilliseconds,
                  0,
                  {}});
    Bench::print(
        {QStringLiteral("resident for the text model"), megabytes, QStringLiteral("MB"), 0, 0, {}});
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    Labelled::Set set = Labelled::load(QStringLiteral(LABELLED_DATA));
    if (argc > 1) {
        const std::vector<Labelled::Frame> more = Labelled::distractors(app.arguments().at(1));
        set.frames.insert(set.frames.end(), more.begin(), more.end());
    }
    const QString path = coreai::ModelFolders::standard().find(coreai::textMeaningFile);
    QString fault;
    const double before = residentMegabytes();
    const auto model = E5TextMeaning::load(path, &fault);
    const auto raw = E5TextMeaning::load(path, &fault, E5TextMeaning::Vectors::Raw);
    if (!model || !raw || set.queries.empty()) {
        std::fprintf(stderr, "no text model or no labelled pages\n");
        return 1;
    }
    for (const Labelled::Frame &frame : set.frames) {
        frameVector(*model, frame);
    }
    const double resident = residentMegabytes() - before;
    printSeparation(*model, *raw, set);
    printTimes(*model, set, path, resident);
    return 0;
}
