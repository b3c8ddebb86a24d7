#pragma once
// How often a process woke, through /proc. Any thread.

#include <QDir>
#include <QFile>

/// Times that any thread of the process gave up the processor by itself: each is a wake-up.
inline qint64 wakeUps(qint64 process)
{
    qint64 sum = 0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(process));
    const QStringList names = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        QFile file(tasks.filePath(name + QStringLiteral("/status")));
        if (!file.open(QFile::ReadOnly)) {
            continue; // the thread has ended
        }
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith("voluntary_ctxt_switches:")) {
                sum += line.split('\t').last().toLongLong();
            }
        }
    }
    return sum;
}
