#include "cli/newfile.h"

#include <QDir>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr qint64 BLOCK = 1024LL * 1024;
}

std::unique_ptr<QFile> NewFile::make(const QString &path, QString &error)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0) {
        error = QStringLiteral("%1: %2").arg(path, qt_error_string(errno));
        return nullptr;
    }
    auto file = std::make_unique<QFile>(path);
    if (!file->open(descriptor, QFile::WriteOnly, QFileDevice::AutoCloseHandle)) {
        error = QStringLiteral("%1: %2").arg(path, file->errorString());
        ::close(descriptor);
        return nullptr;
    }
    return file;
}

bool NewFile::copy(const QString &from, const QString &path, QString &error)
{
    QFile source(from);
    if (!source.open(QFile::ReadOnly)) {
        error = QStringLiteral("%1: %2").arg(from, source.errorString());
        return false;
    }
    const std::unique_ptr<QFile> target = make(path, error);
    if (!target) {
        return false;
    }
    bool isWritten = true;
    while (isWritten && !source.atEnd()) {
        const QByteArray block = source.read(BLOCK);
        isWritten = !block.isEmpty() && target->write(block) == block.size();
    }
    if (!isWritten || !target->flush()) {
        error = QStringLiteral("%1: %2").arg(path, target->errorString());
        QFile::remove(path);
        return false;
    }
    return true;
}

bool NewFile::makeFolder(const QString &path, QString &error)
{
    if (::mkdir(QFile::encodeName(path).constData(), 0700) == 0) {
        return true;
    }
    const int reason = errno;
    if (reason == EEXIST && QFileInfo(path).isDir()) {
        const bool isEmpty =
            QDir(path).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
        error = QStringLiteral("%1 is not empty").arg(path);
        return isEmpty;
    }
    error = QStringLiteral("%1: %2").arg(path, qt_error_string(reason));
    return false;
}
