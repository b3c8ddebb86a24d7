#include "processfigures.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

namespace ProcessFigures
{
namespace
{
QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList threads(pid_t process)
{
    return QDir(QStringLiteral("/proc/%1/task").arg(process))
        .entryList(QDir::Dirs | QDir::NoDotAndDotDot);
}

// Of children that were waited for, in the clock ticks of /proc/PID/stat.
double deadChildren(pid_t process)
{
    const QByteArray stat = contents(QStringLiteral("/proc/%1/stat").arg(process));
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    const double ticks = fields.value(13).toDouble() + fields.value(14).toDouble();
    return ticks * 1000.0 / double(::sysconf(_SC_CLK_TCK));
}
} // namespace

std::vector<pid_t> family(pid_t process)
{
    std::vector<pid_t> members{process};
    for (const QString &thread : threads(process)) {
        const QString path = QStringLiteral("/proc/%1/task/%2/children").arg(process).arg(thread);
        for (const QByteArray &child : contents(path).split(' ')) {
            if (!child.isEmpty()) {
                members.push_back(pid_t(child.toInt()));
            }
        }
    }
    return members;
}

double cpuMilliseconds(pid_t process)
{
    double nanoseconds = 0;
    double sum = 0;
    for (const pid_t member : family(process)) {
        for (const QString &thread : threads(member)) {
            const QString path =
                QStringLiteral("/proc/%1/task/%2/schedstat").arg(member).arg(thread);
            nanoseconds += contents(path).split(' ').value(0).toDouble();
        }
        sum += deadChildren(member);
    }
    return sum + nanoseconds / 1e6;
}

double ownMegabytes(pid_t process)
{
    const QByteArray rollup = contents(QStringLiteral("/proc/%1/smaps_rollup").arg(process));
    for (const QByteArray &line : rollup.split('\n')) {
        if (line.startsWith("Pss:")) {
            return line.mid(4).trimmed().split(' ').value(0).toDouble() / 1024.0;
        }
    }
    return 0;
}

double residentMegabytes(pid_t process)
{
    double sum = 0;
    for (const pid_t member : family(process)) {
        sum += ownMegabytes(member);
    }
    return sum;
}
} // namespace ProcessFigures
