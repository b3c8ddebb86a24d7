// The window's small classes by themselves: what closes, what a key does, which settings change.

#include "app/customtitlebar.h"
#include "app/subsystemunavailablewindow.h"
#include "app/yestermarkview.h"

#include <QFile>
#include <QPushButton>
#include <QQuickItem>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class TestShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCloseRequestLeavesTheWindowAndAsks();
    void otherEventsReachTheWindow();
    void f1IsToldOnceHoweverLongItIsHeld();
    void aHeldF1IsKnownByItsTimesWhereTheToolkitMissesIt();
    void otherKeysReachThePage();
    void theTitleBarsButtonsActOnTheWindow();
    void closingByTheTitleBarEndsTheProgram();
    void theCloseOptionIsToldOnlyWhenItChanges_data();
    void theCloseOptionIsToldOnlyWhenItChanges();
    void aMissingRuntimeIsToldWithItsWayOut();
    void goingNowOpensTheDesktopsInstallPage();
};

void TestShell::aCloseRequestLeavesTheWindowAndAsks()
{
    YestermarkView view;
    view.show();
    QSignalSpy asked(&view, &YestermarkView::confirmQuit);
    QVERIFY(!view.close());
    QCOMPARE(asked.count(), 1);
    QVERIFY(view.isVisible());
}

void TestShell::otherEventsReachTheWindow()
{
    YestermarkView view;
    QSignalSpy asked(&view, &YestermarkView::confirmQuit);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.hide();
    QVERIFY(!view.isVisible());
    QCOMPARE(asked.count(), 0);
}

void TestShell::f1IsToldOnceHoweverLongItIsHeld()
{
    YestermarkView view;
    view.show();
    QSignalSpy pressed(&view, &YestermarkView::keyF1Pressed);
    QKeyEvent first(QEvent::KeyPress, Qt::Key_F1, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &first);
    for (int repeat = 0; repeat < 5; ++repeat) {
        QKeyEvent held(QEvent::KeyPress, Qt::Key_F1, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(&view, &held);
    }
    QCOMPARE(pressed.count(), 1);
}

void TestShell::aHeldF1IsKnownByItsTimesWhereTheToolkitMissesIt()
{
    YestermarkView view;
    view.show();
    QSignalSpy pressed(&view, &YestermarkView::keyF1Pressed);
    const auto send = [&view](QEvent::Type type, ulong time) {
        QKeyEvent event(type, Qt::Key_F1, Qt::NoModifier);
        event.setTimestamp(time);
        QCoreApplication::sendEvent(&view, &event);
    };
    send(QEvent::KeyPress, 1000);
    for (ulong time = 1660; time < 1900; time += 40) {
        send(QEvent::KeyRelease, time);
        send(QEvent::KeyPress, time);
    }
    QCOMPARE(pressed.count(), 1);
    send(QEvent::KeyRelease, 1900);
    send(QEvent::KeyPress, 1950); // pressed anew
    QCOMPARE(pressed.count(), 2);
}

void TestShell::otherKeysReachThePage()
{
    QTemporaryDir directory;
    QFile page(directory.filePath(QStringLiteral("page.qml")));
    QVERIFY(page.open(QFile::WriteOnly));
    page.write("import QtQuick 2.12\nItem { focus: true; property string keys: \"\"\n"
               "Keys.onPressed: keys += event.key + (event.isAutoRepeat ? \"r \" : \" \") }\n");
    page.close();
    YestermarkView view;
    view.setSource(QUrl::fromLocalFile(page.fileName()));
    view.show();
    view.requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(&view));
    QSignalSpy pressed(&view, &YestermarkView::keyF1Pressed);
    const auto press = [&view](int key, bool isRepeat) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, QString(), isRepeat);
        QCoreApplication::sendEvent(&view, &event);
    };
    press(Qt::Key_F2, false);
    press(Qt::Key_F2, true);
    press(Qt::Key_F1, false);
    press(Qt::Key_F1, true);
    QCOMPARE(pressed.count(), 1);
    QCOMPARE(view.rootObject()->property("keys").toString(),
             QStringLiteral("%1 %1r %2 ").arg(Qt::Key_F2).arg(Qt::Key_F1));
}

