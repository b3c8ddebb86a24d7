#pragma once
// Downloads that go as a test orders: whole, in pieces and slow, short, wrong, dying. One plan for
// each file of a package list, shared by all sources that the loader makes. Main thread.

#include "controlcenter/sources/sourceloader.h"

#include <QHash>
#include <QTimer>

struct FakeDownload {
    QByteArray content;
    int piece = 0;       ///< bytes a step; 0: all at once
    int stopAt = -1;     ///< breaks off behind so many bytes, with @ref ending; -1: not
    bool waits = false;  ///< sends nothing until it is cancelled
    bool resumes = true; ///< else it begins anew each time
    InstallResult ending{InstallResult::Unreachable, {}};
};

class FakeRegistry
{
public:
    QHash<QString, FakeDownload> m_downloads; ///< by the package's file
    QStringList m_asked;                      ///< "file from byte", in order

    SourceLoader loader();
};

class FakeModelSource : public ModelSource
{
    Q_OBJECT

public:
    explicit FakeModelSource(FakeRegistry &registry);

    void fetch(const ModelPackage &package, const QString &file) override;
    void cancel() override;

private:
    void step();
    void end(const InstallResult &result);

    FakeRegistry &m_registry;
    FakeDownload m_plan;
    QString m_file;
    QTimer m_step;
};
