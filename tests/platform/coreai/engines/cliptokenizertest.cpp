// Tokens of the tiny tokenizer beside this file, worked out by hand from its list of merges.

#include "coreai/engines/meaning/cliptokenizer.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using coreai::ClipTokenizer;

namespace
{
const QString tinyFile = QStringLiteral(TEST_DATA "/tiny-clip-tokenizer.json");

QJsonObject tinyObject()
{
    QFile file(tinyFile);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                          : QJsonObject();
}

QHash<int, QString> pieces()
{
    QHash<int, QString> pieces;
    const QJsonObject vocabulary = tinyObject()["model"].toObject()["vocab"].toObject();
    for (auto it = vocabulary.begin(); it != vocabulary.end(); ++it) {
        pieces.insert(it.value().toInt(), it.key());
    }
    return pieces;
}

/// The pieces of a text between the marks of its start and end.
QStringList piecesOf(const ClipTokenizer &tokenizer, const QByteArray &text)
{
    const QHash<int, QString> names = pieces();
    const ClipTokenizer::Tokens tokens = tokenizer.tokens(text.toStdString());
    QStringList result;
    for (size_t i = 0; i < tokens.ids.size() && tokens.attention[i] == 1; ++i) {
        result << names[int(tokens.ids[i])];
    }
    return result.mid(1, result.size() - 2);
}
} // namespace

class ClipTokenizerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void splits_data();
    void splits();
    void marksStartAndEndAndFillsUp();
    void cutsWhatIsTooLongAndKeepsTheEnd();
    void readsMergesAsPairsToo();
    void refusesWhatIsNoTokenizer_data();
    void refusesWhatIsNoTokenizer();

private:
    std::unique_ptr<ClipTokenizer> m_tokenizer;
};

void ClipTokenizerTest::initTestCase()
{
    QString fault;
    m_tokenizer = ClipTokenizer::load(tinyFile, &fault);
    QVERIFY2(m_tokenizer, qPrintable(fault));
}

void ClipTokenizerTest::splits_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("merged to one") << QByteArray("red") << QStringList{"red</w>"};
    QTest::newRow("capitals") << QByteArray("GREEN") << QStringList{"green</w>"};
    // "r e" stands before "e d" in the list, so "e" is taken; "re d" is only joined at a word's
    // end.
    QTest::newRow("first in the list wins")
        << QByteArray("reda") << QStringList{"re", "d", "a</w>"};
    QTest::newRow("last in the list") << QByteArray("leda") << QStringList{"l", "ed", "a</w>"};
    QTest::newRow("list, not place, decides")
        << QByteArray("edre") << QStringList{"ed", "r", "e</w>"};
    QTest::newRow("joined pairs join again") << QByteArray("gree") << QStringList{"gre", "e</w>"};
    QTest::newRow("words") << QByteArray("  red \n blue ") << QStringList{"red</w>", "blue</w>"};
    QTest::newRow("one letter") << QByteArray("a") << QStringList{"a</w>"};
    QTest::newRow("unknown is the end's mark") << QByteArray("?") << QStringList{"<|endoftext|>"};
    // Two bytes, neither known.
    QTest::newRow("letter of two bytes")
        << QByteArray("é") << QStringList{"<|endoftext|>", "<|endoftext|>"};
    QTest::newRow("empty") << QByteArray() << QStringList();
    QTest::newRow("marks in the text are text")
        << QByteArray("<|a|>")
        << QStringList{"<|endoftext|>", "<|endoftext|>", "a</w>", "<|endoftext|>", "<|endoftext|>"};
}

void ClipTokenizerTest::splits()
{
    QFETCH(QByteArray, text);
    QTEST(piecesOf(*m_tokenizer, text), "expected");
}

void ClipTokenizerTest::marksStartAndEndAndFillsUp()
{
    const ClipTokenizer::Tokens tokens = m_tokenizer->tokens("red");
    const QHash<int, QString> names = pieces();
    QCOMPARE(tokens.ids.size(), size_t(77));
    QCOMPARE(tokens.attention.size(), size_t(77));
    QCOMPARE(names[int(tokens.ids[0])], QStringLiteral("<|startoftext|>"));
    for (size_t i = 2; i < tokens.ids.size(); ++i) {
        QCOMPARE(names[int(tokens.ids[i])], QStringLiteral("<|endoftext|>"));
        QCOMPARE(tokens.attention[i], int64_t(i == 2 ? 1 : 0));
    }
}

void ClipTokenizerTest::cutsWhatIsTooLongAndKeepsTheEnd()
{
    const std::string text = QByteArray("red ").repeated(100000).toStdString();
    const ClipTokenizer::Tokens tokens = m_tokenizer->tokens(text);
    const QHash<int, QString> names = pieces();
    QCOMPARE(tokens.ids.size(), size_t(77));
    QCOMPARE(names[int(tokens.ids[75])], QStringLiteral("red</w>"));
    QCOMPARE(names[int(tokens.ids[76])], QStringLiteral("<|endoftext|>"));
    QCOMPARE(tokens.attention[76], int64_t(1));
}

void ClipTokenizerTest::readsMergesAsPairsToo()
{
    QJsonObject whole = tinyObject();
    QJsonObject model = whole["model"].toObject();
    QJsonArray pairs;
    const QJsonArray merges = model["merges"].toArray();
    for (const QJsonValue merge : merges) {
        pairs.append(QJsonArray::fromStringList(merge.toString().split(' ')));
    }
    model["merges"] = pairs;
    whole["model"] = model;
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("tokenizer.json")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QJsonDocument(whole).toJson());
    file.close();
    QString fault;
    const auto tokenizer = ClipTokenizer::load(file.fileName(), &fault);
    QVERIFY2(tokenizer, qPrintable(fault));
    QCOMPARE(piecesOf(*tokenizer, "green red"), (QStringList{"green</w>", "red</w>"}));
}

void ClipTokenizerTest::refusesWhatIsNoTokenizer_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no JSON") << QByteArray("\x01\x02{{");
    QTest::newRow("no vocabulary") << QByteArray("{\"model\": {}}");
    QTest::newRow("no marks") << QByteArray("{\"model\": {\"vocab\": {\"a\": 0}, \"merges\": []}}");
}

void ClipTokenizerTest::refusesWhatIsNoTokenizer()
{
    QFETCH(QByteArray, content);
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("tokenizer.json")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    QString fault;
    QVERIFY(!ClipTokenizer::load(file.fileName(), &fault));
    QVERIFY(!fault.isEmpty());
}

QTEST_APPLESS_MAIN(ClipTokenizerTest)
#include "cliptokenizertest.moc"
