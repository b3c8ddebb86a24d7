// That frames are lost for long is told once, with the reason, and not while all is well.

#include "capture/storingwatch.h"
#include "support/logcapture.h"

#include <QTest>

using Loss = StoringWatch::Loss;

class TestStoringWatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLongLossIsToldOnceWithItsReason_data();
    void aLongLossIsToldOnceWithItsReason();
    void aShortLossIsNotTold();
    void aStoredFrameBeginsANewSpan();
    void switchingRecordingBeginsANewSpan();
    void theReasonIsThatOfTheLatestLoss();
    void timeInWhichNothingWasToBeStoredDoesNotCount();
};

namespace
{
constexpr qint64 LONG = StoringWatch::PATIENCE_MS;
constexpr qint64 MINUTE = 60000;

// A loss every minute, at both ends too.
void lose(StoringWatch &watch, Loss loss, qint64 from, qint64 to)
{
    for (qint64 now = from; now < to; now += MINUTE) {
        watch.lost(loss, now);
    }
    watch.lost(loss, to);
}
} // namespace

void TestStoringWatch::aLongLossIsToldOnceWithItsReason_data()
{
    QTest::addColumn<int>("loss");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no picture") << int(Loss::NoPicture) << "the screen gives no picture";
    QTest::newRow("no application")
        << int(Loss::NoApplication) << "no desktop entry is known for the application in front";
    QTest::newRow("not written") << int(Loss::NotWritten)
                                 << "pictures or rows cannot be written, the disk may be full";
}

void TestStoringWatch::aLongLossIsToldOnceWithItsReason()
{
    QFETCH(int, loss);
    QFETCH(QString, reason);
    LogCapture log;
    StoringWatch watch;
    for (qint64 now = 1000; now <= 1000 + 3 * LONG; now += 5000) {
        watch.lost(Loss(loss), now);
    }
    QCOMPARE(
        log.texts(QtWarningMsg),
        QStringList("Recording is on, but no frame could be stored for 10 minutes: " + reason));
}

void TestStoringWatch::aShortLossIsNotTold()
{
    LogCapture log;
    StoringWatch watch;
    lose(watch, Loss::NoPicture, 0, LONG - 1);
    QCOMPARE(log.texts(), QStringList());
}

void TestStoringWatch::aStoredFrameBeginsANewSpan()
{
    LogCapture log;
    StoringWatch watch;
    lose(watch, Loss::NotWritten, 0, LONG - MINUTE);
    watch.stored();
    watch.lost(Loss::NotWritten, LONG);
    QCOMPARE(log.texts(), QStringList());
    lose(watch, Loss::NotWritten, LONG + MINUTE, 2 * LONG);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    watch.stored();
    QCOMPARE(log.texts(QtDebugMsg), QStringList("Frames are stored again"));
    lose(watch, Loss::NotWritten, 3 * LONG, 4 * LONG);
    QCOMPARE(log.texts(QtWarningMsg).size(), 2);
}

void TestStoringWatch::switchingRecordingBeginsANewSpan()
{
    LogCapture log;
    StoringWatch watch;
    lose(watch, Loss::NoPicture, 0, LONG - MINUTE);
    watch.reset();
    watch.lost(Loss::NoPicture, LONG);
    QCOMPARE(log.texts(), QStringList());
}

void TestStoringWatch::theReasonIsThatOfTheLatestLoss()
{
    LogCapture log;
    StoringWatch watch;
    lose(watch, Loss::NoPicture, 0, LONG - MINUTE);
    watch.lost(Loss::NoApplication, LONG);
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("no desktop entry")));
}

void TestStoringWatch::timeInWhichNothingWasToBeStoredDoesNotCount()
{
    LogCapture log;
    StoringWatch watch;
    watch.lost(Loss::NoApplication, 0);
    watch.lost(Loss::NoApplication, 6 * LONG); // after an hour behind the lock
    QCOMPARE(log.texts(), QStringList());
    lose(watch, Loss::NoApplication, 6 * LONG + MINUTE, 7 * LONG);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("for 10 minutes")));
}

QTEST_APPLESS_MAIN(TestStoringWatch)
#include "storingwatchtest.moc"
