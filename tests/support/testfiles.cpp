#include "support/testfiles.h"

#include <QDir>
#include <QFile>

#include <csignal>

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

bool overwrite(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QFile::WriteOnly) && file.write(content) == content.size();
}

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

FileSizeLimit::FileSizeLimit(rlim_t bytes) : m_previousHandler(std::signal(SIGXFSZ, SIG_IGN))
{
    getrlimit(RLIMIT_FSIZE, &m_previous);
    const rlimit limit{bytes, m_previous.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
}

FileSizeLimit::~FileSizeLimit()
{
    setrlimit(RLIMIT_FSIZE, &m_previous);
    std::signal(SIGXFSZ, m_previousHandler);
}
