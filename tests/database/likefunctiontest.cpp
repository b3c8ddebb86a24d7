// Our like() beside the built-in one of a connection that does not know ours: the same answers,
// values and errors, for proper texts and for broken ones.

#include "database/likeneedle.h"
#include "database/sqlite3connection.h"

#include <QTest>

#include <memory>
#include <random>

#include <sqlite3.h>

namespace
{
struct Closer {
    void operator()(sqlite3 *handle) const { sqlite3_close(handle); }
};
struct Finalizer {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};
using StatementPtr = std::unique_ptr<sqlite3_stmt, Finalizer>;

StatementPtr prepare(sqlite3 *handle, const QByteArray &sql)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(handle, sql.constData(), sql.size(), &statement, nullptr) != SQLITE_OK) {
        qFatal("%s", sqlite3_errmsg(handle));
    }
    return StatementPtr(statement);
}

// Every row's first column with its type, and how the statement ended.
QStringList answers(sqlite3 *handle, const QByteArray &sql)
{
    const StatementPtr statement = prepare(handle, sql);
    QStringList rows;
    int result = SQLITE_DONE;
    while ((result = sqlite3_step(statement.get())) == SQLITE_ROW) {
        const int type = sqlite3_column_type(statement.get(), 0);
        rows.append(QStringLiteral("%1:%2").arg(type).arg(sqlite3_column_int(statement.get(), 0)));
    }
    if (result != SQLITE_DONE) {
        rows.append(QString::fromUtf8(sqlite3_errmsg(handle)));
    }
    return rows;
}

bool isLike(sqlite3_stmt *statement, const std::string &pattern, const std::string &text)
{
    sqlite3_bind_text(statement, 1, pattern.data(), static_cast<int>(pattern.size()),
                      SQLITE_STATIC);
    sqlite3_bind_text(statement, 2, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    if (sqlite3_step(statement) != SQLITE_ROW) {
        qFatal("no answer");
    }
    const bool matches = sqlite3_column_int(statement, 0) != 0;
    sqlite3_reset(statement);
    return matches;
}

// Makes texts out of few characters, so that they meet, and patterns out of pieces of the texts.
class Pairs
{
public:
    Pairs(std::vector<std::string> characters, std::size_t longest, bool onlyNeedles)
        : m_characters(std::move(characters)), m_longest(longest), m_onlyNeedles(onlyNeedles)
    {
    }

    std::string text()
    {
        std::string made;
        const std::size_t length = below(m_longest + 1);
        while (made.size() < length) {
            made += character();
        }
        return made;
    }

    std::string pattern(const std::string &text)
    {
        const std::size_t start = below(text.size() + 1);
        std::string piece = text.substr(start, below(std::min<std::size_t>(text.size(), 12) + 1));
        for (char &byte : piece) {
            const auto letter = static_cast<unsigned char>(byte | 0x20);
            if (letter >= 'a' && letter <= 'z' && below(2) == 0) {
                byte = static_cast<char>(byte ^ 0x20);
            }
        }
        if (below(3) == 0) {
            const std::string other = character();
            piece.replace(below(piece.size() + 1), below(3), other);
        }
        if (m_onlyNeedles || below(3) != 0) {
            return "%" + piece + "%";
        }
        for (std::size_t count = below(4); count > 0; --count) {
            piece.insert(below(piece.size() + 1), below(2) == 0 ? "%" : "_");
        }
        return piece;
    }

private:
    std::size_t below(std::size_t bound) { return m_random() % bound; }
    const std::string &character() { return m_characters[below(m_characters.size())]; }

    std::vector<std::string> m_characters;
    std::size_t m_longest;
    bool m_onlyNeedles;
    std::mt19937 m_random{20240315};
};

const std::vector<std::string> ASCII{"a", "A", "b", "B", "z", "q", "e", " ",    "1", "'",
                                     "-", "@", "`", "[", "{", "K", "k", "\x7F", "%", "_"};
// Characters that share their last bytes, letters with a case beyond ASCII, the Kelvin sign.
const std::vector<std::string> PROPER{
    "a",      "A",      "k",      "K",          " ",          "\u00E9", "\u00C9",
    "\u00E9", "\u4E2D", "\u4E2D", "\u56FD",     "\u5E2D",     "\u4E6D", "\u0E2D",
    "\u212A", "\u00B0", "\u0080", "\U0001F600", "\U0001F640", "\u0416", "\uFFFD"};
// Stray bytes, sequences too long or too short, what may not be encoded, the end of a C string.
const std::vector<std::string> BROKEN{"a",
                                      "A",
                                      "\u00E9",
                                      "\u4E2D",
                                      "\u4E2D",
                                      "\u00AD",
                                      "\xAD",
                                      "\x80",
                                      "\xBF",
                                      "\xC0",
                                      "\xC3",
                                      "\xC4\xB8\xAD",
                                      "\xC0\x84\xB8\xAD",
                                      "\xE4\xB8",
                                      "\xE4",
                                      "\xE0\x83\xA9",
                                      "\xC0\xA9",
                                      "\xC1\xA1",
                                      "\xED\xA0\x80",
                                      "\xEF\xBF\xBE",
                                      "\xEF\xBF\xBD",
                                      "\xFC\x84\xB8\xAD",
                                      "\xF8\x80\x84\xB8\xAD",
                                      "\xFF",
                                      "\xFE\xAD",
                                      std::string(1, '\0')};
} // namespace

