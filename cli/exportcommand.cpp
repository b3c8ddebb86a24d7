#include "cli/exportcommand.h"

#include "cli/appnames.h"
#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/exitstatus.h"
#include "cli/framejson.h"
#include "cli/framepictures.h"
#include "cli/history.h"
#include "cli/newfile.h"
#include "cli/timetext.h"
#include "history/storedfiles.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QMap>
#include <QSet>

namespace
{
constexpr int FORMAT_VERSION = 1;

class Export
{
public:
    Export(const Arguments &options, QString folder, Console &console)
        : m_options(options), m_folder(std::move(folder)), m_console(console), m_history(console)
    {
    }

    int run()
    {
        if (!m_history.isThere()) {
            return m_history.status();
        }
        if (m_history.place().holds(m_folder)) {
            m_console.fault(QStringLiteral("%1 lies in the history itself").arg(m_folder));
            return ExitStatus::CannotWrite;
        }
        if (!findFrames()) {
            return m_history.status() == ExitStatus::Done ? ExitStatus::Nothing
                                                          : m_history.status();
        }
        QString error;
        if (!NewFile::makeFolder(m_folder, error) || !writeTexts(error) || !writePictures(error) ||
            !writeSummary(error)) {
            m_console.fault(error);
            return ExitStatus::CannotWrite;
        }
        m_console.document(m_summary);
        m_console.line(QStringLiteral("%1 frames, %2 videos, %3 images in %4")
                           .arg(m_frames)
                           .arg(m_videos)
                           .arg(m_images)
                           .arg(m_folder));
        if (m_missing > 0) {
            m_console.fault(QStringLiteral("%1 frames have no picture").arg(m_missing));
            return ExitStatus::Unreadable;
        }
        return m_history.status();
    }

private:
    MonthRows::Wanted wanted(bool withText) const
    {
        MonthRows::Wanted wanted;
        wanted.from = m_options.from();
        wanted.to = m_options.to();
        wanted.withText = withText;
        return wanted;
    }

    bool findFrames()
    {
        m_history.forEachRow(wanted(false), [this](const ScreenShotData &frame) {
            m_indicesOfVideo[frame.videoName].insert(frame.frameIndexOfVideo);
        });
        return !m_indicesOfVideo.isEmpty();
    }

    /// Month by month from the newest, so that no more than a part is held at a time.
    bool writeTexts(QString &error)
    {
        const std::unique_ptr<QFile> file =
            NewFile::make(m_folder + QLatin1String("/frames.jsonl"), error);
        if (!file) {
            return false;
        }
        bool isWritten = true;
        AppNames names;
        m_history.forEachRow(wanted(true), [&](const ScreenShotData &frame) {
            const QByteArray line =
                QJsonDocument(FrameJson::of(frame, names)).toJson(QJsonDocument::Compact) + '\n';
            isWritten = isWritten && file->write(line) == line.size();
            // A frame that came since the first look is one of the export, too.
            m_indicesOfVideo[frame.videoName].insert(frame.frameIndexOfVideo);
            ++m_frames;
        });
        isWritten = isWritten && file->flush();
        error = QStringLiteral("%1: %2").arg(file->fileName(), file->errorString());
        return isWritten;
    }

    bool writePictures(QString &error)
    {
        const QString videos = m_folder + QLatin1String("/videos");
        const QString images = m_folder + QLatin1String("/images");
        if (!NewFile::makeFolder(videos, error) || !NewFile::makeFolder(images, error)) {
            return false;
        }
        for (auto video = m_indicesOfVideo.cbegin(); video != m_indicesOfVideo.cend(); ++video) {
            const QString source =
                m_history.place().folderOfDay(video.key()) + QLatin1Char('/') + video.key();
            if (HistoryChecker::isVideoName(video.key()) && QFile::exists(source)) {
                if (!NewFile::copy(source, videos + QLatin1Char('/') + video.key(), error)) {
                    return false;
                }
                ++m_videos;
            } else if (!writeImages(video.key(), *video, images, error)) {
                return false;
            }
        }
        return true;
    }

    /// Of a batch that is still open.
    bool writeImages(const QString &video, const QSet<uint> &indices, const QString &images,
                     QString &error)
    {
        const QString folder = m_history.place().folderOfDay(video);
        for (const uint index : indices) {
            const QString source = FramePictures::safetyCopy(folder, video, index);
            if (!HistoryChecker::isVideoName(video) || !QFile::exists(source)) {
                ++m_missing;
                continue;
            }
            if (!NewFile::copy(source, FramePictures::safetyCopy(images, video, index), error)) {
                return false;
            }
            ++m_images;
        }
        return true;
    }

    /// Last of all: an export without it is not whole.
    bool writeSummary(QString &error)
    {
        const auto bound = [](const std::optional<qint64> &time) {
            return time ? QJsonValue(TimeText::iso(*time)) : QJsonValue();
        };
        m_summary = {{QStringLiteral("version"), FORMAT_VERSION},
                     {QStringLiteral("from"), bound(m_options.from())},
                     {QStringLiteral("to"), bound(m_options.to())},
                     {QStringLiteral("frames"), m_frames},
                     {QStringLiteral("videos"), m_videos},
                     {QStringLiteral("images"), m_images},
                     {QStringLiteral("framesWithoutPicture"), m_missing}};
        const std::unique_ptr<QFile> file =
            NewFile::make(m_folder + QLatin1String("/export.json"), error);
        const QByteArray content = QJsonDocument(m_summary).toJson();
        if (file && (file->write(content) != content.size() || !file->flush())) {
            error = QStringLiteral("%1: %2").arg(file->fileName(), file->errorString());
            return false;
        }
        return file != nullptr;
    }

    const Arguments &m_options;
    QString m_folder;
    Console &m_console;
    History m_history;
    QMap<QString, QSet<uint>> m_indicesOfVideo;
    QJsonObject m_summary;
    int m_frames = 0;
    int m_videos = 0;
    int m_images = 0;
    int m_missing = 0; ///< frames without a picture
};
} // namespace

int exportCommand(const QStringList &arguments, Console &console)
{
    const QString output = QStringLiteral("output");
    Arguments options(QStringLiteral("export [options] -o DIR"),
                      QStringLiteral("Writes the videos and texts of a span of time into the new "
                                     "or empty directory DIR. Nothing is overwritten."));
    options.addSpan();
    options.addValue({QStringLiteral("o"), output}, QStringLiteral("The directory to make."),
                     QStringLiteral("DIR"));
    if (const auto status = options.parse(arguments, 0, console)) {
        return *status;
    }
    if (options.value(output).isEmpty()) {
        console.fault(QStringLiteral("-o DIR is missing"));
        return ExitStatus::Usage;
    }
    return Export(options, options.value(output), console).run();
}
