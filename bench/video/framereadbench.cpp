// Single frames out of stored videos, against seeking, flushing and decoding with nothing else. The
// encoder takes its size from the primary screen:
//   scripts/virtual-desktop --build DIR --display 1920x1080 -- DIR/bench/framereadbench [FRAMES]

#include "support/figure.h"
#include "support/screens.h"
#include "video/frameextractor.h"
#include "video/videocomposer.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPainter>
#include <QRandomGenerator>
#include <QScreen>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <limits>

namespace
{
constexpr int BATCH = 100;

struct Measured {
    std::vector<double> wall;
    std::vector<double> cpu;
    bool isComplete = true;

    void measure(const std::function<bool()> &work)
    {
        cpu.push_back(Bench::cpuMilliseconds([&] {
            wall.push_back(Bench::milliseconds([&] { isComplete = work() && isComplete; }));
        }));
    }
};

/// What is kept of a working day: a third of the screen is new in each frame, now and then all of
/// it. That is about 100 KB a frame at 1920x1080.
QVector<QImage> session(int frames, const QSize &size)
{
    QVector<QImage> images;
    for (int page = 0; page < frames; ++page) {
        QImage image = Bench::screen(size, page);
        if (page % 10 != 0) {
            const int third = size.height() / 3;
            const QRect part(0, (page % 3) * third, size.width(), third);
            QImage older = images.last();
            QPainter(&older).drawImage(part, image, part);
            image = older;
        }
        images += image;
    }
    return images;
}

double percentile(std::vector<double> values, double part)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(static_cast<double>(values.size() - 1) * part)];
}

/// The least that a frame takes when nothing is remembered: one seek, one thread.
class BareReader
{
public:
    explicit BareReader(const QString &file)
    {
        AVFormatContext *input = nullptr;
        if (avformat_open_input(&input, file.toUtf8().constData(), nullptr, nullptr) < 0 ||
            avformat_find_stream_info(input, nullptr) < 0) {
            qFatal("the video doesn't open");
        }
        m_input.reset(input);
        const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_H264);
        m_decoder.reset(avcodec_alloc_context3(codec));
        avcodec_parameters_to_context(m_decoder.get(), input->streams[0]->codecpar);
        avcodec_open2(m_decoder.get(), codec, nullptr);
        m_picture = QImage(m_decoder->width, m_decoder->height + 1, QImage::Format_RGB32);
        m_scaler.reset(sws_getContext(m_decoder->width, m_decoder->height, m_decoder->pix_fmt,
                                      m_decoder->width, m_decoder->height, AV_PIX_FMT_BGRA,
                                      SWS_BICUBIC, nullptr, nullptr, nullptr));
    }

    bool read(int second)
    {
        const qint64 timestamp = av_rescale_q(second, {1, 1}, m_input->streams[0]->time_base);
        avformat_seek_file(m_input.get(), 0, std::numeric_limits<qint64>::min(), timestamp,
                           std::numeric_limits<qint64>::max(), AVSEEK_FLAG_BACKWARD);
        avcodec_flush_buffers(m_decoder.get());
        const AvPacketPtr packet(av_packet_alloc());
        bool hasMore = true;
        while (hasMore) {
            hasMore = av_read_frame(m_input.get(), packet.get()) >= 0;
            avcodec_send_packet(m_decoder.get(), hasMore ? packet.get() : nullptr);
            av_packet_unref(packet.get());
            while (avcodec_receive_frame(m_decoder.get(), m_frame.get()) >= 0) {
                if (m_frame->pts >= timestamp) {
                    return scale();
                }
            }
        }
        return false;
    }

private:
    bool scale()
    {
        uint8_t *const plane[] = {m_picture.bits()};
        const int stride[] = {m_picture.bytesPerLine()};
        return sws_scale(m_scaler.get(), m_frame->data, m_frame->linesize, 0, m_frame->height,
                         plane, stride) > 0;
    }

    AvInputContextPtr m_input;
    AvCodecContextPtr m_decoder;
    SwsContextPtr m_scaler;
    AvFramePtr m_frame{av_frame_alloc()};
    QImage m_picture;
};

