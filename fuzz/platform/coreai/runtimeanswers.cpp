// A hostile AI runtime behind the program: answers to requests that were made and to others, as
// they reach the link and, through it, what the program makes of lines and vectors. An input is a
// row of answers, each a byte for its kind, one for its session, one for its request, and a
// payload.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include "ai/textrecognition.h"
#include "coreai/client/embeddingcalls.h"
#include "coreai/client/recognitionresult.h"
#include "coreai/client/runtimelink.h"
#include "coreai/client/runtimeprogram.h"

#include "capture/privatemember.h"

using namespace coreai;

struct TakeOfLink {
    using Type = void (RuntimeLink::*)(Message);
    friend Type memberOf(TakeOfLink);
};
template struct PrivateMember<TakeOfLink, &RuntimeLink::take>;

namespace
{
constexpr int mostAnswers = 32;
constexpr int requestsOfEach = 3;
constexpr int linkLifetime = 2000; // inputs; what the program is told piles up in its socket

void hand(RuntimeLink &link, Message message)
{
    (link.*memberOf(TakeOfLink()))(std::move(message));
}

// A link whose runtime reads everything and says nothing: what it says comes from the input.
struct QuietLink {
    QuietLink()
    {
        setRuntimeProgram({"/bin/sh", "-c", "exec cat <&3 >/dev/null"});
        link = std::make_unique<RuntimeLink>();
    }
    std::unique_ptr<RuntimeLink> link;
    std::uint32_t lastSession = 0;
    int uses = 0;
};

QuietLink &quietLink()
{
    static std::unique_ptr<QuietLink> present;
    if (!present || ++present->uses == linkLifetime) {
        present.reset();
        present = std::make_unique<QuietLink>();
    }
    return *present;
}

void readLines(const Message &answer)
{
    const std::unique_ptr<TextRecognitionResult> result = resultOf(answer);
    if (!TextRecognition::isNull(result.get())) {
        TextRecognition::linesOf(result.get());
    }
}

class Session
{
public:
    Session(QuietLink &quiet, SessionKind kind, RuntimeLink::Handler handler) : m_link(*quiet.link)
    {
        std::atomic<bool> opened{false};
        std::int32_t status = LinkTimeout;
        std::thread opening([&] {
            status = m_link.open(kind, std::move(handler), &m_number);
            opened = true;
        });
        // The number is the link's next; the runtime may tell of sessions before they are there.
        ++quiet.lastSession;
        while (!opened) {
            hand(m_link, {MessageType::SessionOpened, quiet.lastSession, 0, Payload()});
            std::this_thread::yield();
        }
        opening.join();
        // The leak checker cannot stop a thread that waits in posix_spawn(): it does not see what
        // that thread holds, and takes it for lost.
        while (m_link.processId() < 0) {
            std::this_thread::yield();
        }
        Scratch::require(status == LinkReady && m_number == quiet.lastSession, "a session");
        for (int count = 0; count < requestsOfEach; ++count) {
            Message message;
            message.type = kind == SessionKind::TextRecognition ? MessageType::ReadPicture
                                                                : MessageType::EmbedText;
            message.session = m_number;
            message.request = m_link.nextRequest();
            m_requests.push_back(message.request);
            m_link.send(std::move(message));
        }
    }
    ~Session() { m_link.close(m_number); }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    std::uint32_t number() const { return m_number; }
    std::uint64_t request(unsigned place) const
    {
        return place < m_requests.size() ? m_requests[place] : place;
    }

private:
    RuntimeLink &m_link;
    std::uint32_t m_number = 0;
    std::vector<std::uint64_t> m_requests;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    InputBytes input(data, size);
    const auto calls = std::make_shared<WaitingCalls>();
    QuietLink &quiet = quietLink();
    const Session reading(quiet, SessionKind::TextRecognition, readLines);
    const Session meaning(quiet, SessionKind::Embedding,
                          [calls](const Message &answer) { calls->put(answer); });
    for (unsigned place = 0; place < requestsOfEach; ++place) {
        calls->expect(meaning.request(place));
    }
    constexpr MessageType types[] = {MessageType::Begun,         MessageType::Lines,
                                     MessageType::NoResult,      MessageType::Vector,
                                     MessageType::SessionOpened, MessageType::ReadPicture};
    for (int count = 0; count < mostAnswers && !input.isEmpty(); ++count) {
        Message answer;
        answer.type = types[input.number<std::uint8_t>() % 6];
        const auto kind = input.number<std::uint8_t>();
        const Session &to = (kind & 1) != 0 ? reading : meaning;
        answer.session = (kind & 2) != 0 ? kind : to.number();
        answer.request = to.request(input.number<std::uint8_t>() % 5);
        answer.payload = Payload::of(input.piece());
        hand(*quiet.link, std::move(answer));
    }
    return 0;
}
