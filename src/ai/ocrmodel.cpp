#include "ai/ocrmodel.h"

#include "ai/startretry.h"

#include <QBuffer>
#include <QDebug>

#include <utility>

namespace
{
constexpr char MODEL_NAME[] = "vision";
constexpr qint32 DEPLOY_TYPE = 0;

void onRecognized(TextRecognitionResult *result, void *userData)
{
    if (!result) {
        qDebug() << "OCR的SDK传入的result为空";
        return;
    }
    OcrModel::callback(result, userData);
}

QVector<QPointF> pointsOf(const TextPoint *points, qint32 count)
{
    QVector<QPointF> corners;
    corners.reserve(count);
    for (const TextPoint *point = points; point != points + count; ++point) {
        corners.append(QPointF(static_cast<float>(point->x), static_cast<float>(point->y)));
    }
    return corners;
}

QVector<OCRTextData> linesOf(TextRecognitionResult *result)
{
    QVector<OCRTextData> texts;
    qint32 lineCount = 0;
    TextLine *const *lines = text_recognition_result_get_text_lines(result, &lineCount);
    if (!lines) {
        qWarning() << "No text detected in image.";
        return texts;
    }
    for (TextLine *const *line = lines; line != lines + lineCount; ++line) {
        const QString text = QString::fromUtf8(text_line_get_value(*line));
        qint32 pointCount = 0;
        const TextPoint *points = text_line_get_corner_points(*line, &pointCount);
        if (!points) {
            qWarning() << "text_line_get_corner_points failed";
            continue;
        }
        texts.append({text, pointsOf(points, pointCount)});
    }
    return texts;
}
} // namespace

void OcrModel::ConfigDeleter::operator()(TextRecognitionModelConfig *config) const
{
    text_recognition_model_config_destroy(&config);
}

void OcrModel::SessionDeleter::operator()(TextRecognitionSession *session) const
{
    text_recognition_destroy_session(&session);
}

OcrModel::OcrModel()
{
    m_initThread = std::thread(&OcrModel::init, this);
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
    m_modelConfig.reset(text_recognition_model_config_create());
    text_recognition_model_config_set_name(m_modelConfig.get(), MODEL_NAME);
    text_recognition_model_config_set_deploy_type(m_modelConfig.get(), DEPLOY_TYPE);
    text_recognition_set_model_config(m_session.get(), m_modelConfig.get());
    if (!initSessionWithRetry(1)) {
        qWarning() << "Warning: Text_recognition_init_session failed";
        m_sessionReady = false;
        return;
    }
    m_sessionReady = true;
    // A callback set before this line found the session not ready and left the registration to us.
    if (std::atomic_load(&m_resultCallback)) {
        registerCallback();
    }
}

bool OcrModel::initSessionWithRetry(unsigned int retries)
{
    for (unsigned int attempt = 0; attempt < retries; ++attempt) {
        m_initStatus = text_recognition_init_session(m_session.get());
        if (m_initStatus == 0) {
            return true;
        }
        qWarning() << "failed to init text recognition session, retry" << attempt << "times"
                   << m_initStatus;
        StartRetry::pause();
    }
    return false;
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
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly)) {
        qDebug() << "buffer open error";
        return;
    }
    if (!image.save(&buffer, "PNG")) {
        qDebug() << "image save error";
        return;
    }
    text_recognition_recognize_text_from_image_data_async(
        m_session.get(), reinterpret_cast<const uint8_t *>(bytes.constData()),
        static_cast<uint64_t>(bytes.size()));
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
    (*resultCallback)(linesOf(result));
}
