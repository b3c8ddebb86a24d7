// What the backend asks at its start: whether the clock stands before the newest frame.

#include "database/datahandler.h"

#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"

#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "teststore.h"

#include <QTest>

using TestStore::frame;

class DataHandlerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyHistoryIsNoJumpBack()
    {
        FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
        ScreenHistoryTracker tracker;
        DataHandler handler(tracker);
        LogCapture log;
        QVERIFY(!handler.backInTimeDetected());
        QCOMPARE(log.texts(QtWarningMsg), QStringList());
    }

    void theClockIsComparedWithTheNewestFrame_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("isBack");
        const auto at = [](int hour, int minute, int second) {
            return QDateTime(QDate(2024, 3, 15), QTime(hour, minute, second));
        };
        QTest::newRow("later") << at(12, 0, 0) << false;
        QTest::newRow("the same second") << at(10, 0, 0) << false;
        QTest::newRow("two seconds before") << at(9, 59, 58) << true;
        QTest::newRow("a month before") << QDateTime(QDate(2024, 2, 15), QTime(12, 0)) << true;
    }
    void theClockIsComparedWithTheNewestFrame()
    {
        QFETCH(QDateTime, now);
        QFETCH(bool, isBack);
        ScreenHistoryTracker tracker;
        DataHandler handler(tracker);
        QVERIFY(DatabaseManager::getInstance()->saveScreenShotData(frame("2024-03-15 10:00:00")));
        LogCapture log;
        FakeClock::set(now);
        QCOMPARE(handler.backInTimeDetected(), isBack);
        QCOMPARE(log.texts(QtWarningMsg),
                 isBack ? QStringList{QStringLiteral("back in time detected")} : QStringList());
    }

    void cleanupTestCase() { FakeClock::reset(); }

private:
    TestStore::Home m_home;
};

QTEST_MAIN(DataHandlerTest)
#include "datahandlertest.moc"
