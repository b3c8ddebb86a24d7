#pragma once
// A handler over a history of real videos, rows and vectors, which is empty at first, and a clock
// that stands. Owner: the test program, which derives from it. Main thread.

#include "capture/screenhistorytracker.h"
#include "database/datahandler.h"

#include <QDateTime>
#include <QObject>

#include <memory>

class DataHandlerFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

protected:
    static QString quoted(const QString &text);

    void start();
    /// A sparse file in a folder below the root.
    void addBallast(const QString &folder, qint64 bytes);
    QString dayFolder(int day) const;

    std::unique_ptr<ScreenHistoryTracker> m_tracker;
    std::unique_ptr<DataHandler> m_handler;
    const QDateTime m_now{QDate(2024, 3, 15), QTime(14, 0)};
};
