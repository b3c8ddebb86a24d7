// A search over a year of history, from the key to the rows that a page would paint, beside other
// ways to search the same texts. searchbench [FOLDER]: keeps the year in FOLDER for the next run.

#include "ai/aiabilityprovider.h"
#include "app/configmanager.h"
#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/datahandler.h"
#include "models/videoimageprovider.h"
#include "models/videoinfo.h"
#include "models/videopreviewitem.h"
#include "models/videoreader.h"
#include "othersearches.h"
#include "support/figure.h"
#include "support/yearstore.h"

#include "../database/plainsearch.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <vector>

#include <malloc.h>

namespace
{
constexpr int FRAMES = 150000;
constexpr int FIRST_HITS = 40;
constexpr int PAGES = 8;
constexpr int PAGE = 36;
constexpr int COUNTS = 9;
constexpr int KEYS = 30;
constexpr int KEYS_MS = 2000;
constexpr int SEARCHES = 200;
constexpr int ROWS_A_SEARCH = 3;
constexpr int NEAR_FRAMES = 40;
constexpr int MOST_NEAR_FRAMES = 5000; // the most that a search by meaning may find
constexpr int PATIENCE_MS = 60000;
constexpr int TICK_MS = 5;
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

double percentile95(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(static_cast<std::size_t>(std::ceil(values.size() * 0.95)) - 1);
}

double allocatedMebibytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1024.0 * 1024.0);
}

void print(const QString &name, double value, const QString &unit, double goal = 0.0,
           double floor = 0.0, const QString &floorName = QString())
{
    Bench::print({name, value, unit, goal, floor, floorName});
}

void printTimes(const QString &name, const std::vector<double> &values, double goal)
{
    print(name + QStringLiteral(", median of %1").arg(values.size()), Bench::median(values), "ms");
    print(name + QStringLiteral(", p95"), percentile95(values), "ms", goal);
}

/// The longest time for which the main thread does not answer, while this lives.
class Stall
{
public:
    Stall()
    {
        m_ticks.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_ticks, &QTimer::timeout, &m_ticks, [this] {
            m_longest = std::max(m_longest, static_cast<double>(m_clock.nsecsElapsed()) / 1e6);
            m_clock.restart();
        });
        m_clock.start();
        m_ticks.start(TICK_MS);
    }

    double longest() const { return m_longest - TICK_MS; }

private:
    QTimer m_ticks;
    QElapsedTimer m_clock;
    double m_longest = 0.0;
};

struct Program {
    ConfigManager settings;
    ScreenHistoryTracker tracker;
    DataHandler handler{tracker};
    VideoReader reader{&handler};
    VideoImageProvider provider{&reader};
    VideoPreviewItem shown;
    VideoInfo info{&provider, &reader, &shown, &settings};

    QAbstractListModel *texts() { return info.textMatchResultModel(); }
    QAbstractListModel *pictures() { return info.imageMatchResultModel(); }
};

void awaitRows(const QAbstractListModel *model, int rows)
{
    QElapsedTimer clock;
    clock.start();
    while (model->rowCount() < rows) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (clock.elapsed() > PATIENCE_MS) {
            qFatal("a search shows %d rows and not %d", model->rowCount(), rows);
        }
    }
}

/// From the key to the row with that number; the search goes on.
double millisecondsToRow(const QAbstractListModel *model, int rows,
                         const std::function<void()> &search)
{
    return Bench::milliseconds([&] {
        search();
        awaitRows(model, rows);
    });
}

void measureFirstTextHits(Program *program, const YearStore::Facts &facts)
{
    std::vector<double> values;
    values.reserve(FIRST_HITS);
    const Stall stall;
    for (int round = 0; round < FIRST_HITS; ++round) {
        const QString &word = round % 2 == 0 ? facts.rareWord : facts.rareChineseWord;
        values.push_back(millisecondsToRow(program->texts(), 1,
                                           [&] { program->info.showTextSearchResult(word); }));
    }
    program->info.clearSearchTaskAndResult();
    printTimes("key to first text hit, rare word", values, FIRST_TEXT_GOAL_MS);
    print("longest stall of the main thread meanwhile, with the stop of the search before",
          stall.longest(), "ms", TYPING_STALL_GOAL_MS);
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
    const Stall stall;
    for (int round = 0; round < FIRST_HITS; ++round) {
        values.push_back(millisecondsToRow(program->pictures(), 1, [&] {
            program->info.showImageSearchResult(MEANINGS.at(round % MEANINGS.size()));
        }));
    }
    program->info.clearSearchTaskAndResult();
    printTimes("key to first hit by meaning", values, FIRST_MEANING_GOAL_MS);
    print("longest stall of the main thread meanwhile, with the stop of the search before",
          stall.longest(), "ms", TYPING_STALL_GOAL_MS);
}

