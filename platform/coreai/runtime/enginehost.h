// The engines' side of EngineProcess: loads an engine when it is first asked for and answers one
// question after the other, until the other side closes.
// Owner: the main function of the engines' process. Thread: that process's only one.

#pragma once

#include "coreai/engines/linerecognizer.h"
#include "coreai/engines/picturemeaning.h"
#include "coreai/engines/textmeaning.h"
#include "coreai/protocol/channel.h"

#include <functional>
#include <memory>

namespace coreai
{
class EngineHost
{
public:
    // Each gives an engine, never null.
    struct Loaders {
        std::function<std::unique_ptr<LineRecognizer>()> lines;
        std::function<std::unique_ptr<TextMeaning>()> texts;
        std::function<std::unique_ptr<PictureMeaning>()> pictures;
    };

    EngineHost(Channel channel, Loaders loaders);

    // Takes the lowest priority for the process; returns when the channel has ended.
    void run();

private:
    void answer(const Message &question);
    std::string readLines(std::string_view bytes);
    std::vector<std::vector<float>> vectorsFor(MessageType type, std::string_view bytes);
    void send(const Message &message);

    LineRecognizer &lines();
    TextMeaning &texts();
    PictureMeaning &pictures();

    Channel m_channel;
    Loaders m_loaders;
    std::unique_ptr<LineRecognizer> m_lines;
    std::unique_ptr<TextMeaning> m_texts;
    std::unique_ptr<PictureMeaning> m_pictures;
};
} // namespace coreai
