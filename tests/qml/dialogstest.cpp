// The dialogs: their texts to the letter, what they call and in which order, and the keyboard.

#include "qml/pagesfixture.h"

#include <QScreen>
#include <QTest>

class DialogsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void texts_data();
    void texts();
    void areModalAndFrameless_data();
    void areModalAndFrameless();
    void belongToTheDialogThatIsOpen_data();
    void belongToTheDialogThatIsOpen();
    void escapeCloses_data();
    void escapeCloses();
    void closeRequestsOfTheDesktopClose_data();
    void closeRequestsOfTheDesktopClose();
    void stripMovesTheDialog_data();
    void stripMovesTheDialog();
    void tabReachesEveryControl_data();
    void tabReachesEveryControl();
    void settingsShowTheStoredChoices_data();
    void settingsShowTheStoredChoices();
    void aChoiceFromOutsideIsShownByTheNextDialog();
    void settingsAreStoredOnConfirm();
    void settingsStoreOnlyAChangedRadio();
    void settingsLeaveAForeignSizeAlone();
    void settingsCancelStoresNothing();
    void comboBoxByKeyboard();
    void deletionInOrder();
    void deletionStartsOnCancel();
    void closingHides();
    void closingExits();
    void closingChoiceIsNotKept();
    void timeTipDeletesTheHistory();
    void timeTipAdjustsTheTime();
    void missingRuntimeIsToldAtTheStart();
    void missingRuntimeLeadsToTheInstallation();
    void aboutShowsVersionAndAddress();
    void cutRadioTextIsToldInFull();

private:
    static QQuickWindow *open(PagesFixture *pages, const char *flag, const char *title);
};

namespace
{
// Of the design's table, to the letter.
const char deletionQuestion[] =
    "Are you sure you want to delete all data? After deletion, it cannot be restored.";
const char timeTipBody[] =
    "Due to the system time being modified to a date earlier than the latest memory, there is a "
    "conflict in the current timeline and the memory has been paused. To avoid this conflict, "
    "please choose a handling method:";
const char timeTipAdjusting[] = "·Adjust system time: Manually adjust the system time, retain "
                                "historical data and continue recording.";
const char missingRuntime[] =
    "The AI subsystem was not detected, and the AI service of the application cannot be used. "
    "Please go to the System Settings > AI Module Management page to install.";

void addDialogs()
{
    QTest::addColumn<QByteArray>("flag");
    QTest::addColumn<QByteArray>("title");
    QTest::newRow("settings") << QByteArray("settingsPageVisible") << QByteArray("Settings");
    QTest::newRow("about") << QByteArray("aboutPageVisible") << QByteArray("About");
    QTest::newRow("close") << QByteArray("closeBtnPopUpVisible")
                           << QByteArray("Please select the state after closing:");
    QTest::newRow("clock") << QByteArray("timeChangeTipVisible")
                           << QByteArray("Detected that the system time has been changed");
    QTest::newRow("runtime") << QByteArray("subsystemUnavailableWindowVisible")
                             << QByteArray("AI service unavailable");
}

// It has no flag: a button of the settings asks for it.
void addDialogsAndDeletion()
{
    addDialogs();
    QTest::newRow("deletion") << QByteArray("Button_deleteAllData")
                              << QByteArray("Delete All Data");
}

QQuickItem *find(const char *name)
{
    return PagesFixture::control(QLatin1String("tavel-ai-yestermark_") + QLatin1String(name));
}

bool isChecked(const char *name)
{
    return find(name)->property("checked").toBool();
}
} // namespace

QQuickWindow *DialogsTest::open(PagesFixture *pages, const char *flag, const char *title)
{
    if (!pages->view.isVisible() && !pages->show()) {
        return nullptr;
    }
    pages->calls.take();
    pages->showDialog(flag);
    QQuickWindow *dialog = PagesFixture::dialog(QLatin1String(title));
    if (!dialog || !QTest::qWaitForWindowExposed(dialog, 20000) ||
        !QTest::qWaitForWindowActive(dialog, 20000)) {
        return nullptr;
    }
    return dialog;
}

