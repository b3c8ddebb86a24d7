// The design's figures: sizes, colours and icons of pages and dialogs, and in which order a button
// closes its page and calls. The window has the design's own size, so that lengths are those of the
// design.

#include "qml/pagesfixture.h"

#include <QScreen>
#include <QTest>

#include <algorithm>

class DesignTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rootPropertiesAtTheStart();
    void barsOfTheAxis();
    void barsAndFramesCanBeSeenInTheDark();
    void daysOfTheAxis();
    void iconsOfBarsAreOfTheThemeOrFiles();
    void pageButtonsShowTheirIcons();
    void titleBarAndItsToolTips();
    void menuStandsBelowItsButton();
    void startScreen();
    void startButtonShowsThePageBeforeItStarts();
    void previewPopup();
    void previewFollowsThePointerWithinThePage();
    void longNamesLeaveRoomForTheDate();
    void dialogFrames_data();
    void dialogFrames();
    void warningIcons_data();
    void warningIcons();
    void deletionIsRed();
    void radioButtons();
    void cutRadioTextIsToldBelowThePointer();
    void closingPopUpClosesBeforeTheWindowGoes();
    void timeTipDeletesThenFollowsThenCloses();
    void settingsCallBeforeTheyClose();
};

namespace
{
bool isOf(QQuickItem *item, const char *type)
{
    const QByteArray name = item->metaObject()->className();
    return name == type || name.startsWith(QByteArray(type) + "_QML");
}

/// The first shown item of a type below @p from; null if there is none.
QQuickItem *itemOf(QQuickItem *from, const char *type)
{
    QQuickItem *found = nullptr;
    PagesFixture::visit(from, [&](QQuickItem *item) {
        if (!found && item != from && isOf(item, type)) {
            found = item;
        }
    });
    return found;
}

QQuickItem *textOf(QQuickItem *from, const QString &text)
{
    QQuickItem *found = nullptr;
    PagesFixture::visit(from, [&](QQuickItem *item) {
        if (!found && item->inherits("QQuickText") && item->property("text").toString() == text) {
            found = item;
        }
    });
    return found;
}

/// The rectangles right below an item, in their order.
QList<QQuickItem *> rectanglesOf(QQuickItem *item)
{
    QList<QQuickItem *> found;
    for (QQuickItem *child : item->childItems()) {
        if (isOf(child, "QQuickRectangle")) {
            found.append(child);
        }
    }
    return found;
}

QColor colorOf(QQuickItem *item)
{
    return item->property("color").value<QColor>();
}

QColor borderOf(QQuickItem *item)
{
    return item->property("border").value<QObject *>()->property("color").value<QColor>();
}

QQuickItem *control(const char *name)
{
    return PagesFixture::control(QLatin1String("tavel-ai-yestermark_") + QLatin1String(name));
}

/// The tool tip that is declared within a control.
QObject *toolTipOf(QQuickItem *item)
{
    for (QObject *child : item->findChildren<QObject *>()) {
        if (QByteArray(child->metaObject()->className()).startsWith("ToolTipItem_")) {
            return child;
        }
    }
    return nullptr;
}

QQuickWindow *openDialog(PagesFixture *pages, const char *flag, const char *title)
{
    if (!pages->view.isVisible() && !pages->show()) {
        return nullptr;
    }
    pages->calls.take();
    pages->showDialog(flag);
    QQuickWindow *dialog = PagesFixture::dialog(QLatin1String(title));
    const bool isShown = dialog && QTest::qWaitForWindowExposed(dialog, 20000) &&
                         QTest::qWaitForWindowActive(dialog, 20000);
    return isShown ? dialog : nullptr;
}

const char timeTip[] = "Detected that the system time has been changed";
const char closing[] = "Please select the state after closing:";
} // namespace

