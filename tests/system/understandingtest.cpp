// The program with its real runtime on an X display with real windows: what stands on the screen is
// read and reaches the row of its own frame, whatever becomes of the process that reads.

#include "capture/capturefixture.h"
#include "system/recordedsession.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <csignal>
#include <sys/types.h>

using CaptureFixture::storedRows;
using namespace RecordedSession;

namespace
{
constexpr int readingTimeMs = 60000; // a whole page at low priority beside everything else

/// A terminal that shows a page with the time at which it was drawn, a new one every two seconds.
class StampingTerminal
{
public:
    StampingTerminal()
    {
        m_process.start(
            QStringLiteral("xterm"),
            {QStringLiteral("-fullscreen"), QStringLiteral("-fa"),
             QStringLiteral("DejaVu Sans Mono"), QStringLiteral("-fs"), QStringLiteral("14"),
             QStringLiteral("-e"), QStringLiteral("sh"), QStringLiteral("-c"),
             QStringLiteral(
                 "while :; do clear; now=$(date +%s); for i in 1 2 3 4 5 6 7 8; do echo; "
                 "echo \"the harbour register, stamp $now\"; "
                 "head -c 12 /dev/urandom | base64; done; sleep 2; done")});
        m_process.waitForStarted();
    }
    ~StampingTerminal()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY(StampingTerminal)

private:
    QProcess m_process;
};

/// The stamps that were read on a frame.
QSet<qint64> stampsOf(const QString &text)
{
    static const QRegularExpression stamp(QStringLiteral("stamp\\s*(\\d{10})"));
    QSet<qint64> stamps;
    for (auto match = stamp.globalMatch(text); match.hasNext();) {
        stamps.insert(match.next().captured(1).toLongLong());
    }
    return stamps;
}

/// Fields of /proc/<pid>/stat behind the name in brackets; empty where the process is gone.
QList<QByteArray> statFields(const QString &pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray line = file.readAll();
    return line.mid(line.lastIndexOf(')') + 2).split(' ');
}

/// Processes that descend from @p ancestor.
QVector<uint> descendantsOf(uint ancestor)
{
    QVector<uint> family{ancestor};
    const QStringList pids = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (int known = 0; known < family.size(); ++known) {
        for (const QString &pid : pids) {
            const QList<QByteArray> fields = statFields(pid);
            if (fields.size() > 1 && fields.at(1).toUInt() == family.at(known) &&
                fields.at(0) != "Z") {
                family.append(pid.toUInt());
            }
        }
    }
    family.removeFirst();
    return family;
}

/// Inodes of the sockets that @p pid holds.
QSet<QString> socketsOf(uint pid)
{
    QSet<QString> sockets;
    const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(pid));
    for (const QString &name : descriptors.entryList(QDir::System | QDir::Files)) {
        const QByteArray target = QFile::symLinkTarget(descriptors.filePath(name)).toUtf8();
        const int start = target.indexOf("socket:[");
        if (start >= 0) {
            sockets.insert(QString::fromUtf8(target.mid(start + 8).chopped(1)));
        }
    }
    return sockets;
}

/// Inodes of every socket of the machine that speaks an internet protocol.
QSet<QString> internetSockets()
{
    QSet<QString> inodes;
    for (const char *table : {"tcp", "tcp6", "udp", "udp6", "raw", "raw6"}) {
        QFile file(QStringLiteral("/proc/net/") + QLatin1String(table));
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        const QStringList lines = QString::fromLatin1(file.readAll()).split(QLatin1Char('\n'));
        for (const QString &line : lines) {
            inodes.insert(line.simplified().section(QLatin1Char(' '), 9, 9));
        }
    }
    inodes.remove(QString());
    return inodes;
}
} // namespace

class TestUnderstanding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void whatStandsOnTheScreenReachesTheRowOfItsFrame();
    void textsStayWithTheirFramesWhileTheRuntimeIsKilled();
    void theRuntimeEndsWithTheProgram();
    void nothingSpeaksToTheInternet();

private:
    static int rowsWithText();
};

