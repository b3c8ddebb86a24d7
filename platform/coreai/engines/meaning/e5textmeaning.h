// Text meaning by multilingual-e5-small, four bits a weight, calibrated for texts of screens.
// Owner: the runtime's engine set. Thread: one at a time; embedding runs on the caller's thread.

#pragma once

#include "coreai/engines/meaning/e5library.h"
#include "coreai/engines/meaning/textcalibration.h"
#include "coreai/engines/textmeaning.h"

#include <QString>

#include <memory>

namespace coreai
{
class E5TextMeaning : public TextMeaning
{
public:
    // Whether the vectors are brought to the calibrated space or left as the model gives them; the
    // latter is there to measure what the calibration is worth.
    enum class Vectors { Calibrated, Raw };

    // Null where the file at `path` is missing or damaged; `*fault` then tells why, in words for
    // the log.
    static std::unique_ptr<E5TextMeaning> load(const QString &path, QString *fault,
                                               Vectors vectors = Vectors::Calibrated);

    std::vector<float> ofPassage(const std::string &utf8) override;
    std::vector<std::vector<float>> ofPassages(const std::vector<std::string> &texts) override;
    std::vector<float> ofQuery(const std::string &utf8) override;
    int tokenCount(const std::string &utf8) override;
    std::string name() const override;

private:
    E5TextMeaning(E5ModelPtr model, Vectors vectors);

    std::vector<float> embedOne(const std::string &text, TextRole role);
    std::vector<std::vector<float>> embed(const std::vector<std::string> &texts, TextRole role);
    std::string withinWindow(const std::string &text, TextRole role);

    E5ModelPtr m_model;
    Vectors m_vectors;
};
} // namespace coreai
