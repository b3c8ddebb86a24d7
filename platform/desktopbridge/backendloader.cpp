#include "desktopbridge/backendloader.h"

#include "desktopbridge/nullbackend.h"
#include "desktopbridge/x11/x11backend.h"

std::unique_ptr<ScreenBackend> loadScreenBackend(BackendChoice choice)
{
    if (choice == BackendChoice::Null) {
        return std::make_unique<NullBackend>(QStringLiteral("no display was asked for"));
    }
    QString problem;
    std::unique_ptr<ScreenBackend> x11 = X11Backend::connectToDisplay(problem);
    if (x11) {
        return x11;
    }
    return std::make_unique<NullBackend>(problem);
}

std::optional<BackendChoice> backendChoiceFromWord(const QString &word)
{
    if (word == QLatin1String("auto")) {
        return BackendChoice::Automatic;
    }
    if (word == QLatin1String("x11")) {
        return BackendChoice::X11;
    }
    if (word == QLatin1String("null")) {
        return BackendChoice::Null;
    }
    return std::nullopt;
}
