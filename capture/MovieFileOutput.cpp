#include "capture/MovieFileOutput.h"

#include <QImage>
#include <algorithm>

#include "capture/FrameDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

namespace orvella::capture {

namespace {

constexpr AVRational kMicroseconds{1, 1000000};
constexpr AVRational kCodecTimeBase{1, 1000};

CaptureError ffmpegError(const QString& what, int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return CaptureError{QStringLiteral("FFmpeg"), code,
                        QStringLiteral("%1: %2").arg(what, QString::fromLocal8Bit(text))};
}

// 4:2:0 plays everywhere; other formats only when the encoder has no 4:2:0. JPEG encoders want
// it in full range.
AVPixelFormat playablePixelFormat(const AVCodec* codec) {
    if (!codec->pix_fmts) return AV_PIX_FMT_YUV420P;
    const bool jpeg = codec->id == AV_CODEC_ID_MJPEG;
    for (AVPixelFormat wanted : {jpeg ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P,
                                 jpeg ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_YUVJ420P})
        for (const AVPixelFormat* f = codec->pix_fmts; *f != AV_PIX_FMT_NONE; ++f)
            if (*f == wanted) return wanted;
    return avcodec_find_best_pix_fmt_of_list(codec->pix_fmts, AV_PIX_FMT_BGRA, 0, nullptr);
}

CaptureError recordingError(long code, const QString& text) {
    return CaptureError{QStringLiteral("Recording"), code, text};
}

}  // namespace

// One open movie file.
struct MovieFileOutput::Writer {
    AVFormatContext* format = nullptr;
    AVStream* stream = nullptr;
    AVCodecContext* encoder = nullptr;  // null when MJPEG is copied
    AVFrame* picture = nullptr;
    AVPacket* packet = nullptr;
    SwsContext* scaler = nullptr;
    FrameDecoder decoder;
    QImage decoded;
    int32_t width = 0, height = 0;
    int64_t firstUs = -1;
    int64_t lastPts = -1;
    int64_t frameDuration = 33;  // codec time base; follows the measured frame interval
    bool headerWritten = false;

    ~Writer() {
        sws_freeContext(scaler);
        av_packet_free(&packet);
        av_frame_free(&picture);
        avcodec_free_context(&encoder);
        if (format) {
            if (format->pb && !(format->oformat->flags & AVFMT_NOFILE)) avio_closep(&format->pb);
            avformat_free_context(format);
        }
    }

    std::optional<CaptureError> open(const QString& path, const platform::VideoFrame& first,
                                     int32_t w, int32_t h, const QString& encoderName) {
        width = w > 0 ? w : first.width;
        height = h > 0 ? h : first.height;
        const QByteArray file = path.toLocal8Bit();
        int status = avformat_alloc_output_context2(&format, nullptr, nullptr, file.constData());
        if (status < 0 || !format)
            return ffmpegError(QStringLiteral("no container for %1").arg(path), status);
        stream = avformat_new_stream(format, nullptr);
        packet = av_packet_alloc();
        if (!stream || !packet) return recordingError(ENOMEM, QStringLiteral("out of memory"));
        stream->time_base = kCodecTimeBase;

        const bool copy =
            encoderName.isEmpty() && first.pixelFormat == platform::kPixelFormatMJPG &&
            avformat_query_codec(format->oformat, AV_CODEC_ID_MJPEG, FF_COMPLIANCE_NORMAL) == 1;
        if (copy) {
            AVCodecParameters* p = stream->codecpar;
            p->codec_type = AVMEDIA_TYPE_VIDEO;
            p->codec_id = AV_CODEC_ID_MJPEG;
            p->width = width;
            p->height = height;
            p->format = AV_PIX_FMT_YUVJ422P;
        } else {
            const AVCodec* codec = nullptr;
            if (!encoderName.isEmpty()) {
                codec = avcodec_find_encoder_by_name(encoderName.toLatin1().constData());
                if (!codec || codec->type != AVMEDIA_TYPE_VIDEO)
                    return recordingError(
                        EINVAL, QStringLiteral("no video encoder named \"%1\"").arg(encoderName));
            } else {
                codec = avcodec_find_encoder(format->oformat->video_codec);
                if (!codec) codec = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
            }
            if (!codec) return recordingError(EINVAL, QStringLiteral("no video encoder"));
            encoder = avcodec_alloc_context3(codec);
            picture = av_frame_alloc();
            if (!encoder || !picture)
                return recordingError(ENOMEM, QStringLiteral("out of memory"));
            encoder->width = width;
            encoder->height = height;
            encoder->time_base = kCodecTimeBase;
            encoder->framerate = AVRational{30, 1};
            encoder->gop_size = 30;
            encoder->pix_fmt = playablePixelFormat(codec);
            if (format->oformat->flags & AVFMT_GLOBALHEADER)
                encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
            // Recording runs on the capture thread: favour speed.
            if (QLatin1String(codec->name) == QLatin1String("libx264"))
                av_opt_set(encoder->priv_data, "preset", "veryfast", 0);
            status = avcodec_open2(encoder, codec, nullptr);
            if (status < 0)
                return ffmpegError(
                    QStringLiteral("cannot open encoder %1").arg(QLatin1String(codec->name)),
                    status);
            status = avcodec_parameters_from_context(stream->codecpar, encoder);
            if (status < 0) return ffmpegError(QStringLiteral("encoder parameters"), status);
            picture->format = encoder->pix_fmt;
            picture->width = width;
            picture->height = height;
            status = av_frame_get_buffer(picture, 0);
            if (status < 0) return ffmpegError(QStringLiteral("frame buffer"), status);
        }
        if (!(format->oformat->flags & AVFMT_NOFILE)) {
            status = avio_open(&format->pb, file.constData(), AVIO_FLAG_WRITE);
            if (status < 0)
                return ffmpegError(QStringLiteral("cannot create %1").arg(path), status);
        }
        status = avformat_write_header(format, nullptr);
        if (status < 0) return ffmpegError(QStringLiteral("cannot start %1").arg(path), status);
        headerWritten = true;
        return std::nullopt;
    }

