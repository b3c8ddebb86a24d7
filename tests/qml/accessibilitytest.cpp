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
    void sliderTellsAndTakesItsPlace();
    void searchAndRegionToo_data();
    void searchAndRegionToo();

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
    pages->showDialog("Button_deleteAllData"); // with the settings
    for (const char *flag : dialogFlags) {
        pages->root()->setProperty(flag, true);
    }
    QCOMPARE(shownWindows().size(), 7);
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
    QCOMPARE(count, 28); // 10 on the page; 7, 2, 1, 4, 2 and 2 in the dialogs
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
    for (int i = 0; i < 10; ++i) {
        order.append(nameOf(pages.view.activeFocusItem()).mid(20));
        QTest::keyClick(&pages.view, Qt::Key_Tab);
    }
    QCOMPARE(order,
             QStringList({"Button_menu", "Button_minimize", "Button_close", "Button_search",
                          "TextField_search", "Pane_timeAxis", "Button_lastPage", "Slider_timeAxis",
                          "Button_nextPage", "Button_regionRecognition"}));
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

void AccessibilityTest::sliderTellsAndTakesItsPlace()
{
    PagesFixture pages;
    openDays(&pages);
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(700));
    QQuickItem *slider =
        PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Slider_timeAxis"));
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(slider);
    QAccessibleValueInterface *value = accessible->valueInterface();
    QVERIFY(value);
    const auto share = [&pages] {
        return (pages.axis("contentX").toReal() + pages.indicator()) /
               pages.axis("contentWidth").toReal();
    };
    QCOMPARE(share(), 800 / pages.axis("contentWidth").toReal());
    QCOMPARE(value->currentValue().toReal(), share());
    QCOMPARE(value->minimumValue().toReal(), 0.0);
    QCOMPARE(value->maximumValue().toReal(), 1.0);
    pages.calls.take();
    for (qreal wanted : {0.25, 0.75}) {
        value->setCurrentValue(wanted);
        QVERIFY(pages.calls.take().value(0).startsWith(QLatin1String("showCurShowImageItem(")));
        QVERIFY(qAbs(share() - wanted) < 0.001);
        QCOMPARE(value->currentValue().toReal(), share());
    }
    const qreal before = pages.indicator();
    accessible->actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
    QCOMPARE(pages.indicator(), before + 8); // a frame
    accessible->actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
    QCOMPARE(pages.indicator(), before);
    pages.callAxis("lastPage"); // and it goes on to tell
    QVERIFY(!pages.axis("sliderShown").toBool() || value->currentValue().toReal() == share());
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, pages.onAxis(300));
    QCOMPARE(value->currentValue().toReal(), share());
}

void AccessibilityTest::searchAndRegionToo_data()
{
    QTest::addColumn<bool>("search");
    QTest::addColumn<QStringList>("order");
    QTest::newRow("search") << true
                            << QStringList({"TextField_search", "Button_clearSearch",
                                            "PageTab_textMatch", "PageTab_imageMatch",
                                            "List_textHits", "Button_search"});
    QTest::newRow("region") << false
                            << QStringList({"Pane_screenCapture", "Pane_allText", "Button_return",
                                            "Button_menu", "Button_minimize", "Button_close"});
}

void AccessibilityTest::searchAndRegionToo()
{
    QFETCH(bool, search);
    QFETCH(QStringList, order);
    PagesFixture pages;
    openDays(&pages);
    const auto control = [](const QString &name) {
        return PagesFixture::control(QLatin1String("tavel-ai-yestermark_") + name);
    };
    if (search) {
        PagesFixture::click(control(QStringLiteral("TextField_search")));
        QTest::keyClick(&pages.view, Qt::Key_A);
        for (int i = 0; i < 36; ++i) {
            VideoPreviewImageItem hit;
            hit.previewAppName = QStringLiteral("Editor");
            hit.previewAppIcon = QStringLiteral("application-x-desktop");
            hit.videoPreviewImageSource = QStringLiteral("videoImageProvider/textsearch1one");
            pages.videoInfo.addTextHit(hit);
        }
        QTRY_VERIFY(control(QStringLiteral("ListItem_textHit35")));
    } else {
        PagesFixture::click(control(QStringLiteral("Button_regionRecognition")));
        QTest::keyClick(&pages.view, Qt::Key_Return);
        pages.videoInfo.showText({{QStringLiteral("words"), {{10, 10}, {300, 10}, {300, 40}}}});
    }
    checkTree(QAccessible::queryAccessibleInterface(&pages.view));
    control(order.first())->forceActiveFocus(Qt::TabFocusReason);
    for (const QString &name : order) {
        QCOMPARE(nameOf(pages.view.activeFocusItem()).mid(20), name);
        QTest::keyClick(&pages.view, Qt::Key_Tab);
    }
    QCOMPARE(nameOf(pages.view.activeFocusItem()).mid(20), order.first());
    int usable = 0;
    for (QQuickItem *item : controlsOf(&pages.view)) {
        usable += item->isEnabled() ? 1 : 0;
    }
    QCOMPARE(usable, order.size());
    QCOMPARE(pages.warnings(), QStringList());
}

QTEST_MAIN(AccessibilityTest)
#include "accessibilitytest.moc"
