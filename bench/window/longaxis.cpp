#include "window/longaxis.h"

#include "support/screens.h"
#include "support/yearstore/monthfile.h"
#include "support/yearstore/texts.h"
#include "video/videocomposer.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QScreen>

#include <memory>
#include <unistd.h>

namespace LongAxis
{
namespace
{
constexpr int framesOfVideo = 100;
constexpr int secondsBetweenFrames = 5;

void makeFolder(const QString &path)
{
    if (!QDir().mkpath(path)) {
        qFatal("cannot make the folder %s", qPrintable(path));
    }
}

void encode(const QString &path)
{
    QVector<QImage> images;
    for (int index = 0; index < framesOfVideo; ++index) {
        images.append(Bench::screen(QGuiApplication::primaryScreen()->size(), index));
    }
    if (!VideoComposer(nullptr).convertImagesToVideo(images, path)) {
        qFatal("cannot encode %s", qPrintable(path));
    }
}

class Writer
{
public:
    explicit Writer(const QString &root)
        : m_databases(root + QStringLiteral("/traditional_database"))
        , m_videos(root + QStringLiteral("/screenshots"))
        , m_template(root + QStringLiteral("/template.mp4"))
    {
        makeFolder(m_databases);
        encode(m_template);
    }

    ~Writer()
    {
        closeMonth();
        QFile::remove(m_template);
    }
    Q_DISABLE_COPY_MOVE(Writer)

    void addDay(const QDate &date, int runs)
    {
        openMonth(date);
        YearStore::PlannedVideo video;
        YearStore::PlannedFrame frame;
        frame.time = QDateTime(date, QTime(8, 0)).toSecsSinceEpoch();
        for (int run = 0; run < runs; ++run) {
            frame.application = run % YearStore::applications().size();
            for (int left = run % 3 + 1; left > 0; --left) {
                if (frame.indexOfDay % framesOfVideo == 0) {
                    video = {QDateTime::fromSecsSinceEpoch(frame.time)
                                 .toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss'.mp4'")),
                             framesOfVideo};
                    linkVideo(date, video.name);
                }
                frame.indexOfVideo = frame.indexOfDay % framesOfVideo + 1;
                ++frame.indexOfDay;
                m_file->add(video, frame, m_text);
                frame.time += secondsBetweenFrames;
            }
        }
    }

private:
    void openMonth(const QDate &date)
    {
        const QString month = date.toString(QStringLiteral("yyyy-MM"));
        if (month != m_month) {
            closeMonth();
            m_month = month;
            m_file = std::make_unique<YearStore::MonthFile>(m_databases + QLatin1Char('/') + month +
                                                            QLatin1String(".db"));
        }
    }

    void closeMonth()
    {
        if (m_file) {
            m_file->commit();
        }
    }

    void linkVideo(const QDate &date, const QString &name) const
    {
        const QString folder = m_videos + date.toString(QStringLiteral("/yyyy-MM/yyyy-MM-dd"));
        makeFolder(folder);
        const QString path = folder + QLatin1Char('/') + name;
        if (::link(QFile::encodeName(m_template).constData(),
                   QFile::encodeName(path).constData()) != 0) {
            qFatal("cannot link %s", qPrintable(path));
        }
    }

    QString m_databases;
    QString m_videos;
    QString m_template;
    QString m_month;
    QByteArray m_text = QByteArray("a line of recognised text; ").repeated(80);
    std::unique_ptr<YearStore::MonthFile> m_file;
};
} // namespace

void make(const QString &home, const Size &size)
{
    Writer writer(home + QStringLiteral("/.cache/tavel-ai-yestermark"));
    for (int age = size.days - 1; age >= 0; --age) {
        writer.addDay(size.lastDay.addDays(-age), size.runsOfDay);
    }
}
} // namespace LongAxis
