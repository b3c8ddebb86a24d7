// The keyboard alone: it reaches every control, moves along the axis, opens and closes dialogs, and
// asks for help once however long F1 is held.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QSet>
#include <QTest>

#include <memory>
#include <unistd.h>

namespace
{
constexpr int waitMs = 10000;
const QString yesterday = QStringLiteral("1 day ago");
const QString settings = QStringLiteral("Settings");
const QString closing = QStringLiteral("Please select the state after closing:");

const QStringList menuEntries = {QStringLiteral("MenuItem_settings"),
                                 QStringLiteral("MenuItem_help"), QStringLiteral("MenuItem_about"),
                                 QStringLiteral("MenuItem_exit")};

/// Stands where the desktop's user guide does.
class Guide : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.guide.hotel")

public:
    QStringList asked;

public Q_SLOTS:
    void showGuide(const QString &application) { asked.append(application); }
};
} // namespace

class KeysTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void tabReachesEveryControlAndComesRound();
    void tabReachesEveryControlOfADialog_data();
    void tabReachesEveryControlOfADialog();
    void arrowsMoveTheAxisAsTheWheelDoes();
    void pageKeysMoveTheAxisAsThePageButtonsDo();
    void arrowsOnTheSliderGoFromFrameToFrame();
    void aKeyHeldDownGoesOnMoving();
    void escapeClosesADialog_data();
    void escapeClosesADialog();
    void theMenuIsOpenedAndClosedByKeys_data();
    void theMenuIsOpenedAndClosedByKeys();
    void aMenuEntryIsChosenByKeysAlone_data();
    void aMenuEntryIsChosenByKeysAlone();
    void enterConfirmsTheSettings();
    void f1HeldDownAsksForHelpOnce();

private:
    int axisAt() const { return m_program->onAxis(yesterday, 0).x(); }
    bool focusOn(const QString &control) const;
    bool tabWalksThrough(const QString &window) const;

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ShownProgram> m_program;
    Guide m_guide;
};

void KeysTest::initTestCase()
{
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->start());
    QVERIFY(m_desktop->bus().registerObject("/", &m_guide, QDBusConnection::ExportAllSlots));
    QVERIFY(m_desktop->bus().registerService("com.tavelUserGuide.hotel_" +
                                             QString::number(::getuid())));
    QVERIFY(m_desktop->paintHistory({"2:100", "1:90,60"}));
    QVERIFY(m_desktop->setSetting("enabled", "true"));
    m_program = std::make_unique<ShownProgram>(*m_desktop);
    QVERIFY(m_program->start());
    QVERIFY(m_desktop->movePointer({683, 740}));
}

void KeysTest::init()
{
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(settings), waitMs);
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront(), waitMs);
}

void KeysTest::cleanupTestCase()
{
    if (m_program) {
        QVERIFY(m_program->stop());
    }
    m_program.reset();
    m_desktop.reset();
}

bool KeysTest::focusOn(const QString &control) const
{
    for (int key = 0; key < 40; ++key) {
        if (m_program->focus() == control) {
            return true;
        }
        const QString before = m_program->focus();
        m_desktop->key("Tab");
        if (!QTest::qWaitFor([&] { return m_program->focus() != before; }, waitMs)) {
            return false;
        }
    }
    return false;
}

bool KeysTest::tabWalksThrough(const QString &window) const
{
    QSet<QString> toReach;
    for (const AccessibleTree::Node &node : m_program->nodes()) {
        // Newer releases of the toolkit tell every text as focusable.
        const bool isControl = node.isFocusable && node.role != "frame" && node.role != "label";
        if (node.window == window && isControl) {
            toReach.insert(node.name);
        }
    }
    QSet<QString> reached;
    const QString first = m_program->focus();
    QString now = first;
    do {
        reached.insert("tavel-ai-yestermark_" + now);
        m_desktop->key("Tab");
        if (toReach.size() > 1 &&
            !QTest::qWaitFor([&] { return m_program->focus() != now; }, waitMs)) {
            qWarning() << "Tab leads nowhere from" << now;
            return false;
        }
        now = m_program->focus();
    } while (now != first && reached.size() <= toReach.size());
    if (now.isEmpty() || now != first || reached != toReach) {
        qWarning() << "reached" << reached << "of" << toReach;
        return false;
    }
    return true;
}

