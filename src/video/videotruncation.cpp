// The part of VideoComposer that shortens a stored video: what is to be kept is decoded and encoded
// again into a file beside it, and that file takes the video's place. At every moment the old
// frames stand on the disk under one name or another, until the new video has been synced.

#include "video/videocomposer.h"

#include "video/avhandles.h"
#include "video/disksync.h"

#include <QDebug>
#include <QFile>

extern "C" {
#include <libavutil/opt.h>
}

/// One video on its way into a shorter one. The owners stand in the order in which they are filled,
/// so what is made last is released first.
struct VideoComposer::Truncation {
    QString videoFile;
    QString pendingFile;
    unsigned int frameNumber = 0; ///< how many frames stay
    AvInputContextPtr input;
    const AVStream *inputStream = nullptr; // owned by the input
    AvCodecContextPtr decoder;
    AvOutputContextPtr output;
    AVStream *stream = nullptr; // owned by the output
    AvCodecContextPtr encoder;
    bool isDelaying = false; ///< the encoder holds packets back, so it has to be drained
    AvFramePtr frame;
    AvPacketPtr packet;
    unsigned int done = 0; ///< frames decoded and passed on
};

namespace
{
/// The encoder reads three planes of its own size, whatever stands in a frame.
bool fits(const AVFrame *frame, const AVCodecContext *encoder)
{
    const bool isPlanar =
        frame->format == AV_PIX_FMT_YUV420P || frame->format == AV_PIX_FMT_YUVJ420P;
    return isPlanar && frame->width == encoder->width && frame->height == encoder->height;
}

/// The one packet, if any, that has become ready by the last frame.
void writeReadyPacket(AVFormatContext *output, AVCodecContext *encoder, const AVStream *stream,
                      AVPacket *packet)
{
    if (avcodec_receive_packet(encoder, packet) != 0) {
        return;
    }
    packet->stream_index = stream->index;
    av_packet_rescale_ts(packet, encoder->time_base, stream->time_base);
    packet->pos = -1;
    packet->duration = 1;
    qDebug() << "pts " << packet->pts << " dts " << packet->dts;
    if (av_interleaved_write_frame(output, packet) < 0) {
        qDebug() << "Error writing output packet";
    }
    av_packet_unref(packet);
}
} // namespace

bool VideoComposer::deleteFramesToEndFromVideoFile(const QString &videoFile,
                                                   unsigned int frameNumber)
{
    return m_unfinished.limit(videoFile, frameNumber) || shortenVideo(videoFile, frameNumber);
}

void VideoComposer::dropUnfinishedVideos(const QString &directory)
{
    m_unfinished.eraseBelow(directory);
}

bool VideoComposer::shortenVideo(const QString &videoFile, unsigned int frameNumber)
{
    if (!QFile::exists(videoFile)) {
        qDebug() << "File does not exist";
        return true;
    }
    if (frameNumber == 0) {
        removeFile(videoFile);
        return true;
    }
    const QString pendingFile = videoFile + QStringLiteral(".pending.mp4");
    {
        Truncation truncation;
        truncation.videoFile = videoFile;
        truncation.pendingFile = pendingFile;
        truncation.frameNumber = frameNumber;
        if (!openStoredVideo(truncation)) {
            return false;
        }
        if (static_cast<qint64>(frameNumber) >= truncation.inputStream->nb_frames) {
            qDebug() << "Frame number is larger than total frames";
            return true;
        }
        if (!openStoredDecoder(truncation) || !openPendingOutput(truncation) ||
            !openPendingEncoder(truncation) || !openPendingFile(truncation)) {
            return false;
        }
        copyFrames(truncation);
        if (!finishPendingFile(truncation)) {
            removeFile(pendingFile);
            return false;
        }
    }
    return exchangeFiles(videoFile, pendingFile);
}

