#include "ai/embeddingmodel.h"

#include "ai/imageutils.h"
#include "ai/startretry.h"

#include <QDebug>

#include <algorithm>
#include <pthread.h>

namespace
{
constexpr unsigned int START_ATTEMPTS = 5;

struct ResultDeleter {
    void operator()(EmbeddingResult *result) const { embedding_result_destroy(&result); }
};
using ResultPtr = std::unique_ptr<EmbeddingResult, ResultDeleter>;

QVector<float> vectorOf(EmbeddingResult *result)
{
    const qint32 length = embedding_result_get_vector_length(result);
    const float *data = embedding_result_get_vector_data(result);
    QVector<float> vector;
    if (data && length > 0) {
        vector.resize(length);
        std::copy_n(data, length, vector.begin());
    }
    return vector;
}
} // namespace

void EmbeddingModel::SessionDeleter::operator()(ImageEmbeddingSession *session) const
{
    image_embedding_destroy_session(&session);
}

EmbeddingModel::EmbeddingModel()
{
    m_initThread = std::thread(&EmbeddingModel::init, this);
    pthread_setname_np(m_initThread.native_handle(), "ai vector start");
}

EmbeddingModel::~EmbeddingModel()
{
    qDebug() << "删除图像session";
    if (m_initThread.joinable()) {
        m_initThread.join();
    }
    m_session.reset();
}

void EmbeddingModel::init()
{
    m_session.reset(image_embedding_create_session());
    if (!m_session) {
        qWarning() << "failed to create im_session";
        m_sessionReady = false;
        return;
    }
    if (initSessionWithRetry(START_ATTEMPTS)) {
        m_sessionReady = true;
        return;
    }
    qWarning() << "failed to initialize im_session";
    m_sessionReady = false;
}

bool EmbeddingModel::initSessionWithRetry(unsigned int retries)
{
    for (unsigned int attempt = 0; attempt < retries; ++attempt) {
        if (image_embedding_init_session(m_session.get()) == 0) {
            return true;
        }
        qWarning() << "failed to init embedding session, retry" << attempt << "times";
        StartRetry::pause();
    }
    return false;
}

bool EmbeddingModel::isReady() const
{
    if (!m_sessionReady) {
        qWarning() << "Image embedding session is not initialized.";
        return false;
    }
    return true;
}

QVector<float> EmbeddingModel::getImageEmbeddingSync(const QImage &image) const
{
    if (!isReady()) {
        return {};
    }
    const QByteArray base64 = imageToBase64(image).toLatin1();
    EmbeddingResult *handle = nullptr;
    const bool embedded = image_embedding_by_base64_image_data(
        m_session.get(), base64.constData(), static_cast<int32_t>(base64.size()), &handle);
    const ResultPtr result(handle);
    if (!embedded) {
        qDebug() << "embeddingImageResult is nullptr";
        return {};
    }
    return vectorOf(result.get());
}

QVector<float> EmbeddingModel::getTextEmbeddingSync(const QString &text) const
{
    if (!isReady()) {
        return {};
    }
    EmbeddingResult *handle = nullptr;
    const bool embedded =
        text_embedding_by_image_model(m_session.get(), text.toUtf8().constData(), &handle);
    const ResultPtr result(handle);
    if (!embedded) {
        qDebug() << "embeddingTextResult is nullptr";
        return {};
    }
    return vectorOf(result.get());
}