void TestShell::theTitleBarsButtonsActOnTheWindow()
{
    YestermarkView view;
    CustomTitleBar bar(&view, QStringLiteral("minimize"), nullptr);
    QVERIFY(!bar.windowVisible());
    view.show();
    QVERIFY(bar.windowVisible());
    bar.minimizeTheWindow();
    QCOMPARE(view.windowState(), Qt::WindowMinimized);
    bar.hideTheWindow();
    QVERIFY(!bar.windowVisible());
}

void TestShell::closingByTheTitleBarEndsTheProgram()
{
    YestermarkView view;
    CustomTitleBar bar(&view, QStringLiteral("exit"), nullptr);
    view.show();
    QSignalSpy ended(&bar, &CustomTitleBar::programExit);
    bar.closeTheWindow();
    QCOMPARE(ended.count(), 1);
}

void TestShell::theCloseOptionIsToldOnlyWhenItChanges_data()
{
    QTest::addColumn<QString>("present");
    QTest::addColumn<bool>("isMinimize");
    QTest::addColumn<QString>("told");
    QTest::newRow("minimize stays") << "minimize" << true << QString();
    QTest::newRow("exit stays") << "exit" << false << QString();
    QTest::newRow("exit becomes minimize") << "exit" << true << "minimize";
    QTest::newRow("minimize becomes exit") << "minimize" << false << "exit";
    QTest::newRow("an unknown one becomes exit") << "" << false << "exit";
}

void TestShell::theCloseOptionIsToldOnlyWhenItChanges()
{
    QFETCH(QString, present);
    QFETCH(bool, isMinimize);
    QFETCH(QString, told);
    YestermarkView view;
    CustomTitleBar bar(&view, present, nullptr);
    QCOMPARE(bar.isCloseWindowMinimize(), present == QLatin1String("minimize"));
    QSignalSpy changed(&bar, &CustomTitleBar::closeWindowOptionChanged);
    bar.setCloseWindowOption(isMinimize);
    QCOMPARE(changed.count(), told.isEmpty() ? 0 : 1);
    if (!told.isEmpty()) {
        QCOMPARE(changed.first().first().toString(), told);
    }
    QCOMPARE(bar.isCloseWindowMinimize(), isMinimize);
}

void TestShell::aMissingRuntimeIsToldWithItsWayOut()
{
    SubsystemUnavailableWindow window;
    QCOMPARE(window.icon(), QMessageBox::Warning);
    QCOMPARE(window.text(), QStringLiteral("AI service unavailable"));
    QCOMPARE(window.informativeText(),
             QStringLiteral("The AI subsystem was not detected, and the AI service of the "
                            "application cannot be used. Please go to the System Settings > AI "
                            "Module Management page to install."));
    QStringList buttons;
    for (const QAbstractButton *button : window.buttons()) {
        buttons.append(button->text() +
                       QString::number(window.buttonRole(const_cast<QAbstractButton *>(button))));
    }
    buttons.sort();
    QCOMPARE(buttons, QStringList({QStringLiteral("Cancel%1").arg(QMessageBox::RejectRole),
                                   QStringLiteral("Go Now%1").arg(QMessageBox::AcceptRole)}));
    QCOMPARE(window.defaultButton()->objectName(),
             QStringLiteral("tavel-ai-yestermark_QPushButton_goNow"));
}

void TestShell::goingNowOpensTheDesktopsInstallPage()
{
    QTemporaryDir directory;
    const QString trace = directory.filePath(QStringLiteral("trace"));
    QFile command(directory.filePath(QStringLiteral("vesk-control-center")));
    QVERIFY(command.open(QFile::WriteOnly));
    command.write("#!/bin/sh\necho \"$*\" > \"" + trace.toUtf8() + ".new\"\nmv \"" +
                  trace.toUtf8() + ".new\" \"" + trace.toUtf8() + "\"\n");
    command.close();
    command.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", directory.path().toUtf8() + ':' + path);
    SubsystemUnavailableWindow window;
    window.defaultButton()->click();
    qputenv("PATH", path);
    QTRY_VERIFY(QFile::exists(trace));
    QFile written(trace);
    QVERIFY(written.open(QFile::ReadOnly));
    QCOMPARE(written.readAll(), QByteArray("-m aisubsystem\n"));
}

QTEST_MAIN(TestShell)
#include "shelltest.moc"
