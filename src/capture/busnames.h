#pragma once
// Names on the session bus through which the desktop shows its screen and tells when it is locked.
// Constants without an owner, readable from any thread.

#include <QString>

inline const QString screenshotInterface = QStringLiteral("org.vesk.kwin.Screenshot");
inline const QString screenshotPath = QStringLiteral("/Screenshot");
inline const QString windowManagerService = QStringLiteral("org.vesk.KWin");
inline const QString windowManagerInterface = QStringLiteral("org.vesk.KWin");
inline const QString windowMangerPath = QStringLiteral("/KWin");
inline const QString screenContentChangedSignal = QStringLiteral("screenContentChanged");
inline const QString screensaverService = QStringLiteral("org.vesk.ScreenSaver");
inline const QString screensaverinterface = QStringLiteral("org.vesk.ScreenSaver");
inline const QString screensaverPath = QStringLiteral("/");
inline const QString lockSignal = QStringLiteral("lock");
inline const QString unlockSignal = QStringLiteral("unlock");
