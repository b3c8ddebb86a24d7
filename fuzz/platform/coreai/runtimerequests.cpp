// A hostile program before the AI runtime, and hostile engines behind it: the service and its
// worker between both. An input is a row of requests, each a byte for its kind and session, a
// number, and a payload; what the engines answer is taken from the end of the input.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include "coreai/protocol/channel.h"
#include "coreai/runtime/runtimeservice.h"

#include <future>
#include <sys/socket.h>
#include <thread>

namespace
{
using namespace coreai;

constexpr int mostRequests = 24;
constexpr std::size_t mostAnswerBytes = 256; // of the input, for the engines
constexpr char lastQuery[] = "the last query of this input";
constexpr std::uint32_t lastSession = 200; // of the harness itself

// Answers anything, of any size, and nothing. Tells when the worker has nothing more to do after
// the last query, which is when it gives back the memory of its engines.
class HostileEngines : public EngineSet
{
public:
    HostileEngines(std::string_view answers, std::promise<void> &idle)
        : m_answers(reinterpret_cast<const std::uint8_t *>(answers.data()), answers.size())
        , m_idle(idle)
    {
    }

    void setWhileWaiting(std::function<void()> whileWaiting) override
    {
        m_whileWaiting = std::move(whileWaiting);
    }
    void prepareReading() override {}
    std::chrono::milliseconds pause() const override { return {}; }

    Lines readLines(const std::vector<cv::Mat> &lines) override
    {
        m_whileWaiting();
        Lines texts(lines.size());
        for (std::size_t line = 0; line < lines.size(); ++line) {
            Scratch::require(!lines[line].empty(), "no empty line is read");
            if (m_answers.flag()) {
                texts[line] = LineText{std::string(m_answers.take(m_answers.below(16))),
                                       m_answers.number<float>()};
            }
        }
        return texts;
    }
    Vectors ofPassages(const std::vector<std::string> &texts) override
    {
        m_whileWaiting();
        Vectors vectors(m_answers.flag() ? texts.size() : m_answers.below(6));
        for (std::vector<float> &vector : vectors) {
            vector = this->vector();
        }
        return vectors;
    }
    std::vector<float> ofQuery(const std::string &utf8) override
    {
        m_isLast = m_isLast || utf8 == lastQuery;
        return vector();
    }
    std::vector<float> ofPictureText(const std::string & /*utf8*/) override { return vector(); }
    std::vector<float> ofPicture(const cv::Mat & /*picture*/) override { return vector(); }
    void unload() override
    {
        if (m_isLast) {
            m_isLast = false;
            m_idle.set_value();
        }
    }

private:
    std::vector<float> vector()
    {
        constexpr std::size_t sizes[] = {384, 512, 0, 1, 385, 1024, 383};
        return std::vector<float>(sizes[m_answers.below(7)], m_answers.number<float>());
    }

    InputBytes m_answers;
    std::promise<void> &m_idle;
    std::function<void()> m_whileWaiting = [] {};
    bool m_isLast = false;
};

void sendRequests(InputBytes &input, Channel &client)
{
    constexpr MessageType types[] = {MessageType::OpenSession, MessageType::ReadPicture,
                                     MessageType::EmbedPicture, MessageType::EmbedText,
                                     MessageType::CloseSession};
    for (int count = 0; count < mostRequests && !input.isEmpty(); ++count) {
        const auto kind = input.number<std::uint8_t>();
        Message message;
        message.type = types[kind % 5];
        message.session = (kind >> 4) & 3;
        message.request = input.number<std::uint16_t>();
        if (message.type != MessageType::OpenSession && message.type != MessageType::CloseSession) {
            message.payload = Payload::of(input.piece());
        }
        client.send(message);
    }
}

void sendLast(Channel &client)
{
    client.send({MessageType::OpenSession, lastSession, 1, Payload()});
    client.send({MessageType::EmbedText, lastSession, 1, Payload::of(lastQuery)});
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    InputBytes input(data, size);
    const std::string_view all(size > 0 ? reinterpret_cast<const char *>(data) : "", size);
    const std::size_t answers = std::min(size, mostAnswerBytes);

    std::promise<void> idle;
    Channel::Pair pair = Channel::makePair();
    Channel client(std::move(pair.ours));
    Worker::Settings settings;
    settings.idleTime = std::chrono::milliseconds(0);
    settings.power = PowerState(Scratch::path(QStringLiteral("no_power_supply")));
    settings.pictureModel = (size & 1) != 0;
    settings.cacheBytes = 64 << 10;
    RuntimeService service(Channel(std::move(pair.theirs)), {true, true},
                           std::make_unique<HostileEngines>(all.substr(size - answers), idle),
                           settings);
    std::thread serving([&service] { service.run(); });
    sendRequests(input, client);
    sendLast(client);
    // Each answer is read, so that the service never stops for a full socket.
    std::future<void> done = idle.get_future();
    Message answer;
    while (done.wait_for(std::chrono::milliseconds(0)) != std::future_status::ready) {
        if (client.receive(answer) == Channel::Receiving::Ended) {
            break;
        }
        client.waitReadable(1);
    }
    client.close();
    serving.join();
    return 0;
}
