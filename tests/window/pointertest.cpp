// The pointer on the time axis of the real program: what is clicked, dragged, hovered and scrolled
// to is what stands on the screen.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QTest>

#include <memory>

namespace
{
constexpr int waitMs = 10000;

// Four days of two runs each. Their pictures count on from day to day.
constexpr int firstRun = 90;
constexpr int framesOfDay = 160;
constexpr int firstOfYesterday = 3 * framesOfDay + 1;
constexpr int newest = 4 * framesOfDay;
const QPoint awayFromAxis(683, 740);
const QString yesterday = QStringLiteral("1 day ago");

/// Pixels from a day's first bar to the middle of a frame, both counted from 1.
int middleOf(int frame)
{
    return (frame - 1) * 8 + 4 + (frame > firstRun ? 8 : 0);
}
} // namespace

class PointerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void theNewestFrameIsShownAtTheStart();
    void aClickOnABarShowsTheFrameUnderIt_data();
    void aClickOnABarShowsTheFrameUnderIt();
    void aClickInAGapMovesTheSliderAndKeepsThePicture();
    void aBarUnderThePointerShowsItsFrameAndAGapHidesIt();
    void theSliderIsDraggedFromFrameToFrame();
    void thePressedPointerDragsAlongTheBars();
    void aNotchOfTheWheelMovesTheAxisByAFourteenth();
    void thePageButtonsMoveByAPageAndEndAtTheEnds();
    void theSliderStaysOnItsFrameWhileTheAxisScrolls();

private:
    int axisAt() const { return m_program->onAxis(yesterday, 0).x(); }
    bool isFaint(const QString &button) const;
    bool clickAndLeave(const QPoint &at) const;

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ShownProgram> m_program;
};

void PointerTest::initTestCase()
{
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->start());
    const QString runs = QStringLiteral(":90,70");
    QVERIFY(m_desktop->paintHistory({"4" + runs, "3" + runs, "2" + runs, "1" + runs}));
    QVERIFY(m_desktop->setSetting("enabled", "true"));
    m_program = std::make_unique<ShownProgram>(*m_desktop);
    QVERIFY(m_program->start());
}

// The axis at its end, the pointer nowhere on it.
void PointerTest::init()
{
    const auto isAtEnd = [this] {
        const QPoint end = m_program->onAxis(yesterday, (framesOfDay + 1) * 8);
        if (end.isNull() || end.x() > m_program->control("Button_nextPage").extents.left()) {
            m_program->click("Button_nextPage");
            return false;
        }
        return true;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isAtEnd(), waitMs);
    QVERIFY(m_desktop->movePointer(awayFromAxis));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), -1, waitMs);
}

void PointerTest::cleanupTestCase()
{
    if (m_program) {
        QVERIFY(m_program->stop());
    }
    m_program.reset();
    m_desktop.reset();
}

// The slider comes under the pointer and shows its small picture, over the large one.
bool PointerTest::clickAndLeave(const QPoint &at) const
{
    return m_desktop->click(at) && m_desktop->movePointer(awayFromAxis);
}

// By the contrast between its sign and what is around it.
bool PointerTest::isFaint(const QString &button) const
{
    const QImage look = m_desktop->picture().copy(m_program->control(button).extents);
    int darkest = 255;
    int lightest = 0;
    for (int y = 0; y < look.height(); ++y) {
        for (int x = 0; x < look.width(); ++x) {
            darkest = qMin(darkest, qGray(look.pixel(x, y)));
            lightest = qMax(lightest, qGray(look.pixel(x, y)));
        }
    }
    return lightest - darkest < 128;
}

void PointerTest::theNewestFrameIsShownAtTheStart()
{
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), newest, waitMs);
    QVERIFY(qAbs(m_program->slider().x() -
                 m_program->onAxis(yesterday, middleOf(framesOfDay) + 4).x()) <= 2);
}

void PointerTest::aClickOnABarShowsTheFrameUnderIt_data()
{
    QTest::addColumn<int>("frame");
    QTest::newRow("in the first run") << 60;
    QTest::newRow("the first run's last") << firstRun;
    QTest::newRow("the second run's first") << firstRun + 1;
    QTest::newRow("the day's last but one") << framesOfDay - 1;
}

void PointerTest::aClickOnABarShowsTheFrameUnderIt()
{
    QFETCH(int, frame);
    const QPoint middle = m_program->onAxis(yesterday, middleOf(frame));
    QVERIFY(clickAndLeave(middle));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), firstOfYesterday - 1 + frame, waitMs);
    QVERIFY(qAbs(m_program->slider().x() - middle.x()) <= 1);
}

void PointerTest::aClickInAGapMovesTheSliderAndKeepsThePicture()
{
    QVERIFY(clickAndLeave(m_program->onAxis(yesterday, middleOf(120))));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), firstOfYesterday + 119, waitMs);
    const QPoint gap = m_program->onAxis(yesterday, firstRun * 8 + 4);
    QVERIFY(clickAndLeave(gap));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(m_program->slider().x() - gap.x()) <= 1, waitMs);
    QCOMPARE(m_program->picture(), firstOfYesterday + 119);
}

