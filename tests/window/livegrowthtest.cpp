// The open window while the program records what other windows show: today grows on the axis, which
// follows the newest frame until the user has taken hold of it.

#include "window/desktop.h"
#include "window/shownprogram.h"

#include <QDir>
#include <QTest>

#include <memory>
#include <sqlite3.h>

namespace
{
constexpr int waitMs = 20000;
const QString today = QStringLiteral("today");
// As the recorder knows two applications by their command lines.
const QString fileManager = QStringLiteral("lupine");
const QString volumeControl = QStringLiteral("vesk-volume-control-applet-qt");

/// Rows that the recorder has stored this month, the history of the start included.
int storedFrames(const Desktop &desktop)
{
    int count = 0;
    const QDir folder(desktop.home() + "/.cache/tavel-ai-yestermark/traditional_database");
    for (const QFileInfo &file : folder.entryInfoList({"*.db"}, QDir::Files)) {
        sqlite3 *handle = nullptr;
        const int opened = sqlite3_open_v2(qPrintable(file.absoluteFilePath()), &handle,
                                           SQLITE_OPEN_READONLY, nullptr);
        const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> owner(handle, &sqlite3_close);
        const auto take = [](void *sum, int, char **values, char **) {
            *static_cast<int *>(sum) += QByteArray(values[0]).toInt();
            return 0;
        };
        if (opened == SQLITE_OK) {
            sqlite3_exec(handle, "SELECT count(*) FROM screenshots", take, &count, nullptr);
        }
    }
    return count;
}

/// A window of another application, in front of everything.
class OtherWindow
{
public:
    OtherWindow(const Desktop &desktop, const QString &application) : m_desktop(desktop)
    {
        m_process.setProcessEnvironment(desktop.environment());
        m_process.start(QStringLiteral(PAINTEDWINDOW), {application});
    }
    ~OtherWindow()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(OtherWindow)

    bool isInFront() const { return m_desktop.processInFront() == m_process.processId(); }

    /// Shows a picture and waits until it is stored.
    bool record(int number)
    {
        const int before = storedFrames(m_desktop);
        m_process.write(QByteArray::number(number) + '\n');
        return QTest::qWaitFor([&] { return storedFrames(m_desktop) == before + 1; }, waitMs);
    }

private:
    const Desktop &m_desktop;
    QProcess m_process;
};
} // namespace

class LiveGrowthTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theAxisFollowsTheNewestFrame();
    void whoTookHoldOfTheAxisKeepsTheFrameThatTheyChose();
    void theFirstFrameEverAppears();

private:
    bool startWith(const QStringList &days);
    bool record(const QString &application, const QVector<int> &numbers) const;

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ShownProgram> m_program;
};

void LiveGrowthTest::init()
{
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->start());
    QVERIFY(m_desktop->setSetting("enabled", "true"));
    QVERIFY(m_desktop->setSetting("recording-memory", "true"));
    QVERIFY(m_desktop->setSetting("screenshot-interval", "1"));
    QVERIFY(m_desktop->movePointer({683, 740}));
}

void LiveGrowthTest::cleanup()
{
    if (m_program) {
        QVERIFY(m_program->stop());
    }
    m_program.reset();
    m_desktop.reset();
}

bool LiveGrowthTest::startWith(const QStringList &days)
{
    m_program = std::make_unique<ShownProgram>(*m_desktop);
    return (days.isEmpty() || m_desktop->paintHistory(days)) && m_program->start();
}

/// Nothing is recorded but these pictures: afterwards the program's own window is in front again.
bool LiveGrowthTest::record(const QString &application, const QVector<int> &numbers) const
{
    {
        OtherWindow window(*m_desktop, application);
        if (!QTest::qWaitFor([&] { return window.isInFront(); }, waitMs)) {
            return false;
        }
        for (const int number : numbers) {
            if (!window.record(number)) {
                return false;
            }
        }
    }
    return QTest::qWaitFor([this] { return m_program->isInFront(); }, waitMs);
}

void LiveGrowthTest::theAxisFollowsTheNewestFrame()
{
    QVERIFY(startWith({"1:30"}));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 30, waitMs);
    QVERIFY(record(fileManager, {1001, 1002, 1003}));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 1003, waitMs);
    QCOMPARE(m_program->days(), QStringList({"1 day ago", today}));
    const QPoint end = m_program->onAxis(today, 3 * 8);
    QVERIFY(qAbs(m_program->slider().x() - end.x()) <= 2);
    // Another application begins a bar of its own.
    QVERIFY(record(volumeControl, {1004}));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 1004, waitMs);
    const QPoint newEnd = m_program->onAxis(today, 3 * 8 + 8 + 8);
    QVERIFY(qAbs(m_program->slider().x() - newEnd.x()) <= 2);
}

void LiveGrowthTest::whoTookHoldOfTheAxisKeepsTheFrameThatTheyChose()
{
    QVERIFY(startWith({"1:30"}));
    const QPoint chosen = m_program->onAxis("1 day ago", 9 * 8 + 4);
    QVERIFY(m_desktop->click(chosen));
    QVERIFY(m_desktop->movePointer({683, 740}));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 10, waitMs);
    QVERIFY(record(fileManager, {2001, 2002}));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->days(), QStringList({"1 day ago", today}), waitMs);
    QCOMPARE(m_program->picture(), 10);
    QVERIFY(qAbs(m_program->slider().x() - chosen.x()) <= 1);
    // The new frames are there all the same.
    for (int frame = 1; frame <= 2; ++frame) {
        QVERIFY(m_desktop->movePointer(m_program->onAxis(today, frame * 8 - 4)));
        QTRY_COMPARE_WITH_TIMEOUT(m_program->preview(), 2000 + frame, waitMs);
    }
}

void LiveGrowthTest::theFirstFrameEverAppears()
{
    QVERIFY(startWith({}));
    QCOMPARE(m_program->days(), QStringList());
    QCOMPARE(m_program->picture(), -1);
    QVERIFY(m_program->slider().isNull());
    QVERIFY(record(fileManager, {3001}));
    QTRY_COMPARE_WITH_TIMEOUT(m_program->picture(), 3001, waitMs);
    QCOMPARE(m_program->days(), QStringList({today}));
    QVERIFY(!m_program->slider().isNull());
}

QTEST_GUILESS_MAIN(LiveGrowthTest)
#include "livegrowthtest.moc"
