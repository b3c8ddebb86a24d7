#include "history/memoryfolder.h"

#include <QFile>
#include <QTemporaryDir>

#include <linux/magic.h>
#include <sys/vfs.h>

namespace
{
bool isInMemoryWithRoomFor(const QByteArray &folder, qint64 bytes)
{
    struct statfs facts = {};
    return !folder.isEmpty() && statfs(folder.constData(), &facts) == 0 &&
           static_cast<quint32>(facts.f_type) == TMPFS_MAGIC &&
           static_cast<quint64>(facts.f_bavail) * static_cast<quint64>(facts.f_bsize) >
               static_cast<quint64>(bytes);
}
} // namespace

std::unique_ptr<QTemporaryDir> MemoryFolder::make(qint64 bytes)
{
    for (const QByteArray &folder : {qgetenv("XDG_RUNTIME_DIR"), QByteArray("/dev/shm")}) {
        if (!isInMemoryWithRoomFor(folder, bytes)) {
            continue;
        }
        auto made = std::make_unique<QTemporaryDir>(QFile::decodeName(folder) +
                                                    QLatin1String("/yestermark-XXXXXX"));
        if (made->isValid()) {
            return made;
        }
    }
    return nullptr;
}
