#include "coreai/runtime/enginehost.h"

#include "coreai/protocol/answers.h"
#include "coreai/runtime/processpriority.h"

namespace coreai
{
namespace
{
// A header over the pixels; engines only read them.
cv::Mat matOf(const BitmapView &bitmap)
{
    return cv::Mat(bitmap.height, bitmap.width, CV_8UC4, const_cast<char *>(bitmap.pixels.data()));
}
} // namespace

EngineHost::EngineHost(Channel channel, Loaders loaders)
    : m_channel(std::move(channel)), m_loaders(std::move(loaders))
{
}

LineRecognizer &EngineHost::lines()
{
    if (!m_lines) {
        m_lines = m_loaders.lines();
    }
    return *m_lines;
}

TextMeaning &EngineHost::texts()
{
    if (!m_texts) {
        m_texts = m_loaders.texts();
    }
    return *m_texts;
}

PictureMeaning &EngineHost::pictures()
{
    if (!m_pictures) {
        m_pictures = m_loaders.pictures();
    }
    return *m_pictures;
}

void EngineHost::run()
{
    takeLowPriority(); // before an engine starts threads, which inherit it
    while (m_channel.isOpen()) {
        Message question;
        switch (m_channel.receive(question)) {
        case Channel::Receiving::Received:
            answer(question);
            break;
        case Channel::Receiving::Nothing:
            m_channel.waitReadable(-1);
            break;
        case Channel::Receiving::Ended:
            return;
        }
    }
}

void EngineHost::answer(const Message &question)
{
    const Payload::View view = question.payload.view();
    Message message;
    message.request = question.request;
    switch (question.type) {
    case MessageType::EngineLoadReader:
        lines();
        return;
    case MessageType::EngineReadLines:
        message.type = MessageType::EngineLines;
        message.payload = Payload::of(readLines(view.bytes()));
        break;
    default:
        message.type = MessageType::EngineVectors;
        message.payload = Payload::of(encodeVectors(vectorsFor(question.type, view.bytes())));
        break;
    }
    send(message);
}

std::string EngineHost::readLines(std::string_view bytes)
{
    const auto encoded = decodeTexts(bytes).value_or(std::vector<std::string>());
    std::vector<cv::Mat> bitmaps;
    bitmaps.reserve(encoded.size());
    for (const std::string &line : encoded) {
        const std::optional<BitmapView> bitmap = decodeBitmap(line);
        if (!bitmap) {
            return {}; // fewer texts than lines count as a failure
        }
        bitmaps.push_back(matOf(*bitmap));
    }
    const std::vector<std::optional<LineText>> read =
        bitmaps.size() == 1 ? std::vector{lines().read(bitmaps.front())} : lines().readAll(bitmaps);
    std::vector<std::string> texts;
    texts.reserve(read.size());
    for (const std::optional<LineText> &line : read) {
        texts.push_back(line ? encodeLine(line->text, line->confidence) : std::string());
    }
    return encodeTexts(texts);
}

std::vector<std::vector<float>> EngineHost::vectorsFor(MessageType type, std::string_view bytes)
{
    switch (type) {
    case MessageType::EngineOfPassages: {
        const auto passages = decodeTexts(bytes);
        return passages ? texts().ofPassages(*passages) : std::vector<std::vector<float>>();
    }
    case MessageType::EngineOfQuery:
        return {texts().ofQuery(std::string(bytes))};
    case MessageType::EngineOfPictureText:
        return {pictures().ofText(std::string(bytes))};
    case MessageType::EngineOfPicture: {
        const std::optional<BitmapView> bitmap = decodeBitmap(bytes);
        return {bitmap ? pictures().ofPicture(matOf(*bitmap)) : std::vector<float>()};
    }
    default:
        return {};
    }
}

void EngineHost::send(const Message &message)
{
    for (;;) {
        const Channel::Sending sending = m_channel.send(message);
        if (sending == Channel::Sending::Sent) {
            return;
        }
        // An answer that cannot be made (no descriptor, no memory) must not leave the other side
        // waiting.
        if (sending == Channel::Sending::Ended) {
            m_channel.close();
            return;
        }
        m_channel.waitWritable(1000);
    }
}
} // namespace coreai
