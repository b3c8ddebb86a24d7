// Where the outputs of a Wayland session lie in device pixels.

#include "desktopbridge/wayland/outputlayout.h"

#include <QTest>

Q_DECLARE_METATYPE(OutputGeometry)
Q_DECLARE_METATYPE(OutputTransform)

namespace
{
using Outputs = QVector<OutputGeometry>;
using Screens = QVector<QRect>;
} // namespace

class OutputLayoutTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void placesInDevicePixels_data();
    void placesInDevicePixels();
    void neighboursNeverOverlap_data();
    void neighboursNeverOverlap();
    void sidesOfATurnedOutput_data();
    void sidesOfATurnedOutput();
    void tileEdge_data();
    void tileEdge();
    void scaleOfAnOutputWithoutASize();
};

void OutputLayoutTest::placesInDevicePixels_data()
{
    QTest::addColumn<Outputs>("outputs");
    QTest::addColumn<Screens>("screens");
    QTest::addColumn<QRect>("all");
    const OutputGeometry plain{QRect(0, 0, 1920, 1080), QSize(1920, 1080)};
    QTest::newRow("none") << Outputs{} << Screens{} << QRect();
    QTest::newRow("one") << Outputs{plain} << Screens{QRect(0, 0, 1920, 1080)}
                         << QRect(0, 0, 1920, 1080);
    QTest::newRow("side by side") << Outputs{plain, {QRect(1920, 0, 1280, 720), QSize(1280, 720)}}
                                  << Screens{QRect(0, 0, 1920, 1080), QRect(1920, 0, 1280, 720)}
                                  << QRect(0, 0, 3200, 1080);
    QTest::newRow("left of the origin")
        << Outputs{plain, {QRect(-1280, -100, 1280, 720), QSize(1280, 720)}}
        << Screens{QRect(1280, 100, 1920, 1080), QRect(0, 0, 1280, 720)} << QRect(0, 0, 3200, 1180);
    QTest::newRow("scale 2 for both")
        << Outputs{{QRect(0, 0, 1920, 1080), QSize(3840, 2160)},
                   {QRect(1920, 270, 960, 540), QSize(1920, 1080)}}
        << Screens{QRect(0, 0, 3840, 2160), QRect(3840, 540, 1920, 1080)}
        << QRect(0, 0, 5760, 2160);
    QTest::newRow("scale 2 beside scale 1")
        << Outputs{{QRect(0, 0, 1920, 1080), QSize(3840, 2160)},
                   {QRect(1920, 0, 1920, 1080), QSize(1920, 1080)}}
        << Screens{QRect(0, 0, 3840, 2160), QRect(3840, 0, 1920, 1080)} << QRect(0, 0, 5760, 2160);
    QTest::newRow("a gap behind scale 1")
        << Outputs{{QRect(0, 0, 1920, 1080), QSize(1920, 1080)},
                   {QRect(1920, 0, 1920, 1080), QSize(3840, 2160)}}
        << Screens{QRect(0, 0, 1920, 1080), QRect(3840, 0, 3840, 2160)} << QRect(0, 0, 7680, 2160);
    QTest::newRow("scale 1.5") << Outputs{{QRect(0, 0, 1280, 720), QSize(1920, 1080)},
                                          {QRect(1280, 0, 1280, 720), QSize(1920, 1080)}}
                               << Screens{QRect(0, 0, 1920, 1080), QRect(1920, 0, 1920, 1080)}
                               << QRect(0, 0, 3840, 1080);
    QTest::newRow("mirrored") << Outputs{plain, plain}
                              << Screens{QRect(0, 0, 1920, 1080), QRect(0, 0, 1920, 1080)}
                              << QRect(0, 0, 1920, 1080);
}

void OutputLayoutTest::placesInDevicePixels()
{
    QFETCH(Outputs, outputs);
    QFETCH(Screens, screens);
    QFETCH(QRect, all);
    QCOMPARE(layOutOutputs(outputs), screens);
    QCOMPARE(spannedBy(layOutOutputs(outputs)), all);
}

void OutputLayoutTest::neighboursNeverOverlap_data()
{
    QTest::addColumn<double>("left");
    QTest::addColumn<double>("right");
    for (const double left : {1.0, 1.25, 1.333, 1.5, 1.75, 2.0, 3.0}) {
        for (const double right : {1.0, 1.1, 1.5, 2.0}) {
            QTest::addRow("%g beside %g", left, right) << left << right;
        }
    }
}

void OutputLayoutTest::neighboursNeverOverlap()
{
    QFETCH(double, left);
    QFETCH(double, right);
    const QSize pixels(1366, 768);
    // Compositors drop the fraction of a logical size.
    const QSize leftSize(int(1366 / left), int(768 / left));
    const QSize rightSize(int(1366 / right), int(768 / right));
    const Outputs outputs{{QRect(QPoint(0, 0), leftSize), pixels},
                          {QRect(QPoint(leftSize.width(), 0), rightSize), pixels},
                          {QRect(QPoint(-rightSize.width(), -100), rightSize), pixels}};
    const Screens screens = layOutOutputs(outputs);
    for (int first = 0; first < screens.size(); ++first) {
        QCOMPARE(screens.at(first).size(), pixels);
        for (int second = 0; second < first; ++second) {
            QVERIFY(!screens.at(first).intersects(screens.at(second)));
        }
    }
}

void OutputLayoutTest::sidesOfATurnedOutput_data()
{
    QTest::addColumn<OutputTransform>("transform");
    QTest::addColumn<QSize>("size");
    const QSize lying(1920, 1080);
    const QSize standing(1080, 1920);
    QTest::newRow("normal") << OutputTransform::Normal << lying;
    QTest::newRow("90") << OutputTransform::Turned90 << standing;
    QTest::newRow("180") << OutputTransform::Turned180 << lying;
    QTest::newRow("270") << OutputTransform::Turned270 << standing;
    QTest::newRow("flipped") << OutputTransform::Flipped << lying;
    QTest::newRow("flipped 90") << OutputTransform::Flipped90 << standing;
    QTest::newRow("flipped 180") << OutputTransform::Flipped180 << lying;
    QTest::newRow("flipped 270") << OutputTransform::Flipped270 << standing;
}

void OutputLayoutTest::sidesOfATurnedOutput()
{
    QFETCH(OutputTransform, transform);
    QFETCH(QSize, size);
    QCOMPARE(transformedSize(QSize(1920, 1080), transform), size);
}

void OutputLayoutTest::tileEdge_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("edge");
    QTest::newRow("1") << 1.0 << 16;
    QTest::newRow("1.5") << 1.5 << 24;
    QTest::newRow("2") << 2.0 << 32;
    QTest::newRow("below 1") << 0.5 << 16;
}

void OutputLayoutTest::tileEdge()
{
    QFETCH(double, scale);
    QFETCH(int, edge);
    QCOMPARE(tileEdgeForScale(scale), edge);
}

void OutputLayoutTest::scaleOfAnOutputWithoutASize()
{
    QCOMPARE(OutputGeometry().scale(), 1.0);
}

QTEST_GUILESS_MAIN(OutputLayoutTest)
#include "outputlayouttest.moc"
