#include "windowmanager/fake/fakewindowbackend.h"

#include "windowmanager/backendloader.h"
#include "windowmanager/windowmanager.h"

FakeWindowBackend *FakeWindowBackend::install()
{
    FakeWindowBackend *installed = nullptr;
    forceWindowBackend([&installed] {
        auto backend = std::make_unique<FakeWindowBackend>();
        installed = backend.get();
        return backend;
    });
    tdk::WindowManager::self();
    forceWindowBackend({});
    return installed;
}

QVariant FakeWindowBackend::addWindow(const QString &title, int processId)
{
    m_windows.insert(++m_lastId, Window{title, processId});
    QVariant id(m_lastId);
    Q_EMIT windowAdded(id);
    return id;
}

void FakeWindowBackend::removeWindow(const QVariant &id)
{
    m_windows.remove(id.toInt());
}

void FakeWindowBackend::rename(const QVariant &id, const QString &title)
{
    const auto window = m_windows.find(id.toInt());
    if (window != m_windows.end()) {
        window->title = title;
    }
}

void FakeWindowBackend::clear()
{
    m_windows.clear();
    m_requests.clear();
}

QString FakeWindowBackend::title(const QVariant &id) const
{
    return m_windows.value(id.toInt()).title;
}

int FakeWindowBackend::processId(const QVariant &id) const
{
    return m_windows.value(id.toInt()).processId;
}

void FakeWindowBackend::activate(const QVariant &id)
{
    note(QStringLiteral("activate "), id);
}

void FakeWindowBackend::minimize(const QVariant &id)
{
    note(QStringLiteral("minimize "), id);
}

void FakeWindowBackend::note(const QString &what, const QVariant &id)
{
    if (m_windows.contains(id.toInt())) {
        m_requests.append(what + title(id));
    }
}
