#include "coreai/engines/meaning/e5textmeaning.h"

#include "coreai/engines/meaning/e5modelfile.h"
#include "coreai/engines/meaning/meaningtext.h"

#include <QFile>

#include <algorithm>
#include <cmath>

namespace coreai
{
namespace
{
// What one pass of the model takes, with the role's prefix and both marks. The library would go on
// with further passes over a longer text; its beginning tells enough, and bounds the time.
constexpr int windowTokens = 512;

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::string firstBytes(const std::string &utf8, size_t count)
{
    while (count > 0 && count < utf8.size() && isContinuation(utf8[count])) {
        --count;
    }
    return utf8.substr(0, count);
}
} // namespace

E5TextMeaning::E5TextMeaning(E5ModelPtr model, Vectors vectors)
    : m_model(std::move(model)), m_vectors(vectors)
{
}

std::unique_ptr<E5TextMeaning> E5TextMeaning::load(const QString &path, QString *fault,
                                                   Vectors vectors)
{
    *fault = e5ModelFault(path);
    if (!fault->isEmpty()) {
        return nullptr;
    }
    E5ModelPtr model(E5Library::ofThisProcessor().load(QFile::encodeName(path).constData()));
    if (!model) {
        *fault = QStringLiteral("it cannot be mapped");
        return nullptr;
    }
    return std::unique_ptr<E5TextMeaning>(new E5TextMeaning(std::move(model), vectors));
}

std::vector<float> E5TextMeaning::ofPassage(const std::string &utf8)
{
    return embedOne(utf8, TextRole::Passage);
}

std::vector<std::vector<float>> E5TextMeaning::ofPassages(const std::vector<std::string> &texts)
{
    return embed(texts, TextRole::Passage);
}

std::vector<float> E5TextMeaning::ofQuery(const std::string &utf8)
{
    return embedOne(utf8, TextRole::Query);
}

int E5TextMeaning::tokenCount(const std::string &utf8)
{
    const std::string text = meaningText(utf8);
    if (!hasWords(text)) {
        return 0;
    }
    return std::min(windowTokens,
                    E5Library::ofThisProcessor().tokenCount(m_model.get(), text.c_str(), false));
}

std::string E5TextMeaning::name() const
{
    return std::string("multilingual-e5-small, 4 bit, ") + E5Library::ofThisProcessor().build;
}

// The text, or the longest beginning of it found in a few steps that fits into one pass.
std::string E5TextMeaning::withinWindow(const std::string &text, TextRole role)
{
    const bool isQuery = role == TextRole::Query;
    std::string part = text;
    for (;;) {
        const int tokens =
            E5Library::ofThisProcessor().tokenCount(m_model.get(), part.c_str(), isQuery);
        if (tokens <= windowTokens) {
            return part;
        }
        const double share = static_cast<double>(windowTokens) / tokens;
        part = firstBytes(part, static_cast<size_t>(static_cast<double>(part.size() - 1) * share));
    }
}

std::vector<float> E5TextMeaning::embedOne(const std::string &text, TextRole role)
{
    const std::vector<std::vector<float>> vectors = embed({text}, role);
    return vectors.empty() ? std::vector<float>() : vectors.front();
}

std::vector<std::vector<float>> E5TextMeaning::embed(const std::vector<std::string> &texts,
                                                     TextRole role)
{
    std::vector<std::vector<float>> results(texts.size());
    std::vector<std::string> cleaned;
    std::vector<size_t> places;
    for (size_t i = 0; i < texts.size(); ++i) {
        const std::string text = meaningText(texts[i]);
        if (hasWords(text)) {
            cleaned.push_back(withinWindow(text, role));
            places.push_back(i);
        }
    }
    if (cleaned.empty()) {
        return results;
    }
    std::vector<const char *> pointers;
    pointers.reserve(cleaned.size());
    for (const std::string &text : cleaned) {
        pointers.push_back(text.c_str());
    }
    std::vector<float> vectors(cleaned.size() * dimensions);
    if (E5Library::ofThisProcessor().embed(m_model.get(), pointers.data(),
                                           static_cast<int>(pointers.size()),
                                           role == TextRole::Query, vectors.data()) != 0) {
        return {};
    }
    for (size_t i = 0; i < places.size(); ++i) {
        const float *begin = vectors.data() + i * dimensions;
        std::vector<float> vector(begin, begin + dimensions);
        results[places[i]] =
            m_vectors == Vectors::Raw ? vector : calibratedText(vector, scriptOf(cleaned[i]), role);
    }
    return results;
}
} // namespace coreai
