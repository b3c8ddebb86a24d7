#include "historyworld.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <sqlite3.h>
#include <sys/stat.h>

HistoryWorld::HistoryWorld()
{
    ::umask(0077);
    reset();
}

void HistoryWorld::reset()
{
    YearStore::Options options;
    options.rows = rows;
    options.days = 2;
    options.lastDay = QDate(2024, 12, 13);
    options.videoKinds = 1;
    options.withVectors = true;
    options.cacheFolder = m_cache.path();
    m_home = std::make_unique<QTemporaryDir>();
    m_facts = YearStore::make(home(), options);
}

QStringList HistoryWorld::videos() const
{
    QStringList names;
    QDirIterator files(root() + QStringLiteral("/screenshots"), {QStringLiteral("*.mp4")},
                       QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        names.append(files.fileName());
    }
    names.sort();
    return names;
}

QString HistoryWorld::secondVideoOfDay() const
{
    return videos().filter(m_facts.lastDay).at(1);
}

QString HistoryWorld::folderOfDay(const QString &day) const
{
    return root() + QStringLiteral("/screenshots/") + day.left(7) + QLatin1Char('/') + day;
}

QString HistoryWorld::pathOf(const QString &video) const
{
    return folderOfDay(video.left(10)) + QLatin1Char('/') + video;
}

void HistoryWorld::change(const QString &file, QString sql) const
{
    sql.replace(QLatin1String("$last"), QLatin1Char('\'') + lastVideo() + QLatin1Char('\''));
    sqlite3 *handle = nullptr;
    sqlite3_open(QFile::encodeName(file).constData(), &handle);
    if (sqlite3_exec(handle, sql.toUtf8().constData(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        qFatal("%s: %s", qPrintable(sql), sqlite3_errmsg(handle));
    }
    sqlite3_close(handle);
}

void HistoryWorld::changeRows(const QString &sql) const
{
    change(monthFile(), sql);
}

void HistoryWorld::changeVectors(const QString &sql) const
{
    change(vectorFile(), sql);
}

QString HistoryWorld::addVideo(int frames, int numberOfDay, int secondsLater) const
{
    const qint64 start = m_facts.lastTime + secondsLater;
    QString name =
        QDateTime::fromSecsSinceEpoch(start).toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss'.mp4'"));
    const QString source = frames <= framesOfLastVideo ? lastVideo() : videos().first();
    QFile::copy(pathOf(source), pathOf(name));
    for (int index = 1; index <= frames; ++index) {
        changeRows(
            QStringLiteral("INSERT INTO screenshots VALUES (NULL, '%1', '', %2, %3, %4, 'a')")
                .arg(name)
                .arg(index)
                .arg(numberOfDay + index - 1)
                .arg(start + index));
    }
    return name;
}

void HistoryWorld::write(const QString &path, const QByteArray &content) const
{
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
}
