#pragma once
// The source for a registry that nobody speaks to: every download is refused. Owned by
// ModelInstaller; main thread.

#include "controlcenter/modelsource.h"

class NullSource : public ModelSource
{
    Q_OBJECT

public:
    explicit NullSource(const QString &registry) : m_registry(registry) {}

    void fetch(const ModelPackage &package, const QString &file) override;
    void cancel() override {}

private:
    QString m_registry;
};
