#include "cli/searchcommand.h"

#include "cli/appnames.h"
#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/exitstatus.h"
#include "cli/framejson.h"
#include "cli/framename.h"
#include "cli/history.h"
#include "cli/meaning.h"
#include "cli/timetext.h"
#include "database/daytext.h"

#include <algorithm>

namespace
{
constexpr int CHARACTERS_BEFORE = 24;
constexpr int CHARACTERS_SHOWN = 72;

// SQLite takes patterns of up to 50,000 bytes; two of them are signs of ours, and the others may
// each be doubled.
constexpr int LONGEST_TEXT = 24000;

/// The part of a frame's text around what was looked for.
QString excerpt(const QString &text, const QString &wanted)
{
    const int at = std::max(0, text.indexOf(wanted, 0, Qt::CaseInsensitive));
    const int begin = std::max(0, at - CHARACTERS_BEFORE);
    return Console::printable(text.mid(begin, CHARACTERS_SHOWN)).simplified();
}

class Search
{
public:
    Search(const Arguments &arguments, Console &console)
        : m_arguments(arguments)
        , m_console(console)
        , m_history(console)
        , m_text(arguments.words().constFirst())
        , m_app(arguments.value(QStringLiteral("app")))
    {
    }

    int run(int limit)
    {
        m_limit = limit;
        if (!m_history.isThere()) {
            m_console.beginList();
            m_console.endList();
            return m_history.status();
        }
        const bool byMeaning = m_arguments.isSet(QStringLiteral("meaning"));
        const int failure = byMeaning ? searchMeanings() : searchTexts();
        if (failure != ExitStatus::Done) {
            return failure;
        }
        if (m_history.status() != ExitStatus::Done) {
            return m_history.status();
        }
        return m_shown > 0 ? ExitStatus::Done : ExitStatus::Nothing;
    }

private:
    bool isFull() const { return m_limit > 0 && m_shown >= m_limit; }

    bool isWanted(const ScreenShotData &frame)
    {
        return m_app.isEmpty() || m_names.isMeant(frame.desktopFilePath, m_app);
    }

    int searchTexts()
    {
        MonthRows::Wanted wanted;
        wanted.text = m_text;
        wanted.from = m_arguments.from();
        wanted.to = m_arguments.to();
        m_console.beginList();
        m_history.scan(wanted, [this](QVector<ScreenShotData> &found) {
            found.erase(
                std::remove_if(found.begin(), found.end(),
                               [this](const ScreenShotData &frame) { return !isWanted(frame); }),
                found.end());
            // As the program shows them: newest first, those of one second as they were stored.
            std::stable_sort(found.begin(), found.end(),
                             [](const ScreenShotData &left, const ScreenShotData &right) {
                                 return left.realTime > right.realTime;
                             });
            for (auto frame = found.cbegin(); frame != found.cend() && !isFull(); ++frame) {
                show(*frame);
            }
            return !isFull();
        });
        m_console.endList();
        return ExitStatus::Done;
    }

    int searchMeanings()
    {
        Meaning meaning(m_history.place().vectors);
        QVector<ScreenShotData> nearest;
        switch (meaning.find(m_text, nearest)) {
        case Meaning::Outcome::NoRuntime:
            m_console.fault(QStringLiteral("the on-device AI runtime is not installed or does not "
                                           "answer: there is no search by meaning without it"));
            return ExitStatus::NoRuntime;
        case Meaning::Outcome::Unsearchable:
            m_console.fault(QStringLiteral("the vectors cannot be searched (%1); the program makes "
                                           "them ready at its next start")
                                .arg(meaning.errorText()));
            return ExitStatus::Unreadable;
        case Meaning::Outcome::NoVectors:
        case Meaning::Outcome::Found:
            break;
        }
        m_console.beginList();
        for (auto near = nearest.cbegin(); near != nearest.cend() && !isFull(); ++near) {
            const bool isInSpan = (!m_arguments.from() || near->realTime >= *m_arguments.from()) &&
                                  (!m_arguments.to() || near->realTime <= *m_arguments.to());
            // A vector can outlive its row for a moment.
            const auto frame =
                isInSpan ? m_history.frame(near->videoName, near->frameIndexOfVideo) : std::nullopt;
            if (frame && isWanted(*frame)) {
                show(*frame);
            }
        }
        m_console.endList();
        return ExitStatus::Done;
    }

    void show(const ScreenShotData &frame)
    {
        ++m_shown;
        if (m_console.isJson()) {
            m_console.element(FrameJson::of(frame, m_names));
            return;
        }
        m_console.line(QStringLiteral("%1  %2  %3  %4")
                           .arg(TimeText::ofSecond(frame.realTime),
                                FrameName::ofVideo(frame.videoName, frame.frameIndexOfVideo),
                                Console::printable(m_names.nameOf(frame.desktopFilePath)),
                                excerpt(frame.ocrText, m_text)));
    }

    const Arguments &m_arguments;
    Console &m_console;
    History m_history;
    AppNames m_names;
    QString m_text;
    QString m_app;
    int m_limit = 0; ///< 0: all
    int m_shown = 0;
};
} // namespace

int searchCommand(const QStringList &arguments, Console &console)
{
    const QString limitName = QStringLiteral("limit");
    Arguments options(QStringLiteral("search [options] TEXT"),
                      QStringLiteral("Finds frames in which TEXT stands, newest first, or which "
                                     "show what it means, best first."));
    options.addFlag(QStringLiteral("meaning"),
                    QStringLiteral("Search by meaning, with the on-device AI runtime."));
    options.addSpan();
    options.addValue({QStringLiteral("app")},
                     QStringLiteral("Only this application: its name or desktop entry."),
                     QStringLiteral("APP"));
    options.addValue({limitName}, QStringLiteral("At most so many frames."), QStringLiteral("N"));
    if (const auto status = options.parse(arguments, 1, console)) {
        return *status;
    }
    bool isNumber = true;
    const int limit = options.isSet(limitName) ? options.value(limitName).toInt(&isNumber) : 0;
    if (!isNumber || limit < 0 || (options.isSet(limitName) && limit == 0)) {
        console.fault(QStringLiteral("--limit: not a number above 0"));
        return ExitStatus::Usage;
    }
    const QString text = options.words().constFirst();
    if (text.isEmpty() || text.toUtf8().size() > LONGEST_TEXT) {
        console.fault(text.isEmpty() ? QStringLiteral("TEXT is empty")
                                     : QStringLiteral("TEXT is too long"));
        return ExitStatus::Usage;
    }
    return Search(options, console).run(limit);
}
