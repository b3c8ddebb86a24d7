#pragma once
// Installs models one after another into one folder: download, size and sum, unpacking, and only
// then the model's own name, so that a name in the folder is complete. Owned by InstallerDialog or
// a test; main thread, without blocking it.

#include "controlcenter/memberextractor.h"
#include "controlcenter/sources/sourceloader.h"
#include "controlcenter/sumcheck.h"

#include <QLockFile>

class ModelInstaller : public QObject
{
    Q_OBJECT

public:
    enum class Step { Downloading, Checking, Unpacking };
    Q_ENUM(Step)

    /// Free bytes for the user below a folder; -1 where it cannot be told.
    using SpaceMeter = std::function<qint64(const QString &folder)>;

    /// @p folder is where models are put; a folder ".download" in it holds what is half done, so
    /// that a later attempt goes on from there.
    explicit ModelInstaller(const QString &folder, const SourceLoader &loader = loadModelSource,
                            const SpaceMeter &space = freeSpace);
    ~ModelInstaller() override;

    /// Installs @p packages in order and stops at the first that fails; finished() follows, never
    /// from within this call. One run at a time.
    void start(const QVector<ModelPackage> &packages);

    /// finished() comes with "Cancelled"; what was received stays for the next attempt.
    void cancel();

    bool isRunning() const { return m_running; }

    static qint64 freeSpace(const QString &folder);

    /// Bytes of the downloads of @p packages; one of unknown size counts as a megabyte.
    static qint64 downloadSize(const QVector<ModelPackage> &packages);

Q_SIGNALS:
    void stepChanged(const QString &package, ModelInstaller::Step step);

    /// Bytes of all downloads of this run, those of an earlier attempt included; never falls within
    /// a package.
    void progressed(qint64 done, qint64 total);

    void finished(const InstallResult &result);

private:
    const ModelPackage &current() const { return m_packages.at(m_index); }
    QString workFolder() const { return m_folder + QStringLiteral("/.download"); }
    QString archive() const { return workFolder() + QLatin1Char('/') + current().file; }
    QString partial() const { return archive() + QStringLiteral(".part"); }

    bool prepare();
    void next();
    void download();
    void onReceived(qint64 bytes);
    void onFetched(const InstallResult &result);
    void check();
    void onSum(const QByteArray &sum);
    void unpack();
    void onUnpacked(const InstallResult &result);
    void place(const QString &file);
    void end(const InstallResult &result);

    QString m_folder;
    SourceLoader m_loader;
    SpaceMeter m_space;
    QVector<ModelPackage> m_packages;
    int m_index = 0;
    qint64 m_before = 0; // bytes of the packages that are through
    qint64 m_received = 0;
    bool m_running = false;
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<ModelSource> m_source; // null: no download under way
    SumCheck m_sum;
    MemberExtractor m_extractor;
};