void DialogsTest::texts_data()
{
    QTest::addColumn<QByteArray>("flag");
    QTest::addColumn<QByteArray>("title");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("settings") << QByteArray("settingsPageVisible") << QByteArray("Settings")
                              << QStringList({"General", "Close Window", "Minimize to tray",
                                              "Exit program", "Screenshot",
                                              "Maximum Space Occupancy", "10GB", "Delete All Data",
                                              "Cancel", "Confirm"});
    QTest::newRow("close") << QByteArray("closeBtnPopUpVisible")
                           << QByteArray("Please select the state after closing:")
                           << QStringList(
                                  {"Please select the state after closing:", "Minimize to tray",
                                   "Exit program", "Cancel", "Confirm"});
    QTest::newRow("clock") << QByteArray("timeChangeTipVisible")
                           << QByteArray("Detected that the system time has been changed")
                           << QStringList(
                                  {"Detected that the system time has been changed", timeTipBody,
                                   "·Delete historical memory: Delete data and restart recording.",
                                   timeTipAdjusting, "Delete History", "Adjust Time"});
    QTest::newRow("runtime") << QByteArray("subsystemUnavailableWindowVisible")
                             << QByteArray("AI service unavailable")
                             << QStringList(
                                    {"AI service unavailable", missingRuntime, "Cancel", "Go Now"});
}

void DialogsTest::texts()
{
    QFETCH(QByteArray, flag);
    QFETCH(QByteArray, title);
    QFETCH(QStringList, expected);
    PagesFixture pages;
    QQuickWindow *dialog = open(&pages, flag, title);
    QVERIFY(dialog);
    QStringList found = PagesFixture::texts(dialog);
    found.sort();
    expected.sort();
    QCOMPARE(found, expected);
    QCOMPARE(pages.warnings(), QStringList());
}

void DialogsTest::areModalAndFrameless_data()
{
    addDialogsAndDeletion();
}

void DialogsTest::areModalAndFrameless()
{
    QFETCH(QByteArray, flag);
    QFETCH(QByteArray, title);
    PagesFixture pages;
    QQuickWindow *dialog = open(&pages, flag, title);
    QVERIFY(dialog);
    QCOMPARE(dialog->modality(), Qt::ApplicationModal);
    QCOMPARE(dialog->flags() & (Qt::Dialog | Qt::FramelessWindowHint),
             Qt::Dialog | Qt::FramelessWindowHint);
    QCOMPARE(dialog->color(), QColor(Qt::transparent));
    QVERIFY(dialog->title() != QLatin1String("Yestermark")); // the main window is found by that
    const QPoint centre = dialog->geometry().center() - dialog->screen()->geometry().center();
    QVERIFY(centre.manhattanLength() < 4);
}

void DialogsTest::belongToTheDialogThatIsOpen_data()
{
    addDialogs();
}

// A desktop may show either of two dialogs of one window on top, whichever blocks the other.
void DialogsTest::belongToTheDialogThatIsOpen()
{
    QFETCH(QByteArray, flag);
    QFETCH(QByteArray, title);
    PagesFixture pages;
    const QByteArray otherFlag =
        flag == "settingsPageVisible" ? "closeBtnPopUpVisible" : "settingsPageVisible";
    const QByteArray otherTitle =
        flag == "settingsPageVisible" ? "Please select the state after closing:" : "Settings";
    QQuickWindow *first = open(&pages, otherFlag, otherTitle);
    QVERIFY(first);
    QCOMPARE(first->transientParent(), &pages.view);
    QQuickWindow *second = open(&pages, flag, title);
    QVERIFY(second);
    QCOMPARE(second->transientParent(), first);

    pages.root()->setProperty(flag, false);
    pages.root()->setProperty(otherFlag, false);
    QCOMPARE(open(&pages, flag, title), second);
    QCOMPARE(second->transientParent(), &pages.view);
}

void DialogsTest::escapeCloses_data()
{
    addDialogs();
}

void DialogsTest::escapeCloses()
{
    QFETCH(QByteArray, flag);
    QFETCH(QByteArray, title);
    PagesFixture pages;
    QQuickWindow *dialog = open(&pages, flag, title);
    QVERIFY(dialog);
    QTest::keyClick(dialog, Qt::Key_Escape);
    QVERIFY(!pages.root()->property(flag).toBool());
    QVERIFY(!dialog->isVisible());
    QCOMPARE(pages.calls.take(), QStringList());
    pages.root()->setProperty(flag, true); // and it can be shown again
    QVERIFY(dialog->isVisible());
}

