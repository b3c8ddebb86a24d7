// The text engine with its real model: what of its vectors others rely on.

#include "coreai/engines/meaning/meaningloader.h"
#include "coreai/engines/modelavailability.h"
#include "coreai/engines/modelfiles.h"
#include "support/logcapture.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <numeric>

using coreai::TextMeaning;

namespace
{
using Vector = std::vector<float>;

double product(const Vector &a, const Vector &b)
{
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

struct Pair {
    const char *query;
    const char *passage; // in the other language
};

const Pair pairs[] = {
    {"火车票", "Book your train tickets to Edinburgh online"},
    {"养猫", "How to care for your cat"},
    {"心脏病", "Symptoms of a heart attack"},
    {"数据库", "Choose an index for the database table"},
    {"goldfish", "金鱼缸多久换一次水"},
    {"violin lessons", "小提琴老师，一对一授课"},
    {"tomato soup", "番茄汤的做法"},
    {"passport", "护照到期换发需要带旧护照和照片"},
};
constexpr int pairCount = int(std::size(pairs));

QByteArray firstBytesOf(const QString &path, qint64 count)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(count) : QByteArray();
}
} // namespace

class TextMeaningTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void givesUnitVectors_data();
    void givesUnitVectors();
    void givesNothingWithoutWords_data();
    void givesNothingWithoutWords();
    void sameTextSameVectorWhateverWasEmbeddedBefore();
    void vectorsTogetherEqualVectorsAlone();
    void queriesFindTheOtherLanguage_data();
    void queriesFindTheOtherLanguage();
    void unrelatedTextsAreNearToOrthogonal();
    void blanksAndBrokenBytesDoNotMatter();
    void megabyteOfText_data();
    void megabyteOfText();
    void looksAtTheBeginningOfALongText();
    void manyLigaturesDoNoHarm();
    void missingModel();
    void damagedModel_data();
    void damagedModel();

private:
    /// The cosine of each query of `pairs` with each of its passages.
    std::vector<std::vector<double>> scores();

    QString m_modelFile;
    std::unique_ptr<TextMeaning> m_engine;
};

void TextMeaningTest::initTestCase()
{
    const coreai::ModelFolders folders = coreai::ModelFolders::standard();
    m_modelFile = folders.find(coreai::textMeaningFile);
    if (m_modelFile.isEmpty()) {
        QSKIP("the text model is not among the artefacts of this build");
    }
    QVERIFY(coreai::textMeaningAvailable(folders));
    const LogCapture log;
    m_engine = coreai::loadTextMeaning(folders);
    QCOMPARE(log.texts().size(), 1);
    QVERIFY(m_engine->tokenCount("words") > 0);
}

std::vector<std::vector<double>> TextMeaningTest::scores()
{
    std::vector<std::string> texts;
    for (const Pair &pair : pairs) {
        texts.emplace_back(pair.passage);
    }
    const std::vector<Vector> passages = m_engine->ofPassages(texts);
    std::vector<std::vector<double>> scores;
    for (const Pair &pair : pairs) {
        const Vector query = m_engine->ofQuery(pair.query);
        scores.emplace_back();
        for (const Vector &passage : passages) {
            scores.back().push_back(product(query, passage));
        }
    }
    return scores;
}

void TextMeaningTest::givesUnitVectors_data()
{
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("English") << QByteArray("How to renew a library card");
    QTest::newRow("Chinese") << QByteArray("如何续借图书");
    QTest::newRow("right to left") << QByteArray("مرحبا بالعالم");
    QTest::newRow("right to left with marks") << QByteArray("שלום \u200f(עולם)\u200e 12");
    QTest::newRow("broken UTF-8") << QByteArray("caf\xE9 in the \xFF\xFE town");
    QTest::newRow("emoji and a word") << QByteArray("😀😀 fun");
    QTest::newRow("one ideograph") << QByteArray("书");
    QTest::newRow("code") << QByteArray("for (int i = 0; i < n; ++i) sum += v[i];");
    QTest::newRow("one very long word") << QByteArray(1900, 'x');
}

void TextMeaningTest::givesUnitVectors()
{
    QFETCH(QByteArray, text);
    for (const Vector &vector :
         {m_engine->ofPassage(text.toStdString()), m_engine->ofQuery(text.toStdString())}) {
        QCOMPARE(vector.size(), size_t(TextMeaning::dimensions));
        QVERIFY(qAbs(product(vector, vector) - 1) < 1e-5);
    }
}