    // Presentation time in the codec's time base, strictly increasing.
    int64_t ptsFor(const platform::VideoFrame& frame) {
        if (firstUs < 0) firstUs = frame.timestampUs;
        int64_t pts = av_rescale_q(frame.timestampUs - firstUs, kMicroseconds, kCodecTimeBase);
        pts = std::max(pts, lastPts + 1);
        if (lastPts >= 0) frameDuration = pts - lastPts;
        lastPts = pts;
        return pts;
    }

    std::optional<CaptureError> writePacket() {
        // Without a duration the last frame would fall outside the movie's edit list.
        if (packet->duration <= 0) packet->duration = frameDuration;
        av_packet_rescale_ts(packet, kCodecTimeBase, stream->time_base);
        packet->stream_index = stream->index;
        const int status = av_interleaved_write_frame(format, packet);
        av_packet_unref(packet);
        if (status < 0) return ffmpegError(QStringLiteral("writing the movie"), status);
        return std::nullopt;
    }

    std::optional<CaptureError> drain() {
        while (true) {
            const int status = avcodec_receive_packet(encoder, packet);
            if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return std::nullopt;
            if (status < 0) return ffmpegError(QStringLiteral("encoding"), status);
            if (auto error = writePacket()) return error;
        }
    }

    // Writes one frame; false (without error) when the frame was left out.
    std::optional<CaptureError> write(const platform::VideoFrame& frame, bool* written) {
        *written = false;
        if (!encoder) {
            if (frame.pixelFormat != platform::kPixelFormatMJPG || frame.width != width ||
                frame.height != height || frame.data.isEmpty())
                return std::nullopt;
            packet->data = reinterpret_cast<uint8_t*>(const_cast<char*>(frame.data.constData()));
            packet->size = static_cast<int>(frame.data.size());
            packet->pts = packet->dts = ptsFor(frame);
            packet->flags |= AV_PKT_FLAG_KEY;
            // The packet borrows the frame's bytes; the muxer copies what it keeps.
            const auto error = writePacket();
            if (!error) *written = true;
            return error;
        }
        if (!decoder.decodeInto(frame, &decoded)) return std::nullopt;  // a damaged frame
        scaler =
            sws_getCachedContext(scaler, decoded.width(), decoded.height(), AV_PIX_FMT_BGRA, width,
                                 height, encoder->pix_fmt, SWS_BILINEAR, nullptr, nullptr, nullptr);
        if (!scaler) return recordingError(EINVAL, QStringLiteral("cannot convert the frames"));
        int status = av_frame_make_writable(picture);
        if (status < 0) return ffmpegError(QStringLiteral("frame buffer"), status);
        const uint8_t* source[4] = {decoded.constBits(), nullptr, nullptr, nullptr};
        const int strides[4] = {static_cast<int>(decoded.bytesPerLine()), 0, 0, 0};
        sws_scale(scaler, source, strides, 0, decoded.height(), picture->data, picture->linesize);
        picture->pts = ptsFor(frame);
        status = avcodec_send_frame(encoder, picture);
        if (status < 0) return ffmpegError(QStringLiteral("encoding"), status);
        const auto error = drain();
        if (!error) *written = true;
        return error;
    }

