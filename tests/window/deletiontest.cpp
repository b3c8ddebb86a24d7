// Deleting everything with the mouse: the question comes up where it can be answered.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QProcess>
#include <QTest>

#include <memory>

namespace
{
constexpr int waitMs = 10000;
constexpr int handsPaceMs = 600;
constexpr int rounds = 3;
const QString settings = QStringLiteral("Settings");
const QString question = QStringLiteral("Delete All Data");
} // namespace

class DeletionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void theQuestionLiesAboveTheSettings();
    void aConfirmedQuestionDeletesEverything();

private:
    bool ask() const;
    bool answer(const QString &button) const;

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ShownProgram> m_program;
};

void DeletionTest::initTestCase()
{
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->start());
    QVERIFY(m_desktop->paintHistory({"1:5"}));
    QVERIFY(m_desktop->setSetting("enabled", "true"));
    m_program = std::make_unique<ShownProgram>(*m_desktop);
    QVERIFY(m_program->start());
    QTRY_COMPARE_WITH_TIMEOUT(m_program->loadedDays().size(), 1, waitMs);
}

void DeletionTest::cleanupTestCase()
{
    if (m_program) {
        QVERIFY(m_program->stop());
    }
    m_program.reset();
    m_desktop.reset();
}

/// At the pace of a hand: the window manager stacks what comes within half a second differently,
/// and tells nobody when that is over.
bool DeletionTest::ask() const
{
    if (!m_program->choose(QStringLiteral("settings")) ||
        !QTest::qWaitFor([this] { return m_program->hasWindow(settings); }, waitMs)) {
        return false;
    }
    QTest::qWait(handsPaceMs);
    return m_program->click(QStringLiteral("Button_deleteAllData"), settings) &&
           QTest::qWaitFor([this] { return m_program->hasWindow(question); }, waitMs);
}

/// Whether the question goes when one clicks where its button should be seen.
bool DeletionTest::answer(const QString &button) const
{
    const auto isAnswered = [&] {
        return !m_program->hasWindow(question) || !m_program->click(button, question);
    };
    return QTest::qWaitFor(isAnswered, waitMs) && !m_program->hasWindow(question);
}

void DeletionTest::theQuestionLiesAboveTheSettings()
{
    // Behind which the window is brought up each time.
    QProcess other;
    other.setProcessEnvironment(m_desktop->environment());
    other.start(QStringLiteral(PAINTEDWINDOW), {QStringLiteral("xterm")});
    QTRY_COMPARE_WITH_TIMEOUT(m_desktop->processInFront(), other.processId(), waitMs);
    for (int round = 0; round < rounds; ++round) {
        QVERIFY(m_desktop->run(m_program->path(), {}));
        QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront(), waitMs);
        QVERIFY(ask());
        QVERIFY2(answer(QStringLiteral("Button_cancel")), qPrintable(QString::number(round)));
        QVERIFY(m_program->hasWindow(settings));
        QVERIFY(m_desktop->key("Escape"));
        QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(settings), waitMs);
    }
    QCOMPARE(m_program->loadedDays().size(), 1);
    other.closeWriteChannel();
    QVERIFY(other.waitForFinished());
}

void DeletionTest::aConfirmedQuestionDeletesEverything()
{
    QVERIFY(ask());
    QVERIFY(answer(QStringLiteral("Button_confirm")));
    QVERIFY(m_desktop->key("Escape"));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->loadedDays().size(), 0, waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), -1, waitMs);
}

QTEST_GUILESS_MAIN(DeletionTest)
#include "deletiontest.moc"
