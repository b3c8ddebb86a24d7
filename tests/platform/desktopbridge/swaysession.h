#pragma once
// The tests' hold on sway: commands, a second way to grab the screen, and a sway of the test's own
// that can be ended. Test thread only.

#include "childprocess.h"

#include <QImage>
#include <QTemporaryDir>

#include <memory>

namespace Sway
{
/// Runs a command as swaymsg does. False if sway refuses it.
bool command(const QString &text);

/// The output's pixels as grim sees them, opaque; null if it cannot.
QImage grab(const QString &output = QStringLiteral("HEADLESS-1"));
} // namespace Sway

/// A variable of the environment for the life of this object.
class SessionVariable
{
public:
    SessionVariable(const char *name, const QByteArray &value);
    ~SessionVariable();
    Q_DISABLE_COPY(SessionVariable)

private:
    const char *m_name;
    QByteArray m_former;
};

/// A compositor that the test may kill or hold. While it lives, WAYLAND_DISPLAY and SWAYSOCK name
/// it, for this process and its children.
class PrivateSway
{
public:
    enum Kind {
        Headless, ///< an output HEADLESS-1, more by the command create_output
        Nested    ///< outputs WL-1 and WL-2: windows of the session's sway, which unplug() closes
    };
    PrivateSway(Kind kind, const QSize &size);
    ~PrivateSway();
    Q_DISABLE_COPY(PrivateSway)

    bool isRunning() const { return !m_display.isEmpty(); }

    /// The folder with its sockets, as its clients' XDG_RUNTIME_DIR.
    QString folder() const { return m_folder.path(); }

    qint64 processId() const { return m_process.processId(); }
    void kill();

    /// Takes an output of a nested one away. False if there is no such.
    bool unplug(const QString &output);

private:
    QTemporaryDir m_folder;
    ChildProcess m_process;
    QByteArray m_display;
    QByteArray m_outerSocket;
    std::unique_ptr<SessionVariable> m_variables[2];
};
