// A damaged MP4 file through everything that reads one: the frames at random and one after the
// other, the questions at the start, the shortening. An input is the file.

#include "fuzz/support/harness.h"
#include "fuzz/support/scratch.h"

#include "video/frameextractor.h"
#include "video/storedvideo.h"
#include "video/videocomposer.h"

#include <QFile>

extern "C" {
#include <libavutil/log.h>
}

namespace
{
void readFrames(const QString &file)
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    // Forwards, backwards, past the end, and what no index is.
    for (const int frame : {0, 1, 2, 7, 1, 0, 100, -1, 2147483647, 3}) {
        const QImage image = extractor.requestGetFrame(frame);
        Scratch::require(image.isNull() || image.format() == QImage::Format_RGB32,
                         "a picture of the promised kind");
    }
    extractor.clearVideoFile();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    static VideoComposer composer(nullptr);
    av_log_set_level(AV_LOG_QUIET);
    const QString file = Scratch::write(QStringLiteral("2026-03-05_10-00-00.mp4"),
                                        {reinterpret_cast<const char *>(data), size});
    readFrames(file);
    const unsigned int declared = StoredVideo::declaredFrames(file);
    if (declared > 0 && declared < 1000) {
        StoredVideo::intactFrames(file);
        composer.deleteFramesToEndFromVideoFile(file, 2);
    }
    QFile::remove(file);
    QFile::remove(file + QStringLiteral(".pending.mp4"));
    QFile::remove(file + QStringLiteral(".bak"));
    return 0;
}
