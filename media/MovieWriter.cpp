#include "media/MovieWriter.h"

#include <algorithm>
#include <cerrno>

#include "media/AudioTrack.h"
#include "media/FFmpegError.h"
#include "media/FFmpegHandles.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace orvella::media {

namespace {

constexpr AVRational kMicroseconds{1, 1000000};
constexpr AVRational kCodecTimeBase{1, 1000};
// Sound whose capture time is further than this from the first frame's comes from another clock.
constexpr int64_t kSameClockUs = 5000000;

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

// The named video encoder, or the container's default (MJPEG when it has none).
const AVCodec* videoEncoderFor(const QString& name, const AVOutputFormat* container,
                               MediaResult* error) {
    if (name.isEmpty()) {
        const AVCodec* codec = avcodec_find_encoder(container->video_codec);
        return codec ? codec : avcodec_find_encoder(AV_CODEC_ID_MJPEG);
    }
    const AVCodec* codec = avcodec_find_encoder_by_name(name.toLatin1().constData());
    if (codec && codec->type == AVMEDIA_TYPE_VIDEO) return codec;
    *error = recordingError(EINVAL, QStringLiteral("no video encoder named \"%1\"").arg(name));
    return nullptr;
}

}  // namespace

void quietLibraryLog() {
    static const bool quiet = (av_log_set_level(AV_LOG_QUIET), true);
    (void)quiet;
}

bool keepsOneFrameRate(const QString& path) {
    const AVOutputFormat* container =
        av_guess_format(nullptr, path.toLocal8Bit().constData(), nullptr);
    return container && QLatin1String(container->name) == QLatin1String("avi");
}

bool hasContainerFor(const QString& path) {
    return av_guess_format(nullptr, path.toLocal8Bit().constData(), nullptr) != nullptr;
}

QString movieSettingsProblem(const QString& path, const QString& videoEncoder,
                             const QString& audioEncoder) {
    const AVOutputFormat* container =
        av_guess_format(nullptr, path.toLocal8Bit().constData(), nullptr);
    if (!container) return QStringLiteral("no container for %1").arg(path);
    if (!videoEncoder.isEmpty()) {
        MediaResult error;
        const AVCodec* codec = videoEncoderFor(videoEncoder, container, &error);
        if (!error && codec) error = containerRefuses(container, codec);
        if (error) return error->text;
    }
    if (!audioEncoder.isEmpty()) {
        const AVCodec* codec = avcodec_find_encoder_by_name(audioEncoder.toLatin1().constData());
        if (!codec || codec->type != AVMEDIA_TYPE_AUDIO)
            return QStringLiteral("no audio encoder named \"%1\"").arg(audioEncoder);
    }
    return {};
}

// One open movie file. Members are given back in the reverse of their order here: the sound
// track and the video's helpers first, the file's context (which owns the streams) last.
struct MovieWriter::Private {
    OutputContextPtr format;
    AVStream* stream = nullptr;  // the format's
    CodecContextPtr encoder;     // null when MJPEG is copied
    AvFramePtr picture;
    AvPacketPtr packet;
    ScalerPtr scaler;
    std::unique_ptr<AudioTrack> audio;
    int32_t width = 0, height = 0;
    int64_t firstUs = -1;
    int64_t lastUs = -1;
    int64_t lastPts = -1;
    // The frames' time base: milliseconds, or one frame for a container that keeps one rate.
    AVRational timeBase = kCodecTimeBase;
    AVRational frameRate{30, 1};
    int64_t frameDuration = 33;  // in timeBase; follows the measured frame interval
    bool headerWritten = false;

