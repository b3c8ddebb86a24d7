#include "coreai/client/recognitionresult.h"

#include "coreai/protocol/answers.h"

#include <QtGlobal>

#include <algorithm>

namespace coreai
{
std::unique_ptr<TextRecognitionResult> resultOf(const Message &answer)
{
    if (answer.type == MessageType::NoResult) {
        return nullptr;
    }
    auto result = std::make_unique<TextRecognitionResult>();
    const Payload::View view = answer.payload.view();
    std::optional<std::vector<ReadLine>> lines;
    if (answer.type == MessageType::Lines) {
        lines = decodeLines(view.bytes());
    }
    if (!lines) {
        qWarning("AI runtime: an answer that is no list of lines");
        return result;
    }
    result->lines.reserve(lines->size());
    for (ReadLine &line : *lines) {
        _TextLine &added = result->lines.emplace_back();
        added.text = std::move(line.text);
        std::transform(line.corners.begin(), line.corners.end(), std::back_inserter(added.corners),
                       [](const Corner &corner) {
                           return TextPoint{corner.x, corner.y};
                       });
    }
    for (_TextLine &line : result->lines) {
        result->pointers.push_back(&line);
    }
    return result;
}
} // namespace coreai
