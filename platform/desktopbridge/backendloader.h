#pragma once
// The one place that picks a screen backend. Main thread.

#include "desktopbridge/screenbackend.h"

enum class BackendChoice {
    Automatic, ///< the first that works, else Null
    X11,       ///< X11 or, where that fails, Null
    Null
};

/// Never null. A failure to reach the display shows in ScreenBackend::problem().
std::unique_ptr<ScreenBackend> loadScreenBackend(BackendChoice choice);

/// "auto", "x11" or "null"; nothing for any other word.
std::optional<BackendChoice> backendChoiceFromWord(const QString &word);