    MediaResult openEncoder(const QString& encoderName) {
        MediaResult error;
        const AVCodec* codec = videoEncoderFor(encoderName, format->oformat, &error);
        if (error) return error;
        if (!codec) return recordingError(EINVAL, QStringLiteral("no video encoder"));
        if (auto refused = containerRefuses(format->oformat, codec)) return refused;
        encoder.reset(avcodec_alloc_context3(codec));
        picture.reset(av_frame_alloc());
        if (!encoder || !picture) return recordingError(ENOMEM, QStringLiteral("out of memory"));
        encoder->width = width;
        encoder->height = height;
        encoder->time_base = timeBase;
        encoder->framerate = frameRate;
        encoder->gop_size = 30;
        encoder->pix_fmt = playablePixelFormat(codec);
        if (format->oformat->flags & AVFMT_GLOBALHEADER)
            encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        // A live recording: favour speed.
        if (QLatin1String(codec->name) == QLatin1String("libx264"))
            av_opt_set(encoder->priv_data, "preset", "veryfast", 0);
        int status = avcodec_open2(encoder.get(), codec, nullptr);
        if (status < 0)
            return ffmpegError(
                QStringLiteral("cannot open encoder %1").arg(QLatin1String(codec->name)), status);
        status = avcodec_parameters_from_context(stream->codecpar, encoder.get());
        if (status < 0) return ffmpegError(QStringLiteral("encoder parameters"), status);
        picture->format = encoder->pix_fmt;
        picture->width = width;
        picture->height = height;
        status = av_frame_get_buffer(picture.get(), 0);
        if (status < 0) return ffmpegError(QStringLiteral("frame buffer"), status);
        return std::nullopt;
    }

    // Presentation time in the codec's time base, strictly increasing.
    int64_t ptsFor(int64_t timestampUs) {
        lastUs = timestampUs;
        int64_t pts = av_rescale_q(timestampUs - firstUs, kMicroseconds, timeBase);
        pts = std::max(pts, lastPts + 1);
        if (lastPts >= 0) frameDuration = pts - lastPts;
        lastPts = pts;
        return pts;
    }

    MediaResult writePacket() {
        // Without a duration the last frame would fall outside the movie's edit list.
        if (packet->duration <= 0) packet->duration = frameDuration;
        av_packet_rescale_ts(packet.get(), timeBase, stream->time_base);
        packet->stream_index = stream->index;
        const int status = av_interleaved_write_frame(format.get(), packet.get());
        av_packet_unref(packet.get());
        if (status < 0) return ffmpegError(QStringLiteral("writing the movie"), status);
        return std::nullopt;
    }

    MediaResult drain() {
        while (true) {
            const int status = avcodec_receive_packet(encoder.get(), packet.get());
            if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return std::nullopt;
            if (status < 0) return ffmpegError(QStringLiteral("encoding"), status);
            if (auto error = writePacket()) return error;
        }
    }
};

MovieWriter::MovieWriter() : d_(std::make_unique<Private>()) {}

MovieWriter::~MovieWriter() = default;

MediaResult MovieWriter::open(const QString& path, const platform::VideoFrame& first,
                              const MovieSettings& settings) {
    Private& d = *d_;
    d.width = settings.width > 0 ? settings.width : first.width;
    d.height = settings.height > 0 ? settings.height : first.height;
    const QByteArray file = path.toLocal8Bit();
    AVFormatContext* format = nullptr;
    int status = avformat_alloc_output_context2(&format, nullptr, nullptr, file.constData());
    d.format.reset(format);
    if (status < 0 || !format)
        return ffmpegError(QStringLiteral("no container for %1").arg(path), status);
    d.stream = avformat_new_stream(format, nullptr);
    d.packet.reset(av_packet_alloc());
    if (!d.stream || !d.packet) return recordingError(ENOMEM, QStringLiteral("out of memory"));
    d.stream->time_base = kCodecTimeBase;
    // AVI's header carries one rate, taken from the stream's time base, and its frames are
    // counted in it: the time base is one frame of the camera's rate.
    if (QLatin1String(format->oformat->name) == QLatin1String("avi")) {
        if (settings.frameRate > 0) d.frameRate = av_d2q(settings.frameRate, 100000);
        d.timeBase = d.stream->time_base = av_inv_q(d.frameRate);
        d.stream->avg_frame_rate = d.stream->r_frame_rate = d.frameRate;
        d.frameDuration = 1;
    }

    const bool copy =
        settings.videoEncoder.isEmpty() && first.pixelFormat == platform::kPixelFormatMJPG &&
        avformat_query_codec(format->oformat, AV_CODEC_ID_MJPEG, FF_COMPLIANCE_NORMAL) == 1;
    if (copy) {
        AVCodecParameters* p = d.stream->codecpar;
        p->codec_type = AVMEDIA_TYPE_VIDEO;
        p->codec_id = AV_CODEC_ID_MJPEG;
        p->width = d.width;
        p->height = d.height;
        p->format = AV_PIX_FMT_YUVJ422P;
    } else if (auto error = d.openEncoder(settings.videoEncoder)) {
        return error;
    }
    if (settings.sound) {
        d.audio = std::make_unique<AudioTrack>();
        if (auto error = d.audio->open(format, *settings.sound, settings.audioEncoder))
            return error;
    }
    if (!(format->oformat->flags & AVFMT_NOFILE)) {
        status = avio_open(&format->pb, file.constData(), AVIO_FLAG_WRITE);
        if (status < 0) return ffmpegError(QStringLiteral("cannot create %1").arg(path), status);
    }
    status = avformat_write_header(format, nullptr);
    if (status < 0) return ffmpegError(QStringLiteral("cannot start %1").arg(path), status);
    d.headerWritten = true;
    d.firstUs = d.lastUs = first.timestampUs;
    return std::nullopt;
}

