// Downloads from an address: whole, continued, broken off, refused, silent.

#include "controlcenter/sources/addresssource.h"
#include "fileserver.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

namespace
{
QByteArray numbers()
{
    QByteArray text;
    for (int number = 0; number < 40000; ++number) {
        text += QByteArray::number(number) + ' ';
    }
    return text;
}
} // namespace

class AddressSourceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void wholeFileIsBrought();
    void fileOfTheHubComesFromWhereTheHubIs();
    void brokenDownloadIsContinuedAtItsEnd();
    void serverWithoutRangesSendsTheWhole();
    void fileThatIsCompleteAlreadyIsBroughtAnew();
    void redirectionIsFollowed();
    void errorPageIsNotWritten_data();
    void errorPageIsNotWritten();
    void hangUpKeepsWhatCame();
    void silenceIsGivenUp();
    void nobodyListens();
    void cancelKeepsWhatCame();
    void fullDiskIsTold();
    void unwritableFileIsTold();

private:
    InstallResult run(AddressSource &source);
    QByteArray received() const;

    std::unique_ptr<FileServer> m_server;
    QTemporaryDir m_folder;
    QString m_file;
    ModelPackage m_package;
};

void AddressSourceTest::init()
{
    qRegisterMetaType<InstallResult>();
    m_server = std::make_unique<FileServer>(numbers());
    m_file = m_folder.filePath(QString::fromLatin1(QTest::currentTestFunction()) +
                               QString::fromLatin1(QTest::currentDataTag()));
    m_package.address = m_server->address();
}

InstallResult AddressSourceTest::run(AddressSource &source)
{
    QSignalSpy finished(&source, &ModelSource::finished);
    source.fetch(m_package, m_file);
    if (finished.isEmpty() && !finished.wait(15000)) {
        return {InstallResult::Failed, QStringLiteral("did not end")};
    }
    return finished.first().first().value<InstallResult>();
}

QByteArray AddressSourceTest::received() const
{
    QFile file(m_file);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

void AddressSourceTest::wholeFileIsBrought()
{
    AddressSource source;
    const QSignalSpy told(&source, &ModelSource::received);
    QVERIFY(run(source).isDone());
    QCOMPARE(received(), numbers());
    QVERIFY(!told.isEmpty());
    QCOMPARE(told.last().first().toLongLong(), qint64(numbers().size()));
}

void AddressSourceTest::fileOfTheHubComesFromWhereTheHubIs()
{
    const QString server = m_server->address();
    const int path = server.indexOf(QLatin1Char('/'), 8);
    QVERIFY(path > 0);
    m_package.address = QStringLiteral("hub:") + server.mid(path + 1);
    {
        AddressSource source;
        QVERIFY(!run(source).isDone());
    }
    qputenv("YESTERMARK_MODEL_HUB", server.left(path).toUtf8());
    AddressSource source;
    const bool isDone = run(source).isDone();
    qunsetenv("YESTERMARK_MODEL_HUB");
    QVERIFY(isDone);
    QCOMPARE(received(), numbers());
}

void AddressSourceTest::brokenDownloadIsContinuedAtItsEnd()
{
    m_server->m_stopAfter = 100000;
    {
        AddressSource source;
        QCOMPARE(run(source).kind, InstallResult::Unreachable);
    }
    // The network library may drop what came right before the hang-up.
    const int kept = received().size();
    QVERIFY(kept > 0 && kept <= 100000);
    QCOMPARE(received(), numbers().left(kept));
    m_server->m_stopAfter = -1;
    AddressSource source;
    const QSignalSpy told(&source, &ModelSource::received);
    QVERIFY(run(source).isDone());
    QCOMPARE(m_server->m_ranges.first(), QByteArray());
    QCOMPARE(m_server->m_ranges.last(), QByteArray::number(kept) + '-');
    QCOMPARE(received(), numbers());
    QVERIFY(told.first().first().toLongLong() > kept); // the earlier bytes are counted
}

void AddressSourceTest::serverWithoutRangesSendsTheWhole()
{
    m_server->m_knowsRanges = false;
    QFile earlier(m_file);
    QVERIFY(earlier.open(QFile::WriteOnly));
    earlier.write(numbers().left(5000));
    earlier.close();
    AddressSource source;
    QVERIFY(run(source).isDone());
    QCOMPARE(received(), numbers());
}

void AddressSourceTest::fileThatIsCompleteAlreadyIsBroughtAnew()
{
    QFile earlier(m_file);
    QVERIFY(earlier.open(QFile::WriteOnly));
    earlier.write(numbers());
    earlier.close();
    AddressSource source;
    QVERIFY(run(source).isDone());
    QCOMPARE(received(), numbers());
    QCOMPARE(m_server->m_ranges.size(), 2);
    QCOMPARE(m_server->m_ranges.last(), QByteArray());
}

void AddressSourceTest::redirectionIsFollowed()
{
    m_server->m_redirects = true;
    AddressSource source;
    QVERIFY(run(source).isDone());
    QCOMPARE(received(), numbers());
}

void AddressSourceTest::errorPageIsNotWritten_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("kind");
    QTest::newRow("not found") << 404 << int(InstallResult::NotThere);
    QTest::newRow("gone") << 410 << int(InstallResult::NotThere);
    QTest::newRow("forbidden") << 403 << int(InstallResult::NotThere);
    QTest::newRow("server's fault") << 500 << int(InstallResult::Unreachable);
    QTest::newRow("overloaded") << 503 << int(InstallResult::Unreachable);
}

void AddressSourceTest::errorPageIsNotWritten()
{
    QFETCH(int, status);
    QFETCH(int, kind);
    m_server->m_status = status;
    QFile earlier(m_file);
    QVERIFY(earlier.open(QFile::WriteOnly));
    earlier.write("beginning");
    earlier.close();
    AddressSource source;
    QCOMPARE(int(run(source).kind), kind);
    QCOMPARE(received(), QByteArray("beginning"));
}

void AddressSourceTest::hangUpKeepsWhatCame()
{
    m_server->m_stopAfter = 777;
    AddressSource source;
    QCOMPARE(run(source).kind, InstallResult::Unreachable);
    QVERIFY(received().size() <= 777);
    QVERIFY(numbers().startsWith(received()));
}

void AddressSourceTest::silenceIsGivenUp()
{
    m_server->m_silent = true;
    AddressSource source(500);
    QCOMPARE(run(source).kind, InstallResult::Unreachable);
}

void AddressSourceTest::nobodyListens()
{
    m_server.reset();
    AddressSource source;
    QCOMPARE(run(source).kind, InstallResult::Unreachable);
}

void AddressSourceTest::cancelKeepsWhatCame()
{
    m_server->m_content = QByteArray(30 * 1024 * 1024, 'x');
    AddressSource source;
    connect(&source, &ModelSource::received, &source, [&](qint64 bytes) {
        if (bytes >= 100000) {
            source.cancel();
        }
    });
    QCOMPARE(run(source).kind, InstallResult::Cancelled);
    QVERIFY(received().size() >= 100000);
    QVERIFY(received().size() < m_server->m_content.size());
}

void AddressSourceTest::fullDiskIsTold()
{
    m_file = QStringLiteral("/dev/full");
    AddressSource source;
    QCOMPARE(run(source).kind, InstallResult::NoSpace);
}

void AddressSourceTest::unwritableFileIsTold()
{
    m_file = m_folder.filePath(QStringLiteral("no/such/folder/file"));
    AddressSource source;
    QCOMPARE(run(source).kind, InstallResult::NotWritable);
}

QTEST_GUILESS_MAIN(AddressSourceTest)
#include "addresssourcetest.moc"
