#include "coreai/coreaivision.h"

#include "coreai/client/recognitionresult.h"
#include "coreai/client/textrecognition.h"

#include <exception>
#include <new>
#include <system_error>

// The runtime has one model for all pictures; the settings are taken and change nothing.
struct _TextRecognitionModelConfig {
    std::string name;
    std::int32_t deployType = 0;
};

TextRecognitionSession *text_recognition_create_session(void)
{
    try {
        return new TextRecognitionSession;
    } catch (const std::exception &) { // no thread or no memory left
        return nullptr;
    }
}

TextRecognitionModelConfig *text_recognition_model_config_create(void)
{
    return new (std::nothrow) TextRecognitionModelConfig;
}

void text_recognition_model_config_set_name(TextRecognitionModelConfig *config, const char *name)
{
    if (config) {
        try {
            config->name = name ? name : "";
        } catch (const std::exception &) { // no memory left: it keeps the name that it has
        }
    }
}

void text_recognition_model_config_set_deploy_type(TextRecognitionModelConfig *config, int32_t type)
{
    if (config) {
        config->deployType = type;
    }
}

void text_recognition_set_model_config(TextRecognitionSession *, const TextRecognitionModelConfig *)
{
}

int32_t text_recognition_init_session(TextRecognitionSession *session)
{
    try {
        return session ? session->init() : int32_t(coreai::LinkNotStarted);
    } catch (const std::exception &) {
        return coreai::LinkNotStarted;
    }
}

void text_recognition_result_set_callback(TextRecognitionSession *session,
                                          TextRecognitionCallback callback, void *userData)
{
    if (session) {
        session->setCallback(callback, userData);
    }
}

void text_recognition_recognize_text_from_image_data_async(TextRecognitionSession *session,
                                                           const uint8_t *data, uint64_t size)
{
    if (session) {
        try {
            session->request({reinterpret_cast<const char *>(data), data ? std::size_t(size) : 0});
        } catch (const std::exception &) { // not even memory for the place of an answer
        }
    }
}

TextLine *const *text_recognition_result_get_text_lines(TextRecognitionResult *result,
                                                        int32_t *count)
{
    const bool any = result && !result->pointers.empty();
    if (count) {
        *count = any ? int32_t(result->pointers.size()) : 0;
    }
    return any ? result->pointers.data() : nullptr;
}

const char *text_line_get_value(TextLine *line)
{
    return line ? line->text.c_str() : "";
}

const TextPoint *text_line_get_corner_points(TextLine *line, int32_t *count)
{
    const bool any = line && !line->corners.empty();
    if (count) {
        *count = any ? int32_t(line->corners.size()) : 0;
    }
    return any ? line->corners.data() : nullptr;
}

void text_recognition_model_config_destroy(TextRecognitionModelConfig **config)
{
    if (config) {
        delete *config;
        *config = nullptr;
    }
}

void text_recognition_destroy_session(TextRecognitionSession **session)
{
    if (session) {
        delete *session;
        *session = nullptr;
    }
}
