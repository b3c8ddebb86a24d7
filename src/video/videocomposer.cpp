#include "video/videocomposer.h"

#include "video/avhandles.h"
#include "video/avlog.h"
#include "video/disksync.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>

/// One batch on its way into one file. The encoder stands last because it is released first.
struct VideoComposer::Batch {
    AvOutputContextPtr output;
    AVStream *stream = nullptr; // owned by the output
    AvCodecContextPtr encoder;
};

namespace
{
constexpr int GOP_SIZE = 10; // a seek decodes at most this many frames

/// The primary screen in device pixels, each side rounded down to an even number, which the
/// pixel format's halved colour planes ask for. Empty without a screen: no encoder takes that.
QSize encoderSize()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen) {
        return {0, 0};
    }
    const QSize size = screen->size();
    const double ratio = screen->devicePixelRatio();
    const QSize target(static_cast<int>(size.width() * ratio),
                       static_cast<int>(size.height() * ratio));
    const QSize scaled = size.scaled(target, Qt::KeepAspectRatio);
    return {scaled.width() & ~1, scaled.height() & ~1};
}

/// The one packet, if any, that has become ready by the last frame.
void writeReadyPacket(AVFormatContext *output, AVCodecContext *encoder, const AVStream *stream,
                      AVPacket *packet)
{
    const int received = avcodec_receive_packet(encoder, packet);
    if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
        return;
    }
    if (received != 0) {
        qDebug() << "Error during encoding";
        return;
    }
    packet->stream_index = stream->index;
    av_packet_rescale_ts(packet, encoder->time_base, stream->time_base);
    packet->pos = -1;
    if (av_interleaved_write_frame(output, packet) < 0) {
        qDebug() << "Error while writing output packet";
    }
    av_packet_unref(packet);
}

bool openFile(AVFormatContext *output, const QByteArray &path)
{
    if (avio_open(&output->pb, path.constData(), AVIO_FLAG_WRITE) < 0) {
        qDebug() << "Error: Could not open output file";
        return false;
    }
    return true;
}

bool writeHeader(AVFormatContext *output)
{
    if (avformat_write_header(output, nullptr) < 0) {
        qDebug() << "Error occurred when writing header";
        return false;
    }
    return true;
}
} // namespace

VideoComposer::VideoComposer(QObject *parent) : QObject(parent), m_frameRate(1)
{
    qRegisterMetaType<QVector<QImage>>("QVector<QImage>");
    routeAvLog(AV_LOG_ERROR);
    // On its way from the request on, in the thread that makes it, until the slot has run.
    connect(
        this, &VideoComposer::requestConvertImagesToVideo, this,
        [this](const QVector<QImage> & /*images*/, const QString &file) {
            m_unfinished.begin(file);
        },
        Qt::DirectConnection);
    connect(this, &VideoComposer::requestConvertImagesToVideo, this,
            &VideoComposer::convertImagesToVideo);
    connect(this, &VideoComposer::requestConvertImagesToVideo, this,
            [this](const QVector<QImage> & /*images*/, const QString &file) { endWayOf(file); });
}

bool VideoComposer::convertImagesToVideo(const QVector<QImage> &images, const QString &videoFile)
{
    m_unfinished.begin(videoFile);
    const bool isConverted = convertImages(images, videoFile);
    endWayOf(videoFile);
    return isConverted;
}

/// Cuts what was erased while the file was not there, or not whole.
void VideoComposer::endWayOf(const QString &videoFile)
{
    while (const auto frames = m_unfinished.end(videoFile)) {
        shortenVideo(videoFile, *frames);
    }
}

bool VideoComposer::convertImages(const QVector<QImage> &images, const QString &videoFile)
{
    const auto limit = m_unfinished.limitOf(videoFile);
    if (limit == 0U) {
        deleteAlreadyConvertedImages(videoFile);
        return true;
    }
    if (!writeVideo(limit ? images.mid(0, static_cast<int>(*limit)) : images, videoFile)) {
        return false;
    }
    // The PNG files are the only other copy: nothing of them goes before the disk has the video.
    // Nor does the video, which may hold a frame that has no PNG file; the next sweep decides.
    if (!syncToDisk(videoFile)) {
        return false;
    }
    deleteAlreadyConvertedImages(videoFile);
    return true;
}

/// Writes straight to the final path. What stood there is lost by that, also when the writing
/// fails later; but the PNG files are still there then, and the sweep doesn't come this far with
/// a finished video that holds more than they do.
bool VideoComposer::writeVideo(const QVector<QImage> &images, const QString &videoFile)
{
    const QByteArray path = videoFile.toUtf8();
    Batch batch;
    if (!openOutput(batch, path) || !openEncoder(batch) || !openFile(batch.output.get(), path)) {
        return false;
    }
    AVFormatContext *output = batch.output.get();
    bool written = writeHeader(output) && encodeImages(batch, images);
    if (written) {
        flushBuffer(output, batch.encoder.get(), batch.stream->index);
        written = finishFile(output);
    }
    if (!written) {
        removeFile(videoFile); // on a full disk the PNG files need the room more
    }
    return written;
}