void KeysTest::tabReachesEveryControlAndComesRound()
{
    QVERIFY(focusOn("Pane_timeAxis"));
    const int before = axisAt();
    QVERIFY(m_desktop->key("Left")); // so that both page buttons are in use
    QTRY_VERIFY_WITH_TIMEOUT(axisAt() > before, waitMs);
    QVERIFY(tabWalksThrough("Yestermark"));
}

void KeysTest::tabReachesEveryControlOfADialog_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("window");
    QTest::newRow("settings") << QStringLiteral("settings") << settings;
    QTest::newRow("about") << QStringLiteral("about") << QStringLiteral("About");
    QTest::newRow("closing") << QStringLiteral("exit") << closing;
}

void KeysTest::tabReachesEveryControlOfADialog()
{
    QFETCH(QString, entry);
    QFETCH(QString, window);
    QVERIFY(m_program->choose(entry));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->hasWindow(window), waitMs);
    QVERIFY(m_desktop->key("Tab"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->focus().isEmpty(), waitMs);
    QVERIFY(tabWalksThrough(window));
    QVERIFY(m_desktop->key("Escape"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(window), waitMs);
}

void KeysTest::arrowsMoveTheAxisAsTheWheelDoes()
{
    QVERIFY(focusOn("Pane_timeAxis"));
    const double step = (1366 - 100 * 1366 / 1920.0) / 14;
    const int before = axisAt();
    QVERIFY(m_desktop->key("Left"));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(axisAt() - before - step) <= 1.5, waitMs);
    QVERIFY(m_desktop->key("Right"));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(axisAt() - before) <= 1.5, waitMs);
}

void KeysTest::pageKeysMoveTheAxisAsThePageButtonsDo()
{
    QVERIFY(focusOn("Pane_timeAxis"));
    const QString before = QStringLiteral("2 days ago");
    QVERIFY(m_desktop->key("Page_Down")); // to the end
    QTRY_VERIFY_WITH_TIMEOUT(m_program->days().value(0) != before, waitMs);
    QVERIFY(m_desktop->key("Page_Up"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->days().value(0) == before, waitMs); // the beginning
    QVERIFY(m_desktop->key("Page_Down"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->days().value(0) != before, waitMs);
}

void KeysTest::arrowsOnTheSliderGoFromFrameToFrame()
{
    QVERIFY(m_desktop->click(m_program->onAxis(yesterday, 120 * 8 + 4)));
    QVERIFY(m_desktop->movePointer({683, 740}));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), -1, waitMs);
    QVERIFY(focusOn("Slider_timeAxis"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->picture() > 100, waitMs);
    const int before = m_program->picture();
    QVERIFY(m_desktop->key("Left"));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), before - 1, waitMs);
    QVERIFY(m_desktop->key("Left"));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), before - 2, waitMs);
    QVERIFY(m_desktop->key("Right"));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), before - 1, waitMs);
}

void KeysTest::aKeyHeldDownGoesOnMoving()
{
    QVERIFY(focusOn("Slider_timeAxis"));
    const int before = m_program->picture();
    QVERIFY(m_desktop->keyDown("Left"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->picture() <= before - 5, waitMs);
    QVERIFY(m_desktop->keyUp("Left"));
}

void KeysTest::escapeClosesADialog_data()
{
    tabReachesEveryControlOfADialog_data();
}

void KeysTest::escapeClosesADialog()
{
    QFETCH(QString, entry);
    QFETCH(QString, window);
    QVERIFY(m_program->choose(entry));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->hasWindow(window), waitMs);
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront(), waitMs);
    QVERIFY(m_desktop->key("Escape"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(window), waitMs);
    QVERIFY(m_program->isRunning());
    QVERIFY(m_program->hasWindow("Yestermark"));
}

void KeysTest::theMenuIsOpenedAndClosedByKeys_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("Return") << QStringLiteral("Return");
    QTest::newRow("Enter") << QStringLiteral("KP_Enter");
    QTest::newRow("Space") << QStringLiteral("space");
}