void TextMeaningTest::givesNothingWithoutWords_data()
{
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("empty") << QByteArray();
    QTest::newRow("blanks") << QByteArray(" \n ");
    QTest::newRow("punctuation") << QByteArray("… — (!) 。，");
    QTest::newRow("digits") << QByteArray("2,380.55 %");
    QTest::newRow("bytes that are no text") << QByteArray("\x80\xFF\xFE\xC0");
}

void TextMeaningTest::givesNothingWithoutWords()
{
    QFETCH(QByteArray, text);
    QVERIFY(m_engine->ofPassage(text.toStdString()).empty());
    QVERIFY(m_engine->ofQuery(text.toStdString()).empty());
    QCOMPARE(m_engine->tokenCount(text.toStdString()), 0);
}

void TextMeaningTest::sameTextSameVectorWhateverWasEmbeddedBefore()
{
    const std::string text = "Minutes of the annual meeting";
    const Vector passage = m_engine->ofPassage(text);
    const Vector query = m_engine->ofQuery(text);
    m_engine->ofPassage(std::string(1500, 'q') + " other words 其他文字");
    m_engine->ofQuery("数学作业");
    QVERIFY(m_engine->ofPassage(text) == passage);
    QVERIFY(m_engine->ofQuery(text) == query);
    QVERIFY(passage != query);

    const auto again = coreai::loadTextMeaning(coreai::ModelFolders::standard());
    QVERIFY(again->ofPassage(text) == passage);
}

void TextMeaningTest::vectorsTogetherEqualVectorsAlone()
{
    const std::vector<std::string> texts{
        "File", "12:45", "a longer line of a web page, cut off", "中文的一行", "", "File"};
    const std::vector<Vector> together = m_engine->ofPassages(texts);
    QCOMPARE(together.size(), texts.size());
    for (size_t i = 0; i < texts.size(); ++i) {
        QVERIFY2(together[i] == m_engine->ofPassage(texts[i]), texts[i].c_str());
    }
    QVERIFY(m_engine->ofPassages({}).empty());
}

void TextMeaningTest::queriesFindTheOtherLanguage_data()
{
    QTest::addColumn<int>("pair");
    for (int pair = 0; pair < pairCount; ++pair) {
        QTest::newRow(pairs[pair].query) << pair;
    }
}

void TextMeaningTest::queriesFindTheOtherLanguage()
{
    QFETCH(int, pair);
    static const std::vector<std::vector<double>> all = scores();
    const std::vector<double> &row = all[size_t(pair)];
    QCOMPARE(int(std::max_element(row.begin(), row.end()) - row.begin()), pair);
}

void TextMeaningTest::unrelatedTextsAreNearToOrthogonal()
{
    double sum = 0;
    const std::vector<std::vector<double>> all = scores();
    for (size_t i = 0; i < all.size(); ++i) {
        sum += std::accumulate(all[i].begin(), all[i].end(), -all[i][i]);
    }
    const double mean = sum / (pairCount * (pairCount - 1));
    // Without the calibration it is above 0.75.
    QVERIFY2(qAbs(mean) < 0.1, qPrintable(QString::number(mean)));
}

void TextMeaningTest::blanksAndBrokenBytesDoNotMatter()
{
    const Vector clean = m_engine->ofPassage("quarterly report");
    QVERIFY(m_engine->ofPassage("  quarterly \n\t report ") == clean);
    QVERIFY(m_engine->ofPassage("quarterly\xFF report") == clean);
    QVERIFY(m_engine->ofPassage(std::string("quarterly\0report", 16)) == clean);
}

void TextMeaningTest::megabyteOfText_data()
{
    QTest::addColumn<QByteArray>("piece");

    QTest::newRow("English words") << QByteArray("several words of text ");
    QTest::newRow("Chinese") << QByteArray("很长的中文文本");
    QTest::newRow("one word") << QByteArray("w");
    QTest::newRow("rare characters") << QByteArray("ﷺ龘꧁");
    QTest::newRow("bytes that are no text, then a word") << QByteArray("\xFFword ");
}

