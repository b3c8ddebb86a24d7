// What reaches standard error and the files when a process logs. Each test runs the process
// `logwriter` with a cache directory of its own.

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <sys/stat.h>

namespace
{
constexpr qint64 FILE_SIZE_LIMIT = 5'000'000;
const QString FAILURE_LINE = QStringLiteral("can't be written");
} // namespace

class TestVeskLog4qt : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void eachLevelIsNamedInFileAndOnStandardError_data();
    void eachLevelIsNamedInFileAndOnStandardError();
    void textStaysAsItIs_data();
    void textStaysAsItIs();
    void lineTellsTimeAndThread();
    void categoryIsToldUnlessDefault();
    void atMostThreeFilesOfFiveMegabytesAreKept();
    void anOverlongMessageIsCutAtACharacter();
    void nextStartAppends();
    void directoryAndFilesArePrivateWhateverTheMask();
    void openFileIsNotHandedToCommands();
    void linesOfManyThreadsStayWhole();
    void twoProcessesOfOneIdKeepBoundsAndLines();
    void killedProcessLosesNoLine();
    void signalInterruptingTheLogDoesNotBlock();
    void fatalMessageIsLoggedAndAborts();
    void laterCallsChangeNothing();
    void messagesOfStaticDestructionArrive();
    void fileThatCannotBeMadeLeavesStandardError_data();
    void fileThatCannotBeMadeLeavesStandardError();
    void fullDiskIsToldOnce();
    void everyOutageIsToldOnceAndTheFileGoesOnAfterIt();
    void removedFileIsMadeAnew();
    void closedStandardErrorLeavesTheFile();
    void journalGetsAPriorityOnEveryLine();

private:
    struct Result {
        bool normalExit;
        int exitCode;
        QString error;
        QString output;
    };
    void prepare(QProcess &writer) const;
    Result run(const QStringList &arguments) const;
    QString logPath(int number = 0) const;
    QString logText(int number = 0) const;
    QStringList logLines(int number = 0) const;

    QScopedPointer<QTemporaryDir> m_cache;
};

void TestVeskLog4qt::init()
{
    m_cache.reset(new QTemporaryDir);
    QVERIFY(m_cache->isValid());
}

void TestVeskLog4qt::prepare(QProcess &writer) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_CACHE_HOME", m_cache->path());
    writer.setProcessEnvironment(environment);
    writer.setProgram(QCoreApplication::applicationDirPath() + "/logwriter");
}

TestVeskLog4qt::Result TestVeskLog4qt::run(const QStringList &arguments) const
{
    QProcess writer;
    prepare(writer);
    writer.setArguments(arguments);
    writer.start();
    Result result{false, -1, {}, {}};
    if (!writer.waitForFinished(60000)) {
        qWarning() << "logwriter did not end" << arguments << writer.errorString();
        return result;
    }
    result.normalExit = writer.exitStatus() == QProcess::NormalExit;
    result.exitCode = writer.exitCode();
    result.error = QString::fromUtf8(writer.readAllStandardError());
    result.output = QString::fromUtf8(writer.readAllStandardOutput());
    return result;
}

QString TestVeskLog4qt::logPath(int number) const
{
    const QString path = m_cache->path() + "/log-writer/log/log-writer.log";
    return number == 0 ? path : path + '.' + QString::number(number);
}

QString TestVeskLog4qt::logText(int number) const
{
    QFile file(logPath(number));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList TestVeskLog4qt::logLines(int number) const
{
    return logText(number).split('\n', Qt::SkipEmptyParts);
}

void TestVeskLog4qt::eachLevelIsNamedInFileAndOnStandardError_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("debug") << R"(\[debug\] \[\d+\] on debug\n)";
    QTest::newRow("info") << R"(\[info\] \[\d+\] on info\n)";
    QTest::newRow("warning") << R"(\[warning\] \[\d+\] on warning\n)";
    QTest::newRow("critical") << R"(\[error\] \[\d+\] on critical\n)";
}

void TestVeskLog4qt::eachLevelIsNamedInFileAndOnStandardError()
{
    QFETCH(QString, line);
    const Result result = run({"levels"});
    QCOMPARE(result.exitCode, 0);
    const QRegularExpression expected(line);
    QVERIFY2(expected.match(result.error).hasMatch(), qPrintable(result.error));
    QVERIFY2(expected.match(logText()).hasMatch(), qPrintable(logText()));
}

