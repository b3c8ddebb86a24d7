// Hostile packets between the program, the AI runtime and its engines, and what all of them decode
// from payloads. An input is a row of packets: a byte that tells how many descriptors travel along
// and of which kind, the length, and the packet's bytes.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"
#include "rawchannel.h"

#include "coreai/protocol/answers.h"
#include "coreai/protocol/channel.h"

#include <string>

namespace
{
constexpr int mostPackets = 16;

void decodeAll(std::string_view bytes)
{
    using namespace coreai;
    if (const auto lines = decodeLines(bytes)) {
        Scratch::require(encodeLines(*lines) == bytes, "lines stay what they are");
    }
    if (const auto floats = decodeFloats(bytes)) {
        Scratch::require(encodeFloats(*floats) == bytes, "floats stay what they are");
    }
    if (const auto vectors = decodeVectors(bytes)) {
        Scratch::require(encodeVectors(*vectors) == bytes, "vectors stay what they are");
    }
    if (const auto texts = decodeTexts(bytes)) {
        Scratch::require(encodeTexts(*texts) == bytes, "texts stay what they are");
    }
    if (const auto bitmap = decodeBitmap(bytes)) {
        Scratch::require(encodeBitmap(*bitmap) == bytes, "a bitmap stays what it is");
    }
    std::string text;
    float confidence = 0;
    decodeLine(bytes, text, confidence);
}

void sendPackets(InputBytes &input, int socket)
{
    for (int packet = 0; packet < mostPackets && !input.isEmpty(); ++packet) {
        const auto kind = input.number<std::uint8_t>();
        const std::string_view bytes = input.piece();
        std::vector<coreai::Descriptor> descriptors;
        for (int count = kind & 3; count > 0; --count) {
            descriptors.push_back(RawChannel::memory(input.piece(), (kind & 4) != 0));
        }
        RawChannel::send(socket, bytes, descriptors);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace coreai;
    Scratch::silence();
    InputBytes input(data, size);
    Channel::Pair pair = Channel::makePair();
    Scratch::require(pair.ours.isValid(), "a pair of sockets");
    Channel channel(std::move(pair.ours));
    sendPackets(input, pair.theirs.get());
    pair.theirs.reset();
    Message message;
    while (channel.receive(message) == Channel::Receiving::Received) {
        const Payload::View view = message.payload.view();
        Scratch::require(view.bytes().size() == message.payload.size(), "a payload of its size");
        decodeAll(view.bytes());
    }
    Scratch::require(!channel.isOpen(), "an end of every channel");
    return 0;
}
