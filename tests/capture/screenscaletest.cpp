// Frames of a dense screen, on each display system: on Wayland they bear the screen's scale, else
// they are plain pixels. The display system is known by the platform's name.

#include "capture/capturefixture.h"
#include "capture/screenhistorytracker.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/pictures.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

namespace
{
QString forcedPlatform;
}

// Stands before the toolkit's own, so that one process can be on any display system.
QString QGuiApplication::platformName()
{
    return forcedPlatform;
}

class TestScreenScale : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFrameBearsTheScaleOnWaylandAlone_data();
    void aFrameBearsTheScaleOnWaylandAlone();
};

void TestScreenScale::aFrameBearsTheScaleOnWaylandAlone_data()
{
    QTest::addColumn<QString>("platform");
    QTest::addColumn<double>("ratio");
    QTest::newRow("X11") << QStringLiteral("xcb") << 1.0;
    QTest::newRow("Wayland") << QStringLiteral("wayland") << 2.0;
    QTest::newRow("Wayland with OpenGL") << QStringLiteral("wayland-egl") << 2.0;
    QTest::newRow("capitals are another name") << QStringLiteral("Wayland") << 1.0;
    QTest::newRow("Wayland not in front") << QStringLiteral("xwayland") << 1.0;
}

void TestScreenScale::aFrameBearsTheScaleOnWaylandAlone()
{
    QFETCH(QString, platform);
    QFETCH(double, ratio);
    QCOMPARE(QGuiApplication::primaryScreen()->devicePixelRatio(), 2.0);
    FakeDesktop desktop;
    desktop.setImage(Pictures::numbered(1));
    forcedPlatform = platform;
    ScreenHistoryTracker tracker;
    const QImage frame = tracker.takeScreenShot();
    QCOMPARE(frame.size(), Pictures::numbered(1).size());
    QCOMPARE(frame.devicePixelRatio(), ratio);
}

int main(int argc, char **argv)
{
    qputenv("QT_SCALE_FACTOR", "2");
    QGuiApplication application(argc, argv);
    TestScreenScale test;
    return QTest::qExec(&test, argc, argv);
}

#include "screenscaletest.moc"
