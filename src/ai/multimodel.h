#pragma once
// Asks a multimodal inference server for a short summary of a picture, by one HTTP POST.
// Owner: ImageSemanticModule. Thread: the module's. Holds no state between requests.

#include <QImage>
#include <QObject>
#include <QString>

#include <string>

class MultiModel : public QObject
{
    Q_OBJECT

public:
    /// The server's host is what the build was configured with, by default none.
    explicit MultiModel(QObject *parent);

    /// Where to ask from now on; only tests say so, the program leaves it at what the build has.
    /// Without an address no request is made and every summary is empty.
    void setServerAddress(const QString &address);
    void setServerPort(const QString &port);

    /// The summary of @p image; the model's whole answer where it holds no readable object; an
    /// empty text, with a line on the log, on failure. Blocks for as long as the server takes.
    QString getImageSemanticInfo(const QImage &image);

    /// Posts @p body to @p url. What the server answered, or the part that arrived before a
    /// failure, which the log tells; empty if nothing did. Blocks without a limit.
    QString postRequest(const QString &url, const std::string &body);

    /// Base64 text of @p image as JPEG at default quality, empty if it cannot be written.
    QString imageToBase64(const QImage &image);

private:
    QString requestUrl() const;
    std::string requestBody(const QImage &image);

    QString m_serverAddress;
    QString m_serverPort = QStringLiteral("57693");
    QString m_userQuery = QStringLiteral("Generate a summary for this image");
    QString m_sceneName = QStringLiteral("image_abstract");
    qint32 m_textLength = 200; ///< characters that the summary should have
};
