// Every page loads, in light and dark and at every size of screen, without a warning.

#include "qml/pagesfixture.h"

#include <QDirIterator>
#include <QProcess>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTest>

class PagesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFileCompiles_data();
    void everyFileCompiles();
    void showsEverythingWithoutWarning_data();
    void showsEverythingWithoutWarning();
    void showsEverythingAtScaleTwo();
    void keepsToTheWindow_data();
    void keepsToTheWindow();
    void backgroundFollowsTheTheme();
    void startScreenTexts();
    void startButtonStartsInOrder();
    void titleBarButtons();
    void menuEntries();
    void menuButtonClosesTheMenu();
    void menuByKeyboard_data();
    void menuByKeyboard();
    void menuByKeyboardWhereThePointerRests();
    void trayWiring();
    void closingAsksOnlyAVisibleWindow();
};

namespace
{
const QVector<int> workingDay = {12, 1, 2, 30, 4, 1, 1, 8, 20, 3, 14, 2, 9};

struct DialogFlag {
    const char *flag;
    const char *title;
};

const DialogFlag dialogs[] = {
    {"settingsPageVisible", "Settings"},
    {"aboutPageVisible", "About"},
    {"closeBtnPopUpVisible", "Please select the state after closing:"},
    {"timeChangeTipVisible", "Detected that the system time has been changed"},
    {"subsystemUnavailableWindowVisible", "AI service unavailable"}};

void addSizes()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("1366x768") << QSize(1366, 768);
    QTest::newRow("1920x1080 with a panel") << QSize(1920, 1034);
    QTest::newRow("3840x2160") << QSize(3840, 2160);
    if (!qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) {
        QTest::newRow("half of 1920x1080") << QSize(960, 540);
    }
}

bool isWithin(QQuickItem *item, const QSize &size)
{
    const QRectF rect = item->mapRectToScene(item->boundingRect());
    return QRectF(QPointF(0, 0), size).adjusted(-1, -1, 1, 1).contains(rect);
}

bool isDrawn(QQuickItem *item)
{
    return item->inherits("QQuickText") || item->inherits("QQuickButton");
}

QStringList cutBy(QQuickWindow *dialog)
{
    QStringList cut;
    PagesFixture::visit(dialog->contentItem(), [&](QQuickItem *item) {
        if (isDrawn(item) && !isWithin(item, dialog->size())) {
            cut.append(item->property("text").toString());
        }
    });
    return cut;
}

void checkDialogs(PagesFixture *pages)
{
    for (const DialogFlag &each : dialogs) {
        pages->showDialog(each.flag);
        QQuickWindow *dialog = PagesFixture::dialog(QLatin1String(each.title));
        QVERIFY2(dialog, each.title);
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        QTRY_COMPARE(cutBy(dialog), QStringList()); // texts are laid out late
        pages->root()->setProperty(each.flag, false);
    }
}

void keepPicture(QQuickWindow *window, const QString &name)
{
    const QString folder =
        qEnvironmentVariable("YESTERMARK_PICTURES"); // for the eye of a developer
    if (!folder.isEmpty()) {
        QTest::qWait(400);
        window->grabWindow().save(folder + QLatin1Char('/') + name + QLatin1String(".png"));
    }
}
QQuickItem *control(const char *name)
{
    return PagesFixture::control(QLatin1String("tavel-ai-yestermark_") + QLatin1String(name));
}

void drag(QQuickWindow *window, const QPoint &from, const QPoint &to)
{
    QTest::mousePress(window, Qt::LeftButton, {}, from);
    QTest::mouseMove(window, to);
    QTest::mouseRelease(window, Qt::LeftButton, {}, to);
}

QVector<OCRTextData> someLines()
{
    QVector<OCRTextData> lines;
    for (int i = 0; i < 14; ++i) {
        const QRectF rect(20, 16 + 30 * i, 300 + (i * 131) % 260, 24);
        lines.append({QStringLiteral("Line %1 of what was recognised").arg(i),
                      {rect.topLeft(), rect.topRight(), rect.bottomRight(), rect.bottomLeft()}});
    }
    return lines;
}