void DesignTest::rootPropertiesAtTheStart()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    const QSize screen = QGuiApplication::primaryScreen()->size();
    const QVector<QPair<const char *, QVariant>> expected = {
        {"widthScaleFactor", 1.0},
        {"heightScaleFactor", 1.0},
        {"screenWidth", screen.width()},
        {"screenHeight", screen.height()},
        {"screenScale", 1.0},
        {"appIconWidth", 24.0},
        {"ocrResultReturned", false},
        {"searchBoxUsable", true},
        {"aboutPageVisible", false},
        {"closeBtnPopUpVisible", false},
        {"settingsPageVisible", false},
        {"timeChangeTipVisible", false},
        {"subsystemUnavailableWindowVisible", false},
    };
    for (const auto &property : expected) {
        QVERIFY2(pages.root()->property(property.first) == property.second, property.first);
    }
}

void DesignTest::barsOfTheAxis()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {30, 100}));
    QVERIFY(pages.show());
    QQuickItem *bar = rectanglesOf(itemOf(pages.root(), "AppBar")).first();
    QCOMPARE(QSizeF(bar->width(), bar->height()), QSizeF(240, 8));
    QCOMPARE(bar->property("radius").toInt(), 8);
    QCOMPARE(colorOf(bar), QColor("#262626"));
    QCOMPARE(bar->opacity(), 0.25);
    const qreal date = pages.callAxis("getPreviousDayAppWidth", {0}).toReal();
    pages.hover(pages.onAxis(date + 100));
    QTRY_COMPARE(bar->opacity(), 1.0);
    QQuickItem *pill = control("Slider_timeAxis");
    QCOMPARE(colorOf(bar), colorOf(rectanglesOf(pill).first())); // the highlight's
}

void DesignTest::barsAndFramesCanBeSeenInTheDark()
{
    PagesFixture pages;
    pages.videoInfo.dark = true;
    pages.videoInfo.appendDay(dayAgo(0, {30, 100}));
    QVERIFY(pages.show());
    QQuickItem *bar = rectanglesOf(itemOf(pages.root(), "AppBar")).first();
    QCOMPARE(colorOf(bar), QColor("#ffffff"));
    QCOMPARE(bar->opacity(), 0.25);
    pages.hover(QPoint(300, 900)); // a pointer that stays where it was tells nothing
    pages.hover(pages.onAxis(pages.callAxis("getPreviousDayAppWidth", {0}).toReal() + 100));
    QTRY_VERIFY(itemOf(pages.root(), "PreviewImage"));
    QQuickItem *frame = rectanglesOf(itemOf(pages.root(), "PreviewImage")).first();
    QCOMPARE(borderOf(frame), QColor("#1affffff"));
}

void DesignTest::daysOfTheAxis()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(1, {30, 100}));
    pages.videoInfo.appendDay(dayAgo(0, {30, 100}));
    QVERIFY(pages.show());
    QQuickItem *flickable = itemOf(pages.root(), "DayList");
    QVERIFY(!flickable->property("interactive").toBool());
    QQuickItem *days = itemOf(flickable, "QQuickListView");
    QCOMPARE(days->property("orientation").toInt(), 1); // ListView.Horizontal
    QCOMPARE(days->property("cacheBuffer").toInt(), 4 * 1820);
    QCOMPARE(itemOf(flickable, "AppRunList")->property("spacing").toReal(), 8.0);
    QVERIFY(textOf(flickable, QStringLiteral("·today·")));
    QVERIFY(textOf(flickable, QStringLiteral("·1 day ago·")));
}

void DesignTest::iconsOfBarsAreOfTheThemeOrFiles()
{
    PagesFixture pages;
    TestDay day = dayAgo(0, {30, 30});
    day.runs[1].appIcon = QStringLiteral("file:///usr/share/none/of/it.png");
    pages.videoInfo.appendDay(day);
    QVERIFY(pages.show());
    QStringList icons;
    PagesFixture::visit(pages.root(), [&icons](QQuickItem *item) {
        if (!isOf(item, "AppBar")) {
            return;
        }
        QQuickItem *theme = itemOf(item, "TavelIcon");
        QQuickItem *picture = itemOf(item, "QQuickImage");
        icons.append(theme     ? QLatin1String("theme ") + theme->property("name").toString()
                     : picture ? picture->property("source").toString()
                               : QString());
    });
    QCOMPARE(icons, QStringList({QStringLiteral("theme application-x-desktop"),
                                 QStringLiteral("file:///usr/share/none/of/it.png")}));
}

