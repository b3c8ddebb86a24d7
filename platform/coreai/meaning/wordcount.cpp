#include "coreai/meaning/wordcount.h"

#include "coreai/meaning/syllables.h"

#include <QChar>
#include <QString>
#include <QVector>

namespace coreai
{
namespace
{
constexpr int lettersOfWord = 3;
constexpr double wordsOfSyllable = 0.5;
} // namespace

double wordCount(const std::string &utf8)
{
    double words = 0;
    int letters = 0;
    for (const uint character : QString::fromStdString(utf8).toUcs4()) {
        if (isSyllable(character)) {
            words += wordsOfSyllable;
            letters = 0;
        } else if (QChar::isLetter(character)) {
            ++letters;
            words += letters == lettersOfWord ? 1 : 0;
        } else if (!QChar::isMark(character)) {
            letters = 0;
        }
    }
    return words;
}
} // namespace coreai
