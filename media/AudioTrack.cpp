#include "media/AudioTrack.h"

#include <algorithm>
#include <cerrno>

#include "media/FFmpegError.h"

namespace orvella::media {

namespace {

// The audio encoder for a name, or the default one for the container: the samples as they come
// (16-bit PCM) where the container holds PCM, else the container's own default.
const AVCodec* audioEncoderFor(const QString& name, const AVOutputFormat* container,
                               MediaResult* error) {
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

MediaResult AudioTrack::open(AVFormatContext* format, platform::AudioFormat source,
                             const QString& encoderName) {
    input_ = source;
    MediaResult error;
    const AVCodec* codec = audioEncoderFor(encoderName, format->oformat, &error);
    if (!codec) return error;
    if (auto refused = containerRefuses(format->oformat, codec)) return refused;
    stream_ = avformat_new_stream(format, nullptr);
    encoder_.reset(avcodec_alloc_context3(codec));
    frame_.reset(av_frame_alloc());
    packet_.reset(av_packet_alloc());
    if (!stream_ || !encoder_ || !frame_ || !packet_)
        return recordingError(ENOMEM, QStringLiteral("out of memory"));
    AVCodecContext* encoder = encoder_.get();
    encoder->sample_fmt = encoderSampleFormat(codec);
    encoder->sample_rate = encoderSampleRate(codec, source.sampleRate);
    av_channel_layout_default(&encoder->ch_layout, source.channels);
    encoder->time_base = AVRational{1, encoder->sample_rate};
    if (format->oformat->flags & AVFMT_GLOBALHEADER) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    int status = avcodec_open2(encoder, codec, nullptr);
    if (status < 0)
        return ffmpegError(
            QStringLiteral("cannot open audio encoder %1").arg(QLatin1String(codec->name)), status);
    status = avcodec_parameters_from_context(stream_->codecpar, encoder);
    if (status < 0) return ffmpegError(QStringLiteral("audio encoder parameters"), status);
    stream_->time_base = encoder->time_base;
    const bool anySize =
        (codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) || encoder->frame_size <= 0;
    frameSize_ = anySize ? 1024 : encoder->frame_size;
    smallLastFrame_ = anySize || (codec->capabilities & AV_CODEC_CAP_SMALL_LAST_FRAME);

    AVChannelLayout inputLayout;
    av_channel_layout_default(&inputLayout, source.channels);
    SwrContext* resampler = nullptr;  // swr_alloc_set_opts2 frees it itself when it fails
    status = swr_alloc_set_opts2(&resampler, &encoder->ch_layout, encoder->sample_fmt,
                                 encoder->sample_rate, &inputLayout, AV_SAMPLE_FMT_S16,
                                 source.sampleRate, 0, nullptr);
    resampler_.reset(resampler);
    av_channel_layout_uninit(&inputLayout);
    if (status < 0 || (status = swr_init(resampler_.get())) < 0)
        return ffmpegError(QStringLiteral("cannot convert the sound"), status);
    fifo_.reset(av_audio_fifo_alloc(encoder->sample_fmt, source.channels, frameSize_ * 4));
    if (!fifo_) return recordingError(ENOMEM, QStringLiteral("out of memory"));
    return std::nullopt;
}

MediaResult AudioTrack::writePackets(AVFormatContext* format) {
    AVPacket* packet = packet_.get();
    while (true) {
        const int status = avcodec_receive_packet(encoder_.get(), packet);
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return std::nullopt;
        if (status < 0) return ffmpegError(QStringLiteral("encoding the sound"), status);
        av_packet_rescale_ts(packet, encoder_->time_base, stream_->time_base);
        packet->stream_index = stream_->index;
        const int written = av_interleaved_write_frame(format, packet);
        av_packet_unref(packet);
        if (written < 0) return ffmpegError(QStringLiteral("writing the movie"), written);
    }
}

// Encodes every whole frame the FIFO holds, and with `flush` the rest too.
MediaResult AudioTrack::encode(AVFormatContext* format, bool flush) {
    AVAudioFifo* fifo = fifo_.get();
    AVFrame* frame = frame_.get();
    const AVCodecContext* encoder = encoder_.get();
    while (av_audio_fifo_size(fifo) >= frameSize_ || (flush && av_audio_fifo_size(fifo) > 0)) {
        const int count = std::min(av_audio_fifo_size(fifo), frameSize_);
        frame->nb_samples = frameSize_;
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
        if (count < frameSize_ && !smallLastFrame_)
            av_samples_set_silence(frame->data, count, frameSize_ - count,
                                   encoder->ch_layout.nb_channels, encoder->sample_fmt);
        else
            frame->nb_samples = count;
        frame->pts = nextPts_;
        nextPts_ += frame->nb_samples;
        if (const int status = avcodec_send_frame(encoder_.get(), frame); status < 0)
            return ffmpegError(QStringLiteral("encoding the sound"), status);
        if (auto error = writePackets(format)) return error;
    }
    return std::nullopt;
}

// Converts `count` sample frames (null: what the resampler still holds) into the FIFO.
MediaResult AudioTrack::convert(const uint8_t* samples, int count) {
    const int room = swr_get_out_samples(resampler_.get(), count);
    if (room > capacity_) {
        // The old block goes first; a failed allocation leaves no block and no capacity, so the
        // next call (the flush when the movie closes) allocates again instead of writing into
        // a block that is gone.
        converted_.reset();
        capacity_ = 0;
        uint8_t** planes = nullptr;
        const int status = av_samples_alloc_array_and_samples(
            &planes, nullptr, encoder_->ch_layout.nb_channels, room, encoder_->sample_fmt, 0);
        if (status < 0) return ffmpegError(QStringLiteral("sound buffer"), status);
        converted_.reset(planes);
        capacity_ = room;
    }
    const int out = swr_convert(resampler_.get(), converted_.get(), capacity_,
                                samples ? &samples : nullptr, samples ? count : 0);
    if (out < 0) return ffmpegError(QStringLiteral("converting the sound"), out);
    if (out > 0 &&
        av_audio_fifo_write(fifo_.get(), reinterpret_cast<void**>(converted_.get()), out) < out)
        return recordingError(ENOMEM, QStringLiteral("out of memory"));
    return std::nullopt;
}

MediaResult AudioTrack::write(AVFormatContext* format, const platform::AudioBuffer& buffer,
                              int64_t offsetUs, int64_t* consumed) {
    *consumed = 0;
    if (buffer.sampleRate != input_.sampleRate || buffer.channels != input_.channels)
        return std::nullopt;
    const auto* samples = reinterpret_cast<const uint8_t*>(buffer.samples.data());
    int64_t count = buffer.frames();
    if (nextPts_ < 0) {
        if (offsetUs < 0) {
            const int64_t skip = av_rescale(-offsetUs, input_.sampleRate, 1000000);
            if (skip >= count) return std::nullopt;
            samples += skip * input_.channels * int64_t{sizeof(int16_t)};
            count -= skip;
            offsetUs = 0;
        }
        nextPts_ = av_rescale(offsetUs, encoder_->sample_rate, 1000000);
    }
    if (count <= 0) return std::nullopt;
    if (auto error = convert(samples, static_cast<int>(count))) return error;
    *consumed = count;
    return encode(format, false);
}

MediaResult AudioTrack::close(AVFormatContext* format) {
    if (nextPts_ < 0) return std::nullopt;  // nothing was recorded: the track stays empty
    if (auto error = convert(nullptr, 0)) return error;
    if (auto error = encode(format, true)) return error;
    avcodec_send_frame(encoder_.get(), nullptr);
    return writePackets(format);
}

}  // namespace orvella::media