void TestVeskLog4qt::textStaysAsItIs_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("Chinese") << QString::fromUtf8("数据库打开失败：不存在");
    QTest::newRow("outside the basic plane") << QString::fromUtf8("😀𠀀");
    QTest::newRow("braces") << "{} {0} {:>99}";
    QTest::newRow("percent signs") << "%s %n %v %^";
    QTest::newRow("two lines") << "first\nsecond";
    QTest::newRow("empty") << "";
}

void TestVeskLog4qt::textStaysAsItIs()
{
    QFETCH(QString, text);
    const Result result = run({"text", text});
    const QString ending = "] " + text + '\n';
    QVERIFY2(result.error.endsWith(ending), qPrintable(result.error));
    QVERIFY2(logText().endsWith(ending), qPrintable(logText()));
}

void TestVeskLog4qt::lineTellsTimeAndThread()
{
    const QDateTime before = QDateTime::currentDateTime();
    run({"threads", "2"});
    const QRegularExpression form(
        R"(^(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}) [+-]\d\d:\d\d \[debug\] \[(\d+)\] )");
    QSet<QString> threads;
    for (const QString &line : logLines()) {
        const QRegularExpressionMatch match = form.match(line);
        QVERIFY2(match.hasMatch(), qPrintable(line));
        const auto time = QDateTime::fromString(match.captured(1), "yyyy-MM-dd HH:mm:ss.zzz");
        QVERIFY(time >= before);
        QVERIFY(time <= QDateTime::currentDateTime());
        threads.insert(match.captured(2));
    }
    QCOMPARE(threads.size(), 2);
}

void TestVeskLog4qt::categoryIsToldUnlessDefault()
{
    run({"category"});
    QCOMPARE(logLines().size(), 2);
    QVERIFY(logLines().at(0).endsWith("] other.category: told"));
    QVERIFY(logLines().at(1).endsWith("] not told"));
}

void TestVeskLog4qt::atMostThreeFilesOfFiveMegabytesAreKept()
{
    // About 120 bytes a line: more than four files' worth.
    constexpr int COUNT = 200000;
    run({"lines", QString::number(COUNT)});
    const QDir directory = QFileInfo(logPath()).dir();
    QCOMPARE(directory.entryList(QDir::Files),
             QStringList({"log-writer.log", "log-writer.log.1", "log-writer.log.2"}));
    int next = -1;
    for (int number = 2; number >= 0; --number) {
        QVERIFY(QFileInfo(logPath(number)).size() <= FILE_SIZE_LIMIT);
        QVERIFY(number == 0 || QFileInfo(logPath(number)).size() > FILE_SIZE_LIMIT - 1000);
        for (const QString &line : logLines(number)) {
            const int index = line.section("] line ", 1).section(' ', 0, 0).toInt();
            QVERIFY(next == -1 || index == next);
            next = index + 1;
        }
    }
    QCOMPARE(next, COUNT);
}

void TestVeskLog4qt::anOverlongMessageIsCutAtACharacter()
{
    run({"long", "6000000"});
    const QStringList lines = logLines();
    QCOMPARE(lines.size(), 2);
    QVERIFY(lines.at(0).toUtf8().size() < 1'000'100);
    QVERIFY(!lines.at(0).contains(QChar::ReplacementCharacter));
    QVERIFY(lines.at(0).endsWith(" bytes left out]"));
    QVERIFY(lines.at(1).endsWith("after the long one"));
}

void TestVeskLog4qt::nextStartAppends()
{
    run({"text", "first start"});
    run({"text", "second start"});
    QCOMPARE(logLines().size(), 2);
    QVERIFY(logLines().at(0).endsWith("first start"));
    QVERIFY(logLines().at(1).endsWith("second start"));
}

void TestVeskLog4qt::directoryAndFilesArePrivateWhateverTheMask()
{
    run({"openmask"});
    const QFile::Permissions owner =
        QFile::ReadUser | QFile::WriteUser | QFile::ReadOwner | QFile::WriteOwner;
    const QFile::Permissions ownerDirectory = owner | QFile::ExeUser | QFile::ExeOwner;
    QCOMPARE(QFileInfo(m_cache->path() + "/log-writer").permissions(), ownerDirectory);
    QCOMPARE(QFileInfo(m_cache->path() + "/log-writer/log").permissions(), ownerDirectory);
    QCOMPARE(QFileInfo(logPath()).permissions(), owner);
    QCOMPARE(QFileInfo(logPath(1)).permissions(), owner);
}

