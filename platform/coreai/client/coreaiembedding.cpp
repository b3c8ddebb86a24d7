#include "coreai/coreaiembedding.h"

#include "coreai/client/embeddingcalls.h"

#include <QByteArray>

#include <cstring>
#include <exception>
#include <new>

struct _EmbeddingResult {
    std::vector<float> vector;
};

namespace
{
bool embed(ImageEmbeddingSession *session, coreai::MessageType type, std::string_view bytes,
           EmbeddingResult **result)
{
    try {
        std::vector<float> vector = session->embed(type, bytes);
        if (vector.empty()) {
            return false;
        }
        *result = new EmbeddingResult{std::move(vector)};
        return true;
    } catch (const std::exception &) { // no memory left
        return false;
    }
}
} // namespace

ImageEmbeddingSession *image_embedding_create_session(void)
{
    try {
        return new ImageEmbeddingSession;
    } catch (const std::exception &) {
        return nullptr;
    }
}

int32_t image_embedding_init_session(ImageEmbeddingSession *session)
{
    try {
        return session ? session->init() : int32_t(coreai::LinkNotStarted);
    } catch (const std::exception &) {
        return coreai::LinkNotStarted;
    }
}

bool image_embedding_by_base64_image_data(ImageEmbeddingSession *session, const char *base64,
                                          int32_t length, EmbeddingResult **result)
{
    if (!result) {
        return false;
    }
    *result = nullptr;
    if (!session || !base64 || length <= 0) {
        return false;
    }
    const auto decoded = QByteArray::fromBase64Encoding(QByteArray::fromRawData(base64, length),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.isEmpty()) {
        return false;
    }
    return embed(session, coreai::MessageType::EmbedPicture,
                 {decoded.decoded.constData(), std::size_t(decoded.decoded.size())}, result);
}

bool text_embedding_by_image_model(ImageEmbeddingSession *session, const char *text,
                                   EmbeddingResult **result)
{
    if (!result) {
        return false;
    }
    *result = nullptr;
    if (!session || !text) {
        return false;
    }
    return embed(session, coreai::MessageType::EmbedText, {text, std::strlen(text)}, result);
}

const float *embedding_result_get_vector_data(EmbeddingResult *result)
{
    return result ? result->vector.data() : nullptr;
}

int32_t embedding_result_get_vector_length(EmbeddingResult *result)
{
    return result ? int32_t(result->vector.size()) : 0;
}

void embedding_result_destroy(EmbeddingResult **result)
{
    if (result) {
        delete *result;
        *result = nullptr;
    }
}

void image_embedding_destroy_session(ImageEmbeddingSession **session)
{
    if (session) {
        delete *session;
        *session = nullptr;
    }
}
