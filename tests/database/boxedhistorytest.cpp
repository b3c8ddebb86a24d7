// Where the recorder and the policy look for frames once the encrypted box is in use: in the box
// alone. The tool is a fake that says yes to everything, so a plain folder stands for the box.

#include "database/datahandler.h"

#include "capture/screenhistorytracker.h"
#include "database/databasemanager.h"
#include "database/dataencryptor.h"
#include "platform/vault/double/vaultdouble.h"
#include "platform/vault/privatesystem.h"
#include "support/fakeclock.h"
#include "support/logcapture.h"
#include "vectordb/databaseloader.h"
#include "vectordb/fake/fakedatabase.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTest>

#include <memory>

namespace
{
constexpr qint64 GIB = qint64{1024} * 1024 * 1024;

QString inBox(const QString &path = QString())
{
    return QDir::homePath() + QLatin1String("/.vault/tavel-ai-yestermark/screenshots") + path;
}

QString inCache(const QString &path = QString())
{
    return QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/screenshots") + path;
}

/// A sparse file of @p bytes.
QString addVideo(const QString &folder, qint64 bytes)
{
    QFile file(folder + QLatin1String("/2024-03-10_10-00-00.mp4"));
    const bool isThere =
        QDir().mkpath(folder) && file.open(QIODevice::WriteOnly) && file.resize(bytes);
    return isThere ? file.fileName() : QString();
}
} // namespace

class BoxedHistoryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void daysAreThoseInTheBox();
    void aMissingDirectoryIsThatInTheBox();
    void framesAndDatabasesAreStoredInTheBox();
    void onlyWhatLiesInTheBoxCountsAndGoes();

private:
    std::unique_ptr<ScreenHistoryTracker> m_tracker;
    std::unique_ptr<DataHandler> m_handler;
};

void BoxedHistoryTest::initTestCase()
{
    if (!PrivateSystem::whyNot().isEmpty()) {
        QSKIP(qPrintable(PrivateSystem::whyNot()));
    }
    VectorDB::DatabaseLoader::force([] { return std::make_shared<VectorDB::FakeDatabase>(); });
    VaultDouble::setEnabled(1);
    QVERIFY(DataEncryptor::getInstance()->isSafeDirectoryMounted());
}

void BoxedHistoryTest::init()
{
    FakeClock::freeze(QDateTime(QDate(2024, 3, 15), QTime(14, 0)));
    QDir(inBox()).removeRecursively();
    QDir(inCache()).removeRecursively();
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    m_handler = std::make_unique<DataHandler>(*m_tracker);
}

void BoxedHistoryTest::cleanup()
{
    m_handler.reset();
    m_tracker.reset();
    FakeClock::reset();
}

void BoxedHistoryTest::daysAreThoseInTheBox()
{
    QVERIFY(!addVideo(inCache("/2024-03/2024-03-09"), 1).isEmpty());
    QVERIFY(!addVideo(inBox("/2024-03/2024-03-10"), 1).isEmpty());
    QVERIFY(!addVideo(inBox("/2024-03/2024-03-11"), 1).isEmpty());
    QVERIFY(!addVideo(inCache("/2024-03/2024-03-12"), 1).isEmpty());
    QCOMPARE(m_handler->getFirstAndLastDay(),
             QStringList({QStringLiteral("2024-03-10"), QStringLiteral("2024-03-11")}));
}

void BoxedHistoryTest::aMissingDirectoryIsThatInTheBox()
{
    QVERIFY(!addVideo(inCache("/2024-03/2024-03-10"), 1).isEmpty());
    QDir(inBox()).removeRecursively();
    const LogCapture log;
    QCOMPARE(m_handler->getFirstAndLastDay(), QStringList({QString(), QString()}));
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList(QStringLiteral("\"%1\" not exist !").arg(inBox())));
}

void BoxedHistoryTest::framesAndDatabasesAreStoredInTheBox()
{
    QVERIFY(m_tracker->hasEncryption());
    QCOMPARE(m_tracker->getScreenshotDirByDate(QDate(2024, 3, 10)), inBox("/2024-03/2024-03-10"));
    ScreenShotData frame;
    frame.videoName = QStringLiteral("2024-03-15_14-00-00.mp4");
    frame.realTime = QDateTime::currentSecsSinceEpoch();
    QVERIFY(DatabaseManager::getInstance()->saveScreenShotData(frame));
    const QString month = QStringLiteral("/traditional_database/2024-03.db");
    QVERIFY(QFile::exists(QFileInfo(inBox()).absolutePath() + month));
    QVERIFY(!QFile::exists(QFileInfo(inCache()).absolutePath() + month));
}

void BoxedHistoryTest::onlyWhatLiesInTheBoxCountsAndGoes()
{
    const QString cached = addVideo(inCache("/2024-03/2024-03-10"), 5 * GIB);
    const QString older = addVideo(inBox("/2024-03/2024-03-10"), GIB);
    const QString younger = addVideo(inBox("/2024-03/2024-03-11"), GIB);
    QVERIFY(!cached.isEmpty() && !older.isEmpty() && !younger.isEmpty());
    m_handler->setScreenshotStorageSize(2);
    QVERIFY(QFile::exists(older));
    m_handler->setScreenshotStorageSize(1);
    QVERIFY(!QFile::exists(older));
    QVERIFY(QFile::exists(younger));
    m_handler->setScreenshotStorageSize(0);
    QVERIFY(!QFile::exists(younger));
    QVERIFY(QFile::exists(cached));
}

int main(int argc, char **argv)
{
    PrivateSystem::enter(FAKEVAULTSM);
    QGuiApplication application(argc, argv);
    BoxedHistoryTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "boxedhistorytest.moc"
