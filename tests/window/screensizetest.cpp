// The window on screens of any size and density: it fills what the desktop leaves free, and nothing
// in it or in its dialogs is cut off. With YESTERMARK_PICTURES set to a folder, the screens are
// kept there to be looked at.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QTest>

#include <memory>

namespace
{
constexpr int waitMs = 20000;
using Node = AccessibleTree::Node;
} // namespace

class ScreenSizeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void theWindowFillsTheScreenAndNothingIsCut_data();
    void theWindowFillsTheScreenAndNothingIsCut();
    void aPanelIsLeftFree();
    void theWindowFollowsAChangeOfResolution();

private:
    bool startOn(const QSize &size, int scale);
    bool fills(const QRect &area) const;
    QString cutOff(const QString &window) const;
    void keepPicture(const QString &name) const;

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ShownProgram> m_program;
};

void ScreenSizeTest::cleanup()
{
    if (m_program && m_program->isRunning()) {
        QVERIFY(m_program->stop());
    }
    m_program.reset();
    m_desktop.reset();
}

bool ScreenSizeTest::startOn(const QSize &size, int scale)
{
    m_desktop = std::make_unique<Desktop>(size, scale);
    if (!m_desktop->start() || !m_desktop->paintHistory({"3:60,40", "2:60,40", "1:40,50"}) ||
        !m_desktop->setSetting("enabled", "true")) {
        return false;
    }
    m_program = std::make_unique<ShownProgram>(*m_desktop);
    return m_program->start() &&
           QTest::qWaitFor([this] { return m_program->picture() == 290; }, waitMs);
}

bool ScreenSizeTest::fills(const QRect &area) const
{
    return m_program->window().extents == area;
}

/// What is not wholly within its window, but for what the axis scrolls; empty if nothing is.
QString ScreenSizeTest::cutOff(const QString &window) const
{
    const QRect frame = m_program->window(window).extents;
    const QRect screen = m_desktop->picture().rect();
    QStringList cut;
    for (const Node &node : m_program->nodes()) {
        const bool isOnAxis = node.name.startsWith(QChar(0x00b7));
        if (node.window == window && !isOnAxis &&
            (!frame.contains(node.extents) || !screen.contains(node.extents))) {
            cut.append(node.name);
        }
    }
    return frame.isEmpty() ? window + " is not shown" : cut.join(", ");
}

void ScreenSizeTest::keepPicture(const QString &name) const
{
    const QString folder = qEnvironmentVariable("YESTERMARK_PICTURES");
    if (!folder.isEmpty()) {
        QVERIFY(m_desktop->picture().save(QStringLiteral("%1/%2x%3@%4-%5.png")
                                              .arg(folder)
                                              .arg(m_desktop->size().width())
                                              .arg(m_desktop->size().height())
                                              .arg(m_desktop->scale())
                                              .arg(name)));
    }
}

void ScreenSizeTest::theWindowFillsTheScreenAndNothingIsCut_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("scale");
    QTest::newRow("1366x768") << QSize(1366, 768) << 1;
    QTest::newRow("1920x1080") << QSize(1920, 1080) << 1;
    QTest::newRow("1920x1080 at 2") << QSize(1920, 1080) << 2;
    QTest::newRow("3840x2160") << QSize(3840, 2160) << 1;
    QTest::newRow("3840x2160 at 2") << QSize(3840, 2160) << 2;
}

void ScreenSizeTest::theWindowFillsTheScreenAndNothingIsCut()
{
    QFETCH(QSize, size);
    QFETCH(int, scale);
    QVERIFY(startOn(size, scale));
    QTRY_VERIFY_WITH_TIMEOUT(fills(QRect(QPoint(0, 0), size)), waitMs);
    QCOMPARE(cutOff("Yestermark"), QString());
    keepPicture("main");
    // A click reaches the frame under it, whatever the scale.
    const QPoint frame = m_program->onAxis("1 day ago", 60 * 8 + 8 + 4);
    QVERIFY(m_desktop->movePointer(frame));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), 261, waitMs);
    QCOMPARE(cutOff("Yestermark"), QString());
    keepPicture("hover");
    QVERIFY(m_desktop->click(frame));
    QVERIFY(m_desktop->movePointer({size.width() / 2, size.height() - 20}));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 261, waitMs);

    const QList<QPair<QString, QString>> dialogs = {
        {"settings", "Settings"},
        {"about", "About"},
        {"exit", "Please select the state after closing:"}};
    for (const auto &[entry, window] : dialogs) {
        QVERIFY(m_program->choose(entry));
        QTRY_VERIFY_WITH_TIMEOUT(m_program->hasWindow(window), waitMs);
        QTRY_COMPARE_WITH_TIMEOUT(cutOff(window), QString(), waitMs);
        keepPicture(entry);
        QVERIFY(m_desktop->key("Escape"));
        QTRY_VERIFY_WITH_TIMEOUT(!m_program->hasWindow(window), waitMs);
    }
}

void ScreenSizeTest::aPanelIsLeftFree()
{
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->start());
    QVERIFY(m_desktop->setSetting("enabled", "true"));
    QProcess panel;
    panel.setProcessEnvironment(m_desktop->environment());
    panel.setStandardErrorFile(QProcess::nullDevice());
    panel.start("trayer", {"--edge", "bottom", "--widthtype", "percent", "--width", "100",
                           "--heighttype", "pixel", "--height", "40", "--SetDockType", "true",
                           "--SetPartialStrut", "true", "--expand", "true"});
    QVERIFY(panel.waitForStarted());
    const QString reserved = QStringLiteral("0, 0, 1366, 728");
    const auto workArea = [this] {
        return m_desktop->outputOf("xprop", {"-root", "_NET_WORKAREA"});
    };
    QTRY_VERIFY_WITH_TIMEOUT(workArea().contains(reserved), waitMs);
    m_program = std::make_unique<ShownProgram>(*m_desktop);
    QVERIFY(m_program->start());
    QTRY_VERIFY_WITH_TIMEOUT(fills(QRect(0, 0, 1366, 728)), waitMs);
    QCOMPARE(cutOff("Yestermark"), QString());
    panel.terminate();
    QVERIFY(panel.waitForFinished());
    QTRY_VERIFY_WITH_TIMEOUT(fills(QRect(0, 0, 1366, 768)), waitMs);
}

void ScreenSizeTest::theWindowFollowsAChangeOfResolution()
{
    QVERIFY(startOn(QSize(1920, 1080), 1));
    QTRY_VERIFY_WITH_TIMEOUT(fills(QRect(0, 0, 1920, 1080)), waitMs);
    QVERIFY(m_desktop->run("xrandr", {"--newmode", "small", "60", "1366", "1367", "1368", "1369",
                                      "768", "769", "770", "771"}));
    QVERIFY(m_desktop->run("xrandr", {"--addmode", "screen", "small"}));
    QVERIFY(m_desktop->run("xrandr", {"--output", "screen", "--mode", "small"}));
    QTRY_VERIFY_WITH_TIMEOUT(fills(QRect(0, 0, 1366, 768)), waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(cutOff("Yestermark"), QString(), waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 290, waitMs);
    keepPicture("smaller");
    QVERIFY(m_desktop->run("xrandr", {"--output", "screen", "--mode", "1920x1080"}));
    QTRY_VERIFY_WITH_TIMEOUT(fills(QRect(0, 0, 1920, 1080)), waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(cutOff("Yestermark"), QString(), waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 290, waitMs);
    keepPicture("larger-again");
}

QTEST_GUILESS_MAIN(ScreenSizeTest)
#include "screensizetest.moc"