Q_DECLARE_METATYPE(std::vector<std::string>)

class LikeFunctionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void randomPairsAgreeWithTheBuiltIn_data();
    void randomPairsAgreeWithTheBuiltIn();
    void everyOperandAgreesWithTheBuiltIn_data();
    void everyOperandAgreesWithTheBuiltIn();
    void aPatternBeyondTheLimitIsTheSameError();
    void patternsThatChangeWithTheRowAreNotMixedUp();
    void aFileInAnotherEncodingAgreesWithTheBuiltIn();
    void onlyPlainNeedlesAreSearchedByBytes_data();
    void onlyPlainNeedlesAreSearchedByBytes();
    void aNeedleIsFoundAtEveryPlace_data();
    void aNeedleIsFoundAtEveryPlace();

private:
    SQLite3Connection m_ours;
    std::unique_ptr<sqlite3, Closer> m_plain;
};

void LikeFunctionTest::initTestCase()
{
    QCOMPARE(m_ours.open(":memory:"), SQLITE_OK);
    sqlite3 *plain = nullptr;
    QCOMPARE(sqlite3_open(":memory:", &plain), SQLITE_OK);
    m_plain.reset(plain);
}

void LikeFunctionTest::randomPairsAgreeWithTheBuiltIn_data()
{
    QTest::addColumn<std::vector<std::string>>("characters");
    QTest::addColumn<int>("longest");
    QTest::addColumn<bool>("onlyNeedles");
    QTest::addColumn<int>("pairs");
    QTest::newRow("needles in ASCII") << ASCII << 40 << true << 200000;
    QTest::newRow("needles in ASCII, long texts") << ASCII << 700 << true << 100000;
    QTest::newRow("needles in proper text") << PROPER << 60 << true << 200000;
    QTest::newRow("needles in proper text, long") << PROPER << 700 << true << 50000;
    QTest::newRow("needles in broken text") << BROKEN << 30 << true << 250000;
    QTest::newRow("patterns in ASCII") << ASCII << 20 << false << 50000;
    QTest::newRow("patterns in proper text") << PROPER << 30 << false << 50000;
    QTest::newRow("patterns in broken text") << BROKEN << 20 << false << 100000;
}

void LikeFunctionTest::randomPairsAgreeWithTheBuiltIn()
{
    QFETCH(std::vector<std::string>, characters);
    QFETCH(int, longest);
    QFETCH(bool, onlyNeedles);
    QFETCH(int, pairs);
    Pairs source(characters, static_cast<std::size_t>(longest), onlyNeedles);
    const StatementPtr ours = prepare(m_ours.handle(), "SELECT ?2 LIKE ?1");
    const StatementPtr plain = prepare(m_plain.get(), "SELECT ?2 LIKE ?1");
    int matches = 0;
    for (int pair = 0; pair < pairs; ++pair) {
        const std::string text = source.text();
        const std::string pattern = source.pattern(text);
        const bool expected = isLike(plain.get(), pattern, text);
        if (isLike(ours.get(), pattern, text) != expected) {
            const QByteArray told = QByteArray::fromStdString(pattern).toHex(' ') + " in " +
                                    QByteArray::fromStdString(text).toHex(' ');
            QVERIFY2(false, told + (expected ? " not found" : " found"));
        }
        matches += expected ? 1 : 0;
    }
    QVERIFY2(matches > pairs / 5 && matches < pairs * 9 / 10, qPrintable(QString::number(matches)));
}

