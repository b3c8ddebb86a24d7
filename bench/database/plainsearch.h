#pragma once
// The text search over all month files as plain SQLite does it: the same SQL and the same records,
// on connections with the built-in LIKE, without a memory map. Owner: the measurement. Thread: one.

#include "database/screenshotdata.h"

#include <QVector>

#include <memory>
#include <vector>

struct sqlite3;

class PlainSearch
{
public:
    /// Opens every month file of @p directory and keeps it open, as the store does.
    explicit PlainSearch(const QString &directory);
    ~PlainSearch();
    Q_DISABLE_COPY_MOVE(PlainSearch)

    /// Every frame whose text contains @p text.
    QVector<ScreenShotData> run(const QString &text) const;

private:
    struct Closer {
        void operator()(sqlite3 *handle) const;
    };
    std::vector<std::unique_ptr<sqlite3, Closer>> m_months; ///< newest first
};