/// A write error anywhere before fails the trailer too: the io remembers it.
bool VideoComposer::finishFile(AVFormatContext *output)
{
    const int trailer = av_write_trailer(output);
    const int closed = avio_closep(&output->pb);
    const int result = trailer < 0 ? trailer : closed;
    if (result < 0) {
        qDebug() << "Error: Could not finish output file" << avErrorText(result);
    }
    return result >= 0;
}

bool VideoComposer::openOutput(Batch &batch, const QByteArray &path) const
{
    AVFormatContext *output = nullptr;
    if (avformat_alloc_output_context2(&output, nullptr, nullptr, path.constData()) < 0) {
        qDebug() << "Error: Failed to allocate output format context.";
        return false;
    }
    batch.output.reset(output);
    batch.stream = avformat_new_stream(output, nullptr);
    if (!batch.stream) {
        qDebug() << "Error: Failed allocating output stream.";
        return false;
    }
    batch.stream->time_base = {1, m_frameRate};
    // The time base, not its inverse, on purpose; at one frame a second they are the same.
    batch.stream->avg_frame_rate = {1, m_frameRate};
    return true;
}

bool VideoComposer::openEncoder(Batch &batch) const
{
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_H264);
    if (!codec) {
        qDebug() << "Error: encode codec not found";
        return false;
    }
    batch.encoder.reset(avcodec_alloc_context3(codec));
    AVCodecContext *encoder = batch.encoder.get();
    if (!encoder) {
        qDebug() << "Error: Could not allocate video codec context";
        return false;
    }
    const QSize size = encoderSize();
    encoder->width = size.width();
    encoder->height = size.height();
    encoder->gop_size = GOP_SIZE;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, m_frameRate};
    encoder->framerate = {m_frameRate, 1};
    if (batch.output->oformat->flags & AVFMT_GLOBALHEADER) {
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    if (avcodec_open2(encoder, codec, nullptr) < 0) {
        qDebug() << "Error: Could not open encode codec";
        return false;
    }
    avcodec_parameters_from_context(batch.stream->codecpar, encoder);
    return true;
}

/// False only if the batch can't go on at all. A frame that fails keeps its index, also one that
/// createFrameFromQImage() couldn't make: the frames behind it stay at the second that their
/// stored records name. A null image was never a frame and takes no index.
bool VideoComposer::encodeImages(Batch &batch, const QVector<QImage> &images)
{
    AVCodecContext *encoder = batch.encoder.get();
    qint64 index = 0;
    for (const QImage &image : images) {
        if (image.isNull()) {
            continue;
        }
        const AvFramePtr frame(createFrameFromQImage(image, encoder));
        const qint64 pts = index++;
        if (!frame) {
            continue;
        }
        frame->pts = pts;
        const AvPacketPtr packet(av_packet_alloc());
        if (!packet) {
            qDebug() << "Error: Could not allocate packet";
            return false;
        }
        if (avcodec_send_frame(encoder, frame.get()) < 0) {
            qDebug() << "Error sending a frame for encoding";
            continue;
        }
        writeReadyPacket(batch.output.get(), encoder, batch.stream, packet.get());
    }
    return true;
}

AVFrame *VideoComposer::createFrameFromQImage(const QImage &image, AVCodecContext *codecContext)
{
    AvFramePtr frame(av_frame_alloc());
    if (frame) {
        frame->format = codecContext->pix_fmt;
        frame->width = codecContext->width;
        frame->height = codecContext->height;
    }
    if (!frame || av_frame_get_buffer(frame.get(), 0) < 0) {
        qDebug() << "Error: Failed to allocate frame buffer.";
        return nullptr;
    }
    if (!frame->data[0]) {
        qDebug() << "Error: AVFrame data pointer is null.";
        return nullptr;
    }
    const SwsContextPtr scaler(sws_getContext(
        image.width(), image.height(), AV_PIX_FMT_BGRA, codecContext->width, codecContext->height,
        codecContext->pix_fmt, SWS_BICUBIC, nullptr, nullptr, nullptr));
    if (!scaler) {
        qDebug() << "Error: Failed to create SwsContext.";
        return nullptr;
    }
    const uint8_t *const source[4] = {image.constBits()}; // the library copies four of both
    const int stride[4] = {image.bytesPerLine()};
    if (sws_scale(scaler.get(), source, stride, 0, image.height(), frame->data, frame->linesize) <
        0) {
        // Without this the buffer's former content would become a frame.
        qDebug() << "Error: Failed to scale image.";
        return nullptr;
    }
    return frame.release();
}

int VideoComposer::flushBuffer(AVFormatContext *formatContext, AVCodecContext *codecContext,
                               int streamIndex)
{
    if (!(codecContext->codec->capabilities & AV_CODEC_CAP_DELAY)) {
        return 0;
    }
    const AvPacketPtr packet(av_packet_alloc());
    if (!packet) {
        qDebug() << "Error: Could not allocate packet";
        return AVERROR(ENOMEM);
    }
    const int result = avcodec_send_frame(codecContext, nullptr);
    const AVRational timeBase = formatContext->streams[streamIndex]->time_base;
    while (avcodec_receive_packet(codecContext, packet.get()) == 0) {
        packet->stream_index = streamIndex;
        packet->duration = 1;
        av_packet_rescale_ts(packet.get(), codecContext->time_base, timeBase);
        av_interleaved_write_frame(formatContext, packet.get());
        av_packet_unref(packet.get());
    }
    return result;
}
