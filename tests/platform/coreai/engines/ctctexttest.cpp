// What a recognition network's rows of probabilities mean as text.

#include "coreai/engines/reading/ctctext.h"

#include <QtTest>

using namespace coreai;

class CtcTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theListIsFramedByBlankAndSpace();
    void bestClassesBecomeText_data();
    void bestClassesBecomeText();
    void confidenceIsTheMeanOfWhatWasKept();
};

void CtcTextTest::theListIsFramedByBlankAndSpace()
{
    QCOMPARE(CtcText("a\nb\n中").classes(), size_t(5));
    QCOMPARE(CtcText("a\nb\n中\n").classes(), size_t(5));
}

void CtcTextTest::bestClassesBecomeText_data()
{
    QTest::addColumn<QVector<int>>("best");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("none") << QVector<int>{} << QByteArray();
    QTest::newRow("blanks only") << QVector<int>{0, 0, 0} << QByteArray();
    QTest::newRow("a repetition is one character")
        << QVector<int>{1, 1, 0, 2, 2} << QByteArray("ab");
    QTest::newRow("a blank parts equal ones") << QVector<int>{1, 0, 1} << QByteArray("aa");
    QTest::newRow("space") << QVector<int>{1, 4, 2} << QByteArray("a b");
    QTest::newRow("more than one byte") << QVector<int>{3, 0, 3, 1} << QByteArray("中中a");
}

void CtcTextTest::bestClassesBecomeText()
{
    QFETCH(QVector<int>, best);
    QFETCH(QByteArray, text);
    // Likely and unlikely best ones: above a half and below it.
    for (const float probability : {0.9F, 0.4F}) {
        std::vector<float> rows(size_t(best.size()) * 5, (1.0F - probability) / 4);
        for (int step = 0; step < best.size(); ++step) {
            rows[size_t(step) * 5 + size_t(best[step])] = probability;
        }
        const CtcText characters("a\nb\n中");
        QCOMPARE(characters.decode(rows.data(), size_t(best.size())).text, text.toStdString());
    }
}

void CtcTextTest::confidenceIsTheMeanOfWhatWasKept()
{
    const std::vector<float> rows{0.1F, 0.9F, 0.0F, // a
                                  1.0F, 0.0F, 0.0F, // blank
                                  0.5F, 0.5F, 0.0F, // undecided: the blank comes first
                                  0.3F, 0.7F, 0.0F};
    const LineText line = CtcText("a").decode(rows.data(), 4);
    QCOMPARE(line.text, std::string("aa"));
    QCOMPARE(line.confidence, 0.8F);
    QCOMPARE(CtcText("a").decode(rows.data(), 0).confidence, 0.0F);
}

QTEST_APPLESS_MAIN(CtcTextTest)
#include "ctctexttest.moc"