void measureLookUps(Program *program)
{
    const auto count = [program](const QString &meaning) {
        return program->reader.getImageSearchResultCount(meaning);
    };
    for (const QString &meaning : {MEANINGS.first(), COMMON_MEANING}) {
        const int hits = count(meaning);
        print(QStringLiteral("count by meaning, %1 hits").arg(hits),
              Bench::medianMilliseconds(COUNTS, [&] { count(meaning); }), "ms");
    }
    AIAbilityProvider *provider = AIAbilityProvider::getInstance();
    int text = 0;
    print("  of which a text's vector, never asked for before",
          Bench::medianMilliseconds(
              COUNTS, [&] { provider->embeddingText("text number " + QString::number(++text)); }),
          "ms");
}

void measurePages(Program *program, const YearStore::Facts &facts)
{
    std::vector<double> values;
    values.reserve(PAGES);
    const Stall stall;
    for (int round = 0; round < PAGES; ++round) {
        const QString word = facts.commonWord.left(facts.commonWord.size() - round % 2);
        values.push_back(millisecondsToRow(program->texts(), PAGE,
                                           [&] { program->info.showTextSearchResult(word); }));
    }
    program->info.clearSearchTaskAndResult();
    printTimes("key to 36 hits, common word", values, PAGE_GOAL_MS);
    print("longest stall of the main thread meanwhile", stall.longest(), "ms", STALL_GOAL_MS);
}

void measureTyping(Program *program, const QString &name, const QString &text)
{
    std::vector<double> calls;
    QTimer keys;
    keys.setTimerType(Qt::PreciseTimer);
    QEventLoop loop;
    const Stall stall;
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
    print(title + ": longest stall of the main thread", stall.longest(), "ms",
          TYPING_STALL_GOAL_MS);
}

void measureMemory(Program *program, const YearStore::Facts &facts)
{
    const double before = allocatedMebibytes();
    double early = 0.0;
    for (int search = 0; search < SEARCHES; ++search) {
        program->info.showTextSearchResult(search % 2 == 0 ? facts.rareWord
                                                           : facts.rareChineseWord);
        awaitRows(program->texts(), ROWS_A_SEARCH);
        if (search == 9) {
            early = allocatedMebibytes();
        }
    }
    program->info.clearSearchTaskAndResult();
    const double after = allocatedMebibytes();
    print(QStringLiteral("memory, growth over %1 searches of %2 hits and more")
              .arg(SEARCHES)
              .arg(ROWS_A_SEARCH),
          after - before, "MiB");
    print("  a hit", (after - before) / (SEARCHES * ROWS_A_SEARCH), "MiB");
    print("  after the first ten searches", after - early, "MiB");
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
        if (clock.elapsed() > PATIENCE_MS) {
            qFatal("the runtime does not come up");
        }
    }
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    YearStore::Options options;
    options.rows = FRAMES;
    options.withVectors = true;
    options.cacheFolder = QGuiApplication::arguments().value(1);
    const YearStore::Facts facts = YearStore::make(QDir::homePath(), options);

    qInstallMessageHandler(discard);
    awaitRuntime();
    Program program;
    teachMeanings(facts);
    measureFirstTextHits(&program, facts);
    measureFirstMeanings(&program);
    measureLookUps(&program);
    measurePages(&program, facts);
    measureTyping(&program, QStringLiteral("a rare word"), facts.rareWord);
    measureTyping(&program, QStringLiteral("a common word"), facts.commonWord);
    measureTyping(&program, QStringLiteral("5000 hits by meaning"), COMMON_MEANING);
    measureOthers(&program, facts);
    measureMemory(&program, facts);
    return 0;
}
