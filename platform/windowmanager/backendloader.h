#pragma once
// The one place that picks a window backend. Main thread.

#include "windowmanager/windowbackend.h"

#include <functional>
#include <memory>

using WindowBackendMaker = std::function<std::unique_ptr<WindowBackend>()>;

/// Never null. On Wayland without a protocol that is understood a warning is logged and nothing
/// can be raised or minimised.
std::unique_ptr<WindowBackend> loadWindowBackend();

/// From now on the loader takes what @p maker makes, or chooses itself again if it is empty. A
/// process's tdk::WindowManager::self() keeps the backend that its first call got.
void forceWindowBackend(const WindowBackendMaker &maker);
