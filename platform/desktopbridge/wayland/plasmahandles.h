#pragma once
// What all who speak KWin's window management share: owners for its proxies, which must go before
// their connection does, and listeners to begin with. Main thread.

#include <memory>

struct org_kde_plasma_window;
struct org_kde_plasma_window_listener;
struct org_kde_plasma_window_management;
struct org_kde_plasma_window_management_listener;

struct PlasmaDelete {
    void operator()(org_kde_plasma_window_management *management) const;
    void operator()(org_kde_plasma_window *window) const;
};

template <typename T>
using PlasmaPtr = std::unique_ptr<T, PlasmaDelete>;

/// Tables that take every event up to version 16 and do nothing: libwayland ends the program for
/// an event that nobody takes.
constexpr unsigned PLASMA_WINDOWS_VERSION = 16;
org_kde_plasma_window_management_listener quietPlasmaManagementListener();
org_kde_plasma_window_listener quietPlasmaWindowListener();
