#include "capture/MovieFileOutput.h"

#include <QImage>
#include <algorithm>

#include "capture/FrameDecoder.h"
#include "platform/Log.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace orvella::capture {

namespace {

constexpr AVRational kMicroseconds{1, 1000000};
constexpr AVRational kCodecTimeBase{1, 1000};
// How far the encoder may fall behind before new frames are left out (about two seconds at
// 30 frames a second), and how many sample buffers may wait (about ten seconds of 20 ms ones).
constexpr int kMaxQueuedFrames = 60;
constexpr size_t kMaxQueuedItems = 600;
// Sound whose capture time is further than this from the first frame's comes from another clock.
constexpr int64_t kSameClockUs = 5000000;

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

// A clear word for an encoder the container has no place for (FFmpeg would only say "invalid
// argument" when the file starts).
std::optional<CaptureError> containerRefuses(const AVOutputFormat* container,
                                             const AVCodec* codec) {
    if (avformat_query_codec(container, codec->id, FF_COMPLIANCE_NORMAL) != 0) return std::nullopt;
    return recordingError(EINVAL,
                          QStringLiteral("the %1 container cannot hold %2")
                              .arg(QLatin1String(container->name), QLatin1String(codec->name)));
}

// The audio encoder for a name, or the default one for the container: the samples as they come
// (16-bit PCM) where the container holds PCM, else the container's own default.
const AVCodec* audioEncoderFor(const QString& name, const AVOutputFormat* container,
                               std::optional<CaptureError>* error) {
    if (!name.isEmpty()) {
        const AVCodec* codec = avcodec_find_encoder_by_name(name.toLatin1().constData());
        if (!codec || codec->type != AVMEDIA_TYPE_AUDIO)
            *error =
                recordingError(EINVAL, QStringLiteral("no audio encoder named \"%1\"").arg(name));
        return codec && codec->type == AVMEDIA_TYPE_AUDIO ? codec : nullptr;
    }
    const AVCodec* codec =
        avformat_query_codec(container, AV_CODEC_ID_PCM_S16LE, FF_COMPLIANCE_NORMAL) == 1
            ? avcodec_find_encoder(AV_CODEC_ID_PCM_S16LE)
            : avcodec_find_encoder(container->audio_codec);
    if (!codec)
        *error = recordingError(
            EINVAL,
            QStringLiteral("the container %1 holds no sound").arg(QLatin1String(container->name)));
    return codec;
}

// 16-bit samples need no conversion; otherwise the encoder's first format.
AVSampleFormat encoderSampleFormat(const AVCodec* codec) {
    if (!codec->sample_fmts) return AV_SAMPLE_FMT_S16;
    for (const AVSampleFormat* f = codec->sample_fmts; *f != AV_SAMPLE_FMT_NONE; ++f)
        if (*f == AV_SAMPLE_FMT_S16) return *f;
    return codec->sample_fmts[0];
}

// The source's rate if the encoder takes it, else 48 kHz, else the encoder's first rate.
int encoderSampleRate(const AVCodec* codec, int rate) {
    if (!codec->supported_samplerates) return rate;
    for (const int* r = codec->supported_samplerates; *r; ++r)
        if (*r == rate) return rate;
    for (const int* r = codec->supported_samplerates; *r; ++r)
        if (*r == 48000) return 48000;
    return codec->supported_samplerates[0];
}

}  // namespace

// The sound track of an open movie: the samples converted to the encoder's format and rate,
// gathered into the encoder's frame size, and placed by the capture time of the first buffer.
struct AudioTrack {
    AVStream* stream = nullptr;
    AVCodecContext* encoder = nullptr;
    SwrContext* resampler = nullptr;
    AVAudioFifo* fifo = nullptr;
    AVFrame* frame = nullptr;
    AVPacket* packet = nullptr;
    uint8_t** converted = nullptr;  // the resampler's output, `capacity` sample frames
    int capacity = 0;
    platform::AudioFormat input;
    int frameSize = 1024;
    bool smallLastFrame = false;
    int64_t nextPts = -1;  // encoder time base (1 / sample rate); -1 until the first buffer

