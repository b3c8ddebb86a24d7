// The vector of a picture, from the vectors of its lines and, where such a model is installed, of
// the picture itself. Somebody waits, so only what the time allows is read anew, whole sentences
// in large type first.
// Owner and thread: the worker.

#pragma once

#include "coreai/reading/framereader.h"
#include "coreai/runtime/engineset.h"

#include <chrono>

namespace coreai
{
// When the one who waits wants the answer, and when at the latest.
class Deadline
{
public:
    using Clock = std::chrono::steady_clock;

    // Leaves room for the step that was under way and for a machine that is busy otherwise: 400 ms
    // are what the caller expects, a second is its limit.
    static constexpr std::chrono::milliseconds usual{340};
    static constexpr std::chrono::milliseconds latest{750};

    // Then the answer is made of what is known, whatever is being computed. Where nothing is, the
    // vector would find its frame by no question; so a busy machine is given more of the caller's
    // second.
    static constexpr std::chrono::milliseconds overdue{400};
    static constexpr std::chrono::milliseconds overdueWithNothing{750};

    explicit Deadline(Clock::time_point asked) : m_asked(asked) {}

    // For an answer at once.
    static Deadline passed() { return Deadline(Clock::time_point()); }

    // Whether work of so long ends in time. `nothingYet`: no line has a vector, which makes later
    // better than at once.
    bool allows(double milliseconds, bool nothingYet) const;

private:
    Clock::time_point m_asked;
};

class FrameMeaning
{
public:
    FrameMeaning(EngineSet &engines, LineCache &cache) : m_engines(engines), m_cache(cache) {}

    // `picture` is the vector of the picture itself, or empty. Reads and embeds what is new in
    // `frame` until the deadline, or the engines' pause, and remembers it.
    std::vector<float> of(FrameReader &frame, const std::vector<float> &picture,
                          const Deadline &deadline);

private:
    struct Wanted {
        std::size_t line = 0;
        std::string text;
    };
    void knownVectors(FrameReader &frame);
    bool nextGroup(FrameReader &frame, const Deadline &deadline);
    bool readForGroup(FrameReader &frame, std::size_t line, const Deadline &deadline,
                      std::vector<Wanted> &group);
    void embedGroup(const FrameReader &frame, const std::vector<Wanted> &group);

    EngineSet &m_engines;
    LineCache &m_cache;
    std::vector<std::vector<float>> m_vectors; // of the frame's lines, empty where unknown
    std::vector<std::size_t> m_missing;        // lines without, the most telling last
    bool m_any = false;                        // a line has a vector
    bool m_anySentence = false;                // a sentence has one, or is about to
};
} // namespace coreai