int TestUnderstanding::rowsWithText()
{
    const QVector<ScreenShotData> rows = storedRows();
    return static_cast<int>(std::count_if(rows.begin(), rows.end(), [](const ScreenShotData &row) {
        return !row.ocrText.isEmpty();
    }));
}

void TestUnderstanding::initTestCase()
{
    QVERIFY(setSetting(QStringLiteral("screenshot-interval"), QStringLiteral("2")));
    QVERIFY(setSetting(QStringLiteral("recording-memory"), QStringLiteral("true")));
}

void TestUnderstanding::init()
{
    CaptureFixture::eraseEverything();
}

void TestUnderstanding::whatStandsOnTheScreenReachesTheRowOfItsFrame()
{
    const StampingTerminal terminal;
    Program program;
    QVERIFY(program.start());
    QVERIFY(QTest::qWaitFor([] { return rowsWithText() >= 4; }, readingTimeMs));
    int stamped = 0;
    for (const ScreenShotData &row : storedRows()) {
        for (const qint64 stamp : stampsOf(row.ocrText)) {
            QVERIFY2(
                row.realTime >= stamp && row.realTime - stamp <= 4,
                qPrintable(QStringLiteral("%1 on a frame of %2").arg(stamp).arg(row.realTime)));
            ++stamped;
        }
    }
    QVERIFY(stamped >= 4);
}

void TestUnderstanding::textsStayWithTheirFramesWhileTheRuntimeIsKilled()
{
    const StampingTerminal terminal;
    Program program;
    QVERIFY(program.start());
    for (int round = 1; round <= 3; ++round) {
        QVERIFY(QTest::qWaitFor([round] { return rowsWithText() >= 2 * round; }, readingTimeMs));
        const QVector<uint> runtime = descendantsOf(program.processId());
        QVERIFY(!runtime.isEmpty());
        QCOMPARE(::kill(static_cast<pid_t>(runtime.first()), SIGKILL), 0);
    }
    const int stored = storedRows().size();
    QVERIFY(QTest::qWaitFor([stored] { return rowsWithText() >= stored; }, readingTimeMs));
    for (const ScreenShotData &row : storedRows()) {
        for (const qint64 stamp : stampsOf(row.ocrText)) {
            QVERIFY2(
                row.realTime >= stamp && row.realTime - stamp <= 4,
                qPrintable(QStringLiteral("%1 on a frame of %2").arg(stamp).arg(row.realTime)));
        }
    }
}

void TestUnderstanding::theRuntimeEndsWithTheProgram()
{
    const StampingTerminal terminal;
    Program program;
    QVERIFY(program.start());
    QVERIFY(QTest::qWaitFor([] { return rowsWithText() >= 1; }, readingTimeMs));
    const QVector<uint> runtime = descendantsOf(program.processId());
    QVERIFY(!runtime.isEmpty());
    program.sendSignal(SIGKILL); // not even a farewell
    QVERIFY(program.waitForEnd());
    for (const uint pid : runtime) {
        QTRY_VERIFY_WITH_TIMEOUT(statFields(QString::number(pid)).isEmpty() ||
                                     statFields(QString::number(pid)).first() == "Z",
                                 10000);
    }
}

void TestUnderstanding::nothingSpeaksToTheInternet()
{
    const StampingTerminal terminal;
    Program program;
    QVERIFY(program.start());
    int looks = 0;
    const auto isSilent = [&] {
        QVector<uint> family = descendantsOf(program.processId());
        family.append(program.processId());
        QSet<QString> held;
        for (const uint pid : qAsConst(family)) {
            held.unite(socketsOf(pid));
        }
        looks += held.isEmpty() ? 0 : 1; // the bus, the display, the runtime: some there must be
        return !held.intersects(internetSockets());
    };
    bool silent = true;
    QVERIFY(QTest::qWaitFor(
        [&] {
            silent = silent && isSilent();
            return rowsWithText() >= 3;
        },
        readingTimeMs));
    QVERIFY(silent);
    QVERIFY(looks > 3);
}

QTEST_GUILESS_MAIN(TestUnderstanding)
#include "understandingtest.moc"
