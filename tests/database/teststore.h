#pragma once
// A home of its own for each test of the month databases, frames to store, and a second look at the
// files through a connection that the code under test does not know. Thread: the test's.

#include "database/screenshotdata.h"

#include <QByteArray>
#include <QStringList>
#include <QTemporaryDir>

namespace TestStore
{
/// Points the process at a new, empty home for as long as it lives.
class Home
{
public:
    Home();
    ~Home();
    Q_DISABLE_COPY_MOVE(Home)

    QString path() const { return m_directory.path(); }
    QString databaseDirectory() const;
    QString monthFile(const QString &month) const;

    /// Makes the database directory, as a former run left it.
    void makeDatabaseDirectory() const;

    /// Makes a file of @p content in the database directory.
    void writeFile(const QString &name, const QByteArray &content) const;

private:
    QTemporaryDir m_directory;
    QByteArray m_formerHome;
};

/// The process's time zone, as in the variable TZ, for as long as it lives.
class Zone
{
public:
    explicit Zone(const QByteArray &zone);
    ~Zone();
    Q_DISABLE_COPY_MOVE(Zone)

private:
    QByteArray m_former;
};

/// Seconds since the epoch of a local "yyyy-MM-dd hh:mm:ss".
qint64 at(const QString &localTime);

/// A frame taken at @p localTime by @p app; its video is the day's "_10-00-00.mp4".
ScreenShotData frame(const QString &localTime, quint32 index = 1, const QString &app = QString(),
                     const QString &text = QString());

/// The rows that @p sql gives on @p file, the columns of a row joined by "|", NULL as "(null)".
/// One line beginning with "error: " if it fails.
QStringList query(const QString &file, const char *sql);

/// query(), and its only cell, or an empty text.
QString value(const QString &file, const char *sql);
} // namespace TestStore