void DesignTest::pageButtonsShowTheirIcons()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {300}));
    QVERIFY(pages.show());
    QQuickItem *last = itemOf(control("Button_lastPage"), "TavelIcon");
    QQuickItem *next = itemOf(control("Button_nextPage"), "TavelIcon");
    QCOMPARE(last->property("name").toString(), QStringLiteral("vesk-start-symbolic"));
    QCOMPARE(next->property("name").toString(), QStringLiteral("vesk-end-symbolic"));
    QCOMPARE(last->opacity(), 1.0);
    QCOMPARE(next->opacity(), 0.3);
}

void DesignTest::titleBarAndItsToolTips()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    QQuickItem *bar = itemOf(pages.root(), "TitleBar");
    QCOMPARE(bar->height(), 40.0);
    QQuickItem *program = itemOf(bar, "AppProgramIcon");
    QVERIFY(itemOf(program, "QQuickImage"));
    QVERIFY(textOf(program, QStringLiteral("Yestermark")));
    for (const char *name : {"Button_menu", "Button_minimize", "Button_close"}) {
        QObject *tip = toolTipOf(control(name));
        QVERIFY(tip);
        QCOMPARE(tip->property("delay").toInt(), 1000);
        QCOMPARE(tip->property("timeout").toInt(), 5000);
    }
}

void DesignTest::menuStandsBelowItsButton()
{
    PagesFixture pages;
    QVERIFY(pages.show());
    QQuickItem *button = control("Button_menu");
    PagesFixture::click(button);
    QTRY_VERIFY(control("MenuItem_settings"));
    const QRectF above = button->mapRectToScene(button->boundingRect());
    QQuickItem *entry = control("MenuItem_settings");
    const QRectF first = entry->mapRectToScene(entry->boundingRect());
    QVERIFY(first.top() >= above.bottom());
    QVERIFY(first.top() < above.bottom() + 20);
    QVERIFY(first.left() < above.right() && first.right() > above.left());
    QList<qreal> tops;
    for (const char *name :
         {"MenuItem_settings", "MenuItem_help", "MenuItem_about", "MenuItem_exit"}) {
        tops.append(control(name)->mapToScene(QPointF()).y());
    }
    QVERIFY(std::is_sorted(tops.begin(), tops.end()));
}

void DesignTest::startScreen()
{
    PagesFixture pages;
    pages.videoInfo.startButton = true;
    QVERIFY(pages.show());
    QQuickItem *screen = itemOf(pages.root(), "StartMemoryBtn");
    QCOMPARE(QSizeF(screen->width(), screen->height()), QSizeF(560, 560));
    QQuickItem *logo = itemOf(screen, "QQuickImage");
    QCOMPARE(QSizeF(logo->width(), logo->height()), QSizeF(96, 96));
    int faint = 0;
    PagesFixture::visit(screen, [&faint](QQuickItem *item) {
        if (item->inherits("QQuickText") && item->opacity() < 1) {
            QCOMPARE(item->opacity(), 0.55);
            ++faint;
        }
    });
    QCOMPARE(faint, 2);
    QCOMPARE(control("Button_start")->property("buttonType").toString(),
             QStringLiteral("BlueButton"));
}

