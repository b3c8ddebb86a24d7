// What a screen reader is told over the real accessibility bus: every control of the window and of
// its dialogs has a name of its own in one form, and the role of what it is.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QProcess>
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
                                                  {"MenuItem", "menu item"},
                                                  {"Menu", "popup menu"},
                                                  {"TextField", "text"},
                                                  {"PageTab", "page tab"},
                                                  {"List", "list"},
                                                  {"ListItem", "list item"},
                                                  {"Image", "graphic"},
                                                  {"StaticText", "label"},
                                                  {"ScrollBar", "scroll bar"},
                                                  {"Pane", "panel"}};
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
    void theSearchIsTold();
    void theRegionIsTold();
    void theFocusIsTold();
    void theDialogOfAMissingRuntimeIsTold();

private:
    void check(const QString &window, const QStringList &controls) const;

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
                                               "Slider_timeAxis", "Pane_timeAxis"});
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

void ScreenReaderTest::check(const QString &window, const QStringList &controls) const
{
    const QRegularExpression form("^tavel-ai-yestermark_([A-Z][A-Za-z]+)_[A-Za-z0-9]+$");
    QSet<QString> names;
    for (const Node &node : m_program->nodes()) {
        if (node.window != window || node.role == "frame") {
            continue;
        }
        QVERIFY2(!node.name.isEmpty(), qPrintable(node.role));
        // Newer releases of the toolkit tell every text as focusable.
        const bool isControl = node.isFocusable && node.role != "label";
        if (!isControl && !node.name.startsWith("tavel")) {
            continue;
        }
        const QString told = node.name + " is a " + node.role;
        const QRegularExpressionMatch match = form.match(node.name);
        QVERIFY2(match.hasMatch(), qPrintable(told));
        QVERIFY2(!names.contains(node.name), qPrintable(told));
        names.insert(node.name);
        QVERIFY2(node.role == roleOf(match.captured(1)), qPrintable(told));
    }
    for (const QString &control : controls) {
        QVERIFY2(names.contains("tavel-ai-yestermark_" + control), qPrintable(control));
    }
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
    check(window, controls);
    if (!entry.isEmpty()) {
        QVERIFY(m_desktop->key("Escape"));
        QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(window), waitMs);
    }
}

void ScreenReaderTest::theSearchIsTold()
{
    QVERIFY(m_program->click("TextField_search"));
    QVERIFY(m_desktop->key("n"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->control("ListItem_textHit5").exists(), waitMs);
    check("Yestermark", {"TextField_search", "Button_clearSearch", "PageTab_textMatch",
                         "PageTab_imageMatch", "List_textHits", "ListItem_textHit0"});
    QVERIFY(m_program->click("Button_clearSearch"));
    QVERIFY(m_desktop->key("Escape"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->control("List_textHits").exists(), waitMs);
}

void ScreenReaderTest::theRegionIsTold()
{
    QVERIFY(m_program->click("Button_regionRecognition"));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->focus(), QStringLiteral("Pane_screenCapture"), waitMs);
    QVERIFY(m_desktop->key("Return"));
    QTRY_VERIFY_WITH_TIMEOUT(m_program->control("Pane_allText").exists(), waitMs);
    check("Yestermark",
          {"Pane_screenCapture", "Pane_allText", "Button_return", "Image_screenshot"});
    QVERIFY(m_program->click("Button_return"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->control("Pane_allText").exists(), waitMs);
}

void ScreenReaderTest::theFocusIsTold()
{
    QTRY_VERIFY_WITH_TIMEOUT(m_program->isInFront(), waitMs);
    const QString before = m_program->focus();
    QVERIFY(m_desktop->key("Tab"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_program->focus().isEmpty() && m_program->focus() != before, waitMs);
}

// It runs as a copy, beside which no models lie.
void ScreenReaderTest::theDialogOfAMissingRuntimeIsTold()
{
    QVERIFY(m_program->stop());
    const QString folder = m_desktop->home() + "/alone";
    QVERIFY(QDir().mkpath(folder + "/bin"));
    const QString copy = folder + "/bin/tavel-ai-yestermark";
    QVERIFY(QFile::copy(m_program->path(), copy));
    QProcessEnvironment environment = m_desktop->environment();
    environment.insert("XDG_DATA_DIRS", folder);
    environment.insert("XDG_DATA_HOME", folder);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(copy, QStringList());
    QTRY_VERIFY_WITH_TIMEOUT(m_program->nodes().size() > 3, waitMs);

    QHash<QString, Node> told;
    for (const Node &node : m_program->nodes()) {
        if (!told.contains(node.name)) { // the dialog is named as its first line
            told.insert(node.name, node);
        }
    }
    QCOMPARE(told.value("AI service unavailable").role, QStringLiteral("alert message"));
    QCOMPARE(told.value("Cancel").role, QStringLiteral("push button"));
    QCOMPARE(told.value("Go Now").role, QStringLiteral("push button"));
    QVERIFY(told.value("Cancel").isFocusable && told.value("Go Now").isFocusable);
    QTRY_VERIFY_WITH_TIMEOUT(m_desktop->processInFront() == process.processId(), waitMs);
    QVERIFY(m_desktop->key("Escape"));
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(m_program->start());
}

QTEST_GUILESS_MAIN(ScreenReaderTest)
#include "screenreadertest.moc"
