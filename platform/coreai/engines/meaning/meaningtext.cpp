#include "coreai/engines/meaning/meaningtext.h"

#include "coreai/meaning/syllables.h"

#include <QChar>
#include <QString>
#include <QVector>

namespace coreai
{
namespace
{
constexpr int mostCharacters = 2000;
// No character takes more than four bytes, so that longer texts need not be decoded to the end;
// twice that leaves room for runs of blanks.
constexpr size_t mostBytes = 4UL * 2 * mostCharacters;
// A word of English has about this many letters, an ideograph stands for half a word.
constexpr int lettersOfIdeograph = 3;

bool isIdeograph(uint character)
{
    return QChar::script(character) == QChar::Script_Han;
}

// The text model's tables spell this Arabic ligature out in eighteen letters; its library has room
// for twelve.
constexpr uint longLigature = 0xFDFA;

QVector<uint> charactersOf(const std::string &utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size())).toUcs4();
}
} // namespace

std::string meaningText(const std::string &utf8)
{
    QVector<uint> kept;
    bool blankBefore = true;
    for (const uint character : charactersOf(utf8.substr(0, mostBytes))) {
        const bool blank = QChar::isSpace(character) || !QChar::isPrint(character) ||
                           character == QChar::ReplacementCharacter || character == longLigature;
        if (!blank) {
            kept.append(character);
        } else if (!blankBefore) {
            kept.append(' ');
        }
        blankBefore = blank;
        if (kept.size() == mostCharacters) {
            break;
        }
    }
    if (!kept.isEmpty() && kept.last() == ' ') {
        kept.removeLast();
    }
    return QString::fromUcs4(kept.constData(), kept.size()).toStdString();
}

bool hasWords(const std::string &meaningText)
{
    bool letterBefore = false;
    for (const uint character : charactersOf(meaningText)) {
        const bool letter = QChar::isLetter(character);
        if (isSyllable(character) || (letter && letterBefore)) {
            return true;
        }
        letterBefore = letter || (letterBefore && QChar::isMark(character));
    }
    return false;
}

Script scriptOf(const std::string &meaningText)
{
    int ideographs = 0;
    int letters = 0;
    for (const uint character : charactersOf(meaningText)) {
        if (isIdeograph(character)) {
            ++ideographs;
        } else if (QChar::isLetter(character)) {
            ++letters;
        }
    }
    return ideographs * lettersOfIdeograph > letters ? Script::Chinese : Script::Other;
}
} // namespace coreai