void DesignTest::startButtonShowsThePageBeforeItStarts()
{
    PagesFixture pages;
    pages.videoInfo.startButton = true;
    pages.videoInfo.appendDay(dayAgo(0, {30}));
    QVERIFY(pages.show());
    pages.calls.take();
    QQuickItem *screen = itemOf(pages.root(), "StartMemoryBtn");
    QQuickItem *button = control("Button_start");
    QStringList callsAtTheChange;
    connect(screen, &QQuickItem::visibleChanged, this, [&] {
        callsAtTheChange.append(pages.calls.calls().join(QLatin1Char(' ')) + QLatin1Char('.'));
    });
    PagesFixture::click(button);
    QCOMPARE(callsAtTheChange, QStringList(QStringLiteral(".")));
    QVERIFY(!screen->isVisible());
    QVERIFY(itemOf(pages.root(), "PreviewPage"));
}

void DesignTest::previewPopup()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {100, 100}));
    QVERIFY(pages.show());
    pages.hover(pages.onAxis(pages.callAxis("getPreviousDayAppWidth", {0}).toReal() + 200));
    QTRY_VERIFY(itemOf(pages.root(), "PreviewImage"));
    QQuickItem *popup = itemOf(pages.root(), "PreviewImage");
    const int width = qRound(QGuiApplication::primaryScreen()->size().width() * 0.2);
    QCOMPARE(popup->property("previewImgWidth").toInt(), width);
    QQuickItem *picture = itemOf(popup, "RoundedImage");
    QCOMPARE(picture->width(), qreal(width));
    QQuickItem *image = itemOf(picture, "QQuickImage");
    QVERIFY(image->implicitWidth() > 0);
    QCOMPARE(picture->height(),
             qreal(qRound(width * image->implicitHeight() / image->implicitWidth())));
    auto *axis = qobject_cast<QQuickItem *>(pages.timeAxis());
    QCOMPARE(popup->mapToScene(QPointF()).y(), axis->mapToScene({0, axis->height()}).y() + 16);
    QQuickItem *frame = rectanglesOf(popup).first();
    QCOMPARE(frame->property("radius").toInt(), 12);
    QCOMPARE(borderOf(frame), QColor("#0D262626"));
    QQuickItem *shadow = itemOf(popup, "SoftShadow");
    QCOMPARE(shadow->property("verticalOffset").toInt(), 8);
    QVERIFY(itemOf(popup, "TavelIcon"));
    QVERIFY(textOf(popup, QStringLiteral("Editor")));
    QVERIFY(textOf(popup, pages.previewItem.previewImageDate() + QLatin1Char(' ') +
                              pages.previewItem.previewImageTime()));
}

void DesignTest::previewFollowsThePointerWithinThePage()
{
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {210})); // nearly as wide as the list
    QVERIFY(pages.show());
    const qreal date = pages.callAxis("getPreviousDayAppWidth", {0}).toReal();
    const auto centreAt = [&pages](qreal x) {
        pages.hover(pages.onAxis(x));
        const auto isShown = [&pages] { return itemOf(pages.root(), "PreviewImage") != nullptr; };
        if (!QTest::qWaitFor(isShown, 10000)) {
            return -1.0;
        }
        QQuickItem *popup = itemOf(pages.root(), "PreviewImage");
        return popup->x() + popup->width() / 2;
    };
    QCOMPARE(centreAt(date + 700), 50 + date + 700);
    QCOMPARE(centreAt(date + 900), 50 + date + 900);
    centreAt(date + 4);
    QVERIFY(itemOf(pages.root(), "PreviewImage")->x() >= 0);
    centreAt(date + 1670);
    QQuickItem *popup = itemOf(pages.root(), "PreviewImage");
    QVERIFY(popup->x() + popup->width() <= 1920);
}

