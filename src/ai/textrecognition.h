#pragma once
// What every session with the runtime's text recognition has in common: its handles, its model, its
// start, the picture on its way out and the lines on their way in.
// Owner: nobody; functions without a state of their own. Thread: any, one at a time for a session.

#include "ai/ocrtextdata.h"

#include "coreai/coreaivision.h"

#include <QByteArray>
#include <QImage>
#include <QVector>

#include <memory>
#include <optional>

namespace TextRecognition
{
struct ConfigDeleter {
    void operator()(TextRecognitionModelConfig *config) const;
};
using ConfigPtr = std::unique_ptr<TextRecognitionModelConfig, ConfigDeleter>;

struct SessionDeleter {
    void operator()(TextRecognitionSession *session) const;
};
using SessionPtr = std::unique_ptr<TextRecognitionSession, SessionDeleter>;

/// Tells @p session which model it works with; the result is to be kept as long as the session.
ConfigPtr configure(TextRecognitionSession *session);

/// Starts @p session, at most @p retries times with 5 seconds after each failed attempt, the last
/// one included. False if none succeeded. @p status gets the runtime's last answer. Blocks.
bool start(TextRecognitionSession *session, unsigned int retries, qint32 *status);

/// @p image as PNG, some 20 ms at 1920x1080. Nothing, with a line on the log, for one that cannot
/// be written, such as a null image.
std::optional<QByteArray> encoded(const QImage &image);

/// Asks for the text of a picture that encoded() made. Returns at once; the answer comes by the
/// session's callback.
void request(TextRecognitionSession *session, const QByteArray &picture);

/// Says so on the log if the runtime delivered a null @p result.
bool isNull(const TextRecognitionResult *result);

/// The lines of @p result, which is not null, in their order. One without corners is left out, with
/// a warning.
QVector<OCRTextData> linesOf(TextRecognitionResult *result);
} // namespace TextRecognition
