#pragma once
// The script that both halves of the double follow, and what they wrote down. Any thread, under
// its lock.

#include "ai/coreaidouble/coreaidouble.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace CoreAiDouble
{
struct State {
    std::mutex mutex;
    std::condition_variable released;

    bool refusesVision = false;
    bool refusesEmbedding = false;
    int visionFailures = 0;
    int visionStatus = 0;
    int embeddingFailures = 0;
    bool holdsStarts = false;
    bool holdsAnswers = false;
    bool failsEmbeddings = false;
    Reader reader;
    Embedder embedder;

    // Not in Qt's containers: those share what they hold with the copies that they give away, and
    // the thread sanitizer does not see all of their counting.
    std::vector<std::string> calls;
    std::vector<std::string> readPictures;
    std::vector<std::string> embeddedPictures;
    std::vector<std::string> embeddedTexts;
    int livingResults = 0;
};

/// Never destroyed: sessions that belong to static objects use it until the process ends.
State &state();

void note(const char *function, const std::string &arguments = std::string());

/// Returns when starts are not, or no longer, held.
void awaitStart();
} // namespace CoreAiDouble