    ~AudioTrack() {
        if (converted) av_freep(&converted[0]);
        av_freep(&converted);
        av_packet_free(&packet);
        av_frame_free(&frame);
        av_audio_fifo_free(fifo);
        swr_free(&resampler);
        avcodec_free_context(&encoder);
    }

    std::optional<CaptureError> open(AVFormatContext* format, platform::AudioFormat source,
                                     const QString& encoderName) {
        input = source;
        std::optional<CaptureError> error;
        const AVCodec* codec = audioEncoderFor(encoderName, format->oformat, &error);
        if (!codec) return error;
        if (auto refused = containerRefuses(format->oformat, codec)) return refused;
        stream = avformat_new_stream(format, nullptr);
        encoder = avcodec_alloc_context3(codec);
        frame = av_frame_alloc();
        packet = av_packet_alloc();
        if (!stream || !encoder || !frame || !packet)
            return recordingError(ENOMEM, QStringLiteral("out of memory"));
        encoder->sample_fmt = encoderSampleFormat(codec);
        encoder->sample_rate = encoderSampleRate(codec, source.sampleRate);
        av_channel_layout_default(&encoder->ch_layout, source.channels);
        encoder->time_base = AVRational{1, encoder->sample_rate};
        if (format->oformat->flags & AVFMT_GLOBALHEADER)
            encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        int status = avcodec_open2(encoder, codec, nullptr);
        if (status < 0)
            return ffmpegError(
                QStringLiteral("cannot open audio encoder %1").arg(QLatin1String(codec->name)),
                status);
        status = avcodec_parameters_from_context(stream->codecpar, encoder);
        if (status < 0) return ffmpegError(QStringLiteral("audio encoder parameters"), status);
        stream->time_base = encoder->time_base;
        const bool anySize =
            (codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) || encoder->frame_size <= 0;
        frameSize = anySize ? 1024 : encoder->frame_size;
        smallLastFrame = anySize || (codec->capabilities & AV_CODEC_CAP_SMALL_LAST_FRAME);

        AVChannelLayout inputLayout;
        av_channel_layout_default(&inputLayout, source.channels);
        status = swr_alloc_set_opts2(&resampler, &encoder->ch_layout, encoder->sample_fmt,
                                     encoder->sample_rate, &inputLayout, AV_SAMPLE_FMT_S16,
                                     source.sampleRate, 0, nullptr);
        av_channel_layout_uninit(&inputLayout);
        if (status < 0 || (status = swr_init(resampler)) < 0)
            return ffmpegError(QStringLiteral("cannot convert the sound"), status);
        fifo = av_audio_fifo_alloc(encoder->sample_fmt, source.channels, frameSize * 4);
        if (!fifo) return recordingError(ENOMEM, QStringLiteral("out of memory"));
        return std::nullopt;
    }

    std::optional<CaptureError> writePackets(AVFormatContext* format) {
        while (true) {
            const int status = avcodec_receive_packet(encoder, packet);
            if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return std::nullopt;
            if (status < 0) return ffmpegError(QStringLiteral("encoding the sound"), status);
            av_packet_rescale_ts(packet, encoder->time_base, stream->time_base);
            packet->stream_index = stream->index;
            const int written = av_interleaved_write_frame(format, packet);
            av_packet_unref(packet);
            if (written < 0) return ffmpegError(QStringLiteral("writing the movie"), written);
        }
    }

