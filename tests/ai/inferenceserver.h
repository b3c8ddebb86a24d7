#pragma once
// An HTTP server on this machine's loopback interface, on a thread of its own, that answers every
// request with one scripted body. One per test, on its stack.

#include <QByteArray>
#include <QMutex>
#include <QVector>

#include <atomic>
#include <future>
#include <thread>

class QTcpSocket;

class InferenceServer
{
public:
    struct Request {
        QByteArray start; ///< first line, such as "POST /path HTTP/1.1"
        QByteArray head;  ///< the lines behind it
        QByteArray body;
    };

    /// Listens on @p port, 0 for any that is free.
    explicit InferenceServer(const QByteArray &answer, quint16 port = 0);
    ~InferenceServer();
    Q_DISABLE_COPY_MOVE(InferenceServer)

    /// Announces @p bytes more than it sends before it hangs up.
    void breakOff(int bytes) { m_missing = bytes; }

    /// 0 if the port was not to be had.
    quint16 port() const { return m_port; }
    QVector<Request> requests() const;

    /// A port on which nobody listens.
    static quint16 deadPort();

private:
    void serve(quint16 port, std::promise<quint16> *listening);
    void answer(QTcpSocket *socket);

    QByteArray m_answer;
    std::atomic<int> m_missing{0};
    std::atomic<bool> m_isEnding{false};
    quint16 m_port = 0;
    mutable QMutex m_mutex;
    QVector<Request> m_requests;
    std::thread m_thread;
};
