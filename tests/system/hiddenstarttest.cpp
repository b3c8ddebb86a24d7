// The start with the session: the window stays hidden and everything else is as after any start.

#include "capture/capturefixture.h"
#include "system/recordedsession.h"

#include <QTest>

using CaptureFixture::storedRows;
using namespace RecordedSession;

class TestHiddenStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void noWindowIsShownAndRecordingBeginsAtOnce();
    void anotherArgumentBeforeItShowsTheWindow();
    void aSecondStartBringsTheHiddenWindowToTheFront_data();
    void aSecondStartBringsTheHiddenWindowToTheFront();
    void aStoredFrameNewerThanTheClockBringsTheWindowToTheFront();

private:
    static QStringList hidden() { return {QStringLiteral("--hidden")}; }
};

void TestHiddenStart::initTestCase()
{
    QVERIFY(setSetting(QStringLiteral("screenshot-interval"), QStringLiteral("1")));
}

void TestHiddenStart::init()
{
    CaptureFixture::eraseEverything();
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("false")));
}

void TestHiddenStart::noWindowIsShownAndRecordingBeginsAtOnce()
{
    const BusyTerminal terminal;
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    Program program;
    QVERIFY(program.startInFront(hidden()));
    // In front of a window of its own nothing would be recorded.
    QTRY_VERIFY_WITH_TIMEOUT(storedRows().size() >= 2, 20000);
    QCOMPARE(windowOf(program.processId()), QString());
}

void TestHiddenStart::anotherArgumentBeforeItShowsTheWindow()
{
    Program program;
    QVERIFY(program.startInFront(QStringList{QStringLiteral("show")} + hidden()));
    QTRY_VERIFY_WITH_TIMEOUT(program.isInFront(), 10000);
}

void TestHiddenStart::aSecondStartBringsTheHiddenWindowToTheFront_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("of the user's") << QStringList();
    QTest::newRow("of the session's") << hidden(); // a message like any other
}

void TestHiddenStart::aSecondStartBringsTheHiddenWindowToTheFront()
{
    QFETCH(QStringList, arguments);
    Program first;
    QVERIFY(first.startInFront(hidden()));
    QCOMPARE(windowOf(first.processId()), QString());
    Program second;
    second.launch(arguments);
    QVERIFY(second.waitForEnd(6000));
    QCOMPARE(second.exitCode(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(first.isInFront(), 10000);
}

void TestHiddenStart::aStoredFrameNewerThanTheClockBringsTheWindowToTheFront()
{
    QVERIFY(CaptureFixture::storeFrameAt(QDateTime::currentDateTime().addDays(40)));
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
    Program program;
    QVERIFY(program.startInFront(hidden()));
    QTRY_VERIFY_WITH_TIMEOUT(program.isInFront(), 10000);
    QCOMPARE(setting(QStringLiteral("recording-memory")), QStringLiteral("false"));
}

QTEST_GUILESS_MAIN(TestHiddenStart)
#include "hiddenstarttest.moc"