void PointerTest::aBarUnderThePointerShowsItsFrameAndAGapHidesIt()
{
    const int shown = m_program->picture();
    for (const int frame : {100, 101, 140}) {
        QVERIFY(m_desktop->movePointer(m_program->onAxis(yesterday, middleOf(frame))));
        QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), firstOfYesterday - 1 + frame, waitMs);
    }
    QVERIFY(m_desktop->movePointer(m_program->onAxis(yesterday, firstRun * 8 + 4)));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), -1, waitMs);
    QVERIFY(m_desktop->movePointer(m_program->onAxis(yesterday, middleOf(firstRun))));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), firstOfYesterday - 1 + firstRun, waitMs);
    QVERIFY(m_desktop->movePointer(awayFromAxis));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), -1, waitMs);
    QCOMPARE(m_program->picture(), shown);
}

void PointerTest::theSliderIsDraggedFromFrameToFrame()
{
    QVERIFY(clickAndLeave(m_program->onAxis(yesterday, middleOf(100))));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), firstOfYesterday + 99, waitMs);
    QVERIFY(m_desktop->press(m_program->slider()));
    for (const int frame : {101, 110, 130, 95}) {
        QVERIFY(m_desktop->movePointer(m_program->onAxis(yesterday, middleOf(frame))));
        QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), firstOfYesterday - 1 + frame, waitMs);
    }
    QVERIFY(m_desktop->release());
    const QPoint rest = m_program->slider();
    QVERIFY(m_desktop->movePointer(awayFromAxis));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), -1, waitMs);
    QCOMPARE(m_program->slider(), rest); // let go, it no longer follows
    QCOMPARE(m_program->picture(), firstOfYesterday + 94);
}

void PointerTest::thePressedPointerDragsAlongTheBars()
{
    QVERIFY(m_desktop->press(m_program->onAxis(yesterday, middleOf(150))));
    for (const int frame : {149, 120, 93, 80}) {
        QVERIFY(m_desktop->movePointer(m_program->onAxis(yesterday, middleOf(frame))));
        QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), firstOfYesterday - 1 + frame, waitMs);
    }
    QVERIFY(m_desktop->release());
}

void PointerTest::aNotchOfTheWheelMovesTheAxisByAFourteenth()
{
    const int before = axisAt();
    const double step = (1366 - 100 * 1366 / 1920.0) / 14;
    const QPoint somewhere = m_program->onAxis(yesterday, middleOf(120));
    QVERIFY(m_desktop->click(somewhere, 4));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(axisAt() - before - step) <= 1.5, waitMs);
    QVERIFY(m_desktop->click(somewhere, 4));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(axisAt() - before - 2 * step) <= 1.5, waitMs);
    QVERIFY(m_desktop->click(somewhere, 5));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(axisAt() - before - step) <= 1.5, waitMs);
    QVERIFY(m_desktop->click(somewhere, 5));
    QVERIFY(m_desktop->click(somewhere, 5)); // the end holds
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(axisAt() - before) <= 1, waitMs);
}

void PointerTest::thePageButtonsMoveByAPageAndEndAtTheEnds()
{
    const int before = axisAt();
    const double page = 1366 - 100 * 1366 / 1920.0;
    QTRY_VERIFY_WITH_TIMEOUT(isFaint("Button_nextPage"), waitMs);
    QVERIFY(!isFaint("Button_lastPage"));
    QVERIFY(m_program->click("Button_lastPage"));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(axisAt() - before - page) <= 1.5, waitMs);
    QTRY_VERIFY_WITH_TIMEOUT(!isFaint("Button_nextPage"), waitMs);
    QVERIFY(m_program->click("Button_nextPage"));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(axisAt() - before) <= 1.5, waitMs);

    const auto isAtBeginning = [this] {
        return isFaint("Button_lastPage") || (m_program->click("Button_lastPage"), false);
    };
    QTRY_VERIFY_WITH_TIMEOUT(isAtBeginning(), waitMs);
    const QDate firstDay = QDate::currentDate().addDays(-4);
    const bool isThisYear = firstDay.year() == QDate::currentDate().year();
    QCOMPARE(m_program->days().value(0), firstDay.toString(isThisYear ? "MM/dd" : "yyyy/MM/dd"));
}

void PointerTest::theSliderStaysOnItsFrameWhileTheAxisScrolls()
{
    QVERIFY(clickAndLeave(m_program->onAxis(yesterday, middleOf(20))));
    const QPoint somewhere = m_program->onAxis(yesterday, middleOf(120));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), firstOfYesterday + 19, waitMs);
    const int before = axisAt();
    const int slider = m_program->slider().x();
    QVERIFY(m_desktop->click(somewhere, 4));
    QVERIFY(m_desktop->movePointer(awayFromAxis));
    QTRY_VERIFY_WITH_TIMEOUT(axisAt() - before > 80, waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), -1, waitMs);
    QVERIFY(qAbs(m_program->slider().x() - slider - (axisAt() - before)) <= 1);
    QCOMPARE(m_program->picture(), firstOfYesterday + 19);
    QVERIFY(m_program->click("Button_lastPage"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->slider().isNull(), waitMs); // its frame is off the page
    QVERIFY(m_program->click("Button_nextPage"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->slider().isNull(), waitMs);
}

QTEST_GUILESS_MAIN(PointerTest)
#include "pointertest.moc"
