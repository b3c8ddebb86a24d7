#include "history/namelessfiles.h"

#include <QFile>

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr int BYTES_OF_PART = 1024 * 1024;

struct NamelessFile : sqlite3_file {
    int descriptor;
};

int descriptorOf(sqlite3_file *file)
{
    return static_cast<NamelessFile *>(file)->descriptor;
}

int closeFile(sqlite3_file *file)
{
    ::close(descriptorOf(file));
    return SQLITE_OK;
}

int readFile(sqlite3_file *file, void *to, int count, sqlite3_int64 at)
{
    const auto got = static_cast<int>(::pread(descriptorOf(file), to, count, at));
    if (got < 0) {
        return SQLITE_IOERR_READ;
    }
    if (got < count) {
        std::memset(static_cast<char *>(to) + got, 0, count - got); // SQLite relies on it
        return SQLITE_IOERR_SHORT_READ;
    }
    return SQLITE_OK;
}

int writeFile(sqlite3_file *file, const void *from, int count, sqlite3_int64 at)
{
    return ::pwrite(descriptorOf(file), from, count, at) == count ? SQLITE_OK : SQLITE_FULL;
}

int truncateFile(sqlite3_file *file, sqlite3_int64 size)
{
    return ::ftruncate(descriptorOf(file), size) == 0 ? SQLITE_OK : SQLITE_IOERR_TRUNCATE;
}

int syncFile(sqlite3_file *, int)
{
    return SQLITE_OK;
}

int sizeOf(sqlite3_file *file, sqlite3_int64 *size)
{
    struct stat facts = {};
    if (::fstat(descriptorOf(file), &facts) != 0) {
        return SQLITE_IOERR_FSTAT;
    }
    *size = facts.st_size;
    return SQLITE_OK;
}

int passLock(sqlite3_file *, int)
{
    return SQLITE_OK;
}

int isReservedByAnother(sqlite3_file *, int *answer)
{
    *answer = 0;
    return SQLITE_OK;
}

int control(sqlite3_file *, int, void *)
{
    return SQLITE_NOTFOUND;
}

int sectorSize(sqlite3_file *)
{
    return 0; // SQLite's own
}

int characteristics(sqlite3_file *)
{
    return 0;
}

constexpr sqlite3_io_methods METHODS = {1, closeFile, readFile, writeFile, truncateFile, syncFile,
                                        sizeOf, passLock, passLock, isReservedByAnother, control,
                                        sectorSize, characteristics,
                                        // Of later versions.
                                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};

int fullName(sqlite3_vfs *, const char *name, int room, char *full)
{
    sqlite3_snprintf(room, full, "%s", name);
    return SQLITE_OK;
}

int makeFile()
{
    return ::memfd_create("yestermark-copy", MFD_CLOEXEC);
}
} // namespace

NamelessFiles::NamelessFiles()
    : m_name("nameless-" + QByteArray::number(reinterpret_cast<quintptr>(this), 16))
{
    const sqlite3_vfs *usual = sqlite3_vfs_find(nullptr);
    m_system.iVersion = 2;
    m_system.szOsFile = sizeof(NamelessFile);
    m_system.mxPathname = usual->mxPathname;
    m_system.zName = m_name.constData();
    m_system.pAppData = this;
    m_system.xOpen = open;
    m_system.xDelete = remove;
    m_system.xAccess = access;
    m_system.xFullPathname = fullName;
    m_system.xRandomness = usual->xRandomness;
    m_system.xSleep = usual->xSleep;
    m_system.xCurrentTime = usual->xCurrentTime;
    m_system.xCurrentTimeInt64 = usual->xCurrentTimeInt64;
    m_system.xGetLastError = usual->xGetLastError;
    sqlite3_vfs_register(&m_system, 0);
}

NamelessFiles::~NamelessFiles()
{
    sqlite3_vfs_unregister(&m_system);
    for (const auto &[name, descriptor] : m_descriptors) {
        ::close(descriptor);
    }
}

int NamelessFiles::add(const QByteArray &name, const QString &path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly)) {
        return SQLITE_CANTOPEN;
    }
    const int descriptor = makeFile();
    if (descriptor < 0) {
        return SQLITE_FULL;
    }
    m_descriptors[name] = descriptor;
    QByteArray part(BYTES_OF_PART, Qt::Uninitialized);
    while (const qint64 got = file.read(part.data(), part.size())) {
        if (got < 0) {
            return SQLITE_CANTOPEN;
        }
        if (::write(descriptor, part.constData(), got) != got) {
            return SQLITE_FULL;
        }
    }
    return SQLITE_OK;
}

int NamelessFiles::open(sqlite3_vfs *system, const char *name, sqlite3_file *file, int flags,
                        int *givenFlags)
{
    file->pMethods = nullptr; // not to be closed unless it is opened
    if (!name) {
        return SQLITE_CANTOPEN; // a temporary file, and those are kept in SQLite's own memory
    }
    auto &descriptors = static_cast<NamelessFiles *>(system->pAppData)->m_descriptors;
    if (descriptors.count(name) == 0) {
        const int made = (flags & SQLITE_OPEN_CREATE) != 0 ? makeFile() : -1;
        if (made < 0) {
            return SQLITE_CANTOPEN;
        }
        descriptors[name] = made;
    }
    const int descriptor = ::fcntl(descriptors[name], F_DUPFD_CLOEXEC, 0);
    if (descriptor < 0) {
        return SQLITE_CANTOPEN;
    }
    static_cast<NamelessFile *>(file)->descriptor = descriptor;
    file->pMethods = &METHODS;
    if (givenFlags) {
        *givenFlags = flags;
    }
    return SQLITE_OK;
}

int NamelessFiles::remove(sqlite3_vfs *system, const char *name, int)
{
    auto &descriptors = static_cast<NamelessFiles *>(system->pAppData)->m_descriptors;
    const auto found = descriptors.find(name);
    if (found == descriptors.end()) {
        return SQLITE_IOERR_DELETE_NOENT;
    }
    ::close(found->second);
    descriptors.erase(found);
    return SQLITE_OK;
}

int NamelessFiles::access(sqlite3_vfs *system, const char *name, int, int *answer)
{
    const auto &descriptors = static_cast<NamelessFiles *>(system->pAppData)->m_descriptors;
    *answer = descriptors.count(name) > 0 ? 1 : 0;
    return SQLITE_OK;
}