bool VideoComposer::openStoredVideo(Truncation &truncation) const
{
    const QString &videoFile = truncation.videoFile;
    AVFormatContext *input = nullptr;
    if (avformat_open_input(&input, videoFile.toUtf8().constData(), nullptr, nullptr) < 0) {
        qDebug() << "Could not open input video: " << videoFile;
        return false;
    }
    truncation.input.reset(input);
    if (avformat_find_stream_info(input, nullptr) < 0) {
        qDebug() << "Could not find stream information for: " << videoFile;
        return false;
    }
    for (unsigned int index = 0; index < input->nb_streams && !truncation.inputStream; ++index) {
        if (input->streams[index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            truncation.inputStream = input->streams[index];
        }
    }
    if (!truncation.inputStream) {
        qDebug() << "Could not find video stream for: " << videoFile;
        return false;
    }
    qDebug() << "Log: Video Stream Index: " << truncation.inputStream->index;
    qDebug() << "Log: Total Frames: " << truncation.inputStream->nb_frames;
    return true;
}

bool VideoComposer::openStoredDecoder(Truncation &truncation) const
{
    const AVCodecParameters *parameters = truncation.inputStream->codecpar;
    const AVCodec *codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec) {
        qDebug() << "Could not find decoder for: " << truncation.videoFile;
        return false;
    }
    truncation.decoder.reset(avcodec_alloc_context3(codec));
    if (!truncation.decoder) {
        qDebug() << "Could not allocate decoder context for: " << truncation.videoFile;
        return false;
    }
    if (avcodec_parameters_to_context(truncation.decoder.get(), parameters) < 0) {
        qDebug() << "Could not set parameters to decoder context";
        return false;
    }
    if (avcodec_open2(truncation.decoder.get(), codec, nullptr) < 0) {
        qDebug() << "Could not initialize decoder context to use decoder";
        return false;
    }
    return true;
}

bool VideoComposer::openPendingOutput(Truncation &truncation) const
{
    const QString &pendingFile = truncation.pendingFile;
    AVFormatContext *output = nullptr;
    avformat_alloc_output_context2(&output, nullptr, nullptr, pendingFile.toUtf8().constData());
    if (!output) {
        qDebug() << "Could not allocate output format context for: " << pendingFile;
        return false;
    }
    truncation.output.reset(output);
    truncation.stream = avformat_new_stream(output, nullptr);
    if (!truncation.stream) {
        qDebug() << "Could not allocate output stream for: " << pendingFile;
        return false;
    }
    if (avcodec_parameters_copy(truncation.stream->codecpar, truncation.inputStream->codecpar) <
        0) {
        qDebug() << "Could not copy codec parameters to output stream";
        return false;
    }
    truncation.stream->time_base = truncation.inputStream->time_base;
    truncation.stream->avg_frame_rate = {1, m_frameRate};
    return true;
}

bool VideoComposer::openPendingEncoder(Truncation &truncation) const
{
    const AVCodecParameters *parameters = truncation.inputStream->codecpar;
    qDebug() << "Log: Opening encoder codec id " << parameters->codec_id;
    const AVCodec *codec = avcodec_find_encoder(parameters->codec_id);
    if (!codec) {
        qDebug() << "Could not find input video encoder";
        return false;
    }
    truncation.encoder.reset(avcodec_alloc_context3(codec));
    AVCodecContext *encoder = truncation.encoder.get();
    if (!encoder) {
        qDebug() << "Could not allocate encoder context";
        return false;
    }
    encoder->width = parameters->width;
    encoder->height = parameters->height;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, m_frameRate};
    encoder->framerate = {m_frameRate, 1};
    if (truncation.output->oformat->flags & AVFMT_GLOBALHEADER) {
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    // A packet for each frame, at once. Encoders without this option may hold some back.
    const bool isAtOnce = av_opt_set(encoder->priv_data, "tune", "zerolatency", 0) >= 0;
    truncation.isDelaying = !isAtOnce && (codec->capabilities & AV_CODEC_CAP_DELAY);
    if (avcodec_open2(encoder, codec, nullptr) < 0) {
        qDebug() << "Could not open encoder";
        return false;
    }
    return true;
}

bool VideoComposer::openPendingFile(Truncation &truncation) const
{
    AVFormatContext *output = truncation.output.get();
    avcodec_parameters_from_context(truncation.stream->codecpar, truncation.encoder.get());
    const QByteArray path = truncation.pendingFile.toUtf8();
    if (avio_open(&output->pb, path.constData(), AVIO_FLAG_WRITE) < 0) {
        qDebug() << "Could not open output iocontext";
        return false;
    }
    if (avformat_write_header(output, nullptr) < 0) {
        qDebug() << "Could not write header to output file";
        return false;
    }
    truncation.frame.reset(av_frame_alloc());
    truncation.packet.reset(av_packet_alloc());
    if (!truncation.frame || !truncation.packet) {
        qDebug() << "Could not allocate frame or packet";
        return false;
    }
    return true;
}

