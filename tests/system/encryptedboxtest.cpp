// The recorder's own stores in a real encrypted box: nothing of what it saw lies in the clear, also
// when the box goes away while it records.

#include "capture/capturefixture.h"
#include "platform/vault/privatesystem.h"
#include "platform/vault/vaulttest.h"

#include <QDir>
#include <QDirIterator>
#include <QGuiApplication>
#include <QProcess>
#include <QTest>

namespace
{
constexpr int limitMs = 60000;
const QString marker = QStringLiteral("Pfauenauge steht auf dem Schirm 孔雀");

/// A recorder that is told what to do.
class Recorder
{
public:
    Recorder()
    {
        QObject::connect(&m_process, &QProcess::readyReadStandardError, &m_process,
                         [this] { m_log += m_process.readAllStandardError(); });
        m_process.start(QStringLiteral(BOXRECORDER),
                        {QString::number(m_application.pid()), marker});
        m_process.waitForStarted();
    }
    ~Recorder()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }
    Q_DISABLE_COPY_MOVE(Recorder)

    QString nextLine()
    {
        if (!QTest::qWaitFor([this] { return m_process.canReadLine() || hasEnded(); }, limitMs)) {
            return QStringLiteral("(no answer)");
        }
        return QString::fromUtf8(m_process.readLine()).trimmed();
    }
    bool keep(int frames)
    {
        m_process.write("keep " + QByteArray::number(frames) + '\n');
        return nextLine() == QLatin1String("kept");
    }
    /// Its exit status, -1 if it crashed.
    int end()
    {
        m_process.write("end\n");
        if (!QTest::qWaitFor([this] { return hasEnded(); }, limitMs)) {
            return -1;
        }
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    bool hasEnded() const { return m_process.state() == QProcess::NotRunning; }
    QString log() const { return QString::fromUtf8(m_log); }
    QString desktopEntry() const { return m_application.desktopEntry(); }

private:
    CaptureFixture::Application m_application{CaptureFixture::Application::FileManager};
    QProcess m_process;
    QByteArray m_log;
};

/// What of the recorder's lies below a folder.
struct Found {
    int texts = 0;
    int applications = 0;
    int images = 0;
    int videos = 0;
    bool vectors = false;
    QStringList paths;
};

bool operator==(const Found &one, const Found &other)
{
    return one.texts == other.texts && one.applications == other.applications &&
           one.images == other.images && one.videos == other.videos && one.vectors == other.vectors;
}
} // namespace

class EncryptedBoxTest : public VaultTest
{
    Q_OBJECT

private Q_SLOTS:
    void everythingLiesInTheBox();
    void withoutABoxEverythingLiesInTheCache();
    void theBoxGoesWhileRecording_data();
    void theBoxGoesWhileRecording();

private:
    Found lookBelow(const QString &folder, const QString &leftOut = QString()) const;
    void takeAway(const QString &how);
    QStringList entriesOfMountPoint() const;

    const QString m_application =
        CaptureFixture::Application(CaptureFixture::Application::FileManager).desktopEntry();
};

Found EncryptedBoxTest::lookBelow(const QString &folder, const QString &leftOut) const
{
    Found found;
    const QByteArray wide(reinterpret_cast<const char *>(marker.utf16()), marker.size() * 2);
    QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::System,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        if (!leftOut.isEmpty() && path.startsWith(leftOut + QLatin1Char('/'))) {
            continue;
        }
        const QByteArray content = read(path);
        const bool isText = content.contains(marker.toUtf8()) || content.contains(wide);
        const bool isApplication = content.contains(m_application.toUtf8());
        const bool isImage = content.startsWith("\x89PNG") || path.endsWith(QLatin1String(".png"));
        const bool isVideo = content.mid(4, 4) == "ftyp" || path.contains(QLatin1String(".mp4"));
        found.texts += isText ? 1 : 0;
        found.applications += isApplication ? 1 : 0;
        found.images += isImage ? 1 : 0;
        found.videos += isVideo && !isImage ? 1 : 0;
        if (path.endsWith(QLatin1String("/vectors.db"))) {
            found.vectors = true;
            found.paths.append(path);
        }
        if (isText || isApplication || isImage || isVideo) {
            found.paths.append(path);
        }
    }
    return found;
}

