#pragma once
// An HTTP server on this machine's loopback interface that sends one file as the test orders. Lives
// in the test's own event loop; test thread only.

#include <QByteArray>
#include <QTcpServer>
#include <QVector>

class QTcpSocket;

class FileServer : public QObject
{
    Q_OBJECT

public:
    explicit FileServer(const QByteArray &content);

    QString address() const;

    QByteArray m_content;
    bool m_knowsRanges = true;
    bool m_silent = false;        ///< takes the request and never answers
    int m_stopAfter = -1;         ///< hangs up behind so many bytes of the content
    int m_status = 200;           ///< another: that status with a text
    bool m_redirects = false;     ///< the first request is sent elsewhere
    QVector<QByteArray> m_ranges; ///< the range of each request; empty for the whole

private:
    void onRequest(QTcpSocket *socket);
    void answer(QTcpSocket *socket, const QByteArray &head, const QByteArray &body);

    QTcpServer m_server;
};