void TestVeskLog4qt::openFileIsNotHandedToCommands()
{
    const Result result = run({"openfiles"});
    QVERIFY(result.output.contains("/proc/"));
    QVERIFY2(!result.output.contains("log-writer.log"), qPrintable(result.output));
}

void TestVeskLog4qt::linesOfManyThreadsStayWhole()
{
    const Result result = run({"threads", "8"});
    QCOMPARE(result.exitCode, 0);
    const QRegularExpression form(R"(^\S+ \S+ \S+ \[debug\] \[\d+\] (\d) (\d{7}) a line of about )"
                                  R"(the usual length, with nothing in it$)");
    for (const QString &text : {logText(), result.error}) {
        QVector<int> next(8, 0);
        for (const QString &line : text.split('\n', Qt::SkipEmptyParts)) {
            const QRegularExpressionMatch match = form.match(line);
            QVERIFY2(match.hasMatch(), qPrintable(line));
            QCOMPARE(match.captured(2).toInt(), next[match.captured(1).toInt()]++);
        }
        QCOMPARE(next, QVector<int>(8, 2000));
    }
}

void TestVeskLog4qt::twoProcessesOfOneIdKeepBoundsAndLines()
{
    QProcess writers[2];
    for (QProcess &writer : writers) {
        prepare(writer);
        writer.setArguments({"lines", "60000"});
        writer.setStandardErrorFile(QProcess::nullDevice());
        writer.start();
    }
    for (QProcess &writer : writers) {
        QVERIFY(writer.waitForFinished(60000));
        QCOMPARE(writer.exitCode(), 0);
    }
    const QDir directory = QFileInfo(logPath()).dir();
    QCOMPARE(directory.entryList(QDir::Files).size(), 3);
    const QRegularExpression form(R"(\[\d+\] line \d{7} a line of .* nothing in it$)");
    for (int number = 0; number < 3; ++number) {
        // Both may find the last bit of room at the same moment.
        QVERIFY(QFileInfo(logPath(number)).size() <= FILE_SIZE_LIMIT + 200);
        for (const QString &line : logLines(number)) {
            QVERIFY2(form.match(line).hasMatch(), qPrintable(line));
        }
    }
}

void TestVeskLog4qt::killedProcessLosesNoLine()
{
    const Result result = run({"killed", "500"});
    QVERIFY(!result.normalExit);
    QCOMPARE(logLines().size(), 500);
    QVERIFY(logLines().last().contains("line 0000499"));
}

void TestVeskLog4qt::signalInterruptingTheLogDoesNotBlock()
{
    const Result result = run({"signal"});
    QVERIFY(result.normalExit); // a deadlock ends in run()'s time limit
    QCOMPARE(result.exitCode, 0);
    const QString inside = QString::fromUtf8("Interrupt signal ( 10 ) received, 已收到 ");
    QCOMPARE(result.error.count(inside), 2);
    QVERIFY(result.error.contains(QString::fromUtf8("😀")));
    QCOMPARE(logLines().size(), 2);
    QVERIFY(logLines().at(0).endsWith("interrupted twice"));
    QVERIFY(logLines().at(1).endsWith("going on"));
}

void TestVeskLog4qt::fatalMessageIsLoggedAndAborts()
{
    const Result result = run({"fatal"});
    QVERIFY(!result.normalExit);
    QCOMPARE(result.exitCode, SIGABRT);
    QVERIFY(logText().contains("[critical] "));
    QVERIFY(logText().endsWith("the last words\n"));
    QVERIFY(result.error.contains("the last words\n"));
}

void TestVeskLog4qt::laterCallsChangeNothing()
{
    const Result result = run({"twice"});
    QCOMPARE(logLines().size(), 2);
    QCOMPARE(result.error.count('\n'), 2);
    QVERIFY(!QFileInfo::exists(m_cache->path() + "/another-id"));
}

void TestVeskLog4qt::messagesOfStaticDestructionArrive()
{
    const Result result = run({"atexit"});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(logText().endsWith("during static destruction\n"));
}

