// A search over a year of history, from the key to the rows that a page would paint, beside other
// ways to search the same texts. searchbench [FOLDER [--ours]]: keeps the year in FOLDER for the
// next run; --ours leaves the other ways out.

#include "ai/aiabilityprovider.h"
#include "database/databasemanager.h"
#include "othersearches.h"
#include "searchphases.h"
#include "searchprogram.h"
#include "support/figure.h"
#include "support/stall.h"
#include "support/yearstore.h"

#include "../database/plainsearch.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <vector>

#include <malloc.h>

namespace
{
constexpr int FIRST_HITS = 40;
constexpr int PAGES = 8;
constexpr int PAGE = 36;
constexpr int COUNTS = 9;
constexpr int KEYS = 30;
constexpr int KEYS_MS = 2000;
constexpr int SEARCHES = 200;
constexpr int ROWS_A_SEARCH = 3;
constexpr int NEAR_FRAMES = 40;
constexpr int MOST_NEAR_FRAMES = 5000;       // the most that a search by meaning may find
constexpr double FIRST_TEXT_GOAL_MS = 300.0; // each to the painted hit, of which this is a part
constexpr double FIRST_MEANING_GOAL_MS = 400.0;
constexpr double PAGE_GOAL_MS = 2500.0;
constexpr double STALL_GOAL_MS = 50.0;
constexpr double TYPING_STALL_GOAL_MS = 100.0;

const QStringList MEANINGS{
    QStringLiteral("invoice of a railway journey"), QStringLiteral("晚餐的菜谱"),
    QStringLiteral("error message of a compiler"), QStringLiteral("明天的会议安排"),
    QStringLiteral("photograph of a mountain lake")};
const QString COMMON_MEANING = QStringLiteral("a year of spreadsheets");

double allocatedMebibytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1024.0 * 1024.0);
}

using SearchProgram::awaitRows;
using SearchProgram::millisecondsToRow;
using SearchProgram::print;
using SearchProgram::printTimes;
using SearchProgram::Program;

void measureFirstTextHits(Program *program, const YearStore::Facts &facts)
{
    std::vector<double> values;
    values.reserve(FIRST_HITS);
    const Bench::Stall stall;
    for (int round = 0; round < FIRST_HITS; ++round) {
        const QString &word = round % 2 == 0 ? facts.rareWord : facts.rareChineseWord;
        values.push_back(millisecondsToRow(program->texts(), 1,
                                           [&] { program->info.showTextSearchResult(word); }));
    }
    program->info.clearSearchTaskAndResult();
    printTimes("key to first text hit, rare word", values, FIRST_TEXT_GOAL_MS);
    stall.print(
        QStringLiteral(
            "longest stall of the main thread meanwhile, with the stop of the search before"),
        TYPING_STALL_GOAL_MS);
}

/// The vector of each meaning becomes that of some frames, so that it finds them.
void teachMeanings(const YearStore::Facts &facts)
{
    DatabaseManager *databases = DatabaseManager::getInstance();
    SearchQuery query;
    query.text = facts.commonWord;
    query.limit = MOST_NEAR_FRAMES * 4;
    const QVector<ScreenShotData> frames = databases->getOcrScreenShotData(query);
    const auto teach = [&](const QString &meaning, int first, int count, int step) {
        const QVector<float> vector = AIAbilityProvider::getInstance()->embeddingText(meaning);
        if (vector.isEmpty()) {
            qFatal("the runtime embeds no text");
        }
        for (int frame = 0; frame < count; ++frame) {
            const ScreenShotData &data = frames.at((first + frame * step) % frames.size());
            if (!databases->saveScreenShotEmbedding(vector, data)) {
                qFatal("a vector cannot be saved");
            }
        }
    };
    for (int meaning = 0; meaning < MEANINGS.size(); ++meaning) {
        teach(MEANINGS.at(meaning), meaning * 7, NEAR_FRAMES, 311);
    }
    teach(COMMON_MEANING, 3, MOST_NEAR_FRAMES, 1);
}

