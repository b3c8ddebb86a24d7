// Closing the window: whoever asks for it, the program answers with a question, and does what the
// user chose.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QTest>

#include <memory>

namespace
{
constexpr int waitMs = 10000;
const QString question = QStringLiteral("Please select the state after closing:");
} // namespace

class ClosingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void altF4Asks();
    void theCloseButtonAsks();
    void theMenusExitAsks();
    void aTaskBarBringsTheWindowUpAndAsks();
    void cancelAndEscapeChangeNothing_data();
    void cancelAndEscapeChangeNothing();
    void minimisingToTheTrayHidesTheWindowAndASecondStartShowsIt();
    void theMinimiseButtonMinimises();
    void aChoiceThatIsNotConfirmedIsNotKept();
    void exitEndsTheProgramWith0();

private:
    bool asks() const;

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ShownProgram> m_program;
};

void ClosingTest::initTestCase()
{
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->start());
    QVERIFY(m_desktop->setSetting("enabled", "true"));
}

void ClosingTest::init()
{
    if (!m_program || !m_program->isRunning()) {
        m_program = std::make_unique<ShownProgram>(*m_desktop);
        QVERIFY(m_program->start());
    }
    if (m_program->hasWindow(question)) { // left by a row that failed
        QVERIFY(m_desktop->key("Escape"));
    }
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront() && !m_program->hasWindow(question), waitMs);
}

void ClosingTest::cleanupTestCase()
{
    m_program.reset();
    m_desktop.reset();
}

/// Whether the question comes up in front, over the window; answers it with Esc.
bool ClosingTest::asks() const
{
    const auto hasQuestion = [this] {
        return m_program->hasWindow(question) && m_program->hasWindow("Yestermark") &&
               m_program->isInFront();
    };
    return QTest::qWaitFor(hasQuestion, waitMs) && m_desktop->key("Escape") &&
           QTest::qWaitFor([this] { return !m_program->hasWindow(question); }, waitMs) &&
           m_program->isRunning() && m_program->hasWindow("Yestermark");
}

void ClosingTest::altF4Asks()
{
    QVERIFY(m_desktop->key("alt+F4"));
    QVERIFY(asks());
}

void ClosingTest::theCloseButtonAsks()
{
    QVERIFY(m_program->click("Button_close"));
    QVERIFY(asks());
}

void ClosingTest::theMenusExitAsks()
{
    QVERIFY(m_program->choose("exit"));
    QVERIFY(asks());
}

void ClosingTest::aTaskBarBringsTheWindowUpAndAsks()
{
    const QVector<quint32> windows = m_desktop->windowsOf(m_program->processId());
    QVERIFY(!windows.isEmpty());
    QProcess terminal;
    terminal.setProcessEnvironment(m_desktop->environment());
    terminal.start("xterm", {"-fullscreen"});
    QVERIFY(terminal.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(m_desktop->processInFront(), terminal.processId(), waitMs);
    QVERIFY(m_desktop->closeWindow(windows.first()));
    QVERIFY(asks());
    terminal.kill();
    terminal.waitForFinished();
}

void ClosingTest::cancelAndEscapeChangeNothing_data()
{
    QTest::addColumn<bool>("isCancel");
    QTest::newRow("cancel") << true;
    QTest::newRow("escape") << false;
}

void ClosingTest::cancelAndEscapeChangeNothing()
{
    QFETCH(bool, isCancel);
    QVERIFY(m_program->click("Button_close"));
    QVERIFY(m_program->click("RadioButton_exit", question));
    QVERIFY(isCancel ? m_program->click("Button_cancel", question) : m_desktop->key("Escape"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(question), waitMs);
    QVERIFY(m_program->hasWindow("Yestermark"));
    QVERIFY(m_program->isRunning());
}

void ClosingTest::minimisingToTheTrayHidesTheWindowAndASecondStartShowsIt()
{
    QVERIFY(m_program->click("Button_close"));
    QVERIFY(m_program->click("RadioButton_minimize", question));
    QVERIFY(m_program->click("Button_confirm", question));
    QTRY_VERIFY_WITH_TIMEOUT(m_desktop->windowsOf(m_program->processId()).isEmpty(), waitMs);
    QVERIFY(!m_program->hasWindow("Yestermark"));
    QVERIFY(m_program->isRunning());
    QVERIFY(m_desktop->run(m_program->path(), {}));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront(), waitMs);
    QVERIFY(m_program->hasWindow("Yestermark"));
    QVERIFY(!m_program->hasWindow(question));
}

void ClosingTest::theMinimiseButtonMinimises()
{
    QVERIFY(m_program->click("Button_minimize"));
    QTRY_VERIFY_WITH_TIMEOUT(m_desktop->windowsOf(m_program->processId()).isEmpty(), waitMs);
    QVERIFY(m_desktop->run(m_program->path(), {}));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront(), waitMs);
}

void ClosingTest::aChoiceThatIsNotConfirmedIsNotKept()
{
    QVERIFY(m_program->click("Button_close"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->control("RadioButton_minimize", question).isChecked,
                             waitMs);
    QVERIFY(m_program->click("RadioButton_exit", question));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->control("RadioButton_exit", question).isChecked, waitMs);
    QVERIFY(m_desktop->key("Escape"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(question), waitMs);
    QVERIFY(m_program->click("Button_close"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->control("RadioButton_minimize", question).isChecked,
                             waitMs);
    QCOMPARE(m_desktop->setting("close-window-option"), QStringLiteral("'minimize'"));
}

void ClosingTest::exitEndsTheProgramWith0()
{
    QVERIFY(m_desktop->key("alt+F4"));
    QVERIFY(m_program->click("RadioButton_exit", question));
    QVERIFY(m_program->click("Button_confirm", question));
    QVERIFY(m_program->waitForEnd());
    QCOMPARE(m_program->exitCode(), 0);
    QCOMPARE(m_desktop->setting("close-window-option"), QStringLiteral("'minimize'"));
}

QTEST_GUILESS_MAIN(ClosingTest)
#include "closingtest.moc"
