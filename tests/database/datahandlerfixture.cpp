#include "datahandlerfixture.h"

#include "database/fileremoval.h"
#include "database/storedhistory.h"
#include "support/fakeclock.h"

#include <QDir>
#include <QTest>

void DataHandlerFixture::initTestCase()
{
    FakeClock::freeze(m_now);
    StoredHistory::openVectorStore();
}

void DataHandlerFixture::init()
{
    FakeClock::freeze(m_now);
    StoredHistory::eraseEverything();
}

void DataHandlerFixture::cleanup()
{
    m_handler.reset();
    m_tracker.reset();
    FileRemoval::reset();
    FakeClock::reset();
}

QString DataHandlerFixture::quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

void DataHandlerFixture::start()
{
    m_tracker = std::make_unique<ScreenHistoryTracker>();
    m_handler = std::make_unique<DataHandler>(*m_tracker);
}

void DataHandlerFixture::addBallast(const QString &folder, qint64 bytes)
{
    const QString path = StoredHistory::root() + QLatin1Char('/') + folder;
    QVERIFY(QDir().mkpath(path));
    QFile file(path + QLatin1String("/ballast.mp4"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(bytes));
}

QString DataHandlerFixture::dayFolder(int day) const
{
    return QStringLiteral("2024-03/2024-03-%1").arg(day, 2, 10, QLatin1Char('0'));
}