void LikeFunctionTest::everyOperandAgreesWithTheBuiltIn_data()
{
    QTest::addColumn<QByteArray>("expression");
    for (const char *expression : {"NULL LIKE '%a%'",
                                   "'a' LIKE NULL",
                                   "NULL LIKE NULL",
                                   "x'61' LIKE '%a%'",
                                   "'a' LIKE x'256125'",
                                   "NULL LIKE x'61'",
                                   "x'61' LIKE NULL",
                                   "zeroblob(3) LIKE '%'",
                                   "123 LIKE '%2%'",
                                   "'x123' LIKE 123",
                                   "'5' LIKE 5",
                                   "1.5 LIKE '%.5%'",
                                   "'' LIKE '%%'",
                                   "'' LIKE ''",
                                   "'' LIKE '%a%'",
                                   "'a' LIKE ''",
                                   "'abc' LIKE '%'",
                                   "'abc' LIKE '%%%'",
                                   "'abc' LIKE '_%_'",
                                   "'ABC' LIKE '%b%'",
                                   "'abc' NOT LIKE '%b%'",
                                   "like('%b%', 'abc')",
                                   "like('%b%', NULL)",
                                   "'10%' LIKE '%0!%%' ESCAPE '!'",
                                   "'10' LIKE '%0!%%' ESCAPE '!'",
                                   "'aXc' LIKE '%_c%' ESCAPE '%'",
                                   "'a' LIKE 'a' ESCAPE NULL",
                                   "'a' LIKE 'a' ESCAPE '!!'",
                                   "like('%0!%', '10%', '!')",
                                   "'a' LIKE CAST(x'256100' AS TEXT)",
                                   "CAST(x'610062' AS TEXT) LIKE '%b%'",
                                   "CAST(x'610062' AS TEXT) LIKE '%a%'",
                                   "'a\u0161' LIKE '%a\u0141%'",
                                   "char(1, 120) LIKE char(1) || '_'",
                                   "CAST(x'F983A9' AS TEXT) LIKE '%\u00E9%'",
                                   "CAST(x'F983A9' AS TEXT) LIKE '%\u10E9%'",
                                   "CAST(x'FD83A9' AS TEXT) LIKE '%\u00E9%'",
                                   "CAST(x'FD83A9' AS TEXT) LIKE '%\u10E9%'",
                                   "CAST(x'FE83A9' AS TEXT) LIKE '%\u00E9%'"}) {
        QTest::newRow(expression) << QByteArray(expression);
    }
}

void LikeFunctionTest::everyOperandAgreesWithTheBuiltIn()
{
    QFETCH(QByteArray, expression);
    const QByteArray sql = "SELECT " + expression;
    QCOMPARE(answers(m_ours.handle(), sql), answers(m_plain.get(), sql));
}

void LikeFunctionTest::aPatternBeyondTheLimitIsTheSameError()
{
    for (sqlite3 *handle : {m_ours.handle(), m_plain.get()}) {
        const QByteArray longest = '%' + QByteArray(49998, 'a') + '%';
        const QByteArray text(60000, 'A');
        QCOMPARE(answers(handle, "SELECT '" + text + "' LIKE '" + longest + "'"),
                 QStringList{QStringLiteral("1:1")});
        QCOMPARE(answers(handle, "SELECT '" + text + "' LIKE '" + longest + "%'"),
                 QStringList{QStringLiteral("LIKE or GLOB pattern too complex")});
        const int former = sqlite3_limit(handle, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 4);
        QCOMPARE(answers(handle, "SELECT NULL LIKE '%abc%'"),
                 QStringList{QStringLiteral("LIKE or GLOB pattern too complex")});
        QCOMPARE(answers(handle, "SELECT 12345 LIKE 12345"),
                 QStringList{QStringLiteral("LIKE or GLOB pattern too complex")});
        sqlite3_limit(handle, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, former);
    }
}

void LikeFunctionTest::patternsThatChangeWithTheRowAreNotMixedUp()
{
    const QByteArray rows = "WITH pairs(pattern, content) AS (VALUES ('%a%', 'xax'), "
                            "('%b%', 'xax'), ('_', 'x'), (NULL, 'x'), ('%A%', 'xax'), "
                            "('%x%', NULL), ('%', ''), ('%\u4E2D%', 'x\u4E2D')) ";
    for (const char *select :
         {"SELECT content LIKE pattern FROM pairs", "SELECT content LIKE '%a%' FROM pairs",
          "SELECT content LIKE '%a%' OR content LIKE '%\u4E2D%' FROM pairs",
          "SELECT 'xax' LIKE pattern FROM pairs"}) {
        const QStringList expected = answers(m_plain.get(), rows + select);
        QCOMPARE(expected.size(), 8);
        QCOMPARE(answers(m_ours.handle(), rows + select), expected);
    }
}

