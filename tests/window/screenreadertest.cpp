// What a screen reader is told over the real accessibility bus: every control of the window and of
// its dialogs has a name of its own in one form, and the role of what it is.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <memory>

namespace
{
constexpr int waitMs = 10000;
using Node = AccessibleTree::Node;

/// The bus's word for the kind of control that a name begins with.
QString roleOf(const QString &kind)
{
    static const QHash<QString, QString> roles = {{"Button", "push button"},
                                                  {"RadioButton", "radio button"},
                                                  {"ComboBox", "combo box"},
                                                  {"Slider", "slider"},
                                                  {"MenuItem", "menu item"}};
    return roles.value(kind);
}
} // namespace

class ScreenReaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void everyControlHasANameAndARole_data();
    void everyControlHasANameAndARole();
    void theFocusIsTold();

private:
    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ShownProgram> m_program;
};

void ScreenReaderTest::initTestCase()
{
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->start());
    QVERIFY(m_desktop->paintHistory({"1:90,60"}));
    QVERIFY(m_desktop->setSetting("enabled", "true"));
    m_program = std::make_unique<ShownProgram>(*m_desktop);
    QVERIFY(m_program->start());
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 150, waitMs);
}

void ScreenReaderTest::cleanupTestCase()
{
    if (m_program) {
        QVERIFY(m_program->stop());
    }
    m_program.reset();
    m_desktop.reset();
}

void ScreenReaderTest::everyControlHasANameAndARole_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("window");
    QTest::addColumn<QStringList>("controls");
    QTest::newRow("main page") << QString() << QStringLiteral("Yestermark")
                               << QStringList({"Button_menu", "Button_minimize", "Button_close",
                                               "Button_lastPage", "Button_nextPage",
                                               "Slider_timeAxis"});
    QTest::newRow("settings") << QStringLiteral("settings") << QStringLiteral("Settings")
                              << QStringList({"Button_closeDialog", "RadioButton_minimize",
                                              "RadioButton_exit", "ComboBox_maxSpace",
                                              "Button_deleteAllData", "Button_cancel",
                                              "Button_confirm"});
    QTest::newRow("about") << QStringLiteral("about") << QStringLiteral("About")
                           << QStringList({"Button_closeDialog"});
    QTest::newRow("closing") << QStringLiteral("exit")
                             << QStringLiteral("Please select the state after closing:")
                             << QStringList({"RadioButton_minimize", "RadioButton_exit",
                                             "Button_cancel", "Button_confirm"});
}

void ScreenReaderTest::everyControlHasANameAndARole()
{
    QFETCH(QString, entry);
    QFETCH(QString, window);
    QFETCH(QStringList, controls);
    if (!entry.isEmpty()) {
        QVERIFY(m_program->choose(entry));
    }
    QTRY_VERIFY_WITH_TIMEOUT(m_program->hasWindow(window), waitMs);
    const QRegularExpression form("^tavel-ai-yestermark_([A-Z][A-Za-z]+)_[A-Za-z0-9]+$");
    QSet<QString> names;
    for (const Node &node : m_program->nodes()) {
        if (node.window != window || node.role == "frame") {
            continue;
        }
        QVERIFY2(!node.name.isEmpty(), qPrintable(node.role));
        if (!node.isFocusable && !node.name.startsWith("tavel")) {
            continue;
        }
        const QString told = node.name + " is a " + node.role;
        const QRegularExpressionMatch match = form.match(node.name);
        QVERIFY2(match.hasMatch(), qPrintable(told));
        QVERIFY2(!names.contains(node.name), qPrintable(told));
        names.insert(node.name);
        const QString role = roleOf(match.captured(1));
        QVERIFY2(role.isEmpty() || node.role == role, qPrintable(told));
        QVERIFY2(node.role != "unknown" && node.role != "invalid", qPrintable(told));
    }
    for (const QString &control : controls) {
        QVERIFY2(names.contains("tavel-ai-yestermark_" + control), qPrintable(control));
    }
    if (!entry.isEmpty()) {
        QVERIFY(m_desktop->key("Escape"));
        QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(window), waitMs);
    }
}

void ScreenReaderTest::theFocusIsTold()
{
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront(), waitMs);
    const QString before = m_program->focus();
    QVERIFY(m_desktop->key("Tab"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->focus().isEmpty() && m_program->focus() != before, waitMs);
}

QTEST_GUILESS_MAIN(ScreenReaderTest)
#include "screenreadertest.moc"
