#include "log/standarderrorsink.h"

#include "log/standarderror.h"

#include <string_view>

namespace
{
// Priorities of syslog(3), as the journal reads them at the start of a line.
constexpr std::string_view priorityMark(spdlog::level::level_enum level)
{
    switch (level) {
    case spdlog::level::critical:
        return "<2>";
    case spdlog::level::err:
        return "<3>";
    case spdlog::level::warn:
        return "<4>";
    case spdlog::level::info:
        return "<6>";
    default:
        return "<7>";
    }
}
} // namespace

StandardErrorSink::StandardErrorSink(bool journal) : m_journal(journal) {}

void StandardErrorSink::sink_it_(const spdlog::details::log_msg &message)
{
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    if (!m_journal) {
        StandardError::write({line.data(), line.size()});
        return;
    }
    // The journal makes an entry of each line, so each needs its own priority.
    const std::string_view mark = priorityMark(message.level);
    spdlog::memory_buf_t marked;
    bool atLineStart = true;
    for (const char byte : line) {
        if (atLineStart) {
            marked.append(mark.data(), mark.data() + mark.size());
        }
        marked.push_back(byte);
        atLineStart = byte == '\n';
    }
    StandardError::write({marked.data(), marked.size()});
}
