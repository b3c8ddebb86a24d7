#pragma once
// The log's file: a line a message, at most three files, the oldest thrown away. Owned by the
// logger; any thread, the base class locks.
//
// spdlog has a rotating sink, but it counts what its own process wrote and leaves modes and
// close-on-exec to chance. Here a second start of the program, which logs a few lines under the
// same name before it leaves, appends to the same file, and either process may rotate it.

#include <cstddef>
#include <mutex>
#include <spdlog/sinks/base_sink.h>
#include <string>
#include <string_view>

class RotatingFileSink final : public spdlog::sinks::base_sink<std::mutex>
{
public:
    /// A file holds at most 5 MB (10^6); a longer one is never made.
    static constexpr std::size_t FILE_SIZE_LIMIT = 5'000'000;

    /// The file being written, ".1" and ".2".
    static constexpr int FILE_COUNT = 3;

    /// A single message is cut here, so that it can't empty the history by itself.
    static constexpr std::size_t LINE_LIMIT = 1'000'000;

    /// Writes to @p directory/@p fileName; both are made when the first message comes.
    RotatingFileSink(std::string directory, const std::string &fileName);
    ~RotatingFileSink() override;

protected:
    /// Appends with one unbuffered write. A failure is reported once on standard error, until a
    /// write succeeds again; every message tries anew.
    void sink_it_(const spdlog::details::log_msg &message) override;
    void flush_() override {}

private:
    bool append(std::string_view text);
    bool makeRoom(std::size_t length);
    bool isCurrentFile() const;
    bool shiftFiles();
    std::string oldPath(int number) const;
    bool openFile();
    bool makeDirectory() const;
    void closeFile();
    void report(int error);

    const std::string m_directory;
    const std::string m_path;
    int m_file = -1;
    bool m_failing = false;
    bool m_torn = false; // the disk was full in the middle of a line
};
