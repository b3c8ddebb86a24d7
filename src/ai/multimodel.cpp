#include "ai/multimodel.h"

#include "ai/imageutils.h"
#include "ai/multimodelanswer.h"

#include <QDebug>

#include <json/json.h>

#include <curl/curl.h>
#include <memory>

namespace
{
struct EasyDeleter {
    void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
};
using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;

// An exception must not cross curl's C code; any other count than the given one ends the transfer.
size_t appendReceived(const char *data, size_t size, size_t count, void *received) noexcept
{
    try {
        static_cast<std::string *>(received)->append(data, size * count);
    } catch (const std::exception &) {
        return 0;
    }
    return size * count;
}

void perform(CURL *handle, const QByteArray &url, const std::string &body, std::string *received)
{
    curl_easy_setopt(handle, CURLOPT_URL, url.constData());
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &appendReceived);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, received);
    const CURLcode result = curl_easy_perform(handle);
    if (result != CURLE_OK) {
        qDebug() << "curl_easy_perform() failed: " << curl_easy_strerror(result);
    }
}
} // namespace

MultiModel::MultiModel(QObject *parent)
    : QObject(parent), m_serverAddress(QStringLiteral(YESTERMARK_INFERENCE_SERVER))
{
}

void MultiModel::setServerAddress(const QString &address)
{
    m_serverAddress = address;
}

void MultiModel::setServerPort(const QString &port)
{
    m_serverPort = port;
}

QString MultiModel::getImageSemanticInfo(const QImage &image)
{
    if (image.isNull()) {
        qDebug() << "getImageSemanticInfo"
                 << "image is null";
        return {};
    }
    // Without a server there is nobody to ask: that reads as an answer without contents.
    const QString answer =
        m_serverAddress.isEmpty() ? QString() : postRequest(requestUrl(), requestBody(image));
    return MultiModelAnswer::summaryIn(answer);
}

QString MultiModel::requestUrl() const
{
    return QLatin1String("http://") + m_serverAddress + QLatin1Char(':') + m_serverPort +
           QLatin1String("/minicpm_inference");
}

std::string MultiModel::requestBody(const QImage &image)
{
    Json::Value body(Json::objectValue);
    body["image_base64"] = imageToBase64(image).toStdString();
    body["user_query"] = m_userQuery.toStdString();
    body["scene_name"] = m_sceneName.toStdString();
    body["text_length"] = std::to_string(m_textLength);
    return Json::writeString(Json::StreamWriterBuilder(), body);
}

QString MultiModel::postRequest(const QString &url, const std::string &body)
{
    std::string received;
    curl_global_init(CURL_GLOBAL_ALL);
    if (const EasyHandle handle{curl_easy_init()}) {
        perform(handle.get(), url.toUtf8(), body, &received);
    }
    curl_global_cleanup();
    return QString::fromStdString(received);
}

QString MultiModel::imageToBase64(const QImage &image)
{
    return ::imageToBase64(image);
}
