#pragma once
// What tests do with files and descriptors of their own process. Any thread; FileSizeLimit holds
// for the whole process.

#include <QByteArray>
#include <QString>

#include <sys/resource.h>

/// All bytes of a file; none where it cannot be read.
QByteArray contentOf(const QString &path);

/// Puts @p content in place of what the file held. False where that failed.
bool overwrite(const QString &path, const QByteArray &content);

/// How many descriptors this process has open, one of them for the look itself.
int openDescriptors();

/// A limit on the size of files: writing beyond it fails as on a full disk.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes);
    ~FileSizeLimit();
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int);
};
