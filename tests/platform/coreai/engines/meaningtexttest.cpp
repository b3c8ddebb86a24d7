// What the meaning engines take of a text.

#include "coreai/engines/meaning/meaningtext.h"

#include <QtTest>

class MeaningTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleans_data();
    void cleans();
    void tellsWords_data();
    void tellsWords();
    void tellsScripts_data();
    void tellsScripts();
    void cutsLongTexts();
    void cutsNoCharacterInTwo();
};

void MeaningTextTest::cleans_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("plain") << QByteArray("two words") << QByteArray("two words");
    QTest::newRow("blanks at the ends") << QByteArray("  \t a\n") << QByteArray("a");
    QTest::newRow("blanks in a row") << QByteArray("a \t\n b") << QByteArray("a b");
    QTest::newRow("wide blank") << QByteArray("中\u3000文") << QByteArray("中 文");
    QTest::newRow("NUL inside") << QByteArray("a\0b", 3) << QByteArray("a b");
    QTest::newRow("byte that is no UTF-8") << QByteArray("a\xFF"
                                                         "b")
                                           << QByteArray("a b");
    QTest::newRow("character cut off") << QByteArray("a\xE4\xB8") << QByteArray("a");
    QTest::newRow("empty") << QByteArray() << QByteArray();
    QTest::newRow("only blanks") << QByteArray(" \n\t") << QByteArray();
    QTest::newRow("ligature of a sentence") << QByteArray("a\uFDFA"
                                                          "b")
                                            << QByteArray("a b");
    QTest::newRow("outside the basic plane") << QByteArray("a😀") << QByteArray("a😀");
}

void MeaningTextTest::cleans()
{
    QFETCH(QByteArray, text);
    QTEST(QByteArray::fromStdString(coreai::meaningText(text.toStdString())), "expected");
}

void MeaningTextTest::tellsWords_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("expected");

    QTest::newRow("word") << QByteArray("File") << true;
    QTest::newRow("one ideograph") << QByteArray("文") << true;
    QTest::newRow("one kana") << QByteArray("あ") << true;
    QTest::newRow("Arabic") << QByteArray("مرحبا") << true;
    QTest::newRow("vowel signs between letters") << QByteArray("मि") << false;
    QTest::newRow("letters with a vowel sign") << QByteArray("किन") << true;
    QTest::newRow("time") << QByteArray("12:45") << false;
    QTest::newRow("signs") << QByteArray("→ 3 % —") << false;
    QTest::newRow("single letters") << QByteArray("a b c") << false;
    QTest::newRow("ideographic full stop") << QByteArray("。，！") << false;
    QTest::newRow("empty") << QByteArray() << false;
}

void MeaningTextTest::tellsWords()
{
    QFETCH(QByteArray, text);
    QTEST(coreai::hasWords(text.toStdString()), "expected");
}

void MeaningTextTest::tellsScripts_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("chinese");

    QTest::newRow("English") << QByteArray("train tickets") << false;
    QTest::newRow("Chinese") << QByteArray("买火车票") << true;
    QTest::newRow("Chinese with a name in letters") << QByteArray("用Python写程序") << true;
    QTest::newRow("English with one Chinese word")
        << QByteArray("the museum of 北京 reopens") << false;
    QTest::newRow("Russian") << QByteArray("Привет") << false;
    QTest::newRow("no letters") << QByteArray("12:45") << false;
}

void MeaningTextTest::tellsScripts()
{
    QFETCH(QByteArray, text);
    QTEST(coreai::scriptOf(text.toStdString()) == coreai::Script::Chinese, "chinese");
}

void MeaningTextTest::cutsLongTexts()
{
    const std::string text(1 << 20, 'a');
    QCOMPARE(coreai::meaningText(text).size(), size_t(2000));
}

void MeaningTextTest::cutsNoCharacterInTwo()
{
    const QString text = QStringLiteral("x") + QString(100000, QChar(0x4E2D));
    const QString cut = QString::fromStdString(coreai::meaningText(text.toStdString()));
    QCOMPARE(cut.size(), 2000);
    QVERIFY(!cut.contains(QChar::ReplacementCharacter));
}

QTEST_APPLESS_MAIN(MeaningTextTest)
#include "meaningtexttest.moc"
