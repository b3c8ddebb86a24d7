#include "capture/capturefixture.h"

#include "database/databasemanager.h"

#include <QDate>
#include <QDir>
#include <QTest>

#include <memory>
#include <sqlite3.h>

namespace CaptureFixture
{
namespace
{
// As the program does before it makes a tracker, whose records come back in queued signals.
void registerRecords()
{
    qRegisterMetaType<ScreenShotData>("ScreenShotData&");
}
Q_CONSTRUCTOR_FUNCTION(registerRecords)

QString cacheDirectory()
{
    return QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/");
}

QVector<ScreenShotData> rowsOfFile(const QString &path)
{
    QVector<ScreenShotData> rows;
    sqlite3 *handle = nullptr;
    const int opened =
        sqlite3_open_v2(path.toUtf8().constData(), &handle, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> connection(handle, &sqlite3_close);
    sqlite3_stmt *prepared = nullptr;
    if (opened != SQLITE_OK || sqlite3_prepare_v2(handle, "SELECT * FROM screenshots ORDER BY id",
                                                  -1, &prepared, nullptr) != SQLITE_OK) {
        return rows;
    }
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement(prepared,
                                                                               &sqlite3_finalize);
    const auto text = [prepared](int column) {
        return QString::fromUtf8(
            reinterpret_cast<const char *>(sqlite3_column_text(prepared, column)));
    };
    while (sqlite3_step(prepared) == SQLITE_ROW) {
        ScreenShotData row;
        row.videoName = text(1);
        row.ocrText = text(2);
        row.frameIndexOfVideo = static_cast<quint32>(sqlite3_column_int(prepared, 3));
        row.frameIndexOfDay = static_cast<quint32>(sqlite3_column_int(prepared, 4));
        row.realTime = sqlite3_column_int64(prepared, 5);
        row.desktopFilePath = text(6);
        rows.append(row);
    }
    return rows;
}
} // namespace

Application::Application(Kind kind) : m_kind(kind)
{
    // The name stands in an argument; reading from the pipe keeps the process there.
    const QString name = kind == FileManager ? QStringLiteral("lupine")
                                             : QStringLiteral("vesk-volume-control-applet-qt");
    m_process.start(QStringLiteral("/bin/sh"),
                    {QStringLiteral("-c"), QStringLiteral("read line; :"), name});
    m_process.waitForStarted();
}

Application::~Application()
{
    m_process.closeWriteChannel();
    m_process.waitForFinished();
}

quint32 Application::pid() const
{
    return static_cast<quint32>(m_process.processId());
}

QString Application::desktopEntry() const
{
    return m_kind == FileManager
               ? QStringLiteral("/usr/share/applications/lupine.desktop")
               : QStringLiteral("/etc/xdg/autostart/vesk-volume-control-applet.desktop");
}

QVector<ScreenShotData> storedRows()
{
    QVector<ScreenShotData> rows;
    const QDir directory(cacheDirectory() + QLatin1String("traditional_database"));
    for (const QString &name :
         directory.entryList({QStringLiteral("*.db")}, QDir::Files, QDir::Name)) {
        rows += rowsOfFile(directory.filePath(name));
    }
    return rows;
}

bool storeFrameAt(const QDateTime &moment)
{
    ScreenShotData row;
    row.videoName = moment.toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss")) + QLatin1String(".mp4");
    row.frameIndexOfVideo = 1;
    row.frameIndexOfDay = 1;
    row.realTime = moment.toSecsSinceEpoch();
    row.desktopFilePath = QStringLiteral("/a.desktop");
    row.ocrText = QLatin1String("");
    return DatabaseManager::getInstance()->saveScreenShotData(row);
}

void eraseEverything()
{
    QDir(cacheDirectory() + QLatin1String("screenshots")).removeRecursively();
    DatabaseManager::getInstance()->deleteUserData(TimeRange::AllTime);
}

QString todayDirectory()
{
    const QDate today = QDate::currentDate();
    return cacheDirectory() + QLatin1String("screenshots/") +
           today.toString(QStringLiteral("yyyy-MM")) + QLatin1Char('/') +
           today.toString(QStringLiteral("yyyy-MM-dd"));
}

QStringList filesIn(const QString &directory, const QString &pattern)
{
    return QDir(directory).entryList({pattern}, QDir::Files, QDir::Name);
}
} // namespace CaptureFixture