void measureFirstMeanings(Program *program)
{
    std::vector<double> values;
    values.reserve(FIRST_HITS);
    const Bench::Stall stall;
    for (int round = 0; round < FIRST_HITS; ++round) {
        values.push_back(millisecondsToRow(program->pictures(), 1, [&] {
            program->info.showImageSearchResult(MEANINGS.at(round % MEANINGS.size()));
        }));
    }
    program->info.clearSearchTaskAndResult();
    printTimes("key to first hit by meaning", values, FIRST_MEANING_GOAL_MS);
    stall.print(
        QStringLiteral(
            "longest stall of the main thread meanwhile, with the stop of the search before"),
        TYPING_STALL_GOAL_MS);
}

void measurePages(Program *program, const YearStore::Facts &facts)
{
    std::vector<double> values;
    values.reserve(PAGES);
    const Bench::Stall stall;
    for (int round = 0; round < PAGES; ++round) {
        const QString word = facts.commonWord.left(facts.commonWord.size() - round % 2);
        values.push_back(millisecondsToRow(program->texts(), PAGE,
                                           [&] { program->info.showTextSearchResult(word); }));
    }
    program->info.clearSearchTaskAndResult();
    printTimes("key to 36 hits, common word", values, PAGE_GOAL_MS);
    stall.print(QStringLiteral("longest stall of the main thread meanwhile"), STALL_GOAL_MS);
}

void measureTyping(Program *program, const QString &name, const QString &text)
{
    std::vector<double> calls;
    QTimer keys;
    keys.setTimerType(Qt::PreciseTimer);
    QEventLoop loop;
    const Bench::Stall stall;
    QObject::connect(&keys, &QTimer::timeout, &keys, [&] {
        const QString typed = text.left(static_cast<int>(calls.size()) % text.size() + 1);
        calls.push_back(Bench::milliseconds([&] { program->info.showTextSearchResult(typed); }));
        if (calls.size() == KEYS) {
            loop.quit();
        }
    });
    keys.start(KEYS_MS / KEYS);
    loop.exec();
    keys.stop();
    program->info.clearSearchTaskAndResult();
    const QString title = QStringLiteral("30 keys in 2 s, %1").arg(name);
    print(title + ": median wait for the search before", Bench::median(calls), "ms");
    print(title + ": longest", *std::max_element(calls.begin(), calls.end()), "ms",
          TYPING_STALL_GOAL_MS);
    stall.print(title + ": longest stall of the main thread", TYPING_STALL_GOAL_MS);
}

/// Pictures are kept for the session under a place and one of two generations. To be called first.
void measureMemory(Program *program, const YearStore::Facts &facts)
{
    const auto growthOf = [](const std::function<void()> &searches) {
        const double before = allocatedMebibytes();
        searches();
        return allocatedMebibytes() - before;
    };
    const auto showPage = [&] {
        program->info.showTextSearchResult(facts.commonWord);
        awaitRows(program->texts(), PAGE);
    };
    const double first = growthOf(showPage);
    const double second = growthOf(showPage);
    const double others = growthOf([&] {
        for (int search = 2; search < SEARCHES; ++search) {
            program->info.showTextSearchResult(search % 2 == 0 ? facts.rareWord
                                                               : facts.rareChineseWord);
            awaitRows(program->texts(), ROWS_A_SEARCH);
        }
        program->info.clearSearchTaskAndResult();
    });
    print("memory, growth a hit of the first 36", first / PAGE, "MiB");
    print("  of the next search's 36", second / PAGE, "MiB");
    print(QStringLiteral("  of %1 searches of %2 hits and more after them")
              .arg(SEARCHES - 2)
              .arg(ROWS_A_SEARCH),
          others / (ROWS_A_SEARCH * (SEARCHES - 2)), "MiB");
}

