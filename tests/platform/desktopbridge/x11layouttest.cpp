// The order of screens and the scale, from what an X server tells. No server needed.

#include "desktopbridge/x11/x11layout.h"

#include <QTest>

namespace
{
const QRect LEFT(0, 0, 1920, 1080);
const QRect RIGHT(1920, 0, 2560, 1440);
const QRect BELOW(0, 1080, 1280, 1024);
const QRect ALL(0, 0, 4480, 2104);

X11Output output(const QRect &area, bool primary = false, bool on = true)
{
    return {QByteArrayLiteral("DP-1"), primary, on, area};
}
} // namespace

Q_DECLARE_METATYPE(QVector<X11Output>)

class X11LayoutTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void order_data();
    void order();
    void knowsXwaylandByItsOutputs();
    void scale_data();
    void scale();
};

void X11LayoutTest::order_data()
{
    QTest::addColumn<QVector<X11Output>>("outputs");
    QTest::addColumn<QVector<QRect>>("screens");
    using Outputs = QVector<X11Output>;
    using Screens = QVector<QRect>;
    QTest::newRow("one") << Outputs{output(LEFT)} << Screens{LEFT};
    QTest::newRow("first is primary")
        << Outputs{output(LEFT, true), output(RIGHT)} << Screens{LEFT, RIGHT};
    QTest::newRow("last is primary")
        << Outputs{output(LEFT), output(BELOW), output(RIGHT, true)} << Screens{RIGHT, LEFT, BELOW};
    QTest::newRow("none is primary")
        << Outputs{output(RIGHT), output(LEFT)} << Screens{RIGHT, LEFT};
    QTest::newRow("primary is off")
        << Outputs{output(LEFT), output(RIGHT, true, false)} << Screens{LEFT};
    QTest::newRow("same area twice") << Outputs{output(LEFT), output(LEFT)} << Screens{LEFT, LEFT};
    QTest::newRow("all off") << Outputs{output(LEFT, false, false)} << Screens{ALL};
    QTest::newRow("no outputs") << Outputs{} << Screens{ALL};
    QTest::newRow("beyond the screen")
        << Outputs{output(QRect(4000, 0, 1000, 1000))} << Screens{QRect(4000, 0, 480, 1000)};
}

void X11LayoutTest::order()
{
    QFETCH(QVector<X11Output>, outputs);
    QFETCH(QVector<QRect>, screens);
    QCOMPARE(orderScreens(outputs, ALL), screens);
}

void X11LayoutTest::knowsXwaylandByItsOutputs()
{
    QVERIFY(!looksLikeXwayland({output(LEFT)}));
    QVERIFY(looksLikeXwayland({{QByteArrayLiteral("XWAYLAND0"), false, true, LEFT}}));
}

void X11LayoutTest::scale_data()
{
    QTest::addColumn<QByteArray>("resources");
    QTest::addColumn<int>("scale");
    QTest::newRow("nothing") << QByteArray() << 1;
    QTest::newRow("other lines") << QByteArray("Xft.hinting:\t1\nXcursor.size:\t48\n") << 1;
    QTest::newRow("96") << QByteArray("Xft.dpi:\t96\n") << 1;
    QTest::newRow("120") << QByteArray("Xft.dpi:\t120\n") << 1;
    QTest::newRow("144") << QByteArray("Xft.dpi:\t144\n") << 2;
    QTest::newRow("192 among others") << QByteArray("A:\tb\nXft.dpi:\t192\nXft.rgba:\tnone\n") << 2;
    QTest::newRow("288, blanks") << QByteArray("Xft.dpi:  288  ") << 3;
    QTest::newRow("fraction") << QByteArray("Xft.dpi:\t191.5") << 2;
    QTest::newRow("small") << QByteArray("Xft.dpi:\t40") << 1;
    QTest::newRow("no number") << QByteArray("Xft.dpi:\tlarge") << 1;
    QTest::newRow("absurd") << QByteArray("Xft.dpi:\t99999") << 8;
    QTest::newRow("another key") << QByteArray("MyXft.dpi:\t192") << 1;
}

void X11LayoutTest::scale()
{
    QFETCH(QByteArray, resources);
    QFETCH(int, scale);
    QCOMPARE(scaleFromResources(resources), scale);
}

QTEST_GUILESS_MAIN(X11LayoutTest)
#include "x11layouttest.moc"
