#include "support/processcost.h"

#include <QDir>
#include <QFile>

namespace Bench
{
namespace
{
double mebibytesOf(const QByteArray &line)
{
    return line.simplified().split(' ').value(1).toDouble() / 1024.0;
}
} // namespace

double cpuMillisecondsOf(uint process)
{
    double nanoseconds = 0.0;
    const QString tasks = QStringLiteral("/proc/%1/task").arg(process);
    for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(QStringLiteral("%1/%2/schedstat").arg(tasks, task));
        if (file.open(QIODevice::ReadOnly)) {
            nanoseconds += file.readAll().split(' ').value(0).toDouble();
        }
    }
    return nanoseconds / 1e6;
}

Memory memoryOf(uint process)
{
    Memory memory;
    QFile file(QStringLiteral("/proc/%1/smaps_rollup").arg(process));
    if (!file.open(QIODevice::ReadOnly)) {
        return memory;
    }
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("Rss:")) {
            memory.resident = mebibytesOf(line);
        } else if (line.startsWith("Pss:")) {
            memory.proportional = mebibytesOf(line);
        } else if (line.startsWith("Anonymous:")) {
            memory.anonymous = mebibytesOf(line);
        }
    }
    return memory;
}
} // namespace Bench
