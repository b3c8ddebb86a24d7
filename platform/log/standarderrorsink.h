#pragma once
// The log's sink for standard error. One write a message keeps the lines of several processes
// apart. Owned by the logger; any thread, the base class locks.

#include <mutex>
#include <spdlog/sinks/base_sink.h>

class StandardErrorSink final : public spdlog::sinks::base_sink<std::mutex>
{
public:
    /// With @p journal each line begins with its priority, as the journal wants it.
    explicit StandardErrorSink(bool journal);

protected:
    void sink_it_(const spdlog::details::log_msg &message) override;
    void flush_() override {}

private:
    const bool m_journal;
};
