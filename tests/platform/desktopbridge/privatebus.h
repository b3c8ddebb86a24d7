#pragma once
// A message bus of the test's own beside the session bus, such as a stand-in for the system bus.
// Gone with this object. Test thread only.

#include "childprocess.h"

#include <QDBusConnection>
#include <QProcessEnvironment>
#include <QTemporaryDir>

class PrivateBus
{
public:
    enum class Services {
        Installed, ///< the bus starts what is installed on this machine
        None       ///< it starts nothing
    };

    explicit PrivateBus(
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
        Services services = Services::Installed);
    ~PrivateBus();

    QString address() const { return m_address; }

    /// A new connection of that name; the caller disconnects it.
    QDBusConnection connect(const QString &name) const;

    void stop();

private:
    QString writeConfiguration() const;

    QTemporaryDir m_folder;
    ChildProcess m_process;
    QString m_address;
};