void showRegion(PagesFixture *pages, const QString &name)
{
    PagesFixture::click(control("Button_regionRecognition"));
    QQuickItem *capture = control("Pane_screenCapture");
    QVERIFY(capture);
    const auto at = [capture](qreal x, qreal y) {
        return PagesFixture::at(capture, QPointF(capture->width() * x, capture->height() * y));
    };
    drag(&pages->view, at(0.07, 0.15), at(0.5, 0.75));
    keepPicture(&pages->view, name + QLatin1String("-region"));
    pages->videoInfo.showText(someLines());
    QQuickItem *first = control("StaticText_line2");
    QQuickItem *last = control("StaticText_line5");
    drag(&pages->view, PagesFixture::at(first, QPointF(first->width() / 3, first->height() / 2)),
         PagesFixture::at(last, QPointF(last->width() / 2, last->height() / 2)));
    keepPicture(&pages->view, name + QLatin1String("-text"));
    QTest::mouseClick(&pages->view, Qt::RightButton, {}, PagesFixture::centreOf(last));
    keepPicture(&pages->view, name + QLatin1String("-textmenu"));
    QTest::keyClick(&pages->view, Qt::Key_Escape);
    QTRY_VERIFY(!control("MenuItem_copy"));
    PagesFixture::click(control("Button_return"));
}

void showSearch(PagesFixture *pages, const QString &name)
{
    PagesFixture::click(control("TextField_search"));
    keepPicture(&pages->view, name + QLatin1String("-search"));
    QTest::keyClick(&pages->view, Qt::Key_A);
    pages->videoInfo.findNothing();
    keepPicture(&pages->view, name + QLatin1String("-nothing"));
    for (int i = 0; i < 36; ++i) {
        VideoPreviewImageItem hit;
        hit.videoPreviewImageSource = QStringLiteral("videoImageProvider/textsearch%1one").arg(i);
        hit.previewImageDate = QStringLiteral("2026/03/0%1").arg(1 + i % 9);
        hit.previewImageTime = QStringLiteral("14:05:%1").arg(10 + i);
        hit.previewAppIcon = QStringLiteral("application-x-desktop");
        hit.previewAppName = i % 5 == 1 ? QStringLiteral("An application with a rather long name")
                                        : QStringLiteral("Editor");
        pages->videoInfo.addTextHit(hit);
        pages->videoInfo.addImageHit(hit);
    }
    QTRY_VERIFY(control("ListItem_textHit35"));
    pages->hover(PagesFixture::centreOf(control("ListItem_textHit7")));
    keepPicture(&pages->view, name + QLatin1String("-texthits"));
    PagesFixture::click(control("PageTab_imageMatch"));
    QTRY_VERIFY(control("ListItem_imageHit35"));
    keepPicture(&pages->view, name + QLatin1String("-imagehits"));
    QTest::keyClick(&pages->view, Qt::Key_Escape);
}
} // namespace

