#include "storetest.h"

#include "database/dataencryptor.h"
#include "support/fakeclock.h"

#include <QTest>

void StoreTest::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    m_home = std::make_unique<TestStore::Home>();
    DataEncryptor::getInstance(); // tells once where data lie, before anybody looks at the log
    m_log = std::make_unique<LogCapture>();
}

void StoreTest::cleanup()
{
    m_log.reset();
    m_home.reset();
    FakeClock::reset();
}

void StoreTest::cleanupWithoutWarnings()
{
    const QStringList warnings = m_log->texts(QtWarningMsg);
    cleanup();
    QCOMPARE(warnings, QStringList());
}
