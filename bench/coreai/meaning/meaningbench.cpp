// How well queries find frames by their meaning, and what it costs: precision and recall of the
// program's cut-off on the labelled pages of data/, with and without the calibration, and the time
// of embedding. An argument names a folder of text files that are added as frames which nothing
// asks for.

#include "labelledset.h"
#include "meaningscores.h"
#include "support/figure.h"

#include "coreai/engines/meaning/e5textmeaning.h"
#include "coreai/engines/modelfiles.h"
#include "coreai/engines/modelfolders.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

namespace
{
using coreai::E5TextMeaning;
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

void measureSeparation(E5TextMeaning &calibrated, E5TextMeaning &raw, const Labelled::Set &set)
{
    const std::vector<std::vector<double>> scores = scoresOf(calibrated, set);
    const std::vector<std::vector<double>> rawScores = scoresOf(raw, set);
    printSeparation(QStringLiteral("calibrated"), separation(set, scores, Part::HeldOut, CutOff()));
    printSeparation(QStringLiteral("calibrated, part of the calibration"),
                    separation(set, scores, Part::Calibration, CutOff()));
    printSeparation(QStringLiteral("raw"), separation(set, rawScores, Part::HeldOut, CutOff()));
    printSeparation(QStringLiteral("raw, cut-off fitted to it"),
                    separation(set, rawScores, Part::HeldOut, fitted(set, rawScores)));
}

void printTimes(E5TextMeaning &model, const Labelled::Set &set, const QString &path,
                double megabytes)
{
    std::vector<double> queries;
    std::vector<double> queriesCpu;
    for (const Labelled::Query &query : set.queries) {
        const std::string text = query.text.toStdString();
        queries.push_back(Bench::milliseconds([&] { model.ofQuery(text); }));
        queriesCpu.push_back(Bench::cpuMilliseconds([&] { model.ofQuery(text); }));
    }
    Bench::print({QStringLiteral("embed a query"),
                  Bench::median(queries),
                  QStringLiteral("ms"),
                  goalQueryMilliseconds,
                  0,
                  {}});
    Bench::print({QStringLiteral("embed a query, CPU"),
                  Bench::median(queriesCpu),
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
    FrameVectors vectors(*model);
    for (const Labelled::Frame &frame : set.frames) {
        vectors.of(frame);
    }
    const double resident = residentMegabytes() - before;
    measureSeparation(*model, *raw, set);
    printTimes(*model, set, path, resident);
    return 0;
}
