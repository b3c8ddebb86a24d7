#pragma once
// sway's own socket: which process a window belongs to, which the protocol of toplevels does not
// tell, and commands for what sway has no protocol for. Questions are answered from the event loop,
// in their order. Owner: WlrootsWindowBackend; main thread.

#include <QByteArray>
#include <QLocalSocket>
#include <QObject>
#include <QQueue>
#include <QVector>

#include <functional>
#include <memory>

struct SwayWindow {
    qint64 id = 0; ///< of sway's own, for commands
    int processId = 0;
    QString appId;
    QString title;
    bool isFloating = false;
    bool isStowed = false; ///< hidden in the scratchpad
};

/// The windows in sway's description of its tree, in its order; none if it is not one.
QVector<SwayWindow> swayWindowsIn(const QByteArray &tree);

class SwayWindows : public QObject
{
    Q_OBJECT

public:
    using Answer = std::function<void(const QVector<SwayWindow> &)>;

    /// Connects to the socket that $SWAYSOCK names; null if there is none.
    static std::unique_ptr<SwayWindows> connectToSway();

    ~SwayWindows() override; ///< leaves open questions unanswered

    /// @p answer is called once, with no windows if sway does not tell any more.
    void askForWindows(const Answer &answer);

    /// Commands as sway's configuration has them, for the window of that id.
    void command(qint64 window, const QString &commands);

private:
    SwayWindows();
    void send(quint32 type, const QByteArray &payload, const Answer &answer);
    void readAnswers();
    void answerAllWithNothing();

    QLocalSocket m_socket;
    QByteArray m_received;
    QQueue<Answer> m_waiting; ///< one a message; empty functions for commands
};