    std::optional<CaptureError> close() {
        std::optional<CaptureError> error;
        if (encoder && headerWritten) {
            avcodec_send_frame(encoder, nullptr);
            error = drain();
        }
        if (headerWritten) {
            const int status = av_write_trailer(format);
            if (status < 0 && !error)
                error = ffmpegError(QStringLiteral("closing the movie"), status);
        }
        return error;
    }
};

MovieFileOutput::MovieFileOutput() {
    // FFmpeg's own chatter would go to standard error; failures come back as CaptureError.
    static const bool quiet = (av_log_set_level(AV_LOG_ERROR), true);
    (void)quiet;
}

MovieFileOutput::~MovieFileOutput() {
    finish();
}

void MovieFileOutput::setMaximumVideoSize(int32_t width, int32_t height) {
    std::lock_guard lock(mutex_);
    width_ = std::max(0, width) & ~1;
    height_ = std::max(0, height) & ~1;
}

void MovieFileOutput::setVideoCompression(const QString& encoder) {
    std::lock_guard lock(mutex_);
    videoEncoder_ = encoder;
}

void MovieFileOutput::setAudioCompression(const QString& encoder) {
    std::lock_guard lock(mutex_);
    audioEncoder_ = encoder;
}

QString MovieFileOutput::videoCompression() const {
    std::lock_guard lock(mutex_);
    return videoEncoder_;
}

void MovieFileOutput::recordToOutputFileURL(const QUrl& url) {
    if (url.isEmpty()) {
        finish();
        return;
    }
    std::lock_guard lock(mutex_);
    url_ = url;
    writer_.reset();
    error_.reset();
    frames_ = 0;
    if (!url.isLocalFile())
        error_ =
            recordingError(EINVAL, QStringLiteral("%1 is not a local file").arg(url.toString()));
    else if (!av_guess_format(nullptr, url.toLocalFile().toLocal8Bit().constData(), nullptr))
        error_ = recordingError(
            EINVAL, QStringLiteral("no movie container for %1 (use .mkv, .mp4, .mov or .avi)")
                        .arg(url.toLocalFile()));
}

QUrl MovieFileOutput::outputFileURL() const {
    std::lock_guard lock(mutex_);
    return url_;
}

void MovieFileOutput::captureFrame(const platform::FramePtr& frame) {
    std::lock_guard lock(mutex_);
    if (!frame || url_.isEmpty() || error_) return;
    if (!writer_) {
        writer_ = std::make_unique<Writer>();
        if (auto error =
                writer_->open(url_.toLocalFile(), *frame, width_, height_, videoEncoder_)) {
            error_ = error;
            return;
        }
    }
    bool written = false;
    if (auto error = writer_->write(*frame, &written)) error_ = error;
    if (written) ++frames_;
}

std::optional<CaptureError> MovieFileOutput::finish() {
    std::lock_guard lock(mutex_);
    if (url_.isEmpty()) return std::nullopt;
    std::optional<CaptureError> error = error_;
    if (writer_) {
        if (auto closing = writer_->close(); closing && !error) error = closing;
        writer_.reset();
    }
    if (!error && frames_ == 0)
        error = recordingError(ENODATA, QStringLiteral("no frame was recorded"));
    url_.clear();
    error_.reset();
    return error;
}

int64_t MovieFileOutput::framesWritten() const {
    std::lock_guard lock(mutex_);
    return frames_;
}

bool MovieFileOutput::copiesFrames() const {
    std::lock_guard lock(mutex_);
    return writer_ && !writer_->encoder;
}

}  // namespace orvella::capture