    // Encodes every whole frame the FIFO holds, and with `flush` the rest too.
    std::optional<CaptureError> encode(AVFormatContext* format, bool flush) {
        while (av_audio_fifo_size(fifo) >= frameSize || (flush && av_audio_fifo_size(fifo) > 0)) {
            const int count = std::min(av_audio_fifo_size(fifo), frameSize);
            frame->nb_samples = frameSize;
            frame->format = encoder->sample_fmt;
            frame->sample_rate = encoder->sample_rate;
            if (!frame->data[0]) {
                av_channel_layout_copy(&frame->ch_layout, &encoder->ch_layout);
                if (const int status = av_frame_get_buffer(frame, 0); status < 0)
                    return ffmpegError(QStringLiteral("sound buffer"), status);
            }
            if (const int status = av_frame_make_writable(frame); status < 0)
                return ffmpegError(QStringLiteral("sound buffer"), status);
            av_audio_fifo_read(fifo, reinterpret_cast<void**>(frame->data), count);
            if (count < frameSize && !smallLastFrame)
                av_samples_set_silence(frame->data, count, frameSize - count,
                                       encoder->ch_layout.nb_channels, encoder->sample_fmt);
            else
                frame->nb_samples = count;
            frame->pts = nextPts;
            nextPts += frame->nb_samples;
            if (const int status = avcodec_send_frame(encoder, frame); status < 0)
                return ffmpegError(QStringLiteral("encoding the sound"), status);
            if (auto error = writePackets(format)) return error;
        }
        return std::nullopt;
    }

    // Converts `count` sample frames (null: what the resampler still holds) into the FIFO.
    std::optional<CaptureError> convert(const uint8_t* samples, int count) {
        const int room = swr_get_out_samples(resampler, count);
        if (room > capacity) {
            if (converted) av_freep(&converted[0]);
            av_freep(&converted);
            const int status = av_samples_alloc_array_and_samples(
                &converted, nullptr, encoder->ch_layout.nb_channels, room, encoder->sample_fmt, 0);
            if (status < 0) return ffmpegError(QStringLiteral("sound buffer"), status);
            capacity = room;
        }
        const int out = swr_convert(resampler, converted, capacity, samples ? &samples : nullptr,
                                    samples ? count : 0);
        if (out < 0) return ffmpegError(QStringLiteral("converting the sound"), out);
        if (out > 0 && av_audio_fifo_write(fifo, reinterpret_cast<void**>(converted), out) < out)
            return recordingError(ENOMEM, QStringLiteral("out of memory"));
        return std::nullopt;
    }

    // A buffer captured at `offsetUs` from the movie's first frame. The first one places the
    // track (sound from before the first frame is cut off); the others follow it without gaps.
    std::optional<CaptureError> write(AVFormatContext* format, const platform::AudioBuffer& buffer,
                                      int64_t offsetUs, int64_t* consumed) {
        *consumed = 0;
        if (buffer.sampleRate != input.sampleRate || buffer.channels != input.channels)
            return std::nullopt;
        const auto* samples = reinterpret_cast<const uint8_t*>(buffer.samples.data());
        int64_t count = buffer.frames();
        if (nextPts < 0) {
            if (offsetUs < 0) {
                const int64_t skip = av_rescale(-offsetUs, input.sampleRate, 1000000);
                if (skip >= count) return std::nullopt;
                samples += skip * input.channels * int64_t{sizeof(int16_t)};
                count -= skip;
                offsetUs = 0;
            }
            nextPts = av_rescale(offsetUs, encoder->sample_rate, 1000000);
        }
        if (count <= 0) return std::nullopt;
        if (auto error = convert(samples, static_cast<int>(count))) return error;
        *consumed = count;
        return encode(format, false);
    }

    std::optional<CaptureError> close(AVFormatContext* format) {
        if (nextPts < 0) return std::nullopt;  // nothing was recorded: the track stays empty
        if (auto error = convert(nullptr, 0)) return error;
        if (auto error = encode(format, true)) return error;
        avcodec_send_frame(encoder, nullptr);
        return writePackets(format);
    }
};

