#include "windowmanager/windowmanager.h"

#include "windowmanager/backendloader.h"

namespace tdk
{
WindowManager *WindowManager::self()
{
    static WindowManager manager(loadWindowBackend());
    return &manager;
}

WindowManager::WindowManager(std::unique_ptr<WindowBackend> backend) : m_backend(std::move(backend))
{
    connect(m_backend.get(), &WindowBackend::windowAdded, this, &WindowManager::windowAdded);
}

WindowManager::~WindowManager() = default;

QString WindowManager::getWindowTitle(const QVariant &id) const
{
    return id.isValid() ? m_backend->title(id) : QString();
}

int WindowManager::getPid(const QVariant &id) const
{
    return id.isValid() ? m_backend->processId(id) : 0;
}

void WindowManager::activateWindow(const QVariant &id)
{
    if (id.isValid()) {
        m_backend->activate(id);
    }
}

void WindowManager::minimizeWindow(const QVariant &id)
{
    if (id.isValid()) {
        m_backend->minimize(id);
    }
}
} // namespace tdk
