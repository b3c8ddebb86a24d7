// Which screen the compositor is asked for: the primary one, by its place in the toolkit's list.

#include "capture/screenhistorytracker.h"
#include "desktopbridge/fake/fakedesktop.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

namespace
{
QList<QScreen *> listedScreens;
}

// Stands before the toolkit's own, so that the primary screen can be anywhere in the list.
QList<QScreen *> QGuiApplication::screens()
{
    return listedScreens;
}

class TestScreenIndex : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theCallTellsThePrimaryScreensPlace_data();
    void theCallTellsThePrimaryScreensPlace();
};

void TestScreenIndex::theCallTellsThePrimaryScreensPlace_data()
{
    QScreen *primary = QGuiApplication::primaryScreen();
    QTest::addColumn<QList<QScreen *>>("screens");
    QTest::addColumn<int>("place");
    QTest::newRow("alone") << QList<QScreen *>{primary} << 0;
    QTest::newRow("behind another") << QList<QScreen *>{nullptr, primary} << 1;
    QTest::newRow("not in the list") << QList<QScreen *>{nullptr} << -1;
    QTest::newRow("no screens") << QList<QScreen *>{} << -1;
}

void TestScreenIndex::theCallTellsThePrimaryScreensPlace()
{
    QFETCH(QList<QScreen *>, screens);
    QFETCH(int, place);
    const FakeDesktop desktop;
    ScreenHistoryTracker tracker;
    listedScreens = screens;
    QVERIFY(!tracker.getScreenShotFromWM().isNull());
    listedScreens.clear();
    QCOMPARE(desktop.screenshotCalls().size(), 1);
    QCOMPARE(desktop.screenshotCalls().first().screen, place);
}

QTEST_MAIN(TestScreenIndex)
#include "screenindextest.moc"
