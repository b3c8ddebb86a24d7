#pragma once
// Looks through several months at once, each on a thread of its own, and gives their rows in the
// months' order. Owner: the reader, on its stack. Thread: the one that made it; the threads behind
// end with it.

#include "history/monthrows.h"

#include <QVector>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

class QThread;

class MonthScan
{
public:
    struct Month {
        QString name;
        QVector<ScreenShotData> rows; ///< as they were stored
        ReadOnlyDatabase::State state = ReadOnlyDatabase::State::Open;
        QString errorText;
    };

    /// Begins to look for rows that are @p wanted in @p months of @p folder.
    MonthScan(QString folder, QStringList months, MonthRows::Wanted wanted);

    /// Ends what has not been asked for.
    ~MonthScan();
    Q_DISABLE_COPY_MOVE(MonthScan)

    /// The next month's rows; nothing behind the last. Waits for them.
    std::optional<Month> next();

private:
    void work();
    Month read(const QString &name) const;

    const QString m_folder;
    const QStringList m_months;
    const MonthRows::Wanted m_wanted;
    std::mutex m_mutex; ///< over the following
    std::condition_variable m_changed;
    std::map<int, Month> m_done; ///< by place, until they are asked for
    int m_begun = 0;             ///< months that a thread has taken
    int m_given = 0;             ///< months that were asked for
    bool m_isToStop = false;
    std::vector<std::unique_ptr<QThread>> m_threads;
};
