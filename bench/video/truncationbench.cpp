// Shortening a stored video, against decoding and encoding the same frames with nothing else:
//   scripts/virtual-desktop --build DIR --display 1920x1080 -- DIR/bench/truncationbench [FRAMES]

#include "support/figure.h"
#include "support/screens.h"
#include "video/avhandles.h"
#include "video/videocomposer.h"

#include <QFile>
#include <QGuiApplication>
#include <QScreen>
#include <QTemporaryDir>

#include <cstdio>

extern "C" {
#include <libavutil/opt.h>
}

namespace
{
constexpr int BATCH = 100;
constexpr int ROUNDS = 3;
constexpr double GOAL_RATIO = 1.1;

AvCodecContextPtr openDecoder(const AVCodecParameters *parameters)
{
    const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_H264);
    AvCodecContextPtr decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), parameters);
    avcodec_open2(decoder.get(), codec, nullptr);
    return decoder;
}

AvCodecContextPtr openEncoder(const AVCodecParameters *parameters)
{
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_H264);
    AvCodecContextPtr encoder(avcodec_alloc_context3(codec));
    encoder->width = parameters->width;
    encoder->height = parameters->height;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, 1};
    encoder->framerate = {1, 1};
    encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_opt_set(encoder->priv_data, "tune", "zerolatency", 0);
    avcodec_open2(encoder.get(), codec, nullptr);
    return encoder;
}

/// Decodes and encodes @p frames frames; packets are thrown away.
int codeBare(const QString &file, int frames)
{
    AVFormatContext *opened = nullptr;
    if (avformat_open_input(&opened, file.toUtf8().constData(), nullptr, nullptr) < 0 ||
        avformat_find_stream_info(opened, nullptr) < 0) {
        qFatal("the video doesn't open");
    }
    const AvInputContextPtr input(opened);
    const AvCodecContextPtr decoder = openDecoder(opened->streams[0]->codecpar);
    const AvCodecContextPtr encoder = openEncoder(opened->streams[0]->codecpar);
    const AvPacketPtr packet(av_packet_alloc());
    const AvPacketPtr written(av_packet_alloc());
    const AvFramePtr frame(av_frame_alloc());
    int done = 0;
    bool hasMore = true;
    while (hasMore && done < frames) {
        hasMore = av_read_frame(opened, packet.get()) >= 0;
        avcodec_send_packet(decoder.get(), hasMore ? packet.get() : nullptr);
        av_packet_unref(packet.get());
        while (done < frames && avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
            frame->pts = done++;
            avcodec_send_frame(encoder.get(), frame.get());
            avcodec_receive_packet(encoder.get(), written.get());
            av_packet_unref(written.get());
        }
    }
    return done;
}
} // namespace

int main(int argumentCount, char *arguments[])
{
    const QGuiApplication application(argumentCount, arguments);
    const QSize size = QGuiApplication::primaryScreen()->size();
    const int count = argumentCount > 1 ? QByteArray(arguments[1]).toInt() : BATCH;
    const QTemporaryDir directory;
    const QString whole = directory.filePath(QStringLiteral("whole.mp4"));
    const QString file = directory.filePath(QStringLiteral("v.mp4"));
    VideoComposer composer(nullptr);
    {
        QVector<QImage> images;
        for (int page = 0; page < count; ++page) {
            images += Bench::screen(size, page);
        }
        if (!composer.convertImagesToVideo(images, whole)) {
            return 1;
        }
    }
    const int kept = count - 1;
    Bench::Times shortened;
    Bench::Times bare;
    bool isComplete = true;
    for (int round = 0; round < ROUNDS; ++round) {
        bare.measure([&] { isComplete = codeBare(whole, kept) == kept && isComplete; });
        QFile::remove(file);
        isComplete = QFile::copy(whole, file) && isComplete;
        shortened.measure([&] {
            isComplete =
                composer.deleteFramesToEndFromVideoFile(file, static_cast<unsigned int>(kept)) &&
                isComplete;
        });
    }
    const QString name =
        QStringLiteral("%1-frame video shortened by one %2").arg(count).arg(Bench::sizeText(size));
    const QString floorName = QStringLiteral("bare decoding and encoding");
    const double floor = Bench::median(bare.wall);
    const double cpuFloor = Bench::median(bare.cpu);
    Bench::print({name, Bench::median(shortened.wall), QStringLiteral("ms"), GOAL_RATIO * floor,
                  floor, floorName});
    Bench::print({name + QStringLiteral(", CPU"), Bench::median(shortened.cpu),
                  QStringLiteral("ms"), GOAL_RATIO * cpuFloor, cpuFloor, floorName});
    if (!isComplete ||
        VideoComposer::getFrameNumberFromVideo(file) != static_cast<unsigned int>(kept)) {
        std::fprintf(stderr, "the shortened video doesn't hold its frames\n");
        return 1;
    }
    return 0;
}
