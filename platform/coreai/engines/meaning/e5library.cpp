#include "coreai/engines/meaning/e5library.h"

extern "C" {
#define YESTERMARK_E5_BUILD(suffix)                                                                \
    e5_model *e5_load_##suffix(const char *path);                                                  \
    void e5_free_##suffix(e5_model *model);                                                        \
    int e5_token_count_##suffix(e5_model *model, const char *text, int isQuery);                   \
    int e5_embed_batch_##suffix(e5_model *model, const char **texts, int count, int isQuery,       \
                                float *vectors);
YESTERMARK_E5_BUILD(plain)
#ifdef YESTERMARK_E5_AVX2
YESTERMARK_E5_BUILD(avx2)
#endif
#undef YESTERMARK_E5_BUILD
}

namespace coreai
{
const E5Library &E5Library::ofThisProcessor()
{
#ifdef YESTERMARK_E5_AVX2
    static const E5Library avx2{e5_load_avx2, e5_free_avx2, e5_token_count_avx2,
                                e5_embed_batch_avx2, "AVX2"};
    static const bool hasAvx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (hasAvx2) {
        return avx2;
    }
#endif
    static const E5Library plain{e5_load_plain, e5_free_plain, e5_token_count_plain,
                                 e5_embed_batch_plain, "plain"};
    return plain;
}
} // namespace coreai
