#include "history/storeplace.h"

#include "database/daytext.h"

#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace
{
constexpr char APPLICATION[] = "/tavel-ai-yestermark";

/// The folder of a box that is not open lies on the file system of the folder above it.
bool isOpenBox(const QByteArray &box)
{
    struct stat above = {};
    struct stat inside = {};
    struct statfs system = {};
    // The last question alone is never answered from the kernel's memory of a box that died.
    return stat((box + "/..").constData(), &above) == 0 && stat(box.constData(), &inside) == 0 &&
           above.st_dev != inside.st_dev && access(box.constData(), R_OK | X_OK) == 0 &&
           statfs(box.constData(), &system) == 0;
}
} // namespace

StorePlace StorePlace::find()
{
    const QString home = QDir::homePath();
    const QString box = home + QLatin1String("/.vault") + QLatin1String(APPLICATION);
    StorePlace place;
    place.isEncrypted = isOpenBox(QFile::encodeName(box));
    place.isBoxClosed =
        !place.isEncrypted &&
        QFile::exists(home + QLatin1String("/.local/share/vaultsm") + QLatin1String(APPLICATION));
    const QString cache = home + QLatin1String("/.cache") + QLatin1String(APPLICATION);
    const QString root = place.isEncrypted ? box : cache;
    place.screenshots = root + QLatin1String("/screenshots");
    place.databases = root + QLatin1String("/traditional_database");
    place.vectors = root + QLatin1String("/vector_database");
    return place;
}

bool StorePlace::exists() const
{
    return QDir(databases).exists();
}

bool StorePlace::holds(const QString &path) const
{
    const QString parent = QFileInfo(QFileInfo(path).absolutePath()).canonicalFilePath();
    for (const QString &folder : {screenshots, databases, vectors}) {
        const QString root = QFileInfo(QFileInfo(folder).path()).canonicalFilePath();
        if (!root.isEmpty() && (parent + QLatin1Char('/')).startsWith(root + QLatin1Char('/'))) {
            return true;
        }
    }
    return false;
}

QString StorePlace::folderOfDay(const QString &dayOrVideo) const
{
    return screenshots + QLatin1Char('/') + DayText::monthOfDayOrVideo(dayOrVideo) +
           QLatin1Char('/') + DayText::dayOfVideo(dayOrVideo);
}
