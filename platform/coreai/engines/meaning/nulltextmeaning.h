// Stands in where there is no text model: no text means anything.

#pragma once

#include "coreai/engines/textmeaning.h"

namespace coreai
{
class NullTextMeaning : public TextMeaning
{
public:
    std::vector<float> ofPassage(const std::string & /*utf8*/) override { return {}; }
    std::vector<std::vector<float>> ofPassages(const std::vector<std::string> & /*texts*/) override
    {
        return {};
    }
    std::vector<float> ofQuery(const std::string & /*utf8*/) override { return {}; }
    int tokenCount(const std::string & /*utf8*/) override { return 0; }
    std::string name() const override { return "none"; }
};
} // namespace coreai
