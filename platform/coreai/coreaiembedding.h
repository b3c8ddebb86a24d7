// The embedding library of the on-device AI runtime: turns pictures and texts into vectors of one
// space, so that a text finds pictures by cosine similarity.
//
// Every call blocks until the answer is there, usually within a second; one that has none after 5 s
// fails. A session may be used from several threads at once. A runtime that dies is started again
// and the request repeated once.

#pragma once

// NOLINTBEGIN(bugprone-reserved-identifier,modernize-deprecated-headers): an interface in C, whose
// names are given.

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _ImageEmbeddingSession ImageEmbeddingSession;
typedef struct _EmbeddingResult EmbeddingResult;

// A session that is not connected yet; null on failure.
ImageEmbeddingSession *image_embedding_create_session(void);

// Connects the session with the runtime, which is started where it does not run. May block for
// seconds. 0 on success, else a status code.
int32_t image_embedding_init_session(ImageEmbeddingSession *session);

// Embeds a picture: `base64` is the base64 text of a JPEG or PNG file, `length` its length. True on
// success; `*result` is then set and belongs to the caller. False leaves it null.
bool image_embedding_by_base64_image_data(ImageEmbeddingSession *session, const char *base64,
                                          int32_t length, EmbeddingResult **result);

// Embeds a NUL-terminated UTF-8 text into the pictures' space.
bool text_embedding_by_image_model(ImageEmbeddingSession *session, const char *text,
                                   EmbeddingResult **result);

// The vector, owned by the result: 1024 floats of length 1.
const float *embedding_result_get_vector_data(EmbeddingResult *result);
int32_t embedding_result_get_vector_length(EmbeddingResult *result);

// Both free what the address holds and set it to null; null is allowed.
void embedding_result_destroy(EmbeddingResult **result);
void image_embedding_destroy_session(ImageEmbeddingSession **session);

#ifdef __cplusplus
}
#endif

// NOLINTEND(bugprone-reserved-identifier,modernize-deprecated-headers)
