#include "database/likefunction.h"

#include "database/likeneedle.h"

#include <memory>
#include <optional>

#include <sqlite3.h>

namespace
{
// What a statement keeps of a pattern that is the same for every row.
struct Pattern {
    std::optional<LikeNeedle> needle;
};

void dropPattern(void *pattern)
{
    delete static_cast<Pattern *>(pattern);
}

std::string_view textOf(sqlite3_value *value)
{
    const unsigned char *text = sqlite3_value_text(value);
    return {reinterpret_cast<const char *>(text),
            text ? static_cast<std::size_t>(sqlite3_value_bytes(value)) : 0};
}

bool isRefusedBlob(sqlite3_value *value)
{
    static const bool refused = sqlite3_compileoption_used("LIKE_DOESNT_MATCH_BLOBS") != 0;
    return refused && sqlite3_value_type(value) == SQLITE_BLOB;
}

bool isTooLong(sqlite3_context *context, sqlite3_value *pattern)
{
    sqlite3 *handle = sqlite3_context_db_handle(context);
    return sqlite3_value_bytes(pattern) >
           sqlite3_limit(handle, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, -1);
}

// Null where SQLite has no memory to keep it; the pattern is then taken apart for the next row.
const Pattern *rememberedPattern(sqlite3_context *context, std::string_view pattern)
{
    if (const void *known = sqlite3_get_auxdata(context, 0)) {
        return static_cast<const Pattern *>(known);
    }
    auto made = std::make_unique<Pattern>(Pattern{LikeNeedle::ofPattern(pattern)});
    sqlite3_set_auxdata(context, 0, made.release(), dropPattern);
    return static_cast<const Pattern *>(sqlite3_get_auxdata(context, 0));
}

void like(sqlite3_context *context, int, sqlite3_value **arguments)
{
    if (isRefusedBlob(arguments[0]) || isRefusedBlob(arguments[1])) {
        sqlite3_result_int(context, 0);
        return;
    }
    if (isTooLong(context, arguments[0])) {
        sqlite3_result_error(context, "LIKE or GLOB pattern too complex", -1);
        return;
    }
    const std::string_view pattern = textOf(arguments[0]);
    const std::string_view text = textOf(arguments[1]);
    if (!pattern.data() || !text.data()) {
        return; // NULL
    }
    const Pattern *known = rememberedPattern(context, pattern);
    const bool matches = known && known->needle
                             ? known->needle->isIn(text)
                             : sqlite3_strlike(pattern.data(), text.data(), 0) == 0;
    sqlite3_result_int(context, matches ? 1 : 0);
}
} // namespace

int LikeFunction::install(sqlite3 *handle)
{
    return sqlite3_create_function_v2(handle, "like", 2,
                                      SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS,
                                      nullptr, like, nullptr, nullptr, nullptr);
}
