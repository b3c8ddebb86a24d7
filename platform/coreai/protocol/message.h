// What the client libraries and the runtime tell each other; also what the runtime and its engines
// do. One message is one packet of a unix socket.

#pragma once

#include "coreai/protocol/payload.h"

#include <cstdint>

namespace coreai
{
enum class MessageType : std::uint16_t {
    // client to runtime
    OpenSession = 1, // request: the SessionKind
    CloseSession,
    ReadPicture,  // payload: an encoded picture
    EmbedPicture, // payload: an encoded picture
    EmbedText,    // payload: UTF-8

    // runtime to client
    SessionOpened = 32, // request: 0, or the status that text_recognition_init_session() gives
    Begun,              // work on a request has begun: a crash from now on is put down to it
    Lines,              // payload: encodeLines()
    NoResult,           // of a ReadPicture: not even an empty result
    Vector,             // payload: encodeFloats(); empty on failure

    // runtime to engines, each but the first answered with the same number
    EngineLoadReader = 64, // loads the recogniser
    EngineReadLines,       // payload: encodeTexts() of encodeBitmap(); several on two cores
    EngineOfPassages,      // payload: encodeTexts()
    EngineOfQuery,         // payload: UTF-8
    EngineOfPictureText,
    EngineOfPicture, // payload: encodeBitmap()

    // engines to runtime
    EngineLines = 96, // payload: encodeTexts() of encodeLine() for each line, empty if it failed
    EngineVectors,    // payload: encodeVectors(), one for each text or picture; empty on failure
};

enum class SessionKind : std::uint32_t { TextRecognition = 1, Embedding = 2 };

struct Message {
    MessageType type = MessageType::OpenSession;
    std::uint32_t session = 0; // chosen by the client, never 0
    std::uint64_t request = 0; // chosen by the client, rising
    Payload payload;
};
} // namespace coreai
