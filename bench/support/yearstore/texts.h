#pragma once
// What stands on the screens of a year: lines of English and Chinese whose words are as unevenly
// frequent as in real texts. A screen differs from the one before it by a few lines, until another
// application comes to the front. Owner: whoever writes a month. Thread: the one that made it.

#include <QByteArray>
#include <QRandomGenerator>
#include <QVector>

namespace YearStore
{
// Neither the rare words nor the absent one arise by chance: no English word of the vocabulary
// holds one, and the Chinese vocabulary has none of the rare word's characters.
constexpr char RARE_WORD[] = "quarterstaff";
constexpr char RARE_CHINESE_WORD[] = "鸬鹚";
constexpr char COMMON_WORD[] = "the";
constexpr char ABSENT_WORD[] = "threatingale";

class Texts
{
public:
    explicit Texts(quint32 seed);

    /// Another application: a new screen of 1 to 4 KB.
    void beginRun();

    /// The next screen of the run: its lines, each ended by "; ", as the reader gives them. The
    /// marker, if not empty, stands in this screen alone.
    QByteArray nextScreen(const QByteArray &marker);

private:
    QByteArray line(int bytes);
    int rank(int words);

    QRandomGenerator m_random;
    bool m_isChinese = false;
    QVector<QByteArray> m_lines;
};
} // namespace YearStore
