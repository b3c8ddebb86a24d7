// The kept permission: modes, whole replacement, nonsense in the file.

#include "desktopbridge/portal/restoretoken.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace
{
uint modeOf(const QString &path)
{
    struct stat facts {
    };
    return ::stat(QFile::encodeName(path).constData(), &facts) == 0 ? facts.st_mode & 07777U : 0;
}
} // namespace

class RestoreTokenTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void standsInTheUsersDataFolder();
    void nothingIsKeptAtFirst();
    void comesBackAndIsTheUsersAlone();
    void aNewOneReplacesTheOldOne();
    void anEmptyOneRemovesTheFile();
    void aFolderThatIsThereKeepsItsMode();
    void aFolderThatCannotBeMadeIsAFailure();
    void aFileThatIsNoTokenIsNone();
};

void RestoreTokenTest::standsInTheUsersDataFolder()
{
    qunsetenv("XDG_DATA_HOME");
    QCOMPARE(RestoreToken::usualFile(),
             QDir::homePath() +
                 QStringLiteral("/.local/share/tavel-ai-yestermark/screen-permission"));
    qputenv("XDG_DATA_HOME", "/somewhere");
    QCOMPARE(RestoreToken::usualFile(),
             QStringLiteral("/somewhere/tavel-ai-yestermark/screen-permission"));
    qunsetenv("XDG_DATA_HOME");
}

void RestoreTokenTest::nothingIsKeptAtFirst()
{
    const QTemporaryDir folder;
    const RestoreToken token(folder.filePath(QStringLiteral("a/b")));
    QCOMPARE(token.load(), QString());
    QVERIFY(!QFileInfo::exists(folder.filePath(QStringLiteral("a"))));
}

void RestoreTokenTest::comesBackAndIsTheUsersAlone()
{
    const QTemporaryDir folder;
    const mode_t before = ::umask(0);
    const RestoreToken token(folder.filePath(QStringLiteral("share/ours/file")));
    const bool saved = token.save(QStringLiteral("abc-1"));
    ::umask(before);
    QVERIFY(saved);
    QCOMPARE(token.load(), QStringLiteral("abc-1"));
    QCOMPARE(modeOf(folder.filePath(QStringLiteral("share/ours/file"))), 0600U);
    QCOMPARE(modeOf(folder.filePath(QStringLiteral("share/ours"))), 0700U);
}

void RestoreTokenTest::aNewOneReplacesTheOldOne()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("file"));
    const RestoreToken token(file);
    QVERIFY(token.save(QStringLiteral("a much longer one")));
    QFile before(file);
    QVERIFY(before.open(QFile::ReadOnly));
    QVERIFY(token.save(QStringLiteral("short")));
    QCOMPARE(token.load(), QStringLiteral("short"));
    // Another file in its place: whoever dies while writing leaves the old one.
    QCOMPARE(before.readAll(), QByteArray("a much longer one"));
    QCOMPARE(modeOf(file), 0600U);
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 1);
}

void RestoreTokenTest::anEmptyOneRemovesTheFile()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("file"));
    const RestoreToken token(file);
    QVERIFY(token.save(QStringLiteral("abc")));
    QVERIFY(token.save(QString()));
    QVERIFY(!QFile::exists(file));
    QVERIFY(token.save(QString()));
}

void RestoreTokenTest::aFolderThatIsThereKeepsItsMode()
{
    const QTemporaryDir folder;
    const QString ours = folder.filePath(QStringLiteral("ours"));
    QVERIFY(QDir().mkpath(ours));
    QCOMPARE(::chmod(QFile::encodeName(ours).constData(), 0750), 0);
    QVERIFY(RestoreToken(ours + QStringLiteral("/file")).save(QStringLiteral("abc")));
    QCOMPARE(modeOf(ours), 0750U);
}

void RestoreTokenTest::aFolderThatCannotBeMadeIsAFailure()
{
    const RestoreToken token(QStringLiteral("/proc/nothing/here/file"));
    QVERIFY(!token.save(QStringLiteral("abc")));
    QCOMPARE(token.load(), QString());
}

void RestoreTokenTest::aFileThatIsNoTokenIsNone()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file"));
    QFile file(path);
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(QByteArray(100000, 'x'));
    file.close();
    QCOMPARE(RestoreToken(path).load(), QString());
    QCOMPARE(RestoreToken(folder.path()).load(), QString());
}

QTEST_GUILESS_MAIN(RestoreTokenTest)
#include "restoretokentest.moc"
