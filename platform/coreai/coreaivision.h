// The vision library of the on-device AI runtime: recognises the text of pictures.
//
// Order and number of answers: a session answers every accepted request exactly once, in the order
// of its requests, on a thread of the library's own; one session never waits for another. A runtime
// that dies is started again and the request repeated once; one that dies again gives a result
// without lines, so that answers keep pairing with requests.
// Threads: every function may be called from any thread; a session is destroyed by nobody who still
// uses it. After text_recognition_destroy_session() no callback of that session runs.
// Memory: results, lines and points belong to the library and live until the callback returns.

#pragma once

// NOLINTBEGIN(bugprone-reserved-identifier,modernize-deprecated-headers): an interface in C, whose
// names are given.

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _TextRecognitionSession TextRecognitionSession;
typedef struct _TextRecognitionModelConfig TextRecognitionModelConfig;
typedef struct _TextRecognitionResult TextRecognitionResult;
typedef struct _TextLine TextLine;

// A corner of a line, in pixels of the picture that was sent, from its top left corner.
typedef struct _TextPoint {
    int32_t x;
    int32_t y;
} TextPoint;

// Called once for each request. `result` is null where the library could not even make an empty
// result.
typedef void (*TextRecognitionCallback)(TextRecognitionResult *result, void *userData);

// A session that is not connected yet; null on failure.
TextRecognitionSession *text_recognition_create_session(void);

TextRecognitionModelConfig *text_recognition_model_config_create(void);
void text_recognition_model_config_set_name(TextRecognitionModelConfig *config, const char *name);
void text_recognition_model_config_set_deploy_type(TextRecognitionModelConfig *config,
                                                   int32_t type);
void text_recognition_set_model_config(TextRecognitionSession *session,
                                       const TextRecognitionModelConfig *config);

// Connects the session with the runtime, which is started where it does not run. May block for
// seconds. 0 on success, else a status code.
int32_t text_recognition_init_session(TextRecognitionSession *session);

// Replaces the session's callback; a null one drops answers.
void text_recognition_result_set_callback(TextRecognitionSession *session,
                                          TextRecognitionCallback callback, void *userData);

// Asks for the text of an encoded picture (PNG or JPEG). Returns at once; `data` need only live for
// the call. Data that hold no picture are answered with a result without lines.
void text_recognition_recognize_text_from_image_data_async(TextRecognitionSession *session,
                                                           const uint8_t *data, uint64_t size);

// The lines in reading order, `*count` of them; null, with a count of 0, where nothing was found.
TextLine *const *text_recognition_result_get_text_lines(TextRecognitionResult *result,
                                                        int32_t *count);

// The line's text: UTF-8, NUL-terminated.
const char *text_line_get_value(TextLine *line);

// The corners from the top left one clockwise, `*count` of them, or null.
const TextPoint *text_line_get_corner_points(TextLine *line, int32_t *count);

// Both free what the address holds and set it to null; null is allowed.
void text_recognition_model_config_destroy(TextRecognitionModelConfig **config);
void text_recognition_destroy_session(TextRecognitionSession **session);

#ifdef __cplusplus
}
#endif

// NOLINTEND(bugprone-reserved-identifier,modernize-deprecated-headers)
