// A search in the window over a year of history, from the key to the hits on the screen, and the
// jump from a hit to its large picture. windowsearchbench [FOLDER]: keeps the year in FOLDER for
// the next run; searchbench uses the same one.

#include "ai/aiabilityprovider.h"
#include "app/configmanager.h"
#include "app/startup.h"
#include "database/databasemanager.h"
#include "models/videoinfo.h"
#include "support/figure.h"
#include "support/stall.h"
#include "support/yearstore.h"
#include "window/paintedwindow.h"

#include <QAbstractListModel>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

namespace
{
constexpr int nearFrames = 40;
constexpr int rounds = 20;
constexpr int pages = 8;
constexpr int hitsOfPage = 36;
constexpr int patienceMs = 60000;
constexpr double firstTextGoalMs = 300.0;
constexpr double firstMeaningGoalMs = 400.0;
constexpr double pageGoalMs = 2500.0;
constexpr double jumpGoalMs = 200.0;
constexpr double streamingStallGoalMs = 50.0;
constexpr double typingStallGoalMs = 100.0;
const QString meaning = QStringLiteral("photograph of a mountain lake");

void discard(QtMsgType level, const QMessageLogContext &, const QString &text)
{
    if (level == QtFatalMsg) {
        fprintf(stderr, "%s\n", qPrintable(text));
    }
}

/// The vector of the meaning becomes that of some frames, so that it finds them.
void teachMeaning(const YearStore::Facts &facts)
{
    QElapsedTimer clock;
    clock.start();
    QVector<float> vector;
    while ((vector = AIAbilityProvider::getInstance()->embeddingText(meaning)).isEmpty()) {
        if (clock.elapsed() > patienceMs) {
            qFatal("the runtime does not come up");
        }
    }
    SearchQuery query;
    query.text = facts.commonWord;
    query.limit = nearFrames * 50;
    const QVector<ScreenShotData> frames =
        DatabaseManager::getInstance()->getOcrScreenShotData(query);
    for (int frame = 0; frame < nearFrames; ++frame) {
        if (!DatabaseManager::getInstance()->saveScreenShotEmbedding(vector,
                                                                     frames.at(frame * 49))) {
            qFatal("a vector cannot be saved");
        }
    }
}

class Searcher
{
public:
    explicit Searcher(PaintedWindow *window)
        : m_window(window)
        , m_box(window->itemWith("textInputState"))
        , m_page(window->itemWith("textNoResult"))
        , m_info(qobject_cast<VideoInfo *>(window->view()
                                               ->rootContext()
                                               ->contextProperty(QStringLiteral("VideoInfo"))
                                               .value<QObject *>()))
    {
        for (QAbstractListModel *model : {texts(), pictures()}) {
            window->watch(model, "rowsInserted(QModelIndex,int,int)");
        }
        window->watch(window->itemWith("screenshotScaleFactor"), "sourceChanged()");
    }

    /// The key that completes @p word, while the search for what was typed so far goes on.
    void measureFirst(const QString &name, const QString &state, const QString &word, double goal)
    {
        m_page->setProperty("state", state);
        QAbstractListModel *model = state == QLatin1String("textMatch") ? texts() : pictures();
        StepTimes times;
        const Bench::Stall stall;
        for (int round = 0; round < rounds; ++round) {
            type(word.left(word.size() - 1));
            m_window->settle();
            m_window->stepUntil([model] { return model->rowCount() > 0; },
                                [&] { pressKeyOf(word.at(word.size() - 1)); }, &times);
        }
        printSteps(QStringLiteral("key to first painted hit, ") + name, times, goal);
        stall.print(QStringLiteral("  longest stall of the main thread"), typingStallGoalMs);
    }