void PagesTest::everyFileCompiles_data()
{
    QTest::addColumn<QUrl>("file");
    QDirIterator files(QStringLiteral(":/qml"), {QStringLiteral("*.qml")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        QTest::newRow(qPrintable(file)) << QUrl(QLatin1String("qrc") + file);
    }
}

void PagesTest::everyFileCompiles()
{
    QFETCH(QUrl, file);
    PagesFixture pages;
    QQmlComponent component(pages.view.engine(), file);
    const bool singleton =
        component.errorString().contains(QLatin1String("singleton"), Qt::CaseInsensitive);
    QVERIFY2(component.isReady() || singleton, qPrintable(component.errorString()));
    QCOMPARE(pages.warnings(), QStringList());
}

void PagesTest::showsEverythingWithoutWarning_data()
{
    addSizes();
}

void PagesTest::showsEverythingWithoutWarning()
{
    QFETCH(QSize, size);
    for (bool dark : {false, true}) {
        PagesFixture pages;
        pages.videoInfo.dark = dark;
        pages.videoInfo.appendDay(dayAgo(1, workingDay));
        pages.videoInfo.appendDay(dayAgo(0, workingDay));
        QVERIFY(pages.show(size));
        const QString name = QStringLiteral("%1x%2%3")
                                 .arg(size.width())
                                 .arg(size.height())
                                 .arg(dark ? QLatin1String("-dark") : QLatin1String("-light"));
        keepPicture(&pages.view, name + QLatin1String("-main"));
        pages.hover(pages.onAxis(pages.axis("listViewWidth").toReal() / 3));
        keepPicture(&pages.view, name + QLatin1String("-hover"));
        PagesFixture::click(
            PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Button_menu")));
        keepPicture(&pages.view, name + QLatin1String("-menu"));
        QTest::keyClick(&pages.view, Qt::Key_Escape);
        showRegion(&pages, name);
        showSearch(&pages, name);
        for (const DialogFlag &each : dialogs) {
            pages.root()->setProperty(each.flag, true);
            QQuickWindow *dialog = PagesFixture::dialog(QLatin1String(each.title));
            QVERIFY2(dialog, each.title);
            QVERIFY(QTest::qWaitForWindowExposed(dialog));
            keepPicture(dialog, name + QLatin1Char('-') + QLatin1String(each.flag));
            pages.root()->setProperty(each.flag, false);
            QVERIFY(!dialog->isVisible());
        }
        QCOMPARE(pages.warnings(), QStringList());
    }
}

void PagesTest::showsEverythingAtScaleTwo()
{
    if (qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) {
        QSKIP("this is the run at scale 2");
    }
    QProcess self;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QStringLiteral("2"));
    self.setProcessEnvironment(environment);
    self.setProcessChannelMode(QProcess::MergedChannels);
    self.start(
        QCoreApplication::applicationFilePath(),
        {QStringLiteral("showsEverythingWithoutWarning"), QStringLiteral("keepsToTheWindow")});
    QVERIFY(self.waitForFinished(120000));
    const QByteArray output = self.readAll();
    QVERIFY2(self.exitStatus() == QProcess::NormalExit && self.exitCode() == 0, output.constData());
}

void PagesTest::keepsToTheWindow_data()
{
    addSizes();
}

void PagesTest::keepsToTheWindow()
{
    QFETCH(QSize, size);
    for (bool start : {false, true}) {
        PagesFixture pages;
        pages.videoInfo.startButton = start;
        pages.videoInfo.appendDay(dayAgo(0, workingDay));
        QVERIFY(pages.show(size));
        const QSize shown = pages.view.size(); // off screen, scale 2 halves what was asked for
        const qreal ratio = pages.view.effectiveDevicePixelRatio();
        QCOMPARE(pages.root()->property("widthScaleFactor").toReal(),
                 shown.width() / 1920.0 * ratio);
        QCOMPARE(pages.root()->property("heightScaleFactor").toReal(),
                 shown.height() / 1034.0 * ratio);
        QCOMPARE(pages.root()->property("appIconWidth").toReal(),
                 24 * shown.width() / 1920.0 * ratio);
        PagesFixture::visit(pages.root(), [&](QQuickItem *item) {
            if (isDrawn(item) && !item->parentItem()->inherits("QQuickListView")) {
                const QString what = QLatin1String(item->metaObject()->className()) +
                                     item->property("text").toString();
                // Days run out of the window on the left.
                QVERIFY2(isWithin(item, shown) || what.contains(QChar(0xb7)), qPrintable(what));
            }
        });
        if (!start && !qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) { // that halves them too
            checkDialogs(&pages);
        }
        if (start) {
            keepPicture(&pages.view,
                        QStringLiteral("%1x%2-start").arg(size.width()).arg(size.height()));
            pages.videoInfo.setDark(true);
            keepPicture(&pages.view,
                        QStringLiteral("%1x%2-start-dark").arg(size.width()).arg(size.height()));
        }
    }
}

void PagesTest::backgroundFollowsTheTheme()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    const auto source = [&pages] {
        QString found;
        PagesFixture::visit(pages.root(), [&found](QQuickItem *item) {
            const QString candidate = item->property("source").toString();
            if (candidate.contains(QLatin1String("background"))) {
                found = candidate;
            }
        });
        return found;
    };
    QCOMPARE(source(), QStringLiteral("qrc:/image/yestermarkbackground.svg"));
    pages.videoInfo.setDark(true);
    QCOMPARE(source(), QStringLiteral("qrc:/image/yestermarkdarkbackground.svg"));
    pages.videoInfo.setDark(false);
    QCOMPARE(source(), QStringLiteral("qrc:/image/yestermarkbackground.svg"));
}

