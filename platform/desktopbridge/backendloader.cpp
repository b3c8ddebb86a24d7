#include "desktopbridge/backendloader.h"

#include "desktopbridge/kwin/kwinbackend.h"
#include "desktopbridge/nullbackend.h"
#include "desktopbridge/portal/portalbackend.h"
#include "desktopbridge/wlroots/wlrootsbackend.h"
#include "desktopbridge/x11/x11backend.h"

#include <QStringList>

#include <algorithm>
#include <iterator>

namespace
{
struct KnownBackend {
    BackendChoice choice;
    /// Null, with the reason in @p problem, where the session does not offer what it needs.
    std::unique_ptr<ScreenBackend> (*make)(QString &problem);
};

std::unique_ptr<ScreenBackend> makeKWin(QString &problem)
{
    return KwinBackend::connectToSession(problem);
}

std::unique_ptr<ScreenBackend> makeWlroots(QString &problem)
{
    return WlrootsBackend::connectToDisplay(problem);
}

std::unique_ptr<ScreenBackend> makePortal(QString &problem)
{
    return PortalBackend::connectToSession(problem);
}

std::unique_ptr<ScreenBackend> makeX11(QString &problem)
{
    return X11Backend::connectToDisplay(problem);
}

// In the order in which they are tried: what a compositor offers by itself needs no question to
// the user, as the portal does; and where there is a compositor, an X display sees a part only.
const KnownBackend KNOWN_BACKENDS[] = {
    {BackendChoice::KWin, makeKWin},
    {BackendChoice::Wlroots, makeWlroots},
    {BackendChoice::Portal, makePortal},
    {BackendChoice::X11, makeX11},
};

struct Word {
    const char *text;
    BackendChoice choice;
};

const Word WORDS[] = {
    {"auto", BackendChoice::Automatic},  {"kwin", BackendChoice::KWin},
    {"wlroots", BackendChoice::Wlroots}, {"portal", BackendChoice::Portal},
    {"x11", BackendChoice::X11},         {"null", BackendChoice::Null},
};
} // namespace

std::unique_ptr<ScreenBackend> loadScreenBackend(BackendChoice choice)
{
    QStringList problems;
    for (const KnownBackend &known : KNOWN_BACKENDS) {
        if (choice != BackendChoice::Automatic && choice != known.choice) {
            continue;
        }
        QString problem;
        std::unique_ptr<ScreenBackend> backend = known.make(problem);
        if (backend) {
            return backend;
        }
        problems.append(problem);
    }
    problems.removeDuplicates();
    return std::make_unique<NullBackend>(problems.isEmpty()
                                             ? QStringLiteral("no display was asked for")
                                             : problems.join(QStringLiteral("; ")));
}

std::optional<BackendChoice> backendChoiceFromWord(const QString &word)
{
    const auto *found =
        std::find_if(std::begin(WORDS), std::end(WORDS),
                     [&word](const Word &known) { return word == QLatin1String(known.text); });
    return found == std::end(WORDS) ? std::nullopt : std::optional<BackendChoice>(found->choice);
}
