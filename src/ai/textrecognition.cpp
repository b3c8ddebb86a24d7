#include "ai/textrecognition.h"

#include "ai/startretry.h"

#include <QBuffer>
#include <QDebug>

namespace
{
constexpr char MODEL_NAME[] = "vision";
constexpr qint32 DEPLOY_TYPE = 0;

QVector<QPointF> pointsOf(const TextPoint *points, qint32 count)
{
    QVector<QPointF> corners;
    corners.reserve(count);
    for (const TextPoint *point = points; point != points + count; ++point) {
        corners.append(QPointF(static_cast<float>(point->x), static_cast<float>(point->y)));
    }
    return corners;
}
} // namespace

void TextRecognition::ConfigDeleter::operator()(TextRecognitionModelConfig *config) const
{
    text_recognition_model_config_destroy(&config);
}

void TextRecognition::SessionDeleter::operator()(TextRecognitionSession *session) const
{
    text_recognition_destroy_session(&session);
}

TextRecognition::ConfigPtr TextRecognition::configure(TextRecognitionSession *session)
{
    ConfigPtr config(text_recognition_model_config_create());
    text_recognition_model_config_set_name(config.get(), MODEL_NAME);
    text_recognition_model_config_set_deploy_type(config.get(), DEPLOY_TYPE);
    text_recognition_set_model_config(session, config.get());
    return config;
}

bool TextRecognition::start(TextRecognitionSession *session, unsigned int retries, qint32 *status)
{
    for (unsigned int attempt = 0; attempt < retries; ++attempt) {
        *status = text_recognition_init_session(session);
        if (*status == 0) {
            return true;
        }
        qWarning() << "failed to init text recognition session, retry" << attempt << "times"
                   << *status;
        StartRetry::pause();
    }
    return false;
}

std::optional<QByteArray> TextRecognition::encoded(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly)) {
        qDebug() << "buffer open error";
        return std::nullopt;
    }
    if (!image.save(&buffer, "PNG")) {
        qDebug() << "image save error";
        return std::nullopt;
    }
    return bytes;
}

void TextRecognition::request(TextRecognitionSession *session, const QByteArray &picture)
{
    text_recognition_recognize_text_from_image_data_async(
        session, reinterpret_cast<const uint8_t *>(picture.constData()),
        static_cast<uint64_t>(picture.size()));
}

bool TextRecognition::isNull(const TextRecognitionResult *result)
{
    if (!result) {
        qDebug() << "OCR的SDK传入的result为空";
    }
    return !result;
}

QVector<OCRTextData> TextRecognition::linesOf(TextRecognitionResult *result)
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