void print(const QString &name, const Measured &ours, const Measured &bare, double medianGoal,
           double upperGoal)
{
    const QString ms = QStringLiteral("ms");
    const QString floor = QStringLiteral("bare seek, flush and decoding");
    Bench::print({name + QStringLiteral(", median"), Bench::median(ours.wall), ms, medianGoal,
                  Bench::median(bare.wall), floor});
    Bench::print({name + QStringLiteral(", 95 of 100"), percentile(ours.wall, 0.95), ms, upperGoal,
                  percentile(bare.wall, 0.95), floor});
    Bench::print({name + QStringLiteral(", CPU"), Bench::median(ours.cpu), ms, 0.0,
                  Bench::median(bare.cpu), floor});
}
} // namespace

int main(int argumentCount, char *arguments[])
{
    const QGuiApplication application(argumentCount, arguments);
    const QSize size = QGuiApplication::primaryScreen()->size();
    const int count = argumentCount > 1 ? QByteArray(arguments[1]).toInt() : BATCH;
    const QTemporaryDir directory;
    const QString files[] = {directory.filePath(QStringLiteral("v.mp4")),
                             directory.filePath(QStringLiteral("w.mp4"))};
    {
        VideoComposer composer(nullptr);
        if (!composer.convertImagesToVideo(session(count, size), files[0]) ||
            !QFile::copy(files[0], files[1])) {
            return 1;
        }
    }
    QRandomGenerator random(1);
    FrameExtractor extractor(nullptr);
    BareReader bare(files[0]);
    const auto frame = [&extractor](int index) {
        return !extractor.requestGetFrame(index).isNull();
    };

    extractor.setAbsoluteVideoName(files[0]);
    Measured inFile;
    Measured inFileBare;
    for (int request = 0; request < count * 3 / 2; ++request) {
        const int index = random.bounded(count);
        inFileBare.measure([&] { return bare.read(index); });
        inFile.measure([&] { return frame(index); });
    }
    Measured otherFile;
    Measured otherFileBare;
    for (int request = 0; request < count / 2; ++request) {
        const int index = random.bounded(count);
        const QString &file = files[(request + 1) % 2];
        otherFileBare.measure([&] { return BareReader(file).read(index); });
        otherFile.measure([&] {
            extractor.setAbsoluteVideoName(file);
            return frame(index);
        });
    }
    Measured forward;
    Measured forwardBare;
    Measured backward;
    for (int index = 0; index < count; ++index) {
        forwardBare.measure([&] { return bare.read(index); });
        forward.measure([&] { return frame(index); });
    }
    for (int index = count - 1; index >= 0; --index) {
        backward.measure([&] { return frame(index); });
    }
    const QString at = QLatin1Char(' ') + Bench::sizeText(size);
    Bench::print({QStringLiteral("stored frame") + at,
                  static_cast<double>(QFileInfo(files[0]).size()) / count / 1000.0,
                  QStringLiteral("KB"), 0.0, 0.0, QString()});
    print(QStringLiteral("frame at random of the open file") + at, inFile, inFileBare, 40.0, 80.0);
    print(QStringLiteral("frame at random of another file") + at, otherFile, otherFileBare, 70.0,
          120.0);
    print(QStringLiteral("step forward") + at, forward, forwardBare, 25.0, 0.0);
    print(QStringLiteral("step backward") + at, backward, forwardBare, 25.0, 0.0);
    if (!inFile.isComplete || !otherFile.isComplete || !forward.isComplete ||
        !backward.isComplete || !inFileBare.isComplete) {
        std::fprintf(stderr, "a frame is missing\n");
        return 1;
    }
    return 0;
}