/// A packet that can't be read stands for the end of the input: it is blank, which makes the
/// decoder give up the frames that it still holds.
void VideoComposer::copyFrames(Truncation &truncation) const
{
    AVPacket *packet = truncation.packet.get();
    bool goesOn = true;
    while (goesOn) {
        const int read = av_read_frame(truncation.input.get(), packet);
        if (read < 0) {
            qDebug() << "Error reading input file: " << qUtf8Printable(avErrorText(read));
        }
        goesOn = (read >= 0 && packet->stream_index != truncation.inputStream->index) ||
                 copyPacket(truncation, read < 0);
        av_packet_unref(packet);
    }
}

/// False when nothing more is to be copied.
bool VideoComposer::copyPacket(Truncation &truncation, bool hasEnded) const
{
    const bool isSent = avcodec_send_packet(truncation.decoder.get(), truncation.packet.get()) == 0;
    if (!isSent) {
        qDebug() << "Error sending packet to decoder";
        // A decoder that is drained already refuses to be asked again, and still holds frames
        // if one of them failed on its way.
        if (!hasEnded) {
            return truncation.done < truncation.frameNumber;
        }
    }
    while (true) {
        const int received =
            avcodec_receive_frame(truncation.decoder.get(), truncation.frame.get());
        if (received != 0) {
            qDebug() << "Error receiving frame: " << qUtf8Printable(avErrorText(received));
        }
        if (received == AVERROR_EOF) {
            qDebug() << "End of file reached";
            return false;
        }
        if (received != 0) {
            // At the end a decoder that neither takes nor gives never will.
            return truncation.done < truncation.frameNumber && (isSent || !hasEnded);
        }
        if (truncation.done == truncation.frameNumber || !copyFrame(truncation)) {
            return truncation.done < truncation.frameNumber;
        }
    }
}

/// Passes the decoded frame on; false if it is lost.
bool VideoComposer::copyFrame(Truncation &truncation) const
{
    AVFrame *frame = truncation.frame.get();
    frame->pts = truncation.done++;
    const AvPacketPtr packet(av_packet_alloc());
    if (!packet) {
        qDebug() << "Could not allocate output packet";
        return false;
    }
    if (!fits(frame, truncation.encoder.get()) ||
        avcodec_send_frame(truncation.encoder.get(), frame) < 0) {
        qDebug() << "Error sending frame to encoder";
        return false;
    }
    writeReadyPacket(truncation.output.get(), truncation.encoder.get(), truncation.stream,
                     packet.get());
    return true;
}

/// Writes the trailer and brings the new video to the disk. False, and a line on the log, if the
/// file isn't whole: a full disk, for one. It must not take the old video's place then.
bool VideoComposer::finishPendingFile(Truncation &truncation)
{
    AVFormatContext *output = truncation.output.get();
    if (truncation.isDelaying) {
        flushBuffer(output, truncation.encoder.get(), truncation.stream->index);
    }
    return finishFile(output) && syncToDisk(truncation.pendingFile);
}

/// QFile::rename() overwrites nothing, so a backup that a killed process left stays what it is.
bool VideoComposer::exchangeFiles(const QString &videoFile, const QString &pendingFile)
{
    const QString backupFile = videoFile + QStringLiteral(".bak");
    if (!QFile::rename(videoFile, backupFile)) {
        qDebug() << "Screenshots backup failed";
        removeFile(pendingFile);
        return false;
    }
    if (QFile::rename(pendingFile, videoFile)) {
        // The new video is on the disk, its new name may not be. A failure is on the log; the old
        // frames were asked to go, and no name of theirs is left to hold on to.
        syncToDisk(videoFile);
        removeFile(backupFile);
        return true;
    }
    qDebug() << "Rename cropped video failed";
    if (!QFile::rename(backupFile, videoFile)) {
        qDebug() << "Screenshots recovery failed";
    }
    return false;
}