// One open movie file.
struct MovieFileOutput::Writer {
    AVFormatContext* format = nullptr;
    AVStream* stream = nullptr;
    AVCodecContext* encoder = nullptr;  // null when MJPEG is copied
    AVFrame* picture = nullptr;
    AVPacket* packet = nullptr;
    SwsContext* scaler = nullptr;
    std::unique_ptr<AudioTrack> audio;
    FrameDecoder decoder;
    QImage decoded;
    int32_t width = 0, height = 0;
    int64_t firstUs = -1;
    int64_t lastUs = -1;
    int64_t lastPts = -1;
    int64_t frameDuration = 33;  // codec time base; follows the measured frame interval
    bool headerWritten = false;

    ~Writer() {
        audio.reset();
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
                                     int32_t w, int32_t h, const QString& encoderName,
                                     std::optional<platform::AudioFormat> sound,
                                     const QString& audioEncoderName) {
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
            if (auto refused = containerRefuses(format->oformat, codec)) return refused;
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
            // A live recording: favour speed.
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
        if (sound) {
            audio = std::make_unique<AudioTrack>();
            if (auto error = audio->open(format, *sound, audioEncoderName)) return error;
        }
        if (!(format->oformat->flags & AVFMT_NOFILE)) {
            status = avio_open(&format->pb, file.constData(), AVIO_FLAG_WRITE);
            if (status < 0)
                return ffmpegError(QStringLiteral("cannot create %1").arg(path), status);
        }
        status = avformat_write_header(format, nullptr);
        if (status < 0) return ffmpegError(QStringLiteral("cannot start %1").arg(path), status);
        headerWritten = true;
        firstUs = lastUs = first.timestampUs;
        return std::nullopt;
    }

