#include "teststore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <ctime>

#include <sqlite3.h>

namespace TestStore
{
Home::Home() : m_formerHome(qgetenv("HOME"))
{
    qputenv("HOME", QFile::encodeName(m_directory.path()));
}

Home::~Home()
{
    qputenv("HOME", m_formerHome);
}

QString Home::databaseDirectory() const
{
    return path() + QStringLiteral("/.cache/tavel-ai-yestermark/traditional_database/");
}

QString Home::monthFile(const QString &month) const
{
    return databaseDirectory() + month + QStringLiteral(".db");
}

void Home::makeDatabaseDirectory() const
{
    QDir().mkpath(databaseDirectory());
}

void Home::writeFile(const QString &name, const QByteArray &content) const
{
    makeDatabaseDirectory();
    QFile file(databaseDirectory() + name);
    if (!file.open(QFile::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(file.fileName()));
    }
}

Zone::Zone(const QByteArray &zone) : m_former(qgetenv("TZ"))
{
    qputenv("TZ", zone);
    tzset();
}

Zone::~Zone()
{
    m_former.isNull() ? qunsetenv("TZ") : qputenv("TZ", m_former);
    tzset();
}

qint64 at(const QString &localTime)
{
    return QDateTime::fromString(localTime, QStringLiteral("yyyy-MM-dd hh:mm:ss"))
        .toSecsSinceEpoch();
}

ScreenShotData frame(const QString &localTime, quint32 index, const QString &app,
                     const QString &text)
{
    ScreenShotData data;
    data.videoName = localTime.left(10) + QStringLiteral("_10-00-00.mp4");
    data.frameIndexOfVideo = index;
    data.frameIndexOfDay = index;
    data.realTime = at(localTime);
    data.desktopFilePath = app;
    data.ocrText = text;
    return data;
}

QStringList query(const QString &file, const char *sql)
{
    const auto collect = [](void *rows, int columns, char **values, char **) {
        QStringList cells;
        for (int column = 0; column < columns; ++column) {
            cells.append(values[column] ? QString::fromUtf8(values[column])
                                        : QStringLiteral("(null)"));
        }
        static_cast<QStringList *>(rows)->append(cells.join(QLatin1Char('|')));
        return 0;
    };
    QStringList rows;
    sqlite3 *handle = nullptr;
    if (sqlite3_open_v2(QFile::encodeName(file).constData(), &handle, SQLITE_OPEN_READWRITE,
                        nullptr) != SQLITE_OK ||
        sqlite3_exec(handle, sql, collect, &rows, nullptr) != SQLITE_OK) {
        rows = QStringList{QStringLiteral("error: ") + QString::fromUtf8(sqlite3_errmsg(handle))};
    }
    sqlite3_close(handle);
    return rows;
}

QString value(const QString &file, const char *sql)
{
    return query(file, sql).join(QLatin1Char('\n'));
}
} // namespace TestStore
