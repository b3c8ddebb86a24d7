#include "support/commandoutput.h"

#include <QProcess>

QString outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished() && process.exitCode() == 0
               ? QString::fromUtf8(process.readAllStandardOutput()).trimmed()
               : QString();
}
