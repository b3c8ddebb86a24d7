// A store of four hundred days: older ones are loaded while the user scrolls back, until the first
// of all is there.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QTest>

#include <memory>

namespace
{
constexpr int waitMs = 10000;
constexpr int days = 400;
} // namespace

class OlderDaysTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void theNewestAreShownAndTheOldestNotYetLoaded();
    void pageByPageTheFirstDayIsReached();
    void everyDayIsThereInOrder();
    void theFirstDaysFramesAreShown();

private:
    static QString dateOf(int daysAgo);

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ShownProgram> m_program;
};

QString OlderDaysTest::dateOf(int daysAgo)
{
    const QDate day = QDate::currentDate().addDays(-daysAgo);
    if (daysAgo <= 2) {
        return daysAgo == 1 ? QStringLiteral("1 day ago") : QStringLiteral("2 days ago");
    }
    return day.toString(day.year() == QDate::currentDate().year() ? "MM/dd" : "yyyy/MM/dd");
}

void OlderDaysTest::initTestCase()
{
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->start());
    QVERIFY(m_desktop->paintHistory({QStringLiteral("%1-1:3,2").arg(days)}));
    QVERIFY(m_desktop->setSetting("enabled", "true"));
    m_program = std::make_unique<ShownProgram>(*m_desktop);
    QVERIFY(m_program->start());
}

void OlderDaysTest::cleanupTestCase()
{
    if (m_program) {
        QVERIFY(m_program->stop());
    }
    m_program.reset();
    m_desktop.reset();
}

void OlderDaysTest::theNewestAreShownAndTheOldestNotYetLoaded()
{
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 5, waitMs);
    QCOMPARE(m_program->days().last(), dateOf(1));
    const QStringList loaded = m_program->loadedDays();
    QVERIFY(loaded.size() > 10);
    QVERIFY(loaded.size() < days / 2);
}

void OlderDaysTest::pageByPageTheFirstDayIsReached()
{
    int pages = 0;
    const auto isAtFirst = [&] {
        if (m_program->days().value(0) == dateOf(days)) {
            return true;
        }
        for (int press = 0; press < 5; ++press, ++pages) {
            m_desktop->key("Page_Up");
        }
        return false;
    };
    QVERIFY(QTest::qWaitFor(isAtFirst, 60000));
    QVERIFY2(pages > 15, qPrintable(QString::number(pages))); // it was no single leap
}

void OlderDaysTest::everyDayIsThereInOrder()
{
    const QStringList dates = m_program->loadedDays();
    QCOMPARE(dates.size(), days);
    for (int place = 0; place < days; ++place) {
        QCOMPARE(dates.at(place), dateOf(days - place));
    }
}

void OlderDaysTest::theFirstDaysFramesAreShown()
{
    const QPoint second = m_program->onAxis(dateOf(days), 8 + 4);
    QVERIFY(m_desktop->click(second));
    QVERIFY(m_desktop->movePointer({683, 740}));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 2, waitMs);
    const QPoint lastOfNextDay = m_program->onAxis(dateOf(days - 1), 3 * 8 + 8 + 8 + 4);
    QVERIFY(m_desktop->movePointer(lastOfNextDay));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), 5, waitMs);
}

QTEST_GUILESS_MAIN(OlderDaysTest)
#include "olderdaystest.moc"
