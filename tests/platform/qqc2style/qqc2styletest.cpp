// The style module as pages import it: colours for light and dark, icons with fallbacks.

#include <QGuiApplication>
#include <QPalette>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <memory>

class Qqc2StyleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void rolesDifferInLightAndDark();
    void textIsReadable_data();
    void textIsReadable();
    void stockPaletteIsReplaced();
    void chosenPaletteOfTheSameKindIsTaken();
    void chosenPaletteOfTheOtherKindIsReplaced();
    void darkFollowsThePaletteUntilItIsSet();
    void fontIsTheApplications();
    void everyOwnIconIsDrawn_data();
    void everyOwnIconIsDrawn();
    void symbolicIconsTakeTheColour();
    void colouredIconsKeepTheirs();
    void unknownApplicationsHaveAnIcon();
    void unknownSymbolsAreEmpty();
    void iconsAreDrawnAtTheirSize();
    void changesAreShown();
    void worksWithoutAWindow();
    void compositingIsToldAsTheDisplayHasIt();

private:
    std::unique_ptr<QObject> make(const QByteArray &body);
    QObject *style();
    QImage picture(const QByteArray &properties, int size = 64);

    QQmlEngine m_engine;
    std::unique_ptr<QObject> m_holder;
};

namespace
{
QPalette desktopPalette(const QColor &window, const QColor &text)
{
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, window.lighter(105));
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Highlight, QColor("#aa00aa"));
    return palette;
}

qreal luminance(const QColor &color)
{
    const auto linear = [](qreal value) {
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

qreal contrast(const QColor &one, const QColor &other)
{
    const qreal a = luminance(one) + 0.05;
    const qreal b = luminance(other) + 0.05;
    return qMax(a, b) / qMin(a, b);
}

int inkOf(const QImage &image, const QColor &background)
{
    int ink = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ink += image.pixelColor(x, y) != background;
        }
    }
    return ink;
}
} // namespace

void Qqc2StyleTest::initTestCase()
{
    QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    m_engine.addImportPath(QStringLiteral(TEST_QML_FOLDER));
    m_holder = make("QtObject { property QtObject style: Style.StyleHelper }");
    QVERIFY(m_holder);
    QVERIFY(style());
}

std::unique_ptr<QObject> Qqc2StyleTest::make(const QByteArray &body)
{
    QQmlComponent component(&m_engine);
    component.setData(
        "import QtQuick 2.12\nimport org.vesk.qqc2style.private 1.0 as Style\n" + body, QUrl());
    std::unique_ptr<QObject> made(component.create());
    if (!made) {
        qWarning() << component.errorString();
    }
    return made;
}

QObject *Qqc2StyleTest::style()
{
    return m_holder->property("style").value<QObject *>();
}

QImage Qqc2StyleTest::picture(const QByteArray &properties, int size)
{
    QQuickView view(&m_engine, nullptr);
    view.setColor(Qt::white);
    const std::unique_ptr<QObject> object =
        make("Style.TavelIcon { size: " + QByteArray::number(size) + "; " + properties + " }");
    auto *icon = qobject_cast<QQuickItem *>(object.get());
    if (!icon) {
        return QImage();
    }
    icon->setParentItem(view.contentItem());
    view.resize(size, size);
    view.show();
    return QTest::qWaitForWindowExposed(&view) ? view.grabWindow() : QImage();
}

void Qqc2StyleTest::rolesDifferInLightAndDark()
{
    const char *const roles[] = {"window",   "windowText", "base",   "text",
                                 "midlight", "mid",        "button", "buttonText"};
    QVariantList light;
    style()->setProperty("dark", false);
    for (const char *role : roles) {
        light.append(style()->property(role));
    }
    QSignalSpy changed(style(), SIGNAL(paletteChanged()));
    style()->setProperty("dark", true);
    QCOMPARE(changed.count(), 1);
    for (int i = 0; i < light.size(); ++i) {
        QVERIFY2(style()->property(roles[i]) != light.at(i), roles[i]);
    }
}

void Qqc2StyleTest::textIsReadable_data()
{
    QTest::addColumn<bool>("dark");
    QTest::newRow("light") << false;
    QTest::newRow("dark") << true;
}

void Qqc2StyleTest::textIsReadable()
{
    QFETCH(bool, dark);
    style()->setProperty("dark", dark);
    for (const char *ground : {"window", "base", "midlight", "mid", "button"}) {
        const qreal found = contrast(style()->property(ground).value<QColor>(),
                                     style()->property("text").value<QColor>());
        QVERIFY2(found >= 4.5, qPrintable(QStringLiteral("%1: %2").arg(ground).arg(found)));
    }
}

void Qqc2StyleTest::stockPaletteIsReplaced()
{
    style()->setProperty("dark", false);
    QCOMPARE(style()->property("highlight").value<QColor>(), QColor("#3790fa"));
}

void Qqc2StyleTest::chosenPaletteOfTheSameKindIsTaken()
{
    const QPalette before = QGuiApplication::palette();
    style()->setProperty("dark", false);
    QGuiApplication::setPalette(desktopPalette(QColor("#f0e8d8"), Qt::black));
    QCOMPARE(style()->property("window").value<QColor>(), QColor("#f0e8d8"));
    QCOMPARE(style()->property("highlight").value<QColor>(), QColor("#aa00aa"));
    QGuiApplication::setPalette(before);
    QCOMPARE(style()->property("highlight").value<QColor>(), QColor("#3790fa"));
}

void Qqc2StyleTest::chosenPaletteOfTheOtherKindIsReplaced()
{
    const QPalette before = QGuiApplication::palette();
    style()->setProperty("dark", true);
    QGuiApplication::setPalette(desktopPalette(QColor("#f0e8d8"), Qt::black));
    QCOMPARE(style()->property("highlight").value<QColor>(), QColor("#3790fa"));
    QVERIFY(style()->property("window").value<QColor>().lightness() < 64);
    QGuiApplication::setPalette(before);
}

