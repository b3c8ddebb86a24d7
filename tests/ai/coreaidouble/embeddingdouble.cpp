// The embedding library's functions, as the script has it.

#include "ai/coreaidouble/doublestate.h"

#include "coreai/coreaiembedding.h"

using CoreAiDouble::note;
using CoreAiDouble::state;

// NOLINTBEGIN(bugprone-reserved-identifier): the interface declares these names.
struct _ImageEmbeddingSession {
};

struct _EmbeddingResult {
    QVector<float> vector;
};
// NOLINTEND(bugprone-reserved-identifier)

namespace
{
bool embed(const QByteArray &input, std::vector<std::string> *inputs, EmbeddingResult **result)
{
    CoreAiDouble::Embedder embedder;
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        inputs->push_back(input.toStdString());
        if (state().failsEmbeddings) {
            return false;
        }
        ++state().livingResults;
        embedder = state().embedder;
    }
    *result = new EmbeddingResult{embedder(input)};
    return true;
}
} // namespace

ImageEmbeddingSession *image_embedding_create_session()
{
    note(__func__);
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().refusesEmbedding ? nullptr : new ImageEmbeddingSession;
}

int32_t image_embedding_init_session(ImageEmbeddingSession * /*session*/)
{
    note(__func__);
    CoreAiDouble::awaitStart();
    const std::lock_guard<std::mutex> lock(state().mutex);
    if (state().embeddingFailures == 0) {
        return 0;
    }
    --state().embeddingFailures;
    return -1;
}

bool image_embedding_by_base64_image_data(ImageEmbeddingSession * /*session*/, const char *base64,
                                          int32_t length, EmbeddingResult **result)
{
    note(__func__);
    return embed(QByteArray(base64, length), &state().embeddedPictures, result);
}

bool text_embedding_by_image_model(ImageEmbeddingSession * /*session*/, const char *text,
                                   EmbeddingResult **result)
{
    note(__func__);
    return embed(QByteArray(text), &state().embeddedTexts, result);
}

const float *embedding_result_get_vector_data(EmbeddingResult *result)
{
    return result->vector.constData();
}

int32_t embedding_result_get_vector_length(EmbeddingResult *result)
{
    return result->vector.size();
}

void embedding_result_destroy(EmbeddingResult **result)
{
    if (*result) {
        const std::lock_guard<std::mutex> lock(state().mutex);
        --state().livingResults;
    }
    delete *result;
    *result = nullptr;
}

void image_embedding_destroy_session(ImageEmbeddingSession **session)
{
    note(__func__);
    delete *session;
    *session = nullptr;
}