void PagesTest::startScreenTexts()
{
    PagesFixture pages;
    pages.videoInfo.startButton = true;
    QVERIFY(pages.show());
    const QStringList texts = PagesFixture::texts(&pages.view);
    for (const char *text :
         {"Yestermark", "Start",
          "Yestermark, allowing you to bid farewell to the pain of searching and experience "
          "memories like photos",
          " Quickly retrieve everything from your computer!"}) {
        QVERIFY2(texts.contains(QLatin1String(text)), text);
    }
    QVERIFY(!PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Pane_timeAxis")));
}

void PagesTest::startButtonStartsInOrder()
{
    PagesFixture pages;
    pages.videoInfo.startButton = true;
    QVERIFY(pages.show());
    QTRY_VERIFY(pages.view.isActive());
    QTest::keyClick(&pages.view, Qt::Key_Return);
    QCOMPARE(pages.calls.take(),
             QStringList({QStringLiteral("startMemory()"), QStringLiteral("minimizeTheWindow()")}));
    QVERIFY(!PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Button_start")));
    QVERIFY(PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Pane_timeAxis")));
}

void PagesTest::titleBarButtons()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    const QHash<QString, QString> toolTips = {
        {QStringLiteral("menu"), QStringLiteral("option")},
        {QStringLiteral("minimize"), QStringLiteral("minimize")},
        {QStringLiteral("close"), QStringLiteral("close")}};
    for (auto it = toolTips.begin(); it != toolTips.end(); ++it) {
        QQuickItem *button =
            PagesFixture::control(QLatin1String("tavel-ai-yestermark_Button_") + it.key());
        QVERIFY2(button, qPrintable(it.key()));
        QCOMPARE(button->width(), 32.0);
        QCOMPARE(button->property("toolTip").toString(), it.value());
        QVERIFY(QRectF(0, 0, 1920, 40).contains(button->mapRectToScene(button->boundingRect())));
    }
    PagesFixture::click(
        PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Button_minimize")));
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("minimizeTheWindow()")));
    PagesFixture::click(PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Button_close")));
    QVERIFY(pages.root()->property("closeBtnPopUpVisible").toBool());
}

void PagesTest::menuEntries()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    const auto choose = [](const char *entry) {
        PagesFixture::click(
            PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Button_menu")));
        const QString name = QLatin1String("tavel-ai-yestermark_MenuItem_") + QLatin1String(entry);
        QTRY_VERIFY(PagesFixture::control(name));
        QCOMPARE(PagesFixture::control(name)->width(), 122.0);
        QTRY_VERIFY(PagesFixture::control(name)->isEnabled());
        PagesFixture::click(PagesFixture::control(name));
    };
    choose("help");
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("showGuide()")));
    choose("settings");
    QVERIFY(pages.root()->property("settingsPageVisible").toBool());
    pages.root()->setProperty("settingsPageVisible", false);
    choose("about");
    QVERIFY(pages.root()->property("aboutPageVisible").toBool());
    pages.root()->setProperty("aboutPageVisible", false);
    choose("exit");
    QVERIFY(pages.root()->property("closeBtnPopUpVisible").toBool());
}

void PagesTest::menuButtonClosesTheMenu()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    QQuickItem *button = control("Button_menu");
    for (int round = 0; round < 2; ++round) {
        PagesFixture::click(button);
        QTRY_VERIFY(control("MenuItem_exit"));
        PagesFixture::click(button);
        QTRY_VERIFY(!control("MenuItem_exit"));
    }
    PagesFixture::click(button);
    QTRY_VERIFY(control("MenuItem_exit"));
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, QPoint(300, 900));
    QTRY_VERIFY(!control("MenuItem_exit")); // and so does any other place
}

void PagesTest::menuByKeyboard_data()
{
    QTest::addColumn<Qt::Key>("opener");
    QTest::newRow("Return") << Qt::Key_Return;
    QTest::newRow("Enter") << Qt::Key_Enter;
    QTest::newRow("Space") << Qt::Key_Space;
}

