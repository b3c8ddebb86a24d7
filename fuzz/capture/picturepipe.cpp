// What a hostile compositor can send through the pipe of a picture, and what the recorder does with
// a picture that it got. An input is what comes through the pipe.

#include "fuzz/support/harness.h"
#include "fuzz/support/scratch.h"

#include "ai/imageutils.h"
#include "appinfo/uniquefd.h"
#include "capture/picturepipe.h"

#include <QBuffer>
#include <QImage>

#include <array>
#include <fcntl.h>
#include <unistd.h>

namespace
{
// As the tracker: compared with the frame kept last, kept as PNG, sent for its meaning as JPEG.
void use(const QImage &image)
{
    static QImage last;
    const double similarity = calculateSimilar(last.isNull() ? image : last, image);
    Q_UNUSED(similarity)
    last = image;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    imageToBase64(image);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    std::array<int, 2> ends{};
    Scratch::require(::pipe2(ends.data(), O_CLOEXEC) == 0, "a pipe");
    const UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);
    // Fits into an empty pipe, so that one thread can do both.
    Scratch::require(size <= 65536 && ::write(writeEnd.get(), data, size) == ssize_t(size),
                     "room in the pipe");
    writeEnd.reset();
    const QImage image = PicturePipe::read(readEnd.get());
    if (!image.isNull()) {
        use(image);
    }
    return 0;
}
