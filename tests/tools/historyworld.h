#pragma once
// A sound little history in a home of its own, and ways to spoil it: five videos of two days with
// their rows and vectors. Owner: a test. Main thread.

#include "support/yearstore.h"

#include <QTemporaryDir>

#include <memory>

class HistoryWorld
{
public:
    static constexpr int rows = 450;
    static constexpr int framesOfLastVideo = 50;

    HistoryWorld();

    /// The history anew, whatever was done to it.
    void reset();

    QString home() const { return m_home->path(); }
    QString root() const { return home() + QStringLiteral("/.cache/tavel-ai-yestermark"); }
    const YearStore::Facts &facts() const { return m_facts; }

    int framesOfLastDay() const { return rows - m_facts.framesOfFirstDay; }

    /// All videos, in order.
    QStringList videos() const;
    QString lastVideo() const { return m_facts.lastVideo; }
    /// The second video of the second day.
    QString secondVideoOfDay() const;

    QString folderOfDay(const QString &day) const;
    QString pathOf(const QString &video) const;
    QString monthFile() const
    {
        return root() + QStringLiteral("/traditional_database/2024-12.db");
    }
    QString vectorFile() const { return root() + QStringLiteral("/vector_database/vectors.db"); }

    /// Runs @p sql on the month's file or on the vectors'; "$last" stands for the last video.
    void changeRows(const QString &sql) const;
    void changeVectors(const QString &sql) const;

    /// Stores a further video after the last one, of @p frames frames, whose first has the number
    /// @p numberOfDay in the last day. Its name.
    QString addVideo(int frames, int numberOfDay, int secondsLater = 60) const;

    /// A file of mode 0600.
    void write(const QString &path, const QByteArray &content = "x") const;

private:
    void change(const QString &file, QString sql) const;

    QTemporaryDir m_cache;
    std::unique_ptr<QTemporaryDir> m_home;
    YearStore::Facts m_facts;
};
