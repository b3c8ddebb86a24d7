// What a screen reader meets: every control is named in the prescribed form, tells its role, and
// the keyboard reaches it.

#include "qml/pagesfixture.h"

#include <QAccessible>
#include <QRegularExpression>
#include <QTest>

class AccessibilityTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyControlIsNamed();
    void namesAreUniqueInAWindow();
    void everyNodeOfTheTreeHasANameAndARole();
    void tabWalksThroughThePage();
    void focusIsVisible();

private:
    static void openDays(PagesFixture *pages);
    static void openEverything(PagesFixture *pages);
};

namespace
{
const char *const dialogFlags[] = {"settingsPageVisible", "aboutPageVisible",
                                   "closeBtnPopUpVisible", "timeChangeTipVisible",
                                   "subsystemUnavailableWindowVisible"};

QString nameOf(QQuickItem *item)
{
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
    return accessible ? accessible->text(QAccessible::Name) : QString();
}

QList<QQuickWindow *> shownWindows()
{
    QList<QQuickWindow *> windows;
    for (QWindow *window : QGuiApplication::allWindows()) {
        auto *quick = qobject_cast<QQuickWindow *>(window);
        if (quick && quick->isVisible()) {
            windows.append(quick);
        }
    }
    return windows;
}

QList<QQuickItem *> controlsOf(QQuickWindow *window)
{
    QList<QQuickItem *> controls;
    PagesFixture::visit(window->contentItem(), [&controls](QQuickItem *item) {
        if (item->activeFocusOnTab() || item->inherits("QQuickAbstractButton")) {
            controls.append(item);
        }
    });
    return controls;
}

int ringsOf(QQuickItem *control)
{
    int count = 0;
    PagesFixture::visit(control, [&count](QQuickItem *item) {
        count += QByteArray(item->metaObject()->className()).startsWith("FocusFrame");
    });
    return count;
}

void checkRings(QQuickWindow *window)
{
    const QList<QQuickItem *> controls = controlsOf(window);
    for (int i = 0; i < controls.size(); ++i) {
        QTest::keyClick(window, Qt::Key_Tab);
        QQuickItem *control = window->activeFocusItem();
        QVERIFY(control);
        QVERIFY2(ringsOf(control) == 1, qPrintable(nameOf(control)));
    }
    for (QQuickItem *control : controls) {
        if (control != window->activeFocusItem()) {
            control->forceActiveFocus(Qt::MouseFocusReason);
            QVERIFY2(ringsOf(control) == 0, qPrintable(nameOf(control)));
        }
    }
}

void checkTree(QAccessibleInterface *node)
{
    for (int i = 0; i < node->childCount(); ++i) {
        QAccessibleInterface *child = node->child(i);
        QVERIFY(child);
        if (!child->state().invisible) {
            const QString what = QString::number(child->role()) + QLatin1Char(' ') +
                                 QLatin1String(child->object()->metaObject()->className());
            QVERIFY2(!child->text(QAccessible::Name).isEmpty(), qPrintable(what));
            QVERIFY2(child->role() != QAccessible::NoRole, qPrintable(what));
        }
        checkTree(child);
    }
}
} // namespace

void AccessibilityTest::openDays(PagesFixture *pages)
{
    pages->videoInfo.appendDay(dayAgo(1, {40, 90, 120}));
    pages->videoInfo.appendDay(dayAgo(0, {40, 9, 120}));
    QVERIFY(pages->show());
    QTRY_VERIFY(pages->view.isActive());
    pages->timeAxis()->setProperty("contentX", 100); // both page buttons are in use
}

void AccessibilityTest::openEverything(PagesFixture *pages)
{
    openDays(pages);
    for (const char *flag : dialogFlags) {
        pages->root()->setProperty(flag, true);
    }
    QCOMPARE(shownWindows().size(), 6);
}

void AccessibilityTest::everyControlIsNamed()
{
    PagesFixture pages;
    openEverything(&pages);
    const QRegularExpression form(
        QStringLiteral("^tavel-ai-yestermark_[A-Z][A-Za-z]+_[A-Za-z0-9]+$"));
    int count = 0;
    for (QQuickWindow *window : shownWindows()) {
        for (QQuickItem *control : controlsOf(window)) {
            const QString name = nameOf(control);
            QVERIFY2(form.match(name).hasMatch(),
                     qPrintable(QLatin1String(control->metaObject()->className()) + name));
            ++count;
        }
    }
    QCOMPARE(count, 23); // 7 on the page; 7, 1, 4, 2 and 2 in the dialogs
}

void AccessibilityTest::namesAreUniqueInAWindow()
{
    PagesFixture pages;
    openEverything(&pages);
    for (QQuickWindow *window : shownWindows()) {
        QSet<QString> names;
        for (QQuickItem *control : controlsOf(window)) {
            QVERIFY2(!names.contains(nameOf(control)), qPrintable(nameOf(control)));
            names.insert(nameOf(control));
        }
    }
}

void AccessibilityTest::everyNodeOfTheTreeHasANameAndARole()
{
    PagesFixture pages;
    openEverything(&pages);
    for (QQuickWindow *window : shownWindows()) {
        QAccessibleInterface *root = QAccessible::queryAccessibleInterface(window);
        QVERIFY(root);
        QVERIFY(root->childCount() > 0);
        checkTree(root);
    }
}

void AccessibilityTest::tabWalksThroughThePage()
{
    PagesFixture pages;
    openDays(&pages);
    PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Button_menu"))
        ->forceActiveFocus(Qt::TabFocusReason);
    QStringList order;
    for (int i = 0; i < 7; ++i) {
        order.append(nameOf(pages.view.activeFocusItem()).mid(20));
        QTest::keyClick(&pages.view, Qt::Key_Tab);
    }
    QCOMPARE(order, QStringList({"Button_menu", "Button_minimize", "Button_close", "Pane_timeAxis",
                                 "Button_lastPage", "Slider_timeAxis", "Button_nextPage"}));
    QCOMPARE(nameOf(pages.view.activeFocusItem()).mid(20), QStringLiteral("Button_menu"));
}

void AccessibilityTest::focusIsVisible()
{
    PagesFixture pages;
    openDays(&pages);
    checkRings(&pages.view);
    for (const char *flag : dialogFlags) {
        pages.root()->setProperty(flag, true);
        QTRY_VERIFY(QGuiApplication::focusWindow() &&
                    QGuiApplication::focusWindow() != &pages.view);
        checkRings(qobject_cast<QQuickWindow *>(QGuiApplication::focusWindow()));
        pages.root()->setProperty(flag, false);
        pages.view.requestActivate();
        QTRY_COMPARE(QGuiApplication::focusWindow(), &pages.view);
    }
}

QTEST_MAIN(AccessibilityTest)
#include "accessibilitytest.moc"
