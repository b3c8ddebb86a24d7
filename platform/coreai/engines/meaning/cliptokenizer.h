// Splits texts into the tokens of a CLIP model: byte-level pairs with the end of a word marked, as
// the model hub's tokenizer.json describes them.
// Owner: ClipPictureMeaning. Thread: any, no state changes after loading.

#pragma once

#include <QHash>
#include <QString>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace coreai
{
class ClipTokenizer
{
public:
    // What the text tower takes at once, with the marks of start and end.
    static constexpr int length = 77;

    struct Tokens {
        std::vector<int64_t> ids;       // `length` of them, filled up with the end's mark
        std::vector<int64_t> attention; // 1 for the text and both marks, 0 for what fills up
    };

    // Null where the file is missing or is no such tokenizer; `*fault` then tells why.
    static std::unique_ptr<ClipTokenizer> load(const QString &path, QString *fault);

    // A text that is longer than the tower takes is cut; the mark of its end stays.
    Tokens tokens(const std::string &utf8) const;

private:
    ClipTokenizer() = default;

    std::vector<int64_t> idsOfWord(const QString &word) const;

    QHash<QString, int> m_vocabulary;
    QHash<QString, int> m_ranks; // "left right" to the merge's place in the list
    QString m_symbolOfByte[256];
    int64_t m_start = 0;
    int64_t m_end = 0;
};
} // namespace coreai