    void measurePages(const QString &word)
    {
        m_page->setProperty("state", QStringLiteral("textMatch"));
        StepTimes times;
        const Bench::Stall stall;
        for (int round = 0; round < pages; ++round) {
            type(word.left(word.size() - 1));
            awaitHits(1);
            m_window->stepUntil([this] { return texts()->rowCount() > 0; },
                                [&] { pressKeyOf(word.at(word.size() - 1)); }, &m_ignored);
            const double first = m_ignored.wall.back();
            m_window->stepUntil([this] { return texts()->rowCount() >= hitsOfPage; }, [] {},
                                &times);
            times.wall.back() += first;
        }
        printSteps(QStringLiteral("key to 36 painted hits, common word"), times, pageGoalMs);
        stall.print(QStringLiteral("  longest stall of the main thread while they stream"),
                    streamingStallGoalMs);
    }

    /// A click on each of the first rows' hits; the search box opens the hits anew.
    void measureJumps(const QString &word)
    {
        type(word);
        awaitHits(hitsOfPage);
        StepTimes times;
        const QList<QQuickItem *> cards = cardsBelow(m_page);
        for (int round = 0; round < rounds && round < cards.size(); ++round) {
            QMetaObject::invokeMethod(m_box, "edit");
            m_window->settle();
            QQuickItem *card = cards.at(round);
            const QPoint place =
                card->mapToScene({card->width() / 2, card->height() / 2}).toPoint();
            m_window->step(
                [&] { QTest::mouseClick(m_window->view(), Qt::LeftButton, Qt::NoModifier, place); },
                &times);
        }
        printSteps(QStringLiteral("click on a hit to its painted large picture"), times,
                   jumpGoalMs);
    }

private:
    QAbstractListModel *texts() const { return m_info->textMatchResultModel(); }
    QAbstractListModel *pictures() const { return m_info->imageMatchResultModel(); }

    void type(const QString &text)
    {
        QMetaObject::invokeMethod(m_box, "edit");
        m_box->setProperty("text", text);
    }

    // A word of this measurement may end with a character that no key has.
    void pressKeyOf(QChar character) { QTest::keyClick(m_window->view(), character.toLatin1()); }

    void awaitHits(int count) const
    {
        if (!QTest::qWaitFor([&] { return texts()->rowCount() >= count; }, patienceMs)) {
            qFatal("too few hits");
        }
        m_window->settle();
    }

    /// In the order of the hits, as far as they can be seen.
    QList<QQuickItem *> cardsBelow(QQuickItem *item) const
    {
        QList<QQuickItem *> cards;
        for (QQuickItem *child : item->childItems()) {
            if (!child->isVisible()) {
                continue;
            }
            const QRectF scene = child->mapRectToScene({0, 0, child->width(), child->height()});
            if (child->property("hit").isValid() && child->property("nearby").isValid()) {
                if (scene.bottom() < m_window->view()->height()) {
                    cards.append(child);
                }
            } else {
                cards.append(cardsBelow(child));
            }
        }
        return cards;
    }

    PaintedWindow *m_window;
    QQuickItem *m_box;
    QQuickItem *m_page;
    VideoInfo *m_info;
    StepTimes m_ignored;
};
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    const QApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    YearStore::Options options;
    options.withVectors = true;
    options = YearStore::chosen(&arguments, options);
    options.cacheFolder = arguments.value(1);
    const YearStore::Facts facts = YearStore::make(QDir::homePath(), options);
    {
        ConfigManager settings;
        settings.setEnabled(true);
        settings.setMaxStorageSize(1024);
    }
    qInstallMessageHandler(discard);
    chooseRenderer();
    registerMetaTypes();
    PaintedWindow window;
    teachMeaning(facts);
    Searcher searcher(&window);
    searcher.measureFirst(QStringLiteral("rare word"), QStringLiteral("textMatch"), facts.rareWord,
                          firstTextGoalMs);
    searcher.measureFirst(QStringLiteral("by meaning"), QStringLiteral("imageMatch"), meaning,
                          firstMeaningGoalMs);
    searcher.measurePages(facts.commonWord);
    searcher.measureJumps(facts.commonWord);
    return 0;
}