void DialogsTest::closeRequestsOfTheDesktopClose_data()
{
    addDialogsAndDeletion();
}

void DialogsTest::closeRequestsOfTheDesktopClose()
{
    QFETCH(QByteArray, flag);
    QFETCH(QByteArray, title);
    PagesFixture pages;
    QQuickWindow *dialog = open(&pages, flag, title);
    QVERIFY(dialog);
    dialog->close();
    QVERIFY(!pages.root()->property(flag).toBool());
    QVERIFY(!dialog->isVisible());
    QCOMPARE(pages.calls.take(), QStringList());
}

void DialogsTest::stripMovesTheDialog_data()
{
    addDialogsAndDeletion();
}

void DialogsTest::stripMovesTheDialog()
{
    QFETCH(QByteArray, flag);
    QFETCH(QByteArray, title);
    PagesFixture pages;
    QQuickWindow *dialog = open(&pages, flag, title);
    QVERIFY(dialog);
    const QPoint before = dialog->position();
    const QPoint grip(dialog->width() / 2, 35); // the last row of the strip
    QTest::mousePress(dialog, Qt::LeftButton, {}, grip);
    QTest::mouseMove(dialog, grip + QPoint(30, 20));
    QTRY_COMPARE(dialog->position(), before + QPoint(30, 20));
    QTest::mouseRelease(dialog, Qt::LeftButton, {}, grip);
    const QPoint below(dialog->width() / 2, 37);
    QTest::mousePress(dialog, Qt::LeftButton, {}, below);
    QTest::mouseMove(dialog, below + QPoint(30, 20));
    QTest::mouseRelease(dialog, Qt::LeftButton, {}, below);
    QCOMPARE(dialog->position(), before + QPoint(30, 20));
}

void DialogsTest::tabReachesEveryControl_data()
{
    addDialogsAndDeletion();
}

void DialogsTest::tabReachesEveryControl()
{
    QFETCH(QByteArray, flag);
    QFETCH(QByteArray, title);
    PagesFixture pages;
    QQuickWindow *dialog = open(&pages, flag, title);
    QVERIFY(dialog);
    QSet<QQuickItem *> controls;
    PagesFixture::visit(dialog->contentItem(), [&controls](QQuickItem *item) {
        if (item->activeFocusOnTab()) {
            controls.insert(item);
        }
    });
    QVERIFY(!controls.isEmpty());
    QSet<QQuickItem *> reached;
    for (int i = 0; i < 2 * controls.size(); ++i) {
        QTest::keyClick(dialog, Qt::Key_Tab);
        QVERIFY(dialog->activeFocusItem());
        reached.insert(dialog->activeFocusItem());
        QVERIFY(dialog->activeFocusItem()->property("visualFocus").toBool());
    }
    QCOMPARE(reached, controls);
}

void DialogsTest::settingsShowTheStoredChoices_data()
{
    QTest::addColumn<bool>("minimize");
    QTest::addColumn<int>("space");
    QTest::addColumn<QString>("shown");
    QTest::newRow("5") << true << 5 << QStringLiteral("5GB");
    QTest::newRow("10") << false << 10 << QStringLiteral("10GB");
    QTest::newRow("15") << true << 15 << QStringLiteral("15GB");
}

void DialogsTest::settingsShowTheStoredChoices()
{
    QFETCH(bool, minimize);
    QFETCH(int, space);
    QFETCH(QString, shown);
    PagesFixture pages;
    pages.titleBar.minimizeOnClose = minimize;
    pages.videoInfo.maxOccupiedSpace = space;
    QQuickWindow *dialog = open(&pages, "settingsPageVisible", "Settings");
    QVERIFY(dialog);
    QCOMPARE(dialog->size(), QSize(800, 500));
    QCOMPARE(isChecked("RadioButton_minimize"), minimize);
    QCOMPARE(isChecked("RadioButton_exit"), !minimize);
    QCOMPARE(find("ComboBox_maxSpace")->property("displayText").toString(), shown);
    QCOMPARE(find("ComboBox_maxSpace")->property("model").toStringList(),
             QStringList({"5GB", "10GB", "15GB"}));
    QCOMPARE(find("Button_closeDialog")->property("toolTip").toString(), QStringLiteral("close"));
}

