// What the vision interface's opaque result handles point to.
// Owner: the delivering thread, until the callback returns. Thread: that one.

#pragma once

#include "coreai/coreaivision.h"
#include "coreai/protocol/message.h"

#include <memory>
#include <string>
#include <vector>

struct _TextLine {
    std::string text;
    std::vector<TextPoint> corners;
};

struct _TextRecognitionResult {
    std::vector<_TextLine> lines;
    std::vector<TextLine *> pointers; // to `lines`, as the interface hands them out
};

namespace coreai
{
// The result that an answer brings: null for NoResult, without lines where its bytes make no sense.
std::unique_ptr<TextRecognitionResult> resultOf(const Message &answer);
} // namespace coreai
