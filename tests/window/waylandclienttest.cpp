// The program as a Wayland client under a real compositor: its window fills the screen, comes and
// goes as its user asks, and what other windows show is recorded. The screen is seen by the
// bridge's backend for that compositor; controls are pressed as a screen reader presses them.

#include "window/accessibletree.h"

#include <QDBusInterface>
#include <QDBusReply>
#include <QDir>
#include <QProcess>
#include <QTest>

#include <sqlite3.h>

namespace
{
constexpr int waitMs = 20000;
const QString application = QStringLiteral("tavel-ai-yestermark");
const QString mainWindow = QStringLiteral("Yestermark");
const QString question = QStringLiteral("Please select the state after closing:");
const QSize screen(1280, 800);

bool isUnderSway()
{
    return qgetenv("XDG_CURRENT_DESKTOP") == "sway";
}
} // namespace

class WaylandClientTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void theWindowFillsTheScreenUnderItsTitle();
    void theDesktopTellsOfTheWindow();
    void theMinimiseButtonMinimisesAndASecondStartRaises();
    void aSecondStartRaisesTheWindowAboveAnother();
    void aRaisedWindowFillsTheScreenAgain();
    void minimisingToTheTrayHidesAndASecondStartShows();
    void theQuestionComesInFrontOfTheWindow();
    void aCloseByTheCompositorAsks();
    void theWindowFollowsAChangeOfResolution();
    void startMinimisesAndWhatOthersShowIsRecorded();
    void exitEndsTheProgramWith0();

private:
    QVector<AccessibleTree::Node> nodes() const { return m_tree->nodes(application); }
    AccessibleTree::Node find(const QString &name, const QString &window = {}) const;
    bool press(const QString &control, const QString &window = mainWindow) const;
    QRect frame() const { return find(mainWindow).extents; }
    static qint64 processInFront();
    bool isInFront() const { return processInFront() == m_program.processId(); }
    bool startAgain() const;
    static QStringList recordedApplications();

    std::unique_ptr<AccessibleTree> m_tree;
    QProcess m_program;
};

AccessibleTree::Node WaylandClientTest::find(const QString &name, const QString &window) const
{
    for (const AccessibleTree::Node &node : nodes()) {
        if ((node.name == name || node.name == application + '_' + name) &&
            (window.isEmpty() || node.window == window)) {
            return node;
        }
    }
    return {};
}

bool WaylandClientTest::press(const QString &control, const QString &window) const
{
    AccessibleTree::Node node;
    const auto isThere = [&] {
        node = find(control, window);
        return node.exists();
    };
    const QString action = control.startsWith("RadioButton") ? "Toggle" : "Press";
    return QTest::qWaitFor(isThere, waitMs) && m_tree->act(node, action);
}

qint64 WaylandClientTest::processInFront()
{
    QDBusInterface bridge("org.vesk.KWin", "/KWin", "org.vesk.KWin");
    return QDBusReply<uint>(bridge.call("getActiveWindowPid")).value();
}

bool WaylandClientTest::startAgain() const
{
    return QProcess::execute(PROGRAM, {}) == 0;
}

QStringList WaylandClientTest::recordedApplications()
{
    QStringList found;
    const QDir folder(QDir::homePath() + "/.cache/tavel-ai-yestermark/traditional_database");
    for (const QString &name : folder.entryList({"*.db"})) {
        sqlite3 *database = nullptr;
        sqlite3_open_v2(qPrintable(folder.filePath(name)), &database, SQLITE_OPEN_READONLY,
                        nullptr);
        const auto collect = [](void *list, int, char **row, char **) {
            static_cast<QStringList *>(list)->append(QString::fromUtf8(row[0]));
            return 0;
        };
        sqlite3_exec(database, "SELECT desktop_file_path FROM screenshots", collect, &found,
                     nullptr);
        sqlite3_close(database);
    }
    return found;
}

