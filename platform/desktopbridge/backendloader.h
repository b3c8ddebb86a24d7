#pragma once
// The one place that picks a screen backend. Main thread.

#include "desktopbridge/screenbackend.h"

enum class BackendChoice {
    Automatic, ///< the first of the list in backendloader.cpp that works, else Null
    KWin,      ///< these or, where they fail, Null
    Wlroots,
    Portal,
    X11,
    Null
};

/// Never null. A failure to reach the display shows in ScreenBackend::problem().
std::unique_ptr<ScreenBackend> loadScreenBackend(BackendChoice choice);

/// "auto", "kwin", "wlroots", "portal", "x11" or "null"; nothing for any other word.
std::optional<BackendChoice> backendChoiceFromWord(const QString &word);
