#include "workerbench.h"

#include <QBuffer>

using namespace coreai;

namespace WorkerBench
{
std::string encoded(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes.toStdString();
}

void Answers::take(Message message)
{
    if (message.type != MessageType::Begun) {
        const std::lock_guard lock(m_mutex);
        m_messages.push_back(std::move(message));
    }
}

int Answers::count() const
{
    const std::lock_guard lock(m_mutex);
    return int(m_messages.size());
}

std::vector<std::uint64_t> Answers::requests() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::uint64_t> numbers;
    for (const Message &message : m_messages) {
        numbers.push_back(message.request);
    }
    return numbers;
}

Message Answers::at(std::size_t index) const
{
    const std::lock_guard lock(m_mutex);
    return m_messages.at(index);
}

std::vector<ReadLine> Answers::lines(std::size_t index) const
{
    const Message message = at(index);
    return decodeLines(message.payload.view().bytes()).value();
}

std::vector<float> Answers::vector(std::size_t index) const
{
    const Message message = at(index);
    return decodeFloats(message.payload.view().bytes()).value();
}

Bench::Bench(Worker::Settings settings)
    : worker(std::make_unique<TestEngines::CountingSet>(counts), std::move(settings),
             [this](Message message) { answers.take(std::move(message)); })
{
}

void Bench::read(std::uint32_t session, std::uint64_t request, const std::string &picture)
{
    worker.post({MessageType::ReadPicture, session, request, Payload::of(picture)});
}

void Bench::embed(std::uint64_t request, const std::string &picture)
{
    worker.post({MessageType::EmbedPicture, embedding, request, Payload::of(picture)});
}

void Bench::ask(std::uint64_t request, const std::string &text)
{
    worker.post({MessageType::EmbedText, embedding, request, Payload::of(text)});
}
} // namespace WorkerBench