void TextMeaningTest::megabyteOfText()
{
    QFETCH(QByteArray, piece);
    const std::string text = piece.repeated((1 << 20) / piece.size()).toStdString();
    const int tokens = m_engine->tokenCount(text);
    QVERIFY2(tokens > 0 && tokens <= 512, qPrintable(QString::number(tokens)));
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(m_engine->ofPassage(text).size(), size_t(TextMeaning::dimensions));
    // 512 tokens take half a second; a million of them would take a quarter of an hour.
    QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
}

void TextMeaningTest::looksAtTheBeginningOfALongText()
{
    const std::string start = QByteArray("all about growing roses. ").repeated(100).toStdString();
    const std::string ending = QByteArray("tax law. ").repeated(5000).toStdString();
    QVERIFY(m_engine->ofPassage(start + ending) == m_engine->ofPassage(start));
}

void TextMeaningTest::manyLigaturesDoNoHarm()
{
    // The model's tables spell each out in eighteen letters, more than its library has room for.
    const std::string text = "word " + QByteArray("\uFDFA").repeated(600).toStdString();
    QCOMPARE(m_engine->ofPassage(text).size(), size_t(TextMeaning::dimensions));
}

void TextMeaningTest::missingModel()
{
    const QTemporaryDir folder;
    const coreai::ModelFolders folders({folder.path()});
    QVERIFY(!coreai::textMeaningAvailable(folders));
    coreai::loadTextMeaning(coreai::ModelFolders::standard());
    const LogCapture log;
    const auto engine = coreai::loadTextMeaning(folders);
    QVERIFY(engine->ofPassage("words").empty());
    QVERIFY(engine->ofQuery("words").empty());
    QVERIFY(engine->ofPassages({"words", "more"}).empty()); // not two without meaning
    QCOMPARE(engine->tokenCount("words"), 0);
    coreai::loadTextMeaning(folders);
    QCOMPARE(log.texts().size(), 1);
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("no text meaning")));
}

void TextMeaningTest::damagedModel_data()
{
    QTest::addColumn<qint64>("bytes");  // of the real file's beginning
    QTest::addColumn<int>("spoiledAt"); // -1 for none
    QTest::addColumn<QByteArray>("spoil");

    const QByteArray high(4, '\x7F');
    QTest::newRow("empty") << qint64(0) << -1 << QByteArray();
    QTest::newRow("three bytes") << qint64(3) << -1 << QByteArray();
    QTest::newRow("other kind of file") << qint64(4096) << 0 << QByteArray("\x89PNG");
    QTest::newRow("only the header") << qint64(44) << -1 << QByteArray();
    QTest::newRow("cut in the vocabulary") << qint64(1 << 20) << -1 << QByteArray();
    QTest::newRow("cut in the weights") << qint64(60) * (1 << 20) << -1 << QByteArray();
    QTest::newRow("other width") << qint64(8) * (1 << 20) << 8 << high;
    QTest::newRow("huge vocabulary") << qint64(8) * (1 << 20) << 24 << high;
    QTest::newRow("more pieces than words") << qint64(8) * (1 << 20) << 44 << high;
    QTest::newRow("mark outside the vocabulary") << qint64(8) * (1 << 20) << 48 << high;
    QTest::newRow("text beyond the end") << qint64(8) * (1 << 20) << 64 << high + high;
    QTest::newRow("piece beyond the text") << qint64(8) * (1 << 20) << 76 << high;
}

void TextMeaningTest::damagedModel()
{
    QFETCH(qint64, bytes);
    QFETCH(int, spoiledAt);
    QFETCH(QByteArray, spoil);
    QByteArray content = firstBytesOf(m_modelFile, bytes);
    if (spoiledAt >= 0) {
        content.replace(spoiledAt, spoil.size(), spoil);
    }
    QTemporaryDir folder;
    QFile file(folder.filePath(coreai::textMeaningFile));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
    file.close();

    coreai::loadTextMeaning(coreai::ModelFolders::standard());
    const LogCapture log;
    const auto engine = coreai::loadTextMeaning(coreai::ModelFolders({folder.path()}));
    QVERIFY(engine->ofPassage("words").empty());
    QCOMPARE(log.texts().size(), 1);
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("no text meaning")));
}

QTEST_GUILESS_MAIN(TextMeaningTest)
#include "textmeaningtest.moc"