bool MovieWriter::encodesFrames() const {
    return d_->encoder != nullptr;
}

MediaResult MovieWriter::copy(const platform::VideoFrame& frame, bool* written) {
    Private& d = *d_;
    *written = false;
    if (d.encoder || !d.headerWritten || frame.pixelFormat != platform::kPixelFormatMJPG ||
        frame.width != d.width || frame.height != d.height || frame.data.isEmpty())
        return std::nullopt;
    AVPacket* packet = d.packet.get();
    packet->data = reinterpret_cast<uint8_t*>(const_cast<char*>(frame.data.constData()));
    packet->size = static_cast<int>(frame.data.size());
    packet->pts = packet->dts = d.ptsFor(frame.timestampUs);
    packet->flags |= AV_PKT_FLAG_KEY;
    // The packet borrows the frame's bytes; the muxer copies what it keeps.
    const auto error = d.writePacket();
    if (!error) *written = true;
    return error;
}

MediaResult MovieWriter::encode(const Picture& picture, int64_t timestampUs, bool* written) {
    Private& d = *d_;
    *written = false;
    if (!d.encoder || !d.headerWritten) return std::nullopt;
    // sws_getCachedContext frees the context it is given when it makes a new one.
    d.scaler.reset(sws_getCachedContext(d.scaler.release(), picture.width, picture.height,
                                        AV_PIX_FMT_BGRA, d.width, d.height, d.encoder->pix_fmt,
                                        SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!d.scaler) return recordingError(EINVAL, QStringLiteral("cannot convert the frames"));
    int status = av_frame_make_writable(d.picture.get());
    if (status < 0) return ffmpegError(QStringLiteral("frame buffer"), status);
    const uint8_t* source[4] = {picture.bits, nullptr, nullptr, nullptr};
    const int strides[4] = {static_cast<int>(picture.bytesPerLine), 0, 0, 0};
    sws_scale(d.scaler.get(), source, strides, 0, picture.height, d.picture->data,
              d.picture->linesize);
    d.picture->pts = d.ptsFor(timestampUs);
    status = avcodec_send_frame(d.encoder.get(), d.picture.get());
    if (status < 0) return ffmpegError(QStringLiteral("encoding"), status);
    const auto error = d.drain();
    if (!error) *written = true;
    return error;
}

MediaResult MovieWriter::writeAudio(const platform::AudioBuffer& buffer, int64_t* consumed) {
    Private& d = *d_;
    *consumed = 0;
    if (!d.audio || !d.headerWritten) return std::nullopt;
    int64_t offsetUs = buffer.timestampUs - d.firstUs;
    // A source on another clock than the camera's starts with the latest frame.
    if (offsetUs > kSameClockUs || offsetUs < -kSameClockUs) offsetUs = d.lastUs - d.firstUs;
    return d.audio->write(d.format.get(), buffer, offsetUs, consumed);
}

MediaResult MovieWriter::close() {
    Private& d = *d_;
    MediaResult error;
    if (d.encoder && d.headerWritten) {
        avcodec_send_frame(d.encoder.get(), nullptr);
        error = d.drain();
    }
    if (d.audio && d.headerWritten) {
        if (auto closing = d.audio->close(d.format.get()); closing && !error) error = closing;
    }
    if (d.headerWritten) {
        const int status = av_write_trailer(d.format.get());
        if (status < 0 && !error) error = ffmpegError(QStringLiteral("closing the movie"), status);
    }
    return error;
}

}  // namespace orvella::media
