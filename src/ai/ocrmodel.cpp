#include "ai/ocrmodel.h"

#include <QDebug>

#include <pthread.h>
#include <utility>

namespace
{
void onRecognized(TextRecognitionResult *result, void *userData)
{
    if (!TextRecognition::isNull(result)) {
        OcrModel::callback(result, userData);
    }
}
} // namespace

OcrModel::OcrModel()
{
    m_initThread = std::thread(&OcrModel::init, this);
    pthread_setname_np(m_initThread.native_handle(), "ai frames start");
}

OcrModel::~OcrModel()
{
    if (m_initThread.joinable()) {
        m_initThread.join();
    }
    m_modelConfig.reset();
    m_session.reset();
}

void OcrModel::init()
{
    m_session.reset(text_recognition_create_session());
    if (!m_session) {
        qDebug() << "text_recognition_create_session failed";
        m_sessionReady = false;
        return;
    }
    m_modelConfig = TextRecognition::configure(m_session.get());
    if (!initSessionWithRetry(1)) {
        qWarning() << "Warning: Text_recognition_init_session failed";
        m_sessionReady = false;
        return;
    }
    m_sessionReady = true;
    // A callback set before this line found the session not ready and left the registration to us.
    const std::shared_ptr<const ResultCallback> stored = std::atomic_load(&m_resultCallback);
    if (stored && *stored) {
        registerCallback();
    }
}

bool OcrModel::initSessionWithRetry(unsigned int retries)
{
    return TextRecognition::start(m_session.get(), retries, &m_initStatus);
}

void OcrModel::setImageOCRResultCallback(std::function<void(const QVector<OCRTextData> &)> callback)
{
    std::atomic_store(&m_resultCallback,
                      std::make_shared<const ResultCallback>(std::move(callback)));
    if (!m_sessionReady) {
        qWarning() << "Warning: text recognition session is not initialized";
        return;
    }
    registerCallback();
}

void OcrModel::registerCallback()
{
    text_recognition_result_set_callback(m_session.get(), &onRecognized, this);
}

void OcrModel::requestOCRTextDataAsync(const QImage &image)
{
    if (!m_sessionReady) {
        qWarning() << "Warning: vision session is not initialized";
        return;
    }
    if (const std::optional<QByteArray> picture = TextRecognition::encoded(image)) {
        TextRecognition::request(m_session.get(), *picture);
    }
}

void OcrModel::callback(TextRecognitionResult *result, void *userData)
{
    const auto *model = static_cast<const OcrModel *>(userData);
    const std::shared_ptr<const ResultCallback> resultCallback =
        std::atomic_load(&model->m_resultCallback);
    if (!resultCallback || !*resultCallback) {
        qWarning() << "ocr result callback is nullptr";
        return;
    }
    (*resultCallback)(TextRecognition::linesOf(result));
}
