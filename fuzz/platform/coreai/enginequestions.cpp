// A hostile runtime before the process of the engines: an input is a row of questions, each a byte
// for its kind, a number, and a payload.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include "coreai/runtime/enginehost.h"

#include <numeric>
#include <sys/socket.h>

namespace
{
using namespace coreai;

constexpr int mostQuestions = 8;                           // whose answers fit into the socket
constexpr auto firstAnswer = static_cast<MessageType>(96); // of the engines

// Looks at every pixel that is promised.
double sumOf(const cv::Mat &pixels)
{
    double sum = 0;
    for (int y = 0; y < pixels.rows; ++y) {
        const std::uint8_t *row = pixels.ptr(y);
        sum = std::accumulate(row, row + pixels.cols * pixels.elemSize(), sum);
    }
    return sum;
}

class Reader : public LineRecognizer
{
public:
    std::optional<LineText> read(const cv::Mat &line) override
    {
        Scratch::require(!line.empty(), "no empty line is read");
        return LineText{std::to_string(sumOf(line)), 0};
    }
    std::string name() const override { return "fuzz"; }
};

class Texts : public TextMeaning
{
public:
    std::vector<float> ofPassage(const std::string &utf8) override { return of(utf8); }
    std::vector<float> ofQuery(const std::string &utf8) override { return of(utf8); }
    int tokenCount(const std::string &utf8) override { return static_cast<int>(utf8.size()); }
    std::string name() const override { return "fuzz"; }

private:
    static std::vector<float> of(const std::string &utf8)
    {
        return {std::accumulate(utf8.begin(), utf8.end(), 0.0F)};
    }
};

class Pictures : public PictureMeaning
{
public:
    std::vector<float> ofPicture(const cv::Mat &picture) override
    {
        return {static_cast<float>(sumOf(picture))};
    }
    std::vector<float> ofText(const std::string &utf8) override
    {
        return std::vector<float>(utf8.size() % 3);
    }
    std::string name() const override { return "fuzz"; }
};

void ask(InputBytes &input, Channel &runtime)
{
    constexpr int first = 64; // of what the runtime asks the engines
    for (int count = 0; count < mostQuestions && !input.isEmpty(); ++count) {
        Message message;
        // The seventh kind is the client's, which no engine is asked.
        const int kind = input.number<std::uint8_t>() % 7;
        message.type = kind < 6 ? static_cast<MessageType>(first + kind) : MessageType::EmbedText;
        message.request = input.number<std::uint64_t>();
        message.payload = Payload::of(input.piece());
        runtime.send(message);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    InputBytes input(data, size);
    Channel::Pair pair = Channel::makePair();
    Channel runtime(std::move(pair.ours));
    EngineHost host(Channel(std::move(pair.theirs)), {[] { return std::make_unique<Reader>(); },
                                                      [] { return std::make_unique<Texts>(); },
                                                      [] { return std::make_unique<Pictures>(); }});
    ask(input, runtime);
    // It answers what it has been asked and then sees that nobody asks any more.
    ::shutdown(runtime.descriptor(), SHUT_WR);
    host.run();
    Message answer;
    while (runtime.receive(answer) == Channel::Receiving::Received) {
        Scratch::require(answer.type >= firstAnswer, "only answers come");
    }
    return 0;
}
