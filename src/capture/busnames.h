#pragma once
// Names on the session bus through which the desktop shows its screen and tells when it is locked.
// Constants without an owner, readable from any thread.

#include <QLatin1String>

inline constexpr QLatin1String screenshotInterface{"org.vesk.kwin.Screenshot"};
inline constexpr QLatin1String screenshotPath{"/Screenshot"};
inline constexpr QLatin1String windowManagerService{"org.vesk.KWin"};
inline constexpr QLatin1String windowManagerInterface{"org.vesk.KWin"};
inline constexpr QLatin1String windowMangerPath{"/KWin"};
inline constexpr QLatin1String screenContentChangedSignal{"screenContentChanged"};
inline constexpr QLatin1String screensaverService{"org.vesk.ScreenSaver"};
inline constexpr QLatin1String screensaverinterface{"org.vesk.ScreenSaver"};
inline constexpr QLatin1String screensaverPath{"/"};
inline constexpr QLatin1String lockSignal{"lock"};
inline constexpr QLatin1String unlockSignal{"unlock"};
