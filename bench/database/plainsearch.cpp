#include "plainsearch.h"

#include <QDateTime>
#include <QDir>

#include <sqlite3.h>

namespace
{
struct Finalizer {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};

QString textOf(sqlite3_stmt *row, int column)
{
    return QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(row, column)));
}

ScreenShotData recordOf(sqlite3_stmt *row)
{
    ScreenShotData data;
    data.videoName = textOf(row, 1);
    data.ocrText = textOf(row, 2);
    data.frameIndexOfVideo = static_cast<quint32>(sqlite3_column_int(row, 3));
    data.frameIndexOfDay = static_cast<quint32>(sqlite3_column_int(row, 4));
    data.realTime = sqlite3_column_int(row, 5);
    data.desktopFilePath = textOf(row, 6);
    data.date = QDateTime::fromSecsSinceEpoch(data.realTime).toString(QStringLiteral("yyyy-MM-dd"));
    return data;
}
} // namespace

void PlainSearch::Closer::operator()(sqlite3 *handle) const
{
    sqlite3_close(handle);
}

PlainSearch::PlainSearch(const QString &directory)
{
    const QDir files(directory);
    const QStringList names =
        files.entryList({QStringLiteral("*.db")}, QDir::Files, QDir::Name | QDir::Reversed);
    for (const QString &name : names) {
        sqlite3 *handle = nullptr;
        const QByteArray path = QFile::encodeName(files.filePath(name));
        if (sqlite3_open_v2(path.constData(), &handle, SQLITE_OPEN_READWRITE, nullptr) !=
            SQLITE_OK) {
            qFatal("cannot open %s", path.constData());
        }
        m_months.emplace_back(handle);
    }
}

PlainSearch::~PlainSearch() = default;

QVector<ScreenShotData> PlainSearch::run(const QString &text) const
{
    const QByteArray sql = "SELECT * FROM screenshots WHERE 1=1 AND ocr_text LIKE '%" +
                           text.toUtf8() + "%' ORDER BY real_time DESC;";
    QVector<ScreenShotData> found;
    for (const auto &month : m_months) {
        sqlite3_stmt *made = nullptr;
        if (sqlite3_prepare_v2(month.get(), sql.constData(), -1, &made, nullptr) != SQLITE_OK) {
            qFatal("%s", sqlite3_errmsg(month.get()));
        }
        const std::unique_ptr<sqlite3_stmt, Finalizer> rows(made);
        while (sqlite3_step(rows.get()) == SQLITE_ROW) {
            found.append(recordOf(rows.get()));
        }
    }
    return found;
}