void DesignTest::longNamesLeaveRoomForTheDate()
{
    PagesFixture pages;
    TestDay day = dayAgo(0, {100});
    day.runs[0].appName = QString(400, QLatin1Char('n'));
    pages.videoInfo.appendDay(day);
    QVERIFY(pages.show(QSize(960, 517))); // off screen, the popup is narrow
    pages.hover(pages.onAxis(pages.callAxis("getPreviousDayAppWidth", {0}).toReal() + 200));
    QTRY_VERIFY(itemOf(pages.root(), "PreviewImage"));
    QQuickItem *popup = itemOf(pages.root(), "PreviewImage");
    QQuickItem *name = textOf(popup, day.runs[0].appName);
    QQuickItem *when = textOf(popup, pages.previewItem.previewImageDate() + QLatin1Char(' ') +
                                         pages.previewItem.previewImageTime());
    QVERIFY(name && when);
    const qreal icon = itemOf(popup, "AppIcon")->width();
    QCOMPARE(icon, 12.0);
    QCOMPARE(name->width(), popup->property("previewImgWidth").toReal() - when->width() - icon - 8);
    QVERIFY(name->property("truncated").toBool());
}

void DesignTest::dialogFrames_data()
{
    QTest::addColumn<QByteArray>("flag");
    QTest::addColumn<QByteArray>("title");
    QTest::newRow("settings") << QByteArray("settingsPageVisible") << QByteArray("Settings");
    QTest::newRow("delete") << QByteArray("Button_deleteAllData") << QByteArray("Delete All Data");
    QTest::newRow("about") << QByteArray("aboutPageVisible") << QByteArray("About");
    QTest::newRow("close") << QByteArray("closeBtnPopUpVisible") << QByteArray(closing);
    QTest::newRow("clock") << QByteArray("timeChangeTipVisible") << QByteArray(timeTip);
    QTest::newRow("runtime") << QByteArray("subsystemUnavailableWindowVisible")
                             << QByteArray("AI service unavailable");
}

void DesignTest::dialogFrames()
{
    QFETCH(QByteArray, flag);
    QFETCH(QByteArray, title);
    PagesFixture pages;
    QQuickWindow *dialog = openDialog(&pages, flag, title);
    QVERIFY(dialog);
    QQuickItem *frame = rectanglesOf(dialog->contentItem()).first();
    QCOMPARE(QSizeF(frame->width(), frame->height()), QSizeF(dialog->size()));
    QCOMPARE(frame->property("radius").toReal(),
             12.0); // off screen, where corners can be seen through
}

void DesignTest::warningIcons_data()
{
    QTest::addColumn<QByteArray>("flag");
    QTest::addColumn<QByteArray>("title");
    QTest::newRow("clock") << QByteArray("timeChangeTipVisible") << QByteArray(timeTip);
    QTest::newRow("runtime") << QByteArray("subsystemUnavailableWindowVisible")
                             << QByteArray("AI service unavailable");
}

void DesignTest::warningIcons()
{
    QFETCH(QByteArray, flag);
    QFETCH(QByteArray, title);
    PagesFixture pages;
    QQuickWindow *dialog = openDialog(&pages, flag, title);
    QVERIFY(dialog);
    QQuickItem *icon = itemOf(dialog->contentItem(), "TavelIcon");
    QVERIFY(icon);
    QCOMPARE(icon->property("name").toString(), QStringLiteral("dialog-warning"));
}

void DesignTest::deletionIsRed()
{
    PagesFixture pages;
    QQuickWindow *dialog = openDialog(&pages, "settingsPageVisible", "Settings");
    QVERIFY(dialog);
    QQuickItem *button = control("Button_deleteAllData");
    QCOMPARE(itemOf(button, "QQuickImage")->property("source").toString(),
             QStringLiteral("qrc:/image/outline.svg"));
    QQuickItem *text = textOf(button, QStringLiteral("Delete All Data"));
    QCOMPARE(colorOf(text), QColor("#F3222D"));
    const QPoint centre = PagesFixture::centreOf(button);
    QTest::mouseMove(dialog, QPoint(2, 2)); // a pointer that stays where it was tells nothing
    QTest::mouseMove(dialog, centre);
    QTRY_COMPARE(colorOf(text), QColor("#E7202B"));
    QTest::mousePress(dialog, Qt::LeftButton, {}, centre);
    QCOMPARE(colorOf(text), QColor("#C21B24"));
    QTest::mouseMove(dialog, QPoint(2, 2)); // let go beside it, nothing is asked
    QTest::mouseRelease(dialog, Qt::LeftButton, {}, QPoint(2, 2));
    QTRY_COMPARE(colorOf(text), QColor("#F3222D"));
    QVERIFY(!PagesFixture::dialog(QStringLiteral("Delete All Data")));
}

