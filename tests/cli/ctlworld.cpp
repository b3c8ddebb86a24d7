#include "ctlworld.h"

#include <QDirIterator>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QTimer>

#include <sys/stat.h>

namespace
{
constexpr int LONGEST_RUN_MS = 60000;
}

QStringList CtlRun::lines() const
{
    return QString::fromUtf8(out).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QJsonObject CtlRun::object() const
{
    return QJsonDocument::fromJson(out).object();
}

QJsonArray CtlRun::list() const
{
    return QJsonDocument::fromJson(out).array();
}

CtlWorld::CtlWorld(QString home)
    : m_home(std::move(home)), m_environment(QProcessEnvironment::systemEnvironment())
{
    set(QStringLiteral("HOME"), m_home);
    // The one that tests have else makes its folder below the home as soon as a key is read.
    set(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
}

QString CtlWorld::program()
{
    return QStringLiteral(YESTERMARKCTL);
}

CtlRun CtlWorld::run(const QStringList &arguments, const QString &file) const
{
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.setStandardOutputFile(file);
    QEventLoop loop; // a test may answer on the session bus meanwhile
    QObject::connect(&process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), &loop,
                     &QEventLoop::quit);
    QTimer::singleShot(LONGEST_RUN_MS, &loop, &QEventLoop::quit);
    process.start(program(), arguments);
    loop.exec();
    CtlRun run;
    if (process.state() == QProcess::NotRunning && process.exitStatus() == QProcess::NormalExit) {
        run.status = process.exitCode();
    }
    run.out = process.readAllStandardOutput();
    run.faults = process.readAllStandardError();
    return run;
}

QByteArray CtlWorld::listing() const
{
    QStringList entries;
    QDirIterator files(m_home,
                       QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        struct stat facts = {};
        ::lstat(QFile::encodeName(path).constData(), &facts);
        const bool isFile = S_ISREG(facts.st_mode);
        entries.append(QStringLiteral("%1 %2 %3 %4.%5")
                           .arg(path)
                           .arg(isFile ? static_cast<qint64>(facts.st_size) : 0)
                           .arg(facts.st_mode, 0, 8)
                           .arg(static_cast<qint64>(facts.st_mtim.tv_sec))
                           .arg(static_cast<qint64>(facts.st_mtim.tv_nsec)));
    }
    entries.sort();
    return entries.join(QLatin1Char('\n')).toUtf8();
}