void WaylandClientTest::initTestCase()
{
    QDBusInterface status("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Status");
    QVERIFY(status.setProperty("IsEnabled", true));
    m_tree = std::make_unique<AccessibleTree>(QDBusConnection::sessionBus());
    QCOMPARE(
        QProcess::execute("gsettings", {"set", "com.tavel.yestermark", "screenshot-interval", "1"}),
        0);
    m_program.setProcessChannelMode(QProcess::MergedChannels);
    m_program.start(PROGRAM, QStringList());
    QVERIFY(m_program.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(find(mainWindow).exists(), waitMs);
}

void WaylandClientTest::init()
{
    QCOMPARE(m_program.state(), QProcess::Running);
    if (!isInFront()) {
        QVERIFY(startAgain());
    }
    QTRY_VERIFY_WITH_TIMEOUT(isInFront(), waitMs);
}

void WaylandClientTest::cleanupTestCase()
{
    if (m_program.state() != QProcess::NotRunning) {
        m_program.kill();
        m_program.waitForFinished();
    }
}

void WaylandClientTest::theWindowFillsTheScreenUnderItsTitle()
{
    QTRY_COMPARE_WITH_TIMEOUT(frame().size(), screen, waitMs);
}

// Else it would say so in its log, and nothing of what follows could work.
void WaylandClientTest::theDesktopTellsOfTheWindow()
{
    QVERIFY(m_program.bytesAvailable() > 0 || m_program.waitForReadyRead(waitMs));
    const QByteArray log = m_program.peek(m_program.bytesAvailable());
    // A compositor that has not answered "yet" is asked again.
    QVERIFY(!log.contains("No window can be raised or minimised:"));
}

void WaylandClientTest::theMinimiseButtonMinimisesAndASecondStartRaises()
{
    QVERIFY(press("Button_minimize"));
    QTRY_COMPARE_WITH_TIMEOUT(processInFront(), 0, waitMs);
    QVERIFY(startAgain());
    QTRY_VERIFY_WITH_TIMEOUT(isInFront(), waitMs);
}

void WaylandClientTest::aSecondStartRaisesTheWindowAboveAnother()
{
    QProcess other;
    other.start("mousepad", QStringList());
    QVERIFY(other.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(processInFront(), other.processId(), waitMs);
    QVERIFY(startAgain());
    QTRY_VERIFY_WITH_TIMEOUT(isInFront(), waitMs);
    other.kill();
    other.waitForFinished();
}

void WaylandClientTest::aRaisedWindowFillsTheScreenAgain()
{
    QVERIFY(press("Button_minimize"));
    QTRY_COMPARE_WITH_TIMEOUT(processInFront(), 0, waitMs);
    QVERIFY(startAgain());
    QTRY_VERIFY_WITH_TIMEOUT(isInFront(), waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(frame().size(), screen, waitMs);
}

void WaylandClientTest::minimisingToTheTrayHidesAndASecondStartShows()
{
    QVERIFY(press("Button_close"));
    QVERIFY(press("Button_confirm", question));
    QTRY_VERIFY_WITH_TIMEOUT(!find(mainWindow).exists(), waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(processInFront(), 0, waitMs);
    QVERIFY(startAgain());
    QTRY_VERIFY_WITH_TIMEOUT(isInFront() && find(mainWindow).exists(), waitMs);
    QTRY_COMPARE_WITH_TIMEOUT(frame().size(), screen, waitMs);
}

void WaylandClientTest::theQuestionComesInFrontOfTheWindow()
{
    QVERIFY(press("Button_close"));
    QTRY_VERIFY_WITH_TIMEOUT(find(question).exists(), waitMs);
    QVERIFY(isInFront());
    QVERIFY(find(mainWindow).exists());
    QVERIFY(press("Button_cancel", question));
    QTRY_VERIFY_WITH_TIMEOUT(!find(question).exists(), waitMs);
}

void WaylandClientTest::aCloseByTheCompositorAsks()
{
    if (!isUnderSway()) {
        QSKIP("KWin closes windows for its own shortcuts and panels alone");
    }
    QVERIFY(press("Button_minimize"));
    QTRY_COMPARE_WITH_TIMEOUT(processInFront(), 0, waitMs);
    QCOMPARE(QProcess::execute("swaymsg", {"-q", "[app_id=tavel-ai-yestermark] kill"}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(find(question).exists() && isInFront(), waitMs);
    QVERIFY(find(mainWindow).exists());
    QVERIFY(press("Button_cancel", question));
    QTRY_VERIFY_WITH_TIMEOUT(!find(question).exists(), waitMs);
}

void WaylandClientTest::theWindowFollowsAChangeOfResolution()
{
    if (!isUnderSway()) {
        QSKIP("KWin has no command for it");
    }
    for (const QSize size : {QSize(1600, 900), QSize(1024, 600), screen}) {
        const QString mode = QString("%1x%2").arg(size.width()).arg(size.height());
        QCOMPARE(QProcess::execute("swaymsg", {"-q", "output", "HEADLESS-1", "resolution", mode}),
                 0);
        QTRY_COMPARE_WITH_TIMEOUT(frame().size(), size, waitMs);
    }
}

void WaylandClientTest::startMinimisesAndWhatOthersShowIsRecorded()
{
    QVERIFY(recordedApplications().isEmpty());
    QVERIFY(press("Button_start"));
    QTRY_COMPARE_WITH_TIMEOUT(processInFront(), 0, waitMs);
    QFile text(QDir::homePath() + "/text.txt");
    QVERIFY(text.open(QIODevice::WriteOnly));
    text.write("what others show\n");
    text.close();
    QProcess editor;
    editor.start("mousepad", {text.fileName()});
    QVERIFY(editor.waitForStarted());
    const auto isRecorded = [] {
        return recordedApplications().value(0).contains("/org.xfce.mousepad");
    };
    QTRY_VERIFY_WITH_TIMEOUT(isRecorded(), waitMs);
    editor.kill();
    editor.waitForFinished();
}

void WaylandClientTest::exitEndsTheProgramWith0()
{
    QVERIFY(press("Button_close"));
    QVERIFY(press("RadioButton_exit", question));
    QVERIFY(press("Button_confirm", question));
    QVERIFY(m_program.waitForFinished());
    QCOMPARE(m_program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_program.exitCode(), 0);
}

QTEST_GUILESS_MAIN(WaylandClientTest)
#include "waylandclienttest.moc"