void DesignTest::radioButtons()
{
    PagesFixture pages;
    QVERIFY(openDialog(&pages, "closeBtnPopUpVisible", closing));
    const auto indicator = [](const char *name) {
        return control(name)->property("indicator").value<QQuickItem *>();
    };
    QQuickItem *checked = indicator("RadioButton_minimize");
    QQuickItem *other = indicator("RadioButton_exit");
    for (QQuickItem *item : {checked, other}) {
        QCOMPARE(QSizeF(item->width(), item->height()), QSizeF(16, 16));
    }
    QCOMPARE(borderOf(checked), QColor("#3790FA"));
    QCOMPARE(borderOf(other), QColor("#BAC1C9"));
    PagesFixture::click(control("RadioButton_exit"));
    QCOMPARE(borderOf(checked), QColor("#BAC1C9"));
    QCOMPARE(borderOf(other), QColor("#3790FA"));
}

void DesignTest::cutRadioTextIsToldBelowThePointer()
{
    PagesFixture pages;
    QQuickWindow *dialog = openDialog(&pages, "closeBtnPopUpVisible", closing);
    QVERIFY(dialog);
    QQuickItem *radio = control("RadioButton_minimize");
    radio->setWidth(80);
    QObject *tip = toolTipOf(radio);
    QVERIFY(tip);
    QCOMPARE(tip->property("delay").toInt(), 500);
    QTest::mouseMove(dialog, PagesFixture::at(radio, QPointF(40, 10)));
    QTRY_COMPARE(tip->property("y").toReal(), 10.0 + 35);
    QTRY_VERIFY(tip->property("opened").toBool());
}

void DesignTest::closingPopUpClosesBeforeTheWindowGoes()
{
    for (const char *choice : {"RadioButton_minimize", "RadioButton_exit"}) {
        PagesFixture pages;
        QQuickWindow *dialog = openDialog(&pages, "closeBtnPopUpVisible", closing);
        QVERIFY(dialog);
        PagesFixture::click(control(choice));
        QStringList calls;
        connect(dialog, &QWindow::visibleChanged, this,
                [&] { calls = QStringList("closed") + pages.calls.calls(); });
        PagesFixture::click(control("Button_confirm"));
        QCOMPARE(calls, QStringList("closed"));
        QCOMPARE(pages.calls.calls().size(), 1);
    }
}

void DesignTest::timeTipDeletesThenFollowsThenCloses()
{
    PagesFixture pages;
    QQuickWindow *dialog = openDialog(&pages, "timeChangeTipVisible", timeTip);
    QVERIFY(dialog);
    QStringList states;
    connect(dialog, &QWindow::visibleChanged, this, [&] {
        states = pages.calls.calls();
        states.append(pages.axis("isDeleteAllData").toString());
    });
    PagesFixture::click(control("Button_deleteHistory"));
    QCOMPARE(states, QStringList({QStringLiteral("deleteHistory()"), QStringLiteral("true")}));
}

void DesignTest::settingsCallBeforeTheyClose()
{
    PagesFixture pages;
    QQuickWindow *dialog = openDialog(&pages, "settingsPageVisible", "Settings");
    QVERIFY(dialog);
    PagesFixture::click(control("RadioButton_exit"));
    QStringList calls;
    connect(dialog, &QWindow::visibleChanged, this, [&] { calls = pages.calls.calls(); });
    PagesFixture::click(control("Button_confirm"));
    QCOMPARE(calls, QStringList({QStringLiteral("setCloseWindowOption(false)"),
                                 QStringLiteral("setMaxOccupiedSpace(10)")}));
}

QTEST_MAIN(DesignTest)
#include "designtest.moc"