void DialogsTest::aChoiceFromOutsideIsShownByTheNextDialog()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    pages.titleBar.minimizeOnClose = false;
    Q_EMIT pages.titleBar.closeWindowOptionChanged(QStringLiteral("exit"));
    QVERIFY(open(&pages, "settingsPageVisible", "Settings"));
    QVERIFY(isChecked("RadioButton_exit"));
    PagesFixture::click(find("RadioButton_minimize"));
    PagesFixture::click(find("Button_confirm"));
    QCOMPARE(pages.calls.take().value(0), QStringLiteral("setCloseWindowOption(true)"));
}

void DialogsTest::settingsAreStoredOnConfirm()
{
    PagesFixture pages;
    QVERIFY(open(&pages, "settingsPageVisible", "Settings"));
    PagesFixture::click(find("RadioButton_exit"));
    QVERIFY(!isChecked("RadioButton_minimize"));
    find("ComboBox_maxSpace")->setProperty("currentIndex", 2);
    QCOMPARE(pages.calls.take(), QStringList());
    PagesFixture::click(find("Button_confirm"));
    QCOMPARE(pages.calls.take(), QStringList({QStringLiteral("setCloseWindowOption(false)"),
                                              QStringLiteral("setMaxOccupiedSpace(15)")}));
    QVERIFY(!pages.root()->property("settingsPageVisible").toBool());
    QVERIFY(open(&pages, "settingsPageVisible", "Settings"));
    QVERIFY(isChecked("RadioButton_exit"));
    QCOMPARE(find("ComboBox_maxSpace")->property("displayText").toString(), QStringLiteral("15GB"));
    PagesFixture::click(find("Button_cancel"));
    QVERIFY(open(&pages, "closeBtnPopUpVisible", "Please select the state after closing:"));
    QVERIFY(isChecked("RadioButton_exit"));
}

void DialogsTest::settingsStoreOnlyAChangedRadio()
{
    PagesFixture pages;
    QQuickWindow *dialog = open(&pages, "settingsPageVisible", "Settings");
    QVERIFY(dialog);
    QTest::keyClick(dialog, Qt::Key_Return); // the focus is on a radio button
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("setMaxOccupiedSpace(10)")));
    QVERIFY(!pages.root()->property("settingsPageVisible").toBool());
}

void DialogsTest::settingsLeaveAForeignSizeAlone()
{
    PagesFixture pages;
    pages.videoInfo.maxOccupiedSpace = 40;
    QVERIFY(open(&pages, "settingsPageVisible", "Settings"));
    PagesFixture::click(find("Button_confirm"));
    QCOMPARE(pages.calls.take(), QStringList());
    QCOMPARE(pages.videoInfo.maxOccupiedSpace, 40);
}

void DialogsTest::settingsCancelStoresNothing()
{
    PagesFixture pages;
    for (const char *button : {"Button_cancel", "Button_closeDialog"}) {
        QVERIFY(open(&pages, "settingsPageVisible", "Settings"));
        PagesFixture::click(find("RadioButton_exit"));
        find("ComboBox_maxSpace")->setProperty("currentIndex", 0);
        PagesFixture::click(find(button));
        QVERIFY(!pages.root()->property("settingsPageVisible").toBool());
        QCOMPARE(pages.calls.take(), QStringList());
    }
    QVERIFY(open(&pages, "settingsPageVisible", "Settings"));
    QVERIFY(isChecked("RadioButton_minimize"));
    QCOMPARE(find("ComboBox_maxSpace")->property("displayText").toString(), QStringLiteral("10GB"));
}

