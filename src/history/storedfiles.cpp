#include "history/storedfiles.h"

#include "video/storedvideo.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <sys/stat.h>

namespace HistoryChecker
{
namespace
{
constexpr uint framesOfBatch = 100;
constexpr QDir::Filters everything =
    QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System;

bool isCalendarText(const QString &text, const QString &format)
{
    const QDateTime moment = QDateTime::fromString(text, format);
    return moment.isValid() && moment.toString(format) == text;
}

class FileWalk
{
public:
    FileWalk(StoredFiles &files, bool workInProgress, Report &report)
        : m_files(files), m_workInProgress(workInProgress), m_report(report)
    {
    }

    void walk(const QString &screenshots)
    {
        for (const QFileInfo &month : QDir(screenshots).entryInfoList(everything, QDir::Name)) {
            if (!month.isDir() || !isCalendarText(month.fileName(), QStringLiteral("yyyy-MM"))) {
                unknown(month);
                continue;
            }
            m_newestDay.clear(); // an empty latest month hides the others from a start
            for (const QFileInfo &day :
                 QDir(month.filePath()).entryInfoList(everything, QDir::Name)) {
                if (!day.isDir() || !isCalendarText(day.fileName(), QStringLiteral("yyyy-MM-dd")) ||
                    !day.fileName().startsWith(month.fileName())) {
                    unknown(day);
                    continue;
                }
                m_newestDay = day.fileName(); // the entries come in order of their names
                for (const QFileInfo &file : QDir(day.filePath()).entryInfoList(everything)) {
                    take(file, day.fileName());
                }
            }
        }
        for (auto video = m_files.videos.begin(); video != m_files.videos.end(); ++video) {
            measure(*video);
            judge(video.key(), *video);
        }
    }

private:
    void unknown(const QFileInfo &file)
    {
        m_report.add({Kind::UnknownFile, file.filePath(), QString()});
    }

    void take(const QFileInfo &file, const QString &day)
    {
        static const QRegularExpression form(
            QStringLiteral("^(.{19}\\.mp4)(|\\.bak|\\.pending\\.mp4|_(\\d{3})\\.png)$"));
        const QRegularExpressionMatch match = form.match(file.fileName());
        const QString video = match.captured(1);
        const uint number = match.captured(3).toUInt();
        const bool isImage = !match.captured(3).isEmpty();
        if (!file.isFile() || file.isSymLink() || !match.hasMatch() || !isVideoName(video) ||
            (isImage && (number < 1 || number > framesOfBatch))) {
            unknown(file);
            return;
        }
        if (!video.startsWith(day)) {
            m_report.add({Kind::MisplacedFile, file.filePath(), QString()});
            return;
        }
        VideoFiles &files = m_files.videos[video];
        if (isImage) {
            files.images.insert(number);
        } else if (match.captured(2).isEmpty()) {
            files.path = file.filePath();
        } else {
            (match.captured(2) == QLatin1String(".bak") ? files.backup : files.pending) =
                file.filePath();
            m_report.add({Kind::TruncationLeftOver, file.filePath(), QString()});
        }
    }

    /// Once for each file, however many names it has.
    unsigned framesOf(const QString &path)
    {
        struct stat facts {
        };
        if (path.isEmpty() || ::stat(QFile::encodeName(path).constData(), &facts) != 0) {
            return 0;
        }
        const auto known = m_frames.constFind(facts.st_ino);
        return known != m_frames.constEnd()
                   ? *known
                   : *m_frames.insert(facts.st_ino, StoredVideo::declaredFrames(path));
    }

    void measure(VideoFiles &video)
    {
        video.declared = framesOf(video.path);
        video.reachable =
            std::max({video.declared, framesOf(video.backup), framesOf(video.pending)});
    }

    void judge(const QString &name, const VideoFiles &video)
    {
        const QString images = QStringLiteral("%1 images").arg(video.images.size());
        if (video.images.isEmpty()) {
            if (!video.path.isEmpty() && video.declared == 0) {
                m_report.add({Kind::VideoWithoutFrames, name, QString()});
            }
        } else if (video.path.isEmpty()) {
            m_report.add({Kind::ImagesWithoutVideo, name, images});
        } else if (m_workInProgress || m_newestDay.isEmpty() || !name.startsWith(m_newestDay)) {
            // The encoder's, or what it left in a day that no start looks at: the clock went back.
            m_report.add({Kind::UnfinishedWork, name, images});
        } else {
            m_report.add({Kind::ImageBesideVideo, name, images});
        }
    }

    StoredFiles &m_files;
    bool m_workInProgress;
    Report &m_report;
    QHash<ino_t, unsigned> m_frames;
    QString m_newestDay; ///< the one that a start looks at
};

void checkMode(const QString &path, Report &report)
{
    struct stat facts {
    };
    if (::lstat(QFile::encodeName(path).constData(), &facts) != 0 || S_ISLNK(facts.st_mode)) {
        return;
    }
    if ((facts.st_mode & 0077) != 0) {
        report.add({Kind::OpenToOthers, path,
                    QStringLiteral("mode %1").arg(facts.st_mode & 07777, 4, 8, QLatin1Char('0'))});
    }
}
} // namespace

bool isVideoName(const QString &name)
{
    return name.endsWith(QLatin1String(".mp4")) &&
           isCalendarText(name.chopped(4), QStringLiteral("yyyy-MM-dd_hh-mm-ss"));
}

StoredFiles walkFiles(const QString &root, bool workInProgress, Report &report)
{
    StoredFiles files;
    FileWalk(files, workInProgress, report).walk(root + QLatin1String("/screenshots"));
    for (const VideoFiles &video : qAsConst(files.videos)) {
        report.videos += video.path.isEmpty() ? 0 : 1;
    }
    return files;
}

void checkModes(const QString &root, Report &report)
{
    checkMode(root, report);
    for (const char *name : {"screenshots", "traditional_database", "vector_database"}) {
        const QString folder = root + QLatin1Char('/') + QLatin1String(name);
        checkMode(folder, report);
        QDirIterator entries(folder, everything, QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            checkMode(entries.next(), report);
        }
    }
}
} // namespace HistoryChecker
