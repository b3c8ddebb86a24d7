#include "kwinpermission.h"

#include "desktopbridge/kwin/kwinbackend.h"

#include <QDir>
#include <QFile>
#include <QTest>

namespace
{
constexpr int TRIES = 6;
constexpr int TRY_MS = 3000; // KWin looks for new files at most every 1.5 seconds

bool isTrusted(const QDBusConnection &bus)
{
    QString problem;
    return KwinBackend::connectToSession(problem, bus) != nullptr;
}
} // namespace

KwinPermission::~KwinPermission()
{
    takeAway();
}

// A file that comes while KWin is reading the others is overlooked until the next one comes.
bool KwinPermission::give(const QStringList &programs, const QDBusConnection &bus)
{
    for (int count = 0; count < TRIES; ++count) {
        takeAway();
        for (const QString &program : programs) {
            write(program);
        }
        if (!bus.isConnected() || QTest::qWaitFor([&bus] { return isTrusted(bus); }, TRY_MS)) {
            return true;
        }
    }
    return false;
}

void KwinPermission::write(const QString &program)
{
    const QString path = QFileInfo(program).canonicalFilePath();
    const QString folder = QDir::homePath() + QStringLiteral("/.local/share/applications/");
    QDir().mkpath(folder);
    m_files.append(folder + QFileInfo(path).fileName() + QStringLiteral(".desktop"));
    QFile file(m_files.last());
    if (file.open(QFile::WriteOnly)) {
        file.write("[Desktop Entry]\nType=Application\nName=Test\nNoDisplay=true\nExec=" +
                   QFile::encodeName(path) +
                   "\nX-KDE-DBUS-Restricted-Interfaces=org.kde.KWin.ScreenShot2\n"
                   "X-KDE-Wayland-Interfaces="
                   "org_kde_plasma_window_management,zkde_screencast_unstable_v1\n");
    }
}

void KwinPermission::takeAway()
{
    for (const QString &file : qAsConst(m_files)) {
        QFile::remove(file);
    }
    m_files.clear();
}