void DialogsTest::comboBoxByKeyboard()
{
    PagesFixture pages;
    QQuickWindow *dialog = open(&pages, "settingsPageVisible", "Settings");
    QVERIFY(dialog);
    QQuickItem *comboBox = find("ComboBox_maxSpace");
    comboBox->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(dialog, Qt::Key_Space);
    QTRY_VERIFY(find("ListItem_15GB"));
    QTest::keyClick(dialog, Qt::Key_Down);
    QTest::keyClick(dialog, Qt::Key_Return);
    QCOMPARE(comboBox->property("displayText").toString(), QStringLiteral("15GB"));
    QTRY_VERIFY(!find("ListItem_15GB"));
    QTest::keyClick(dialog, Qt::Key_Space);
    QTRY_VERIFY(find("ListItem_5GB"));
    QTest::keyClick(dialog, Qt::Key_Escape); // closes the choices alone
    QTRY_VERIFY(!find("ListItem_5GB"));
    QVERIFY(dialog->isVisible());
}

void DialogsTest::deletionInOrder()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {20}));
    QVERIFY(open(&pages, "settingsPageVisible", "Settings"));
    QVERIFY(!pages.axis("showImgInfoPageImgSource").toString().isEmpty());
    PagesFixture::click(find("Button_deleteAllData"));
    QQuickWindow *page = PagesFixture::dialog(QStringLiteral("Delete All Data"));
    QVERIFY(page);
    QCOMPARE(page->width(), 424);
    QStringList texts = PagesFixture::texts(page);
    QCOMPARE(texts, QStringList({deletionQuestion, "Cancel", "Confirm"}));
    QQuickItem *confirm = nullptr;
    PagesFixture::visit(page->contentItem(), [&confirm](QQuickItem *item) {
        if (item->property("accessibleId").toString() == QLatin1String("Button_confirm")) {
            confirm = item;
        }
    });
    QVERIFY(confirm);
    QStringList states;
    QObject::connect(&pages.videoInfo, &VideoInfoDouble::dayAppModelChanged, [&] {
        states.append(QStringLiteral("%1 %2 %3")
                          .arg(page->isVisible())
                          .arg(pages.axis("showImgInfoPageImgSource").toString())
                          .arg(pages.axis("isDeleteAllData").toBool()));
    });
    PagesFixture::click(confirm);
    QCOMPARE(states, QStringList(QStringLiteral("0  1")));
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("clearUserData(4)")));
    QVERIFY(!page->isVisible());
}

void DialogsTest::deletionStartsOnCancel()
{
    PagesFixture pages;
    QVERIFY(open(&pages, "settingsPageVisible", "Settings"));
    for (Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
        QQuickWindow *settings = PagesFixture::dialog(QStringLiteral("Settings"));
        settings->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(settings, 20000));
        find("Button_deleteAllData")->forceActiveFocus(Qt::TabFocusReason);
        QQuickWindow *page = nullptr;
        const auto ask = [&] { // off screen a window may be active a moment before it takes keys
            QTest::keyClick(settings, Qt::Key_Return);
            page = PagesFixture::dialog(QStringLiteral("Delete All Data"));
            return page != nullptr;
        };
        QTRY_VERIFY_WITH_TIMEOUT(ask(), 20000);
        QVERIFY(QTest::qWaitForWindowActive(page, 20000));
        QTest::keyClick(page, key);
        QVERIFY(!page->isVisible());
        QCOMPARE(pages.calls.take(), QStringList());
    }
}

void DialogsTest::closingHides()
{
    PagesFixture pages;
    QVERIFY(open(&pages, "closeBtnPopUpVisible", "Please select the state after closing:"));
    PagesFixture::click(find("Button_confirm"));
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("hideTheWindow()")));
    QVERIFY(!pages.root()->property("closeBtnPopUpVisible").toBool());
}

void DialogsTest::closingExits()
{
    PagesFixture pages;
    QVERIFY(open(&pages, "closeBtnPopUpVisible", "Please select the state after closing:"));
    PagesFixture::click(find("RadioButton_exit"));
    PagesFixture::click(find("Button_confirm"));
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("closeTheWindow()")));
}

void DialogsTest::closingChoiceIsNotKept()
{
    PagesFixture pages;
    QVERIFY(open(&pages, "closeBtnPopUpVisible", "Please select the state after closing:"));
    PagesFixture::click(find("RadioButton_exit"));
    PagesFixture::click(find("Button_confirm"));
    QVERIFY(open(&pages, "closeBtnPopUpVisible", "Please select the state after closing:"));
    QVERIFY(isChecked("RadioButton_minimize"));
    PagesFixture::click(find("Button_cancel"));
    QCOMPARE(pages.calls.take(), QStringList());
    QVERIFY(!pages.root()->property("closeBtnPopUpVisible").toBool());
}

