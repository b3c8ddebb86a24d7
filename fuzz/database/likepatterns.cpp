// Our like() against SQLite's own, which it must equal on every pattern and every text. An input is
// a pattern, a line feed and a text.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include "database/likefunction.h"

#include <memory>
#include <optional>
#include <string_view>

#include <sqlite3.h>

namespace
{
struct Closer {
    void operator()(sqlite3 *handle) const { sqlite3_close(handle); }
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};

class Connection
{
public:
    explicit Connection(bool isOurs)
    {
        sqlite3 *handle = nullptr;
        sqlite3_open(":memory:", &handle);
        m_handle.reset(handle);
        Scratch::require(!isOurs || LikeFunction::install(handle) == SQLITE_OK, "our like()");
        sqlite3_stmt *statement = nullptr;
        sqlite3_prepare_v2(handle, "SELECT ?2 LIKE ?1", -1, &statement, nullptr);
        m_statement.reset(statement);
    }

    // Nothing where SQLite refuses the pattern.
    std::optional<int> like(std::string_view pattern, std::string_view text)
    {
        sqlite3_stmt *statement = m_statement.get();
        sqlite3_reset(statement);
        const auto bind = [statement](int place, std::string_view value) {
            sqlite3_bind_text(statement, place, value.data(), static_cast<int>(value.size()),
                              SQLITE_STATIC);
        };
        bind(1, pattern);
        bind(2, text);
        if (sqlite3_step(statement) != SQLITE_ROW) {
            return std::nullopt;
        }
        return sqlite3_column_int(statement, 0);
    }

private:
    std::unique_ptr<sqlite3, Closer> m_handle;
    std::unique_ptr<sqlite3_stmt, Closer> m_statement;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Connection ours(true);
    static Connection theirs(false);
    InputBytes input(data, size);
    const std::string_view pattern = input.line();
    const std::string_view text = input.rest();
    Scratch::require(ours.like(pattern, text) == theirs.like(pattern, text), "the same answer");
    return 0;
}