void TestVeskLog4qt::fileThatCannotBeMadeLeavesStandardError_data()
{
    QTest::addColumn<QString>("obstacle");
    QTest::newRow("a file where the cache directory should be") << "";
    QTest::newRow("a file where the program's directory should be") << "log-writer";
    QTest::newRow("a file where the log's directory should be") << "log-writer/log";
    QTest::newRow("a directory where the file should be") << "log-writer/log/log-writer.log/";
}

void TestVeskLog4qt::fileThatCannotBeMadeLeavesStandardError()
{
    QFETCH(QString, obstacle);
    const QString path = m_cache->path() + '/' + obstacle;
    if (obstacle.isEmpty()) {
        QVERIFY(QDir(m_cache->path()).removeRecursively());
        QFile file(m_cache->path());
        QVERIFY(file.open(QIODevice::WriteOnly));
    } else if (obstacle.endsWith('/')) {
        QVERIFY(QDir().mkpath(path));
    } else {
        QVERIFY(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    const Result result = run({"lines", "50"});
    QVERIFY(result.normalExit);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.error.count("a line of about the usual length"), 50);
    QCOMPARE(result.error.count(FAILURE_LINE), 1);
    QCOMPARE(result.error.count('\n'), 51);
    QFile::remove(m_cache->path());
}

void TestVeskLog4qt::fullDiskIsToldOnce()
{
    QVERIFY(QDir().mkpath(QFileInfo(logPath()).path()));
    QVERIFY(QFile::link("/dev/full", logPath()));
    const Result result = run({"lines", "50"});
    QVERIFY(result.normalExit);
    QCOMPARE(result.error.count("a line of about the usual length"), 50);
    QCOMPARE(result.error.count(FAILURE_LINE), 1);
    QVERIFY(result.error.contains("No space left on device"));
}

void TestVeskLog4qt::everyOutageIsToldOnceAndTheFileGoesOnAfterIt()
{
    const Result result = run({"limited"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.error.count("a line of about the usual length"), 210);
    QCOMPARE(result.error.count(FAILURE_LINE), 2);
    QCOMPARE(logText().count("] space "), 10);
    QVERIFY(logText().count("] full ") < 100);
    for (const QString &line : logLines()) { // the torn one, too, stands by itself
        QVERIFY2(line.count(" [debug] ") <= 1, qPrintable(line));
    }
}

void TestVeskLog4qt::removedFileIsMadeAnew()
{
    run({"removed"});
    QCOMPARE(logLines().size(), 1);
    QVERIFY(logLines().at(0).endsWith("after the removal"));
}

void TestVeskLog4qt::closedStandardErrorLeavesTheFile()
{
    const Result result = run({"closed"});
    QVERIFY(result.normalExit);
    QVERIFY(logText().endsWith("standard error is closed\n"));
}

void TestVeskLog4qt::journalGetsAPriorityOnEveryLine()
{
    QFile stream(m_cache->filePath("stream"));
    QVERIFY(stream.open(QIODevice::WriteOnly));
    struct stat identity = {};
    QCOMPARE(fstat(stream.handle(), &identity), 0);
    const QString name = QString("%1:%2").arg(identity.st_dev).arg(identity.st_ino);

    const auto journalLines = [&](const QStringList &arguments) {
        QProcess writer;
        prepare(writer);
        QProcessEnvironment environment = writer.processEnvironment();
        environment.insert("JOURNAL_STREAM", name);
        writer.setProcessEnvironment(environment);
        writer.setStandardErrorFile(stream.fileName(), QIODevice::Truncate);
        writer.setArguments(arguments);
        writer.start();
        writer.waitForFinished();
        QFile written(stream.fileName());
        return written.open(QIODevice::ReadOnly)
                   ? QString::fromUtf8(written.readAll()).split('\n', Qt::SkipEmptyParts)
                   : QStringList();
    };
    const QStringList levels = journalLines({"levels"});
    QCOMPARE(levels.size(), 4);
    const QStringList marks{"<7>", "<6>", "<4>", "<3>"};
    for (int i = 0; i < marks.size(); ++i) {
        QVERIFY2(levels.at(i).startsWith(marks.at(i) + '['), qPrintable(levels.at(i)));
    }
    const QStringList two = journalLines({"text", "first\nsecond"});
    QCOMPARE(two.size(), 2);
    QVERIFY(two.at(0).startsWith("<4>"));
    QCOMPARE(two.at(1), QString("<4>second"));
}

QTEST_GUILESS_MAIN(TestVeskLog4qt)
#include "vesklog4qttest.moc"
