#include "coreai/engines/meaning/cliptokenizer.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <limits>

namespace coreai
{
namespace
{
const QString startMark = QStringLiteral("<|startoftext|>");
const QString endMark = QStringLiteral("<|endoftext|>");
const QString wordEnd = QStringLiteral("</w>");

// A word is broken into pairs again and again, so its time grows with the square of its length.
constexpr int longestWord = 256;
constexpr int longestText = 4096;

// Bytes that are printable Latin-1 stand for themselves, the others for the characters from 256 on,
// so that no symbol is a blank or a control character.
void fillSymbols(QString (&symbols)[256])
{
    ushort next = 256;
    for (int byte = 0; byte < 256; ++byte) {
        const bool printable =
            (byte >= '!' && byte <= '~') || (byte >= 0xA1 && byte <= 0xFF && byte != 0xAD);
        symbols[byte] = QChar(printable ? static_cast<ushort>(byte) : next++);
    }
}

QString pairOf(const QJsonValue &merge)
{
    // Older files hold "left right", newer ones ["left", "right"].
    const QJsonArray parts = merge.toArray();
    return parts.size() == 2 ? parts.at(0).toString() + QLatin1Char(' ') + parts.at(1).toString()
                             : merge.toString();
}

// Words, single digits, runs of signs, and English contractions by themselves.
const QRegularExpression &wordPattern()
{
    static const QRegularExpression pattern(
        QStringLiteral("'s|'t|'re|'ve|'m|'ll|'d|\\p{L}+|\\p{N}|[^\\s\\p{L}\\p{N}]+"),
        QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}
} // namespace

std::unique_ptr<ClipTokenizer> ClipTokenizer::load(const QString &path, QString *fault)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *fault = file.errorString();
        return nullptr;
    }
    const QJsonObject model =
        QJsonDocument::fromJson(file.readAll()).object()[QStringLiteral("model")].toObject();
    std::unique_ptr<ClipTokenizer> tokenizer(new ClipTokenizer);
    const QJsonObject vocabulary = model[QStringLiteral("vocab")].toObject();
    for (auto it = vocabulary.constBegin(); it != vocabulary.constEnd(); ++it) {
        tokenizer->m_vocabulary.insert(it.key(), it.value().toInt());
    }
    const QJsonArray merges = model[QStringLiteral("merges")].toArray();
    for (const QJsonValue merge : merges) {
        tokenizer->m_ranks.insert(pairOf(merge), tokenizer->m_ranks.size());
    }
    if (!tokenizer->m_vocabulary.contains(startMark) ||
        !tokenizer->m_vocabulary.contains(endMark)) {
        *fault = QStringLiteral("its tokenizer has no marks of start and end");
        return nullptr;
    }
    tokenizer->m_start = tokenizer->m_vocabulary[startMark];
    tokenizer->m_end = tokenizer->m_vocabulary[endMark];
    fillSymbols(tokenizer->m_symbolOfByte);
    return tokenizer;
}

ClipTokenizer::Tokens ClipTokenizer::tokens(const std::string &utf8) const
{
    const QString text = QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size()))
                             .left(longestText)
                             .normalized(QString::NormalizationForm_C)
                             .toLower();
    Tokens tokens;
    tokens.ids.push_back(m_start);
    constexpr size_t room = length - 1;
    QRegularExpressionMatchIterator words = wordPattern().globalMatch(text);
    while (words.hasNext() && tokens.ids.size() < room) {
        for (const int64_t id : idsOfWord(words.next().captured().left(longestWord))) {
            tokens.ids.push_back(id);
        }
    }
    tokens.ids.resize(std::min(tokens.ids.size(), room));
    tokens.ids.push_back(m_end);
    tokens.attention.assign(tokens.ids.size(), 1);
    tokens.attention.resize(length, 0);
    tokens.ids.resize(length, m_end);
    return tokens;
}

std::vector<int64_t> ClipTokenizer::idsOfWord(const QString &word) const
{
    QStringList parts;
    for (const char byte : word.toUtf8()) {
        parts << m_symbolOfByte[static_cast<unsigned char>(byte)];
    }
    parts.last() += wordEnd;
    for (;;) {
        int best = -1;
        int bestRank = std::numeric_limits<int>::max();
        for (int i = 0; i + 1 < parts.size(); ++i) {
            const int rank = m_ranks.value(parts[i] + QLatin1Char(' ') + parts[i + 1], bestRank);
            if (rank < bestRank) {
                best = i;
                bestRank = rank;
            }
        }
        if (best < 0) {
            break;
        }
        parts[best] += parts.takeAt(best + 1);
    }
    std::vector<int64_t> ids;
    for (const QString &part : parts) {
        ids.push_back(m_vocabulary.value(part, static_cast<int>(m_end)));
    }
    return ids;
}
} // namespace coreai
