#pragma once
// Standard error as the log sees it: a terminal, a file, or the journal, which takes a priority in
// front of each line. Writes straight to the descriptor. Any thread.

#include <string_view>

namespace StandardError
{
/// Writes all of @p text. What a descriptor that is closed, or full for long, doesn't take is lost.
void write(std::string_view text) noexcept;

/// Whether standard error is a stream of the journal, which then names its device and inode in the
/// environment variable `JOURNAL_STREAM`.
bool isJournal();
} // namespace StandardError