void KeysTest::theMenuIsOpenedAndClosedByKeys()
{
    QFETCH(QString, key);
    QVERIFY(focusOn("Button_menu"));
    QVERIFY(m_desktop->key(key));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->focus(), menuEntries.first(), waitMs);
    QVERIFY(m_desktop->key("Escape"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->control(menuEntries.first()).exists(), waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(m_program->focus(), QStringLiteral("Button_menu"), waitMs);
}

void KeysTest::aMenuEntryIsChosenByKeysAlone_data()
{
    QTest::addColumn<QPoint>("pointer");
    QTest::newRow("pointer elsewhere") << QPoint(683, 740);
    QVERIFY(m_program->click("Button_menu"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->control("MenuItem_about").exists(), waitMs);
    QTest::newRow("pointer rests where the menu opens")
        << m_program->control("MenuItem_about").extents.center();
    QVERIFY(m_desktop->key("Escape"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->control("MenuItem_about").exists(), waitMs);
}

void KeysTest::aMenuEntryIsChosenByKeysAlone()
{
    QFETCH(QPoint, pointer);
    QVERIFY(m_desktop->movePointer(pointer));
    QVERIFY(focusOn("Button_menu"));
    QVERIFY(m_desktop->key("Return"));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->focus(), menuEntries.first(), waitMs);
    for (const QString &entry : menuEntries.mid(1)) {
        QVERIFY(m_desktop->key("Down"));
        QTRY_COMPARE_WITH_TIMEOUT(m_program->focus(), entry, waitMs);
    }
    QVERIFY(m_desktop->key("Down")); // there is nothing below the last
    for (int i = menuEntries.size() - 2; i >= 0; --i) {
        QVERIFY(m_desktop->key("Up"));
        QTRY_COMPARE_WITH_TIMEOUT(m_program->focus(), menuEntries.at(i), waitMs);
    }
    QVERIFY(m_desktop->key("Up"));
    QVERIFY(m_desktop->key("Return"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->hasWindow(settings), waitMs);
    QVERIFY(m_desktop->key("Escape"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(settings), waitMs);
    QVERIFY(m_desktop->movePointer({683, 740}));
}

void KeysTest::enterConfirmsTheSettings()
{
    QCOMPARE(m_desktop->setting("close-window-option"), QStringLiteral("'minimize'"));
    QVERIFY(m_program->choose("settings"));
    QVERIFY(m_program->click("RadioButton_exit", settings));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->control("RadioButton_exit", settings).isChecked, waitMs);
    QVERIFY(m_desktop->key("Return"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(settings), waitMs);
    QCOMPARE(m_desktop->setting("close-window-option"), QStringLiteral("'exit'"));
    QVERIFY(m_program->choose("settings"));
    QVERIFY(m_program->click("RadioButton_minimize", settings));
    QVERIFY(m_program->click("Button_confirm", settings));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(settings), waitMs);
    QCOMPARE(m_desktop->setting("close-window-option"), QStringLiteral("'minimize'"));
}

void KeysTest::f1HeldDownAsksForHelpOnce()
{
    m_guide.asked.clear();
    QVERIFY(m_desktop->keyDown("F1"));
    QTRY_COMPARE_WITH_TIMEOUT(m_guide.asked, QStringList("tavel-ai-yestermark"), waitMs);
    QTest::qWait(1500); // the key repeats after two thirds of a second
    QVERIFY(m_desktop->keyUp("F1"));
    QVERIFY(focusOn("Button_menu")); // what came of the key is over
    QCOMPARE(m_guide.asked.size(), 1);
    QVERIFY(m_desktop->key("F1"));
    QTRY_COMPARE_WITH_TIMEOUT(m_guide.asked.size(), 2, waitMs);
    QVERIFY(m_program->choose("help"));
    QTRY_COMPARE_WITH_TIMEOUT(m_guide.asked.size(), 3, waitMs);
}

QTEST_GUILESS_MAIN(KeysTest)
#include "keystest.moc"
