#include "controlcenter/fake/fakemodelsource.h"

#include <QFile>

#include <algorithm>

SourceLoader FakeRegistry::loader()
{
    return
        [this](const QString & /*registry*/) { return std::make_unique<FakeModelSource>(*this); };
}

FakeModelSource::FakeModelSource(FakeRegistry &registry) : m_registry(registry)
{
    m_step.setInterval(0);
    connect(&m_step, &QTimer::timeout, this, &FakeModelSource::step);
}

void FakeModelSource::fetch(const ModelPackage &package, const QString &file)
{
    m_plan = m_registry.m_downloads.value(package.file);
    m_file = file;
    if (!m_plan.resumes) {
        QFile::remove(file);
    }
    m_registry.m_asked.append(
        QStringLiteral("%1 from %2").arg(package.file).arg(QFile(file).size()));
    if (!m_plan.waits) {
        m_step.start();
    }
}

void FakeModelSource::cancel()
{
    end({InstallResult::Cancelled, {}});
}

void FakeModelSource::step()
{
    QFile file(m_file);
    if (!file.open(QFile::Append)) {
        end({InstallResult::NotWritable, m_file});
        return;
    }
    const int whole = m_plan.stopAt >= 0 ? m_plan.stopAt : m_plan.content.size();
    const int from = int(file.size());
    const int piece = m_plan.piece > 0 ? std::min(m_plan.piece, whole - from) : whole - from;
    file.write(m_plan.content.mid(from, std::max(0, piece)));
    file.flush();
    Q_EMIT received(file.size());
    if (file.size() >= whole) {
        end(m_plan.stopAt >= 0 ? m_plan.ending : InstallResult{});
    }
}

void FakeModelSource::end(const InstallResult &result)
{
    m_step.stop();
    Q_EMIT finished(result);
}
