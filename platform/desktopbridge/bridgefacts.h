#pragma once
// The object /Bridge: what this bridge tells of itself, for whoever looks at why nothing is seen.
// dbus/com.tavel.yestermark.Bridge.xml tells the contract. Owned by DesktopBridge; main thread.

#include <QObject>

class ScreenBackend;

class BridgeFacts : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.tavel.yestermark.Bridge")
    Q_PROPERTY(QString Backend READ backend CONSTANT)

public:
    /// @p backend must outlive this object.
    explicit BridgeFacts(const ScreenBackend &backend) : m_backend(backend) {}

    /// The backend's class without "Backend", in small letters, such as "x11".
    QString backend() const;

private:
    const ScreenBackend &m_backend;
};
