// Makes a history of numbered pictures below the home directory, as a recorder would have left it:
// videos in the size of the display that it runs on, and a row for each frame. Each argument is
// DAYS:RUN[,RUN...], where DAYS is how many days ago, and RUN the frames of a run; the applications
// alternate. The pictures count on from 1 through all arguments. FIRST-LAST:RUN[,RUN...] gives each
// of these days the same runs and the very same pictures, in shared files, so that hundreds of days
// take no time.

#include "support/pictures.h"
#include "support/yearstore/monthfile.h"
#include "video/videocomposer.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QMap>
#include <QRegularExpression>
#include <QScreen>

#include <memory>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr int firstHour = 9; // of the first run; each following one begins an hour later
constexpr int secondsBetweenFrames = 20;
constexpr const char *applications[] = {"/usr/share/applications/debian-xterm.desktop",
                                        "/usr/share/applications/xpdf.desktop"};

QString storeFolder(const char *name)
{
    return QDir::homePath() + QLatin1String("/.cache/tavel-ai-yestermark/") + QLatin1String(name);
}

class Painter
{
public:
    void addDays(int firstDaysAgo, int lastDaysAgo, const QStringList &runs);
    void writeRows() const;

private:
    void addRun(const QDate &day, int place, int frames, int firstOfDay, QString *shared);

    int m_nextPicture = 1;
    QMap<QString, QString> m_rowsOfMonth;
};

void Painter::addDays(int firstDaysAgo, int lastDaysAgo, const QStringList &runs)
{
    QVector<QString> shared(runs.size());
    for (int daysAgo = firstDaysAgo; daysAgo >= lastDaysAgo; --daysAgo) {
        const QDate day = QDate::currentDate().addDays(-daysAgo);
        int firstOfDay = 1;
        for (int place = 0; place < runs.size(); ++place) {
            addRun(day, place, runs.at(place).toInt(), firstOfDay, &shared[place]);
            firstOfDay += runs.at(place).toInt();
        }
    }
}

void Painter::addRun(const QDate &day, int place, int frames, int firstOfDay, QString *shared)
{
    const QDateTime begin(day, QTime(firstHour + place, 0));
    const QString name = begin.toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss")) + ".mp4";
    const QString folder =
        storeFolder("screenshots") + day.toString(QStringLiteral("/yyyy-MM/yyyy-MM-dd/"));
    QDir().mkpath(folder);
    if (shared->isEmpty()) {
        QVector<QImage> images;
        for (int frame = 0; frame < frames; ++frame) {
            images.append(
                Pictures::numbered(m_nextPicture++, QGuiApplication::primaryScreen()->size()));
        }
        *shared = folder + name;
        if (!VideoComposer(nullptr).convertImagesToVideo(images, *shared)) {
            qFatal("cannot encode %s", qPrintable(*shared));
        }
    } else if (::link(qPrintable(*shared), qPrintable(folder + name)) != 0) {
        qFatal("cannot link %s", qPrintable(folder + name));
    }
    for (int frame = 0; frame < frames; ++frame) {
        m_rowsOfMonth[day.toString(QStringLiteral("yyyy-MM"))] +=
            QStringLiteral("INSERT INTO screenshots (video_name, ocr_text, frame_index_of_video, "
                           "frame_index_of_day, real_time, desktop_file_path) "
                           "VALUES ('%1', 'numbered; ', %2, %3, %4, '%5');")
                .arg(name)
                .arg(frame + 1)
                .arg(firstOfDay + frame)
                .arg(begin.toSecsSinceEpoch() + qint64{frame} * secondsBetweenFrames)
                .arg(QLatin1String(applications[place % 2]));
    }
}

void Painter::writeRows() const
{
    QDir().mkpath(storeFolder("traditional_database"));
    for (auto month = m_rowsOfMonth.cbegin(); month != m_rowsOfMonth.cend(); ++month) {
        const QString path = storeFolder("traditional_database/") + month.key() + ".db";
        YearStore::MonthFile(path).commit();
        sqlite3 *handle = nullptr;
        const int opened = sqlite3_open(qPrintable(path), &handle);
        const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> file(handle, &sqlite3_close);
        const QByteArray rows = "BEGIN;" + month.value().toUtf8() + "COMMIT;";
        if (opened != SQLITE_OK ||
            sqlite3_exec(handle, rows.constData(), nullptr, nullptr, nullptr) != SQLITE_OK) {
            qFatal("cannot write the rows of %s: %s", qPrintable(path), sqlite3_errmsg(handle));
        }
    }
}
} // namespace

int main(int argc, char **argv)
{
    ::umask(077);
    const QGuiApplication application(argc, argv);
    const QRegularExpression form(QStringLiteral("^(\\d+)(?:-(\\d+))?:([\\d,]+)$"));
    Painter painter;
    for (const QString &argument : QCoreApplication::arguments().mid(1)) {
        const QRegularExpressionMatch days = form.match(argument);
        if (!days.hasMatch()) {
            qFatal("cannot read %s", qPrintable(argument));
        }
        const int first = days.captured(1).toInt();
        const int last = days.captured(2).isEmpty() ? first : days.captured(2).toInt();
        painter.addDays(first, last, days.captured(3).split(QLatin1Char(',')));
    }
    painter.writeRows();
    return 0;
}