void Qqc2StyleTest::darkFollowsThePaletteUntilItIsSet()
{
    const QPalette before = QGuiApplication::palette();
    const std::unique_ptr<QObject> reset =
        make("QtObject { Component.onCompleted: Style.StyleHelper.dark = undefined }");
    QGuiApplication::setPalette(desktopPalette(QColor("#202020"), Qt::white));
    QCOMPARE(style()->property("dark").toBool(), true);
    QCOMPARE(style()->property("window").value<QColor>(), QColor("#202020"));
    QGuiApplication::setPalette(desktopPalette(QColor("#f8f8f8"), Qt::black));
    QCOMPARE(style()->property("dark").toBool(), false);
    style()->setProperty("dark", true);
    QCOMPARE(style()->property("dark").toBool(), true);
    QGuiApplication::setPalette(before);
}

void Qqc2StyleTest::fontIsTheApplications()
{
    const QFont before = QGuiApplication::font();
    QSignalSpy changed(style(), SIGNAL(fontChanged()));
    QFont larger = before;
    larger.setPixelSize(22);
    QGuiApplication::setFont(larger);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(style()->property("fontPixelSize").toInt(), 22);
    QCOMPARE(style()->property("font").value<QFont>(), larger);
    QGuiApplication::setFont(before);
}

void Qqc2StyleTest::everyOwnIconIsDrawn_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"vesk-start-symbolic", "vesk-end-symbolic", "screenshot-app-symbolic",
                             "edit-copy-symbolic", "object-select-symbolic", "open-menu-symbolic",
                             "window-minimize-symbolic", "window-close-symbolic",
                             "pan-down-symbolic", "system-search-symbolic", "edit-clear-symbolic",
                             "dialog-warning", "application-x-desktop"}) {
        QTest::newRow(name) << QByteArray(name);
    }
}

void Qqc2StyleTest::everyOwnIconIsDrawn()
{
    QFETCH(QByteArray, name);
    for (int size : {16, 32}) {
        const int ink = inkOf(picture("name: \"" + name + "\"", size), Qt::white);
        QVERIFY2(ink > size / 2, qPrintable(QString::number(ink)));
        QVERIFY(ink < size * size);
    }
}

void Qqc2StyleTest::symbolicIconsTakeTheColour()
{
    const QImage image = picture("name: \"window-close-symbolic\"; color: \"#ff0000\"");
    QVERIFY(inkOf(image, Qt::white) > 64);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            QCOMPARE(image.pixelColor(x, y).red(), 255); // red over white and nothing else
        }
    }
}

void Qqc2StyleTest::colouredIconsKeepTheirs()
{
    QCOMPARE(picture("name: \"dialog-warning\"; color: \"#ff0000\""),
             picture("name: \"dialog-warning\""));
}

void Qqc2StyleTest::unknownApplicationsHaveAnIcon()
{
    QCOMPARE(picture("name: \"no-such-program\""), picture("name: \"application-x-desktop\""));
    const std::unique_ptr<QObject> icon = make("Style.TavelIcon { name: \"no-such-program\" }");
    QCOMPARE(icon->property("available").toBool(), false);
}

void Qqc2StyleTest::unknownSymbolsAreEmpty()
{
    QCOMPARE(inkOf(picture("name: \"no-such-thing-symbolic\""), Qt::white), 0);
    QCOMPARE(inkOf(picture("name: \"\""), Qt::white), 0);
}

void Qqc2StyleTest::iconsAreDrawnAtTheirSize()
{
    const std::unique_ptr<QObject> icon = make("Style.TavelIcon { name: \"dialog-warning\" }");
    auto *item = qobject_cast<QQuickItem *>(icon.get());
    QVERIFY(item);
    QCOMPARE(QSizeF(item->implicitWidth(), item->implicitHeight()), QSizeF(24, 24));
    item->setProperty("size", 40);
    QCOMPARE(QSizeF(item->implicitWidth(), item->implicitHeight()), QSizeF(40, 40));
    QVERIFY(icon->property("available").toBool());
}

void Qqc2StyleTest::changesAreShown()
{
    QQuickView view(&m_engine, nullptr);
    view.setColor(Qt::white);
    const std::unique_ptr<QObject> object =
        make("Style.TavelIcon { name: \"window-close-symbolic\"; color: \"#000000\"; size: 64 }");
    auto *icon = qobject_cast<QQuickItem *>(object.get());
    QVERIFY(icon);
    icon->setParentItem(view.contentItem());
    view.resize(64, 64);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const QImage cross = view.grabWindow();
    icon->setProperty("name", "open-menu-symbolic");
    const QImage lines = view.grabWindow();
    QVERIFY(cross != lines);
    icon->setProperty("color", QColor(Qt::blue));
    QVERIFY(view.grabWindow() != lines);
    icon->setProperty("name", "");
    QCOMPARE(inkOf(view.grabWindow(), Qt::white), 0);
}

void Qqc2StyleTest::worksWithoutAWindow()
{
    const std::unique_ptr<QObject> icon = make("Style.TavelIcon { name: \"dialog-warning\" }");
    QCoreApplication::processEvents();
    QVERIFY(icon);
}

void Qqc2StyleTest::compositingIsToldAsTheDisplayHasIt()
{
    // The test's own X server has no compositing manager; other platforms cannot be without.
    QCOMPARE(style()->property("compositing").toBool(),
             QGuiApplication::platformName() != QLatin1String("xcb"));
}

QTEST_MAIN(Qqc2StyleTest)
#include "qqc2styletest.moc"
