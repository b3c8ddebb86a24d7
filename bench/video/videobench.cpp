// One batch into one MP4 file, against the encoder alone. The encoder takes its size from the
// primary screen, so the screen decides which size is measured:
//   scripts/virtual-desktop --build DIR --display 1920x1080 -- DIR/bench/videobench [FRAMES]
// If not given, FRAMES is 100, a full batch, and 20 on screens larger than 1920x1200.

#include "support/figure.h"
#include "support/screens.h"
#include "video/avhandles.h"
#include "video/storedvideo.h"
#include "video/videocomposer.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTemporaryDir>

#include <cstdio>

namespace
{
constexpr int ROUNDS = 3;
constexpr double GOAL_RATIO = 1.1;

AvCodecContextPtr openBareEncoder(const QSize &size)
{
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_H264);
    AvCodecContextPtr encoder(avcodec_alloc_context3(codec));
    encoder->width = size.width();
    encoder->height = size.height();
    encoder->gop_size = 10;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, 1};
    encoder->framerate = {1, 1};
    encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (avcodec_open2(encoder.get(), codec, nullptr) < 0) {
        qFatal("the H.264 encoder doesn't open");
    }
    return encoder;
}

void drain(AVCodecContext *encoder, AVPacket *packet)
{
    while (avcodec_receive_packet(encoder, packet) == 0) {
        av_packet_unref(packet);
    }
}

/// The encoder alone: frames that are already in its pixel format, packets thrown away.
void encodeBare(const std::vector<AvFramePtr> &frames, const QSize &size)
{
    const AvCodecContextPtr encoder = openBareEncoder(size);
    const AvPacketPtr packet(av_packet_alloc());
    for (const AvFramePtr &frame : frames) {
        avcodec_send_frame(encoder.get(), frame.get());
        drain(encoder.get(), packet.get());
    }
    avcodec_send_frame(encoder.get(), nullptr);
    drain(encoder.get(), packet.get());
}

AvFramePtr converted(const QImage &image, SwsContext *scaler, const QSize &size)
{
    AvFramePtr frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = size.width();
    frame->height = size.height();
    av_frame_get_buffer(frame.get(), 0);
    const uint8_t *const source[] = {image.constBits()};
    const int stride[] = {image.bytesPerLine()};
    sws_scale(scaler, source, stride, 0, image.height(), frame->data, frame->linesize);
    return frame;
}

std::vector<AvFramePtr> convertedAll(const QVector<QImage> &images, const QSize &size)
{
    const SwsContextPtr scaler(sws_getContext(size.width(), size.height(), AV_PIX_FMT_BGRA,
                                              size.width(), size.height(), AV_PIX_FMT_YUV420P,
                                              SWS_BICUBIC, nullptr, nullptr, nullptr));
    std::vector<AvFramePtr> frames;
    for (const QImage &image : images) {
        frames.push_back(converted(image, scaler.get(), size));
        frames.back()->pts = static_cast<qint64>(frames.size()) - 1;
    }
    return frames;
}

int batchSize(const QSize &size, const char *wish)
{
    if (wish) {
        return QByteArray(wish).toInt();
    }
    return size.width() * size.height() > 1920 * 1200 ? 20 : 100;
}
} // namespace

int main(int argumentCount, char *arguments[])
{
    const QGuiApplication application(argumentCount, arguments);
    const QSize size = QGuiApplication::primaryScreen()->size();
    const int count = batchSize(size, argumentCount > 1 ? arguments[1] : nullptr);
    QVector<QImage> images;
    for (int page = 0; page < count; ++page) {
        images += Bench::screen(size, page);
    }
    const std::vector<AvFramePtr> frames = convertedAll(images, size);
    const QTemporaryDir directory;
    const QString file = directory.filePath(QStringLiteral("v.mp4"));
    VideoComposer composer(nullptr);

    // Turn about, so that a slow spell of the machine meets all of them.
    Bench::Times batch;
    Bench::Times bare;
    Bench::Times conversion;
    for (int round = 0; round < ROUNDS; ++round) {
        bare.measure([&] { encodeBare(frames, size); });
        batch.measure([&] { composer.convertImagesToVideo(images, file); });
        conversion.measure([&] { convertedAll(images, size); });
    }
    const double floor = Bench::median(bare.wall);
    const QString name =
        QStringLiteral("%1-frame batch to MP4 %2").arg(count).arg(Bench::sizeText(size));
    const QString floorName = QStringLiteral("bare encoder on converted frames");
    Bench::print({name, Bench::median(batch.wall), QStringLiteral("ms"), GOAL_RATIO * floor, floor,
                  floorName});
    const double cpuFloor = Bench::median(bare.cpu);
    Bench::print({name + QStringLiteral(", CPU"), Bench::median(batch.cpu), QStringLiteral("ms"),
                  GOAL_RATIO * cpuFloor, cpuFloor, floorName});
    Bench::print({QStringLiteral("colour conversion alone of ") + name,
                  Bench::median(conversion.wall), QStringLiteral("ms"), 0.0, 0.0, QString()});
    unsigned int intact = 0;
    const double check =
        Bench::medianMilliseconds(ROUNDS, [&] { intact = StoredVideo::intactFrames(file); });
    Bench::print({QStringLiteral("check that all of it decodes, ") + name, check,
                  QStringLiteral("ms"), 0.0, 0.0, QString()});
    if (intact != static_cast<unsigned int>(count)) {
        std::fprintf(stderr, "the file doesn't hold all %d frames\n", count);
        return 1;
    }
    return 0;
}
