#include "searchphases.h"

#include "ai/aiabilityprovider.h"
#include "database/databasemanager.h"
#include "database/ocrscreenshotdatabase.h"
#include "support/figure.h"

using SearchProgram::print;
using SearchProgram::Program;

namespace
{
constexpr int ROUNDS = 9;

SearchQuery queryOf(const QString &text)
{
    SearchQuery query;
    query.text = text;
    return query;
}

struct Phase {
    QString name;
    double milliseconds;
};

/// Texts that the runtime has not been asked for.
double vectorOfANewText()
{
    static int text = 0;
    return Bench::medianMilliseconds(ROUNDS, [] {
        AIAbilityProvider::getInstance()->embeddingText(
            QStringLiteral("text number %1").arg(++text));
    });
}

/// Each time another frame, as a search has it.
double pictureOf(Program *program, const QVector<ScreenShotData> &hits)
{
    int round = 0;
    return Bench::medianMilliseconds(ROUNDS, [&] {
        const ScreenShotData &hit = hits.at(round++ * 7 % hits.size());
        program->handler.getScreenShotImageFromVideo(hit.videoName, hit.frameIndexOfVideo);
    });
}

/// With its name, icon and place on the axis; the picture is the one that was read last.
double wayIntoTheModel(Program *program)
{
    VideoReader &reader = program->reader;
    const int last = reader.getTextSearchResultCount(QStringLiteral("a")) - 1;
    reader.getTextSearchResult(last);
    return Bench::medianMilliseconds(ROUNDS, [&] { reader.getTextSearchResult(last); });
}

/// While the next hits are being decoded.
double stopOfTheSearchBefore(Program *program, const QString &text, bool inTexts)
{
    QAbstractListModel *model = inTexts ? program->texts() : program->pictures();
    std::vector<double> stops;
    for (int round = 0; round < ROUNDS; ++round) {
        inTexts ? program->info.showTextSearchResult(text)
                : program->info.showImageSearchResult(text);
        SearchProgram::awaitRows(model, 1);
        stops.push_back(Bench::milliseconds([&] { program->info.clearSearchTaskAndResult(); }));
    }
    return Bench::median(stops);
}
} // namespace

void SearchPhases::measure(Program *program, const QString &name, const QString &text)
{
    DatabaseManager *databases = DatabaseManager::getInstance();
    const SearchQuery query = queryOf(text);
    const QVector<ScreenShotData> byMeaning = databases->getVisualScreenShotData(query);
    const QVector<ScreenShotData> byText = databases->getOcrScreenShotData(query, RowTexts::Left);
    const OcrScreenshotDatabase store;
    store.getScreenShotDataOfVideos(byMeaning); // opens the months
    const double whole = Bench::medianMilliseconds(
        ROUNDS, [&] { databases->getVisualScreenShotData(query, RowTexts::Left); });
    const double known = Bench::medianMilliseconds(
        ROUNDS, [&] { AIAbilityProvider::getInstance()->embeddingText(text); });
    const double rows = Bench::medianMilliseconds(
        ROUNDS, [&] { store.getScreenShotDataOfVideos(byMeaning, RowTexts::Left); });
    const double texts = Bench::medianMilliseconds(
        ROUNDS, [&] { databases->getOcrScreenShotData(query, RowTexts::Left); });
    const bool inTexts = !byText.isEmpty();
    const std::vector<Phase> phases{
        {QStringLiteral("stop of the search before"),
         stopOfTheSearchBefore(program, text, inTexts)},
        {QStringLiteral("%1 texts").arg(byText.size()), texts},
        {QStringLiteral("vector of a new text"), vectorOfANewText()},
        {QStringLiteral("nearest frames"), whole - known - rows},
        {QStringLiteral("rows of %1 frames").arg(byMeaning.size()), rows},
        {QStringLiteral("picture of a hit"), pictureOf(program, inTexts ? byText : byMeaning)},
        {QStringLiteral("way into the model"), wayIntoTheModel(program)}};
    double sum = 0.0;
    for (const Phase &phase : phases) {
        sum += phase.milliseconds;
    }
    print(QStringLiteral("steps of a search, %1: sum").arg(name), sum, "ms");
    for (const Phase &phase : phases) {
        print(QStringLiteral("  %1").arg(phase.name), phase.milliseconds, "ms", 0.0, sum,
              QStringLiteral("sum"));
    }
}