void PagesTest::menuByKeyboard()
{
    QFETCH(Qt::Key, opener);
    PagesFixture pages;
    QVERIFY(pages.show());
    QTRY_VERIFY(pages.view.isActive());
    QQuickItem *button = PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Button_menu"));
    const auto entry = [](const char *name) {
        return PagesFixture::control(QLatin1String("tavel-ai-yestermark_MenuItem_") +
                                     QLatin1String(name));
    };
    const auto isChosen = [&](const char *name) {
        return entry(name) && entry(name)->property("highlighted").toBool();
    };
    button->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&pages.view, opener);
    QTRY_VERIFY(isChosen("settings"));
    const QStringList texts = PagesFixture::texts(&pages.view);
    for (const char *text : {"Settings", "Help", "About", "Exit"}) {
        QVERIFY2(texts.contains(QLatin1String(text)), text);
    }
    for (const char *name : {"help", "about", "exit", "exit"}) { // it ends at the last
        QTest::keyClick(&pages.view, Qt::Key_Down);
        QVERIFY2(isChosen(name), name);
    }
    for (const char *name : {"about", "help", "settings", "settings"}) {
        QTest::keyClick(&pages.view, Qt::Key_Up);
        QVERIFY2(isChosen(name), name);
    }
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    QTRY_VERIFY(!entry("settings"));
    QCOMPARE(pages.view.activeFocusItem(), button);
    QVERIFY(!pages.root()->property("settingsPageVisible").toBool());
    QTest::keyClick(&pages.view, opener);
    QTRY_VERIFY(isChosen("settings"));
    QTest::keyClick(&pages.view, Qt::Key_Return);
    QVERIFY(pages.root()->property("settingsPageVisible").toBool());
    QTRY_VERIFY(!entry("settings"));
}

void PagesTest::menuByKeyboardWhereThePointerRests()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    QTRY_VERIFY(pages.view.isActive());
    const QString exit = QStringLiteral("tavel-ai-yestermark_MenuItem_exit");
    QQuickItem *button = PagesFixture::control(QStringLiteral("tavel-ai-yestermark_Button_menu"));
    PagesFixture::click(button);
    QTRY_VERIFY(PagesFixture::control(exit));
    const QPoint place = PagesFixture::centreOf(PagesFixture::control(exit));
    pages.hover(place);
    QTRY_VERIFY(PagesFixture::control(exit)->property("highlighted").toBool());
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    QTRY_VERIFY(!PagesFixture::control(exit));

    QTest::keyClick(&pages.view, Qt::Key_Return);
    QTRY_VERIFY(PagesFixture::control(exit));
    QSignalSpy frames(&pages.view, &QQuickWindow::frameSwapped);
    while (frames.size() < 2) { // a frame tells the items of the pointer
        pages.view.update();
        QVERIFY(frames.wait(10000));
    }
    const auto isChosen = [&exit] {
        return PagesFixture::control(exit)->property("highlighted").toBool();
    };
    QVERIFY(!isChosen());
    pages.hover(place + QPoint(1, 1)); // one that moves counts
    pages.hover(place + QPoint(2, 1));
    QTRY_VERIFY(isChosen());
    QTest::keyClick(&pages.view, Qt::Key_Escape);
}

void PagesTest::trayWiring()
{
    PagesFixture pages;
    pages.videoInfo.startButton = true;
    QVERIFY(pages.show());
    Q_EMIT pages.trayIcon.startMemory();
    QVERIFY(!pages.root()->property("startScreenVisible").toBool());
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("minimizeTheWindow()")));
    Q_EMIT pages.trayIcon.openSettings();
    QVERIFY(pages.root()->property("settingsPageVisible").toBool());
    pages.root()->setProperty("settingsPageVisible", false);
    Q_EMIT pages.videoInfo.backInTimeDetected();
    QVERIFY(pages.root()->property("timeChangeTipVisible").toBool());
}

void PagesTest::closingAsksOnlyAVisibleWindow()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    pages.titleBar.visible = false;
    Q_EMIT pages.trayIcon.quitMemory();
    Q_EMIT pages.videoInfo.quitYestermark();
    QVERIFY(!pages.root()->property("closeBtnPopUpVisible").toBool());
    pages.titleBar.visible = true;
    Q_EMIT pages.trayIcon.quitMemory();
    QVERIFY(pages.root()->property("closeBtnPopUpVisible").toBool());
    pages.root()->setProperty("closeBtnPopUpVisible", false);
    Q_EMIT pages.videoInfo.quitYestermark();
    QVERIFY(pages.root()->property("closeBtnPopUpVisible").toBool());
}

QTEST_MAIN(PagesTest)
#include "pagestest.moc"
