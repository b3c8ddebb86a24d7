#pragma once
// tdk::WindowManager as the program calls it: tells of windows and raises or minimises one by its
// id. One for the process, made by the first self(); main thread.

#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>

class WindowBackend;

namespace tdk
{
class WindowManager : public QObject
{
    Q_OBJECT

public:
    /// The one of this process. The first call takes the backend that suits the platform of the
    /// QGuiApplication, which must exist by then.
    static WindowManager *self();

    /// For tests and self(): works on @p backend, never null.
    explicit WindowManager(std::unique_ptr<WindowBackend> backend);
    ~WindowManager() override;

    /// Empty for an unknown id.
    QString getWindowTitle(const QVariant &id) const;

    /// Process id of the window's owner; 0 for an unknown id.
    int getPid(const QVariant &id) const;

    /// Brings the window to the front, restored if it is minimised, and gives it the keyboard.
    /// Nothing happens for an unknown or invalid id.
    void activateWindow(const QVariant &id);

    /// Nothing happens for an unknown or invalid id.
    void minimizeWindow(const QVariant &id);

Q_SIGNALS:
    /// A window has come and its title and process id are known. Also sent, from the event loop,
    /// for windows that were there before this object.
    void windowAdded(const QVariant &id);

private:
    std::unique_ptr<WindowBackend> m_backend;
};
} // namespace tdk
