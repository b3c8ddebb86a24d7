// The engines in their own process: what a caller sees when it works, dies, hangs or is missing.

#include "coreai/runtime/engineprocess.h"
#include "support/logcapture.h"
#include "testengines.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

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
    void severalLinesAreReadAsEachAlone();
    void aDeathCostsOneLineAtMost();
    void aDeathAmongSeveralLinesCostsOnlyTheOne();
    void oneThatDiedAmongSeveralLinesIsAskedAgain();
    void unloadsAndLoadsAgain();
    void aLineThatCannotBeReadIsToldFromOneWithoutText();
    void aMissingProgramFailsQuickly();
    void aProgramThatAppearsAfterAPauseIsUsed();
    void questionsDoNotProlongAPause();
    void ofSeveralLinesNoneIsTriedInAPause();
    void aStuckProcessIsGivenUp();
    void aSilentEndIsNoHang();
};

void EngineProcessTest::answersAsTheEnginesDo()
{
    EngineProcess engines({ENGINE_PROGRAM});
    engines.prepareReading();
    engines.prepareReading();
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

void EngineProcessTest::severalLinesAreReadAsEachAlone()
{
    EngineProcess engines({ENGINE_PROGRAM});
    QVERIFY(engines.readLines({}).empty());
    std::vector<cv::Mat> lines;
    for (int width = 30; width < 60; ++width) {
        lines.push_back(line(width));
    }
    lines.push_back(line(5000)); // too long for the message itself
    const EngineSet::Lines texts = engines.readLines(lines);
    QCOMPARE(texts.size(), lines.size());
    for (std::size_t index = 0; index < lines.size(); ++index) {
        QVERIFY(texts[index].has_value());
        QCOMPARE(texts[index]->text, TestEngines::textOf(lines[index]));
        QCOMPARE(texts[index]->text, engines.readLine(lines[index])->text);
    }
}

void EngineProcessTest::aDeathAmongSeveralLinesCostsOnlyTheOne()
{
    LogCapture log;
    EngineProcess engines({ENGINE_PROGRAM, "0", "123"});
    const std::vector<cv::Mat> lines{line(100), line(123), line(140), line(150)};
    for (int round = 0; round < 2; ++round) {
        const EngineSet::Lines texts = engines.readLines(lines);
        QCOMPARE(texts.size(), lines.size());
        for (std::size_t index = 0; index < lines.size(); ++index) {
            QCOMPARE(texts[index].has_value(), index != 1);
        }
    }
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("the engines' process ended")));
}

void EngineProcessTest::oneThatDiedAmongSeveralLinesIsAskedAgain()
{
    LogCapture log;
    EngineProcess engines({ENGINE_PROGRAM, "300"});
    QVERIFY(engines.readLine(line(100)).has_value());
    const pid_t first = engines.processId();
    bool killed = false;
    engines.setWhileWaiting([&] {
        if (!killed) {
            killed = ::kill(first, SIGKILL) == 0;
        }
    });
    const std::vector<cv::Mat> lines{line(110), line(120), line(130)};
    const EngineSet::Lines texts = engines.readLines(lines);
    QVERIFY(killed);
    QVERIFY(engines.processId() != first);
    for (std::size_t index = 0; index < lines.size(); ++index) {
        QVERIFY(texts[index].has_value());
        QCOMPARE(texts[index]->text, TestEngines::textOf(lines[index]));
    }
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

void EngineProcessTest::aLineThatCannotBeReadIsToldFromOneWithoutText()
{
    LogCapture log;
    EngineProcess engines({ENGINE_PROGRAM, "0", "-1", "123"});
    const EngineSet::Lines texts = engines.readLines({line(100), line(123), line(140)});
    QCOMPARE(texts.size(), std::size_t(3));
    QVERIFY(texts[0].has_value() && !texts[1].has_value() && texts[2].has_value());
    QVERIFY(!engines.readLine(line(123)).has_value());
    QCOMPARE(engines.pause().count(), 0); // the process itself is well
    QVERIFY(log.texts().isEmpty());
}

void EngineProcessTest::aProgramThatAppearsAfterAPauseIsUsed()
{
    using namespace std::chrono_literals;
    const QTemporaryDir folder;
    const QString program = folder.filePath(QStringLiteral("engines"));
    LogCapture log;
    EngineProcess engines({program.toStdString()}, EngineProcess::usualPatience, 200ms);
    QVERIFY(!engines.readLine(line(100)).has_value());
    QCOMPARE(engines.pause().count(), 0);
    QVERIFY(!engines.readLine(line(100)).has_value());
    QVERIFY(engines.pause() > 0ms && engines.pause() <= 200ms);
    QVERIFY(QFile::link(QStringLiteral(ENGINE_PROGRAM), program));
    // Calls meanwhile do not make it longer.
    QTRY_VERIFY_WITH_TIMEOUT(engines.readLine(line(100)).has_value(), 10000);
    QCOMPARE(engines.pause().count(), 0);
}

void EngineProcessTest::questionsDoNotProlongAPause()
{
    using namespace std::chrono_literals;
    const QTemporaryDir folder;
    const QString program = folder.filePath(QStringLiteral("engines"));
    LogCapture log;
    EngineProcess engines({program.toStdString()}, EngineProcess::usualPatience, 200ms);
    QVERIFY(engines.ofQuery("one").empty());
    QVERIFY(engines.ofQuery("two").empty());
    QVERIFY(engines.pause() > 0ms);
    QVERIFY(QFile::link(QStringLiteral(ENGINE_PROGRAM), program));
    QTRY_VERIFY_WITH_TIMEOUT(!engines.ofQuery("three").empty(), 10000);
}

void EngineProcessTest::ofSeveralLinesNoneIsTriedInAPause()
{
    LogCapture log;
    EngineProcess engines({"/nowhere/yestermark-ai-engines"});
    QVERIFY(!engines.readLine(line(100)).has_value());
    const EngineSet::Lines texts = engines.readLines({line(100), line(110), line(120)});
    QCOMPARE(texts.size(), std::size_t(1));
    QVERIFY(engines.readLines({line(100), line(110)}).empty());
    QVERIFY(!engines.readLine(line(100)).has_value());
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
    for (const auto &text : engines.readLines({line(100), line(110)})) {
        QVERIFY(!text.has_value());
    }
    QVERIFY(timer.elapsed() < 60000);
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
