#pragma once
// The desktop portal that is installed on this machine, on a bus that starts nothing, with a part
// of the test's own in place of the desktop's dialog: it says yes, counts the questions, and hands
// out the test's streams. Gone with this object. Test thread only.

#include "childprocess.h"
#include "privatebus.h"

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QTemporaryDir>

#include <memory>

class RealPortal : public QDBusVirtualObject
{
    Q_OBJECT

public:
    RealPortal();
    ~RealPortal() override;

    /// Empty, or what is missing on this machine.
    static QString missing();

    const PrivateBus &bus() const { return m_bus; }

    /// False if it does not come up. After a kill only what is missing is started.
    bool start();
    void kill() { kill(m_portal); }

    quint32 m_node = 0;    ///< at PipeWire, of the stream that is shown
    bool m_saysYes = true; ///< the user
    int m_questions = 0;   ///< the user would have been asked
    int m_restored = 0;    ///< casts begun without a question
    QVariantMap m_sources; ///< options of the latest selection

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    static void kill(std::unique_ptr<ChildProcess> &process);
    QVariantList answerTo(const QDBusMessage &message);
    QVariantMap startCast();
    std::unique_ptr<ChildProcess> started(const QString &program) const;
    bool waitForName(const QString &name) const;

    QTemporaryDir m_folder;
    PrivateBus m_bus;
    QDBusConnection m_connection;
    std::unique_ptr<ChildProcess> m_permissions;
    std::unique_ptr<ChildProcess> m_portal;
};