void measureOthers(Program *program, const YearStore::Facts &facts)
{
    const QString directory =
        QDir::homePath() + QStringLiteral("/.cache/tavel-ai-yestermark/traditional_database");
    const PlainSearch plain(directory);
    const QTemporaryDir folder;
    std::unique_ptr<TrigramSearch> trigrams;
    print("other searches: FTS5 trigram index, built once", Bench::milliseconds([&] {
              trigrams = std::make_unique<TrigramSearch>(directory, folder.filePath("fts.db"));
          }),
          "ms");
    print("other searches: FTS5 trigram index", trigrams->indexMebibytes(), "MiB");
    for (const QString &word :
         {facts.rareWord, facts.rareChineseWord, facts.absentWord, facts.commonWord}) {
        const int hits = program->reader.getTextSearchResultCount(word);
        const QString title = QStringLiteral("count of texts, %1 hits: ").arg(hits);
        std::vector<double> ours;
        std::vector<double> like;
        std::vector<double> indexed;
        for (int round = 0; round < COUNTS; ++round) { // in turns: a busy moment meets all
            ours.push_back(
                Bench::milliseconds([&] { program->reader.getTextSearchResultCount(word); }));
            like.push_back(Bench::milliseconds([&] { plain.run(word); }));
            indexed.push_back(Bench::milliseconds([&] { trigrams->run(word); }));
        }
        const PythonSearch::Result python = PythonSearch::run(directory, word, 3);
        if (plain.run(word).size() != hits || python.hits != hits ||
            (trigrams->run(word) >= 0 && trigrams->run(word) != hits)) {
            qFatal("the searches disagree");
        }
        const double own = Bench::median(ours);
        print(title + "ours", own, "ms");
        print(title + "plain SQLite LIKE", Bench::median(like), "ms", 0.0, own, "ours");
        if (trigrams->run(word) >= 0) {
            print(title + "FTS5 trigrams", Bench::median(indexed), "ms", 0.0, own, "ours");
        }
        print(title + "Python loop", python.milliseconds, "ms", 0.0, own, "ours");
    }
}

void discard(QtMsgType level, const QMessageLogContext &, const QString &text)
{
    if (level == QtFatalMsg) {
        fprintf(stderr, "%s\n", qPrintable(text));
    }
}

void awaitRuntime()
{
    QElapsedTimer clock;
    clock.start();
    while (AIAbilityProvider::getInstance()->embeddingText(QStringLiteral("x")).isEmpty()) {
        if (clock.elapsed() > SearchProgram::PATIENCE_MS) {
            qFatal("the runtime does not come up");
        }
    }
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QStringList arguments = QGuiApplication::arguments();
    YearStore::Options options;
    options.withVectors = true;
    options = YearStore::chosen(&arguments, options);
    options.cacheFolder = arguments.value(1);
    const YearStore::Facts facts = YearStore::make(QDir::homePath(), options);

    qInstallMessageHandler(discard);
    awaitRuntime();
    Program program;
    teachMeanings(facts);
    measureMemory(&program, facts);
    measureFirstTextHits(&program, facts);
    measureFirstMeanings(&program);
    SearchPhases::measure(&program, QStringLiteral("rare word"), facts.rareWord);
    SearchPhases::measure(&program, QStringLiteral("common word"), facts.commonWord);
    SearchPhases::measure(&program, QStringLiteral("40 hits by meaning"), MEANINGS.first());
    SearchPhases::measure(&program, QStringLiteral("5000 hits by meaning"), COMMON_MEANING);
    measurePages(&program, facts);
    measureTyping(&program, QStringLiteral("a rare word"), facts.rareWord);
    measureTyping(&program, QStringLiteral("a common word"), facts.commonWord);
    measureTyping(&program, QStringLiteral("5000 hits by meaning"), COMMON_MEANING);
    if (arguments.value(2) != QLatin1String("--ours")) {
        measureOthers(&program, facts);
    }
    return 0;
}
