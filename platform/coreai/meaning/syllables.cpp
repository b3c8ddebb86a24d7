#include "coreai/meaning/syllables.h"

#include <QChar>

namespace coreai
{
bool isSyllable(uint character)
{
    switch (QChar::script(character)) {
    case QChar::Script_Han:
    case QChar::Script_Hiragana:
    case QChar::Script_Katakana:
    case QChar::Script_Hangul:
        return true;
    default:
        return false;
    }
}
} // namespace coreai
