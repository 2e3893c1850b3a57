#pragma once
// Owning handles for FFmpeg's objects: each is a std::unique_ptr whose deleter is the library's
// own free function, so that every way out of a function (an early error return included) gives
// back what was allocated, in the order the members are declared in reverse.
//
// Inside media/ only: this header includes FFmpeg's, which nothing outside media/ may see.

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/mem.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace orvella::media {

// An output file's context: the file it opened is closed (avio_closep) before the context is
// freed, unless the container writes no file of its own.
struct OutputContextDeleter {
    void operator()(AVFormatContext* format) const {
        if (format->pb && !(format->oformat->flags & AVFMT_NOFILE)) avio_closep(&format->pb);
        avformat_free_context(format);
    }
};
// An input opened with avformat_open_input, which closes its device as well.
struct InputContextDeleter {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
};
struct CodecContextDeleter {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
};
struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct ScalerDeleter {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
struct ResamplerDeleter {
    void operator()(SwrContext* resampler) const { swr_free(&resampler); }
};
struct AudioFifoDeleter {
    void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};
// A plane-pointer array from av_samples_alloc_array_and_samples: the samples (one block that
// the first pointer holds) and then the array itself.
struct SampleArrayDeleter {
    void operator()(uint8_t** planes) const {
        av_freep(&planes[0]);
        av_freep(&planes);
    }
};

using OutputContextPtr = std::unique_ptr<AVFormatContext, OutputContextDeleter>;
using InputContextPtr = std::unique_ptr<AVFormatContext, InputContextDeleter>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using AvFramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using AvPacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, ScalerDeleter>;
using ResamplerPtr = std::unique_ptr<SwrContext, ResamplerDeleter>;
using AudioFifoPtr = std::unique_ptr<AVAudioFifo, AudioFifoDeleter>;
using SampleArrayPtr = std::unique_ptr<uint8_t*, SampleArrayDeleter>;

}  // namespace orvella::media
