// The engines in their own process: what a caller sees when it works, dies, hangs or is missing.

#include "coreai/runtime/engineprocess.h"
#include "support/logcapture.h"
#include "testengines.h"

#include <QElapsedTimer>
#include <QTest>

using namespace coreai;

namespace
{
cv::Mat line(int width)
{
    return cv::Mat(20, width, CV_8UC4, cv::Scalar(width % 256, 2, 3, 255));
}
} // namespace

class EngineProcessTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersAsTheEnginesDo();
    void takesBitmapsThatAreParts();
    void aDeathCostsOneLineAtMost();
    void unloadsAndLoadsAgain();
    void aMissingProgramFailsQuickly();
    void aStuckProcessIsGivenUp();
    void aSilentEndIsNoHang();
};

void EngineProcessTest::answersAsTheEnginesDo()
{
    EngineProcess engines({ENGINE_PROGRAM});
    engines.prepareReading(1);
    engines.prepareReading(2);
    const auto text = engines.readLine(line(300));
    QVERIFY(text.has_value());
    QCOMPARE(text->text, TestEngines::textOf(line(300)));
    QCOMPARE(text->confidence, 1.0F);
    const EngineSet::Vectors vectors = engines.ofPassages({"one", "", "two"});
    QCOMPARE(vectors.size(), std::size_t(3));
    QCOMPARE(vectors[0], TestEngines::vectorOf("one"));
    QVERIFY(vectors[1].empty());
    QCOMPARE(vectors[2], TestEngines::vectorOf("two"));
    QCOMPARE(engines.ofQuery("query"), TestEngines::vectorOf("query"));
    QVERIFY(engines.ofPicture(line(100)).empty());
    QVERIFY(engines.ofPictureText("text").empty());
    QVERIFY(engines.ofPassages({}).empty());
}

void EngineProcessTest::takesBitmapsThatAreParts()
{
    EngineProcess engines({ENGINE_PROGRAM});
    const cv::Mat picture(100, 500, CV_8UC4, cv::Scalar(7, 8, 9, 255));
    const cv::Mat part = picture(cv::Rect(10, 10, 200, 20));
    QCOMPARE(engines.readLine(part)->text, TestEngines::textOf(part.clone()));
}

void EngineProcessTest::aDeathCostsOneLineAtMost()
{
    LogCapture log;
    EngineProcess engines({ENGINE_PROGRAM, "0", "123"});
    QVERIFY(engines.readLine(line(100)).has_value());
    QVERIFY(!engines.readLine(line(123)).has_value());
    QVERIFY(engines.readLine(line(100)).has_value());
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("the engines' process ended")));
}

void EngineProcessTest::unloadsAndLoadsAgain()
{
    EngineProcess engines({ENGINE_PROGRAM});
    engines.unload();
    QVERIFY(engines.readLine(line(100)).has_value());
    engines.unload();
    QVERIFY(engines.readLine(line(100)).has_value());
}

void EngineProcessTest::aMissingProgramFailsQuickly()
{
    LogCapture log;
    EngineProcess engines({"/nowhere/yestermark-ai-engines"});
    QElapsedTimer timer;
    timer.start();
    for (int count = 0; count < 500; ++count) {
        QVERIFY(!engines.readLine(line(100)).has_value());
    }
    QVERIFY(engines.ofQuery("query").empty());
    QVERIFY(timer.elapsed() < 2000);
    QVERIFY(log.texts().size() < 20); // not two lines for each of them
}

void EngineProcessTest::aStuckProcessIsGivenUp()
{
    LogCapture log;
    EngineProcess engines({ENGINE_PROGRAM, "60000"}, std::chrono::milliseconds(50));
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!engines.readLine(line(100)).has_value());
    QVERIFY(timer.elapsed() < 30000);
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("do not answer")));
}

void EngineProcessTest::aSilentEndIsNoHang()
{
    LogCapture log;
    EngineProcess engines({"/bin/true"});
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!engines.readLine(line(100)).has_value());
    QVERIFY(timer.elapsed() < 3000);
}

QTEST_GUILESS_MAIN(EngineProcessTest)
#include "engineprocesstest.moc"