void LikeFunctionTest::aFileInAnotherEncodingAgreesWithTheBuiltIn()
{
    SQLite3Connection wide;
    QCOMPARE(wide.open(":memory:"), SQLITE_OK);
    answers(wide.handle(), "PRAGMA encoding='UTF-16le'");
    answers(wide.handle(), "CREATE TABLE texts(content TEXT)");
    answers(wide.handle(), "INSERT INTO texts VALUES ('a\u4E2Db'), ('\U0001F600'), ('B')");
    QCOMPARE(answers(wide.handle(), "SELECT content LIKE '%\u4E2DB%' FROM texts"),
             (QStringList{"1:1", "1:0", "1:0"}));
    QCOMPARE(answers(wide.handle(), "SELECT content LIKE '%\U0001F600%' FROM texts"),
             (QStringList{"1:0", "1:1", "1:0"}));
}

void LikeFunctionTest::onlyPlainNeedlesAreSearchedByBytes_data()
{
    QTest::addColumn<QByteArray>("pattern");
    QTest::addColumn<bool>("byBytes");
    QTest::newRow("word") << QByteArray("%word%") << true;
    QTest::newRow("one letter") << QByteArray("%w%") << true;
    QTest::newRow("quote") << QByteArray("%it's%") << true;
    QTest::newRow("Chinese") << QByteArray("%\u4E2D\u56FD%") << true;
    QTest::newRow("Cyrillic") << QByteArray("%\u0434\u043D%") << true;
    QTest::newRow("letters, then Chinese") << QByteArray("%a\u4E2D%") << true;
    QTest::newRow("beyond the basic plane") << QByteArray("%\U0001F600%") << true;
    QTest::newRow("in a plane for private use") << QByteArray("%\U000F0000%") << true;
    QTest::newRow("nothing between") << QByteArray("%%") << false;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("open at the end") << QByteArray("%word") << false;
    QTest::newRow("open at the beginning") << QByteArray("word%") << false;
    QTest::newRow("any character within") << QByteArray("%w_rd%") << false;
    QTest::newRow("anything within") << QByteArray("%w%rd%") << false;
    QTest::newRow("also found in a stray byte") << QByteArray("%\u00B0C%") << false;
    QTest::newRow("read from whatever is broken") << QByteArray("%a\uFFFD%") << false;
    QTest::newRow("broken") << QByteArray("%a\xE4\xB8%") << false;
    QTest::newRow("too long a sequence") << QByteArray("%\xE0\x83\xA9%") << false;
    QTest::newRow("ended by a NUL") << QByteArray("%a\0b%", 5) << false;
}

void LikeFunctionTest::onlyPlainNeedlesAreSearchedByBytes()
{
    QFETCH(QByteArray, pattern);
    const std::string_view view(pattern.constData(), static_cast<std::size_t>(pattern.size()));
    QTEST(LikeNeedle::ofPattern(view).has_value(), "byBytes");
}

void LikeFunctionTest::aNeedleIsFoundAtEveryPlace_data()
{
    QTest::addColumn<QByteArray>("needle");
    for (const char *needle :
         {"q", "Qu", "quartz box", "\u4E2D", "\u4E2D\u56FD", "\u00E9", "a\u4E2D", "\U0001F600",
          "eeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee"}) {
        QTest::newRow(needle) << QByteArray(needle);
    }
}

// Blocks, their seams and what is left behind the last one: a needle in every place of texts that
// are longer than two blocks, and nowhere when its last byte is cut off.
void LikeFunctionTest::aNeedleIsFoundAtEveryPlace()
{
    QFETCH(QByteArray, needle);
    const std::string pattern = ("%" + needle + "%").toStdString();
    const std::optional<LikeNeedle> known = LikeNeedle::ofPattern(pattern);
    QVERIFY(known);
    for (int size = needle.size(); size < 200; ++size) {
        for (int place = 0; place + needle.size() <= size; ++place) {
            // On the heap with its exact size, so that the address sanitizer sees a step beyond it.
            std::vector<char> text(static_cast<std::size_t>(size), '.');
            std::copy(needle.begin(), needle.end(), text.begin() + place);
            QVERIFY(known->isIn({text.data(), text.size()}));
            text[static_cast<std::size_t>(place + needle.size() - 1)] = '.';
            QVERIFY(!known->isIn({text.data(), text.size()}));
        }
    }
}

QTEST_APPLESS_MAIN(LikeFunctionTest)
#include "likefunctiontest.moc"
