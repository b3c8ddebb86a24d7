// The filter language: one closed range, and nothing that could be taken for one.

#include "vectordb/local/filterexpression.h"

#include <QTest>

#include <limits>

using VectorDB::parseRangeFilter;

class FilterExpressionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRangeIsRead_data();
    void aRangeIsRead();
    void everythingElseIsAnError_data();
    void everythingElseIsAnError();
};

void FilterExpressionTest::aRangeIsRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("field");
    QTest::addColumn<qlonglong>("lower");
    QTest::addColumn<qlonglong>("upper");
    const auto row = [](const char *name, const char *text, const char *field, qlonglong lower,
                        qlonglong upper) {
        QTest::newRow(name) << text << field << lower << upper;
    };
    row("as the program writes it", "10 <= realTime && realTime <= 20", "realTime", 10, 20);
    row("without blanks", "10<=realTime&&realTime<=20", "realTime", 10, 20);
    row("many blanks", "  10  <=  realTime  &&  realTime  <=  20  ", "realTime", 10, 20);
    row("negative", "-20 <= t && t <= -10", "t", -20, -10);
    row("one moment", "5 <= t && t <= 5", "t", 5, 5);
    row("empty range", "6 <= t && t <= 5", "t", 6, 5);
    row("leading zeros", "007 <= t && t <= 008", "t", 7, 8);
    row("any name", "0 <= _a1 && _a1 <= 1", "_a1", 0, 1);
    for (const char *name : {"a", "z", "A", "Z", "azAZ09_"}) {
        const std::string text = std::string("0 <= ") + name + " && " + name + " <= 1";
        row(name, text.c_str(), name, 0, 1);
    }
    row("extremes", "-9223372036854775808 <= t && t <= 9223372036854775807", "t",
        std::numeric_limits<qlonglong>::min(), std::numeric_limits<qlonglong>::max());
}

void FilterExpressionTest::aRangeIsRead()
{
    QFETCH(QString, text);
    QFETCH(QString, field);
    QFETCH(qlonglong, lower);
    QFETCH(qlonglong, upper);
    std::string error;
    const auto filter = parseRangeFilter(text.toStdString(), error);
    QVERIFY2(filter, error.c_str());
    QCOMPARE(QString::fromStdString(filter->field), field);
    QCOMPARE(qlonglong{filter->lower}, lower);
    QCOMPARE(qlonglong{filter->upper}, upper);
}

void FilterExpressionTest::everythingElseIsAnError_data()
{
    QTest::addColumn<QString>("text");
    for (const char *text : {"",
                             " ",
                             "1",
                             "1 <= t",
                             "t <= 5",
                             "1 <= t && t",
                             "1 <= t && t <=",
                             "1 <= t t <= 5",
                             "1 <= t & t <= 5",
                             "1 <= t && u <= 5",
                             "1 <= t && T <= 5",
                             "1 < t && t < 5",
                             "1 <= t && t < 5",
                             "1 < = t && t <= 5",
                             "5 >= t && t >= 1",
                             "1 <= t || t <= 5",
                             "t <= 5 && 1 <= t",
                             "1 <= t && t <= 5 && 1 <= 1",
                             "1 <= t && t <= 5;",
                             "1 <= t && t <= 5 OR 1=1",
                             "1 <= t and t <= 5",
                             "(1 <= t && t <= 5)",
                             "not (1 <= t && t <= 5)",
                             "+1 <= t && t <= 5",
                             "- 1 <= t && t <= 5",
                             "--1 <= t && t <= 5",
                             "1.5 <= t && t <= 5",
                             "1e3 <= t && t <= 5",
                             "0x1 <= t && t <= 5",
                             "1 <= 1t && 1t <= 5",
                             "1 <= \"t\" && \"t\" <= 5",
                             "1 <= t && t <= 9223372036854775808",
                             "-9223372036854775809 <= t && t <= 5",
                             "1 <= t && t <= 99999999999999999999999999",
                             "1\t<= t && t <= 5",
                             "1 <= t && t <= 5\n",
                             "true",
                             "id in [1]",
                             "*",
                             "１ <= t && t <= 5"}) {
        QTest::addRow("%s",
                      qPrintable(QString::fromUtf8(text).replace('\n', "\\n").replace('\t', "\\t")))
            << QString::fromUtf8(text);
    }
    QTest::newRow("a NUL and more") << QString::fromLatin1("1 <= t && t <= 5\0 ", 18);
}

void FilterExpressionTest::everythingElseIsAnError()
{
    QFETCH(QString, text);
    std::string error;
    QVERIFY(!parseRangeFilter(text.toStdString(), error));
    QVERIFY(!error.empty());
}

QTEST_GUILESS_MAIN(FilterExpressionTest)
#include "filterexpressiontest.moc"
