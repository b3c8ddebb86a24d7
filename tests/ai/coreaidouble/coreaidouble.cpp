#include "ai/coreaidouble/coreaidouble.h"

#include "ai/coreaidouble/doublestate.h"

namespace CoreAiDouble
{
namespace
{
constexpr int VECTOR_LENGTH = 1024;

using Lock = std::lock_guard<std::mutex>;

template <typename Value>
void set(Value State::*member, const Value &value)
{
    const Lock lock(state().mutex);
    state().*member = value;
}

template <typename Value>
Value get(Value State::*member)
{
    const Lock lock(state().mutex);
    return state().*member;
}

QVector<QByteArray> bytesOf(std::vector<std::string> State::*member)
{
    QVector<QByteArray> bytes;
    for (const std::string &input : get(member)) {
        bytes << QByteArray::fromStdString(input);
    }
    return bytes;
}

void release(bool State::*member)
{
    set(member, false);
    state().released.notify_all();
}

Reading readNothing(const QByteArray & /*encoded*/)
{
    return {};
}

QVector<float> zeros(const QByteArray & /*input*/)
{
    return QVector<float>(VECTOR_LENGTH);
}
} // namespace

State &state()
{
    static auto *const state = [] {
        auto *created = new State;
        created->reader = &readNothing;
        created->embedder = &zeros;
        return created;
    }();
    return *state;
}

void note(const char *function, const std::string &arguments)
{
    const Lock lock(state().mutex);
    state().calls.push_back(arguments.empty() ? function : function + (' ' + arguments));
}

void awaitStart()
{
    std::unique_lock<std::mutex> lock(state().mutex);
    state().released.wait(lock, [] { return !state().holdsStarts; });
}

void reset()
{
    {
        const Lock lock(state().mutex);
        State &script = state();
        script.refusesVision = false;
        script.refusesEmbedding = false;
        script.visionFailures = 0;
        script.embeddingFailures = 0;
        script.holdsStarts = false;
        script.holdsAnswers = false;
        script.failsEmbeddings = false;
        script.reader = &readNothing;
        script.embedder = &zeros;
        script.calls.clear();
        script.readPictures.clear();
        script.embeddedPictures.clear();
        script.embeddedTexts.clear();
    }
    state().released.notify_all();
}

void refuseVisionSessions()
{
    set(&State::refusesVision, true);
}

void refuseEmbeddingSessions()
{
    set(&State::refusesEmbedding, true);
}

void failVisionStarts(int times, int status)
{
    const Lock lock(state().mutex);
    state().visionFailures = times;
    state().visionStatus = status;
}

void failEmbeddingStarts(int times)
{
    set(&State::embeddingFailures, times);
}

void holdStarts()
{
    set(&State::holdsStarts, true);
}

void releaseStarts()
{
    release(&State::holdsStarts);
}

void holdAnswers()
{
    set(&State::holdsAnswers, true);
}

void releaseAnswers()
{
    release(&State::holdsAnswers);
}

void setReader(const Reader &reader)
{
    set(&State::reader, reader);
}

void setEmbedder(const Embedder &embedder)
{
    set(&State::embedder, embedder);
}

void failEmbeddings()
{
    set(&State::failsEmbeddings, true);
}

QStringList calls()
{
    QStringList calls;
    for (const std::string &call : get(&State::calls)) {
        calls << QString::fromStdString(call);
    }
    return calls;
}

QVector<QByteArray> readPictures()
{
    return bytesOf(&State::readPictures);
}

QVector<QByteArray> embeddedPictures()
{
    return bytesOf(&State::embeddedPictures);
}

QVector<QByteArray> embeddedTexts()
{
    return bytesOf(&State::embeddedTexts);
}

int livingResults()
{
    return get(&State::livingResults);
}
} // namespace CoreAiDouble