void DialogsTest::timeTipDeletesTheHistory()
{
    PagesFixture pages;
    QQuickWindow *dialog =
        open(&pages, "timeChangeTipVisible", "Detected that the system time has been changed");
    QVERIFY(dialog);
    QCOMPARE(dialog->width(), 452);
    PagesFixture::click(find("Button_deleteHistory"));
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("deleteHistory()")));
    QVERIFY(pages.axis("isDeleteAllData").toBool());
    QVERIFY(!pages.root()->property("timeChangeTipVisible").toBool());
}

void DialogsTest::timeTipAdjustsTheTime()
{
    PagesFixture pages;
    QVERIFY(open(&pages, "timeChangeTipVisible", "Detected that the system time has been changed"));
    PagesFixture::click(find("Button_adjustTime"));
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("adjustSystemTime()")));
    QVERIFY(!pages.axis("isDeleteAllData").toBool());
    QVERIFY(!pages.root()->property("timeChangeTipVisible").toBool());
}

void DialogsTest::missingRuntimeIsToldAtTheStart()
{
    for (bool available : {true, false}) {
        PagesFixture pages;
        pages.videoInfo.subsystemAvailable = available;
        QVERIFY(pages.show());
        QCOMPARE(PagesFixture::dialog(QStringLiteral("AI service unavailable")) == nullptr,
                 available);
    }
}

void DialogsTest::missingRuntimeLeadsToTheInstallation()
{
    PagesFixture pages;
    QQuickWindow *dialog =
        open(&pages, "subsystemUnavailableWindowVisible", "AI service unavailable");
    QVERIFY(dialog);
    PagesFixture::visit(dialog->contentItem(), [](QQuickItem *item) {
        if (item->property("text").toString().startsWith(QLatin1String("The AI subsystem"))) {
            QCOMPARE(item->width(), 380.0);
        }
    });
    PagesFixture::click(find("Button_goNow"));
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("openSubsystemInstallPage()")));
    QVERIFY(!dialog->isVisible());
    QVERIFY(open(&pages, "subsystemUnavailableWindowVisible", "AI service unavailable"));
    PagesFixture::click(find("Button_cancel"));
    QCOMPARE(pages.calls.take(), QStringList());
    QVERIFY(!dialog->isVisible());
}

void DialogsTest::aboutShowsVersionAndAddress()
{
    PagesFixture pages;
    QQuickWindow *dialog = open(&pages, "aboutPageVisible", "About");
    QVERIFY(dialog);
    const QString address = dialog->property("supportAddress").toString();
    QVERIFY(!address.isEmpty());
    QCOMPARE(PagesFixture::texts(dialog),
             QStringList({QStringLiteral("Yestermark"), QStringLiteral("Version:1.0.0"),
                          QLatin1String("Service & Support:") + address}));
    PagesFixture::click(find("Button_closeDialog"));
    QVERIFY(!dialog->isVisible());
}

void DialogsTest::cutRadioTextIsToldInFull()
{
    PagesFixture pages;
    QQuickWindow *dialog =
        open(&pages, "closeBtnPopUpVisible", "Please select the state after closing:");
    QVERIFY(dialog);
    QQuickItem *radio = find("RadioButton_minimize");
    const QString text = radio->property("text").toString();
    QTest::mouseMove(dialog, PagesFixture::centreOf(radio));
    QTest::qWait(700);
    QCOMPARE(PagesFixture::texts(dialog).count(text), 1); // it fits: nothing to add
    QTest::mouseMove(dialog, QPoint(2, 2));
    radio->setWidth(80);
    const QPoint pointer = PagesFixture::at(radio, QPointF(40, 10));
    QTest::mouseMove(dialog, pointer);
    QTRY_COMPARE(PagesFixture::texts(dialog).count(text), 2);
}

QTEST_MAIN(DialogsTest)
#include "dialogstest.moc"
