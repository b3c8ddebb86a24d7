#pragma once
// Base of the tests of the month databases: each test function gets a home of its own, a clock that
// starts at noon of 2024-03-15 and a look at the log. Main thread.

#include "support/logcapture.h"
#include "teststore.h"

#include <QObject>

#include <memory>

class StoreTest : public QObject
{
    Q_OBJECT

protected:
    std::unique_ptr<TestStore::Home> m_home;
    std::unique_ptr<LogCapture> m_log;

    /// For stores whose every message belongs on the debug log.
    void cleanupWithoutWarnings();

protected Q_SLOTS:
    void init();
    void cleanup();
};
