#include "window/filecache.h"

#include <QDirIterator>
#include <QFile>
#include <QSet>

#include <fcntl.h>
#include <unistd.h>

namespace FileCache
{
QStringList mappedBy(uint process)
{
    QSet<QString> files;
    QFile maps(QStringLiteral("/proc/%1/maps").arg(process));
    if (maps.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : maps.readAll().split('\n')) {
            const QByteArray path = line.mid(line.indexOf('/'));
            if (path.startsWith('/') && QFile::exists(QFile::decodeName(path))) {
                files.insert(QFile::decodeName(path));
            }
        }
    }
    return files.values();
}

QStringList below(const QString &folder)
{
    QStringList files;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        files.append(entries.next());
    }
    return files;
}

void drop(const QStringList &files)
{
    for (const QString &path : files) {
        const int file = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        if (file >= 0) {
            ::fdatasync(file); // what is not on the disk yet stays
            ::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
            ::close(file);
        }
    }
}
} // namespace FileCache
