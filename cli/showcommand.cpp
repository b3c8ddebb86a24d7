#include "cli/showcommand.h"

#include "cli/appnames.h"
#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/exitstatus.h"
#include "cli/framejson.h"
#include "cli/framename.h"
#include "cli/framepictures.h"
#include "cli/history.h"
#include "cli/newfile.h"
#include "cli/timetext.h"

#include <QImageWriter>

namespace
{
/// The frame's name and, where there is one, its row; nothing if there is no such frame.
std::optional<ScreenShotData> find(History &history, const FrameName &name)
{
    if (name.video.isEmpty()) {
        return history.frameOfDay(name.day, name.number);
    }
    auto frame = history.frame(name.video, name.number);
    if (!frame && history.status() == ExitStatus::Done) {
        frame.emplace(); // a kill between picture and row leaves a frame without one
        frame->videoName = name.video;
        frame->frameIndexOfVideo = name.number;
    }
    return frame;
}

int save(const QImage &picture, const QString &path, Console &console)
{
    QString error;
    const std::unique_ptr<QFile> file = NewFile::make(path, error);
    if (!file) {
        console.fault(error);
        return ExitStatus::CannotWrite;
    }
    QImageWriter writer(file.get(), "png");
    if (!writer.write(picture) || !file->flush()) {
        console.fault(QStringLiteral("%1 cannot be written").arg(path));
        file->remove();
        return ExitStatus::CannotWrite;
    }
    return ExitStatus::Done;
}
/// Says why there is no picture of @p frame, which need not be there itself.
int missing(const std::optional<ScreenShotData> &frame, const History &history, Console &console)
{
    if (history.status() != ExitStatus::Done) {
        return history.status();
    }
    const bool hasRow = frame && frame->realTime != 0;
    console.fault(hasRow ? QStringLiteral("no file holds the picture of this frame")
                         : QStringLiteral("there is no such frame"));
    return hasRow ? ExitStatus::Unreadable : ExitStatus::Nothing;
}

QJsonObject toJson(const ScreenShotData &frame, const QImage &picture, const QString &path)
{
    AppNames names;
    QJsonObject object = FrameJson::of(frame, names);
    if (frame.realTime == 0) { // without a row nothing but its name is known
        object = {{QStringLiteral("frame"), object.value(QStringLiteral("frame"))}};
    }
    object.insert(QStringLiteral("file"), path);
    object.insert(QStringLiteral("width"), picture.width());
    object.insert(QStringLiteral("height"), picture.height());
    return object;
}
} // namespace

int showCommand(const QStringList &arguments, Console &console)
{
    Arguments options(QStringLiteral("show FRAME -o FILE.png"),
                      QStringLiteral("Writes a frame as a PNG file. FRAME is VIDEO.mp4#INDEX or "
                                     "yyyy-MM-dd#NUMBER. A file that is there is left alone."));
    const QString output = QStringLiteral("output");
    options.addValue({QStringLiteral("o"), output}, QStringLiteral("The file to make."),
                     QStringLiteral("FILE.png"));
    if (const auto status = options.parse(arguments, 1, console)) {
        return *status;
    }
    const auto name = FrameName::parse(options.words().constFirst());
    if (!name || !options.isSet(output)) {
        console.fault(name ? QStringLiteral("-o FILE.png is missing")
                           : QStringLiteral("a frame is named VIDEO.mp4#INDEX or "
                                            "yyyy-MM-dd#NUMBER"));
        return ExitStatus::Usage;
    }
    History history(console);
    if (!history.isThere()) {
        return history.status();
    }
    if (history.place().holds(options.value(output))) {
        console.fault(QStringLiteral("%1 lies in the history itself").arg(options.value(output)));
        return ExitStatus::CannotWrite;
    }
    const auto frame = find(history, *name);
    const QImage picture =
        frame ? FramePictures(history.place()).picture(frame->videoName, frame->frameIndexOfVideo)
              : QImage();
    if (picture.isNull()) {
        return missing(frame, history, console);
    }
    const int status = save(picture, options.value(output), console);
    if (status == ExitStatus::Done && console.isJson()) {
        console.document(toJson(*frame, picture, options.value(output)));
    }
    return status;
}
