#pragma once
// What the multimodal inference server answered. No state; any thread.

#include <QString>

namespace MultiModelAnswer
{
/// The summary in @p answer, a JSON object whose "modelResponse" is a text with a second object
/// somewhere in it, whose "imageAbstract" is the summary. That second object ends at its first
/// closing brace: objects nested in it are not supported. The whole "modelResponse", with a line
/// on the log, where it holds no readable object; an empty text, with a line on the log, where
/// @p answer is none; an empty text where a key is missing or no text.
QString summaryIn(const QString &answer);
} // namespace MultiModelAnswer
