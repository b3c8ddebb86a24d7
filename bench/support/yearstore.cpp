#include "support/yearstore.h"

#include "support/screens.h"
#include "support/yearstore/monthfile.h"
#include "support/yearstore/texts.h"
#include "support/yearstore/vectors.h"
#include "video/videocomposer.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QLockFile>
#include <QScreen>
#include <QTimeZone>

#include <cerrno>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace YearStore
{
namespace
{
constexpr int FORMAT = 1; // to be raised whenever the same options give another store

const QString databaseFolder = QStringLiteral("traditional_database");
const QString vectorFolder = QStringLiteral("vector_database");
const QString videoFolder = QStringLiteral("screenshots");

/// Files that are made meanwhile are open to their owner alone, as the program's are.
class PrivateFiles
{
public:
    PrivateFiles() : m_former(umask(077)) {}
    ~PrivateFiles() { umask(m_former); }
    Q_DISABLE_COPY_MOVE(PrivateFiles)

private:
    mode_t m_former;
};

void makeFolder(const QString &path)
{
    if (!QDir().mkpath(path)) {
        qFatal("cannot make the folder %s", qPrintable(path));
    }
}

void linkFile(const QString &from, const QString &to)
{
    if (::link(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0) {
        qFatal("cannot link %s", qPrintable(to));
    }
}

/// Videos of a given number of frames, encoded when they are first asked for.
class VideoTemplates
{
public:
    VideoTemplates(QString folder, int kinds) : m_folder(std::move(folder)), m_kinds(kinds) {}

    QString file(int number, int frames)
    {
        const int kind = number % m_kinds;
        QString path = m_folder + QStringLiteral("/template_%1_%2.mp4").arg(frames).arg(kind);
        if (!QFile::exists(path)) {
            encode(path, kind, frames);
        }
        return path;
    }

private:
    static void encode(const QString &path, int kind, int frames)
    {
        const QScreen *screen = QGuiApplication::primaryScreen();
        if (!screen) {
            qFatal("year store: videos need a screen, whose size is theirs");
        }
        QVector<QImage> images;
        for (int index = 0; index < frames; ++index) {
            images.append(Bench::screen(screen->size(), kind * frames + index));
        }
        if (!VideoComposer(nullptr).convertImagesToVideo(images, path)) {
            qFatal("year store: cannot encode %s", qPrintable(path));
        }
    }

    QString m_folder;
    int m_kinds;
};

void makeVideos(const QString &folder, const Plan &plan, int kinds)
{
    makeFolder(folder);
    VideoTemplates templates(folder, kinds);
    QStringList used;
    for (int number = 0; number < plan.videos.size(); ++number) {
        const PlannedVideo &video = plan.videos[number];
        const QString day =
            folder + QLatin1Char('/') + monthOf(video) + QLatin1Char('/') + dayOf(video);
        makeFolder(day);
        const QString source = templates.file(number, video.frames);
        linkFile(source, day + QLatin1Char('/') + video.name);
        if (!used.contains(source)) {
            used.append(source);
        }
    }
    for (const QString &source : used) {
        QFile::remove(source);
    }
}

void makeDatabases(const QString &folder, const Plan &plan, quint32 seed)
{
    makeFolder(folder);
    std::unique_ptr<MonthFile> file;
    QString month;
    Texts texts(seed);
    for (const PlannedFrame &frame : plan.frames) {
        const PlannedVideo &video = plan.videos[frame.video];
        if (monthOf(video) != month) {
            if (file) {
                file->commit();
            }
            month = monthOf(video);
            file = std::make_unique<MonthFile>(folder + QLatin1Char('/') + month +
                                               QLatin1String(".db"));
        }
        if (frame.startsRun) {
            texts.beginRun();
        }
        const char *marker = frame.hasRareWord          ? RARE_WORD
                             : frame.hasRareChineseWord ? RARE_CHINESE_WORD
                                                        : "";
        file->add(video, frame, texts.nextScreen(marker));
    }
    file->commit();
}

void build(const QString &folder, const Options &options)
{
    const Plan planned = plan(options);
    makeDatabases(folder + QLatin1Char('/') + databaseFolder, planned, options.seed);
    if (options.videoKinds > 0) {
        makeVideos(folder + QLatin1Char('/') + videoFolder, planned, options.videoKinds);
    }
    if (options.withVectors) {
        makeVectors(folder + QLatin1Char('/') + vectorFolder + QLatin1Char('/'), planned,
                    options.seed);
    }
}

/// All that a store depends on.
QByteArray stampOf(const Options &options)
{
    QSize size;
    if (options.videoKinds > 0 && QGuiApplication::primaryScreen()) {
        size = QGuiApplication::primaryScreen()->size();
    }
    return QStringLiteral("format %1 rows %2 seed %3 last %4 days %5 vectors %6 zone %7 "
                          "videos %8 of %9x")
        .arg(FORMAT)
        .arg(options.rows)
        .arg(options.seed)
        .arg(options.lastDay.toString(Qt::ISODate))
        .arg(options.days)
        .arg(options.withVectors)
        .arg(QString::fromUtf8(QTimeZone::systemTimeZoneId()))
        .arg(options.videoKinds)
        .arg(size.width())
        .append(QString::number(size.height()))
        .toUtf8();
}

bool hasStamp(const QString &file, const QByteArray &stamp)
{
    QFile reader(file);
    return reader.open(QFile::ReadOnly) && reader.readAll() == stamp;
}

void writeStamp(const QString &file, const QByteArray &stamp)
{
    QFile writer(file);
    if (!writer.open(QFile::WriteOnly) || writer.write(stamp) != stamp.size()) {
        qFatal("cannot write %s", qPrintable(file));
    }
}

/// Copies a folder. Files that share their content still do, and where @p sharing is set and the
/// file system lets them, with the originals too.
void copyFolder(const QString &from, const QString &to, bool sharing)
{
    QHash<ino_t, QString> firstCopies;
    makeFolder(to);
    QDirIterator entries(from, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString source = entries.next();
        const QString target = to + source.mid(from.size());
        if (entries.fileInfo().isDir()) {
            makeFolder(target);
            continue;
        }
        const QByteArray sourceName = QFile::encodeName(source);
        if (sharing && ::link(sourceName.constData(), QFile::encodeName(target).constData()) == 0) {
            continue;
        }
        struct stat facts {
        };
        if (::stat(sourceName.constData(), &facts) == 0 && firstCopies.contains(facts.st_ino)) {
            linkFile(firstCopies.value(facts.st_ino), target);
            continue;
        }
        if (!QFile::copy(source, target)) {
            qFatal("cannot copy %s", qPrintable(source));
        }
        firstCopies.insert(facts.st_ino, target);
    }
}

void clear(const QString &folder)
{
    for (const QString &name : {databaseFolder, vectorFolder, videoFolder}) {
        QDir(folder + QLatin1Char('/') + name).removeRecursively();
    }
}

void copyStore(const QString &from, const QString &to, bool writableDatabases)
{
    for (const QString &name : {databaseFolder, vectorFolder, videoFolder}) {
        const QString source = from + QLatin1Char('/') + name;
        if (QDir(source).exists()) {
            const bool sharing =
                name == videoFolder || (name == databaseFolder && !writableDatabases);
            copyFolder(source, to + QLatin1Char('/') + name, sharing);
        }
    }
}
} // namespace

Facts make(const QString &home, const Options &options)
{
    const PrivateFiles privateFiles;
    const QString target = home + QStringLiteral("/.cache/tavel-ai-yestermark");
    makeFolder(target);
    clear(target);
    if (options.cacheFolder.isEmpty()) {
        build(target, options);
        return facts(options);
    }
    makeFolder(options.cacheFolder);
    QLockFile lock(options.cacheFolder + QStringLiteral("/lock"));
    lock.setStaleLockTime(0);
    lock.lock();
    const QString stampFile = options.cacheFolder + QStringLiteral("/stamp");
    const QByteArray stamp = stampOf(options);
    if (!hasStamp(stampFile, stamp)) {
        QFile::remove(stampFile);
        clear(options.cacheFolder);
        build(options.cacheFolder, options);
        writeStamp(stampFile, stamp);
    }
    copyStore(options.cacheFolder, target, options.writableDatabases);
    return facts(options);
}
} // namespace YearStore
