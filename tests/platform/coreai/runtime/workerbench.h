#pragma once
// A worker with engines whose answers the tests know, and what it answered. Main thread of a test;
// what the worker tells is taken on the worker's own.

#include "coreai/protocol/answers.h"
#include "coreai/runtime/worker.h"
#include "testengines.h"

#include <QImage>

#include <mutex>
#include <string>
#include <vector>

namespace WorkerBench
{
std::string encoded(const QImage &image, const char *format = "PNG");

/// What the worker told, in order, without the notices that a request has begun.
class Answers
{
public:
    void take(coreai::Message message);
    int count() const;
    std::vector<std::uint64_t> requests() const;
    coreai::Message at(std::size_t index) const;
    std::vector<coreai::ReadLine> lines(std::size_t index) const;
    std::vector<float> vector(std::size_t index) const;

private:
    mutable std::mutex m_mutex;
    std::vector<coreai::Message> m_messages;
};

class Bench
{
public:
    explicit Bench(coreai::Worker::Settings settings = {});
    void read(std::uint32_t session, std::uint64_t request, const std::string &picture);
    void embed(std::uint64_t request, const std::string &picture);
    void ask(std::uint64_t request, const std::string &text);

    static constexpr std::uint32_t recorder = 1;
    static constexpr std::uint32_t region = 2;
    static constexpr std::uint32_t embedding = 3;

    TestEngines::Counts counts;
    Answers answers;
    coreai::Worker worker; // last: uses the others
};
} // namespace WorkerBench
