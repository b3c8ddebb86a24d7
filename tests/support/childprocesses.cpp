#include "support/childprocesses.h"

#include "support/testfiles.h"

#include <QDir>

std::vector<pid_t> childrenOf(pid_t process)
{
    std::vector<pid_t> children;
    const QString tasks = QStringLiteral("/proc/%1/task/").arg(process);
    for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        for (const QByteArray &child :
             contentOf(tasks + task + QStringLiteral("/children")).split(' ')) {
            if (!child.isEmpty()) {
                children.push_back(pid_t(child.toInt()));
            }
        }
    }
    return children;
}