QStringList EncryptedBoxTest::entriesOfMountPoint() const
{
    return QDir(mountPoint()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

void EncryptedBoxTest::everythingLiesInTheBox()
{
    {
        Recorder recorder;
        QCOMPARE(recorder.nextLine(), QStringLiteral("in the box"));
        QVERIFY(recorder.keep(103));
        // The first hundred become a video, the others stay images; text and vectors come later.
        QTRY_VERIFY_WITH_TIMEOUT(lookBelow(mountPoint()).videos >= 1, limitMs);
        QTRY_VERIFY_WITH_TIMEOUT(lookBelow(mountPoint()).texts >= 1, limitMs);
        const Found inside = lookBelow(mountPoint());
        QVERIFY(inside.images >= 3);
        QVERIFY(inside.applications >= 1);
        QVERIFY(inside.vectors);
        const Found outside = lookBelow(home(), mountPoint());
        QVERIFY2(outside == Found(), qPrintable(outside.paths.join(QLatin1Char('\n'))));
        QCOMPARE(recorder.end(), 0);
    }
    // The box stays open; when it is closed nothing is left to be read.
    QVERIFY(lookBelow(mountPoint()).texts >= 1);
    QCOMPARE(run(QStringLiteral("grep"), {QStringLiteral("-rqF"), marker, home()}).status, 0);
    QCOMPARE(vaultsm({QStringLiteral("-t"), BOX}).status, 0);
    QVERIFY(lookBelow(home()) == Found());
    QCOMPARE(run(QStringLiteral("grep"), {QStringLiteral("-rqF"), marker, home()}).status, 1);
    QCOMPARE(run(QStringLiteral("grep"), {QStringLiteral("-rqF"), m_application, home()}).status,
             1);
}

void EncryptedBoxTest::withoutABoxEverythingLiesInTheCache()
{
    QVERIFY(m_keyring->lock()); // so that no box can be made
    Recorder recorder;
    QCOMPARE(recorder.nextLine(), QStringLiteral("plain"));
    QVERIFY(recorder.log().contains(
        QLatin1String("SafeBox failed to create, running without safebox")));
    QVERIFY(recorder.keep(3));
    QTRY_VERIFY_WITH_TIMEOUT(lookBelow(home() + QStringLiteral("/.cache")).texts >= 1, limitMs);
    QTRY_VERIFY_WITH_TIMEOUT(lookBelow(home() + QStringLiteral("/.cache")).vectors, limitMs);
    QCOMPARE(lookBelow(home() + QStringLiteral("/.cache")).images, 3);
    QVERIFY(!QFile::exists(home() + QStringLiteral("/.vault")));
    QCOMPARE(recorder.end(), 0);
}

void EncryptedBoxTest::takeAway(const QString &how)
{
    if (how != QLatin1String("taken away")) {
        QVERIFY(killServer());
    }
    if (how != QLatin1String("killed")) {
        QCOMPARE(run(QStringLiteral("fusermount3"), {QStringLiteral("-uz"), mountPoint()}).status,
                 0);
    }
}

void EncryptedBoxTest::theBoxGoesWhileRecording_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QString>("message");
    QTest::newRow("killed") << QStringLiteral("killed")
                            << QStringLiteral("Error executing statement: ");
    QTest::newRow("taken away") << QStringLiteral("taken away") << QStringLiteral("目录创建失败：");
    QTest::newRow("killed and taken away")
        << QStringLiteral("killed and taken away") << QStringLiteral("Error executing statement: ");
}

void EncryptedBoxTest::theBoxGoesWhileRecording()
{
    QFETCH(QString, how);
    QFETCH(QString, message);
    Recorder recorder;
    QCOMPARE(recorder.nextLine(), QStringLiteral("in the box"));
    QVERIFY(recorder.keep(10));
    QTRY_VERIFY_WITH_TIMEOUT(lookBelow(mountPoint()).texts >= 1, limitMs);

    takeAway(how);
    QVERIFY(recorder.keep(95)); // beyond the end of a batch
    QVERIFY2(recorder.log().contains(message), qPrintable(recorder.log().right(3000)));
    QCOMPARE(recorder.end(), 0);

    QVERIFY(lookBelow(home()) == Found());
    run(QStringLiteral("fusermount3"), {QStringLiteral("-uz"), mountPoint()});
    QCOMPARE(entriesOfMountPoint(), QStringList());
    run(QStringLiteral("umount"), {mountPoint()}); // what keeps root out
    QCOMPARE(entriesOfMountPoint(), QStringList());

    // The next start opens the box again, with what had been stored.
    Recorder next;
    QCOMPARE(next.nextLine(), QStringLiteral("in the box"));
    QVERIFY(lookBelow(mountPoint()).texts >= 1);
    QVERIFY(next.keep(1));
    QCOMPARE(next.end(), 0);
}

int main(int argc, char **argv)
{
    PrivateSystem::enter(VAULTSM);
    QGuiApplication application(argc, argv);
    EncryptedBoxTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "encryptedboxtest.moc"