    // Presentation time in the codec's time base, strictly increasing.
    int64_t ptsFor(const platform::VideoFrame& frame) {
        lastUs = frame.timestampUs;
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

    // Writes one frame; *written false (without error) when the frame was left out.
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

    // Samples into the sound track, placed by their capture time.
    std::optional<CaptureError> writeAudio(const platform::AudioBuffer& buffer, int64_t* consumed) {
        *consumed = 0;
        if (!audio || !headerWritten) return std::nullopt;
        int64_t offsetUs = buffer.timestampUs - firstUs;
        // A source on another clock than the camera's starts with the latest frame.
        if (offsetUs > kSameClockUs || offsetUs < -kSameClockUs) offsetUs = lastUs - firstUs;
        return audio->write(format, buffer, offsetUs, consumed);
    }

    std::optional<CaptureError> close() {
        std::optional<CaptureError> error;
        if (encoder && headerWritten) {
            avcodec_send_frame(encoder, nullptr);
            error = drain();
        }
        if (audio && headerWritten) {
            if (auto closing = audio->close(format); closing && !error) error = closing;
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
    // FFmpeg's own messages would go to standard error, beside the error each failure comes
    // back with (CaptureError): they would say the same thing twice.
    static const bool quiet = (av_log_set_level(AV_LOG_QUIET), true);
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

QString MovieFileOutput::audioCompression() const {
    std::lock_guard lock(mutex_);
    return audioEncoder_;
}

void MovieFileOutput::setAudioInput(std::optional<platform::AudioFormat> format) {
    std::lock_guard lock(mutex_);
    if (format && (format->sampleRate <= 0 || format->channels <= 0)) format.reset();
    audioInput_ = format;
}

void MovieFileOutput::recordToOutputFileURL(const QUrl& url) {
    finish();  // a movie being written ends first
    if (url.isEmpty()) return;
    std::lock_guard lock(mutex_);
    url_ = url;
    frames_ = dropped_ = samples_ = 0;
    copies_ = false;
    if (!url.isLocalFile())
        error_ =
            recordingError(EINVAL, QStringLiteral("%1 is not a local file").arg(url.toString()));
    else if (!av_guess_format(nullptr, url.toLocalFile().toLocal8Bit().constData(), nullptr))
        error_ = recordingError(
            EINVAL, QStringLiteral("no movie container for %1 (use .mkv, .mp4, .mov or .avi)")
                        .arg(url.toLocalFile()));
    else {
        thread_ = std::thread([this] { run(); });
        running_ = true;
    }
}

QUrl MovieFileOutput::outputFileURL() const {
    std::lock_guard lock(mutex_);
    return url_;
}

void MovieFileOutput::captureFrame(const platform::FramePtr& frame) {
    {
        std::lock_guard lock(mutex_);
        if (!frame || !running_ || closing_ || error_) return;
        if (queuedFrames_ >= kMaxQueuedFrames || queue_.size() >= kMaxQueuedItems) {
            ++dropped_;
            return;
        }
        queue_.push_back({frame, nullptr});
        ++queuedFrames_;
    }
    queued_.notify_one();
}

void MovieFileOutput::captureAudio(const platform::AudioBufferPtr& buffer) {
    {
        std::lock_guard lock(mutex_);
        if (!buffer || !audioInput_ || !running_ || closing_ || error_ ||
            queue_.size() >= kMaxQueuedItems)
            return;
        queue_.push_back({nullptr, buffer});
    }
    queued_.notify_one();
}

void MovieFileOutput::run() {
    std::unique_lock lock(mutex_);
    while (true) {
        queued_.wait(lock, [this] { return !queue_.empty() || closing_; });
        if (queue_.empty()) return;  // closing, and everything is written
        const Item item = std::move(queue_.front());
        queue_.pop_front();
        if (item.frame) --queuedFrames_;
        if (error_) continue;
        const QString path = url_.toLocalFile();
        const int32_t width = width_, height = height_;
        const QString videoEncoder = videoEncoder_, audioEncoder = audioEncoder_;
        const auto sound = audioInput_;
        lock.unlock();

        std::optional<CaptureError> error;
        bool written = false;
        int64_t samples = 0;
        if (item.frame) {
            if (!writer_) {
                writer_ = std::make_unique<Writer>();
                error = writer_->open(path, *item.frame, width, height, videoEncoder, sound,
                                      audioEncoder);
            }
            if (!error) error = writer_->write(*item.frame, &written);
        } else if (writer_) {  // sound from before the first frame is left out
            error = writer_->writeAudio(*item.audio, &samples);
        }

        lock.lock();
        if (error) error_ = error;
        if (written) ++frames_;
        samples_ += samples;
        copies_ = writer_ && !writer_->encoder;
    }
}

std::optional<CaptureError> MovieFileOutput::finish() {
    {
        std::lock_guard lock(mutex_);
        if (url_.isEmpty()) return std::nullopt;
        closing_ = true;
    }
    queued_.notify_all();
    if (thread_.joinable()) thread_.join();
    // The thread is gone: the writer is this thread's now. It is closed even after an error,
    // so that what was written stays playable.
    std::optional<CaptureError> closing;
    if (writer_) closing = writer_->close();
    writer_.reset();

    std::lock_guard lock(mutex_);
    std::optional<CaptureError> error = error_ ? error_ : closing;
    if (!error && frames_ == 0)
        error = recordingError(ENODATA, QStringLiteral("no frame was recorded"));
    if (dropped_ > 0)
        NSLog("CameraControl Error: %lld frames were left out of %s: the encoder could not keep up",
              static_cast<long long>(dropped_), url_.toLocalFile().toUtf8().constData());
    url_.clear();
    error_.reset();
    running_ = false;
    queue_.clear();
    queuedFrames_ = 0;
    closing_ = false;
    return error;
}

int64_t MovieFileOutput::framesWritten() const {
    std::lock_guard lock(mutex_);
    return frames_;
}

int64_t MovieFileOutput::framesDropped() const {
    std::lock_guard lock(mutex_);
    return dropped_;
}

int64_t MovieFileOutput::audioSamplesWritten() const {
    std::lock_guard lock(mutex_);
    return samples_;
}

bool MovieFileOutput::copiesFrames() const {
    std::lock_guard lock(mutex_);
    return copies_;
}

}  // namespace orvella::capture
