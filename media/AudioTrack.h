#pragma once
// The sound track of an open movie: the samples converted to the encoder's format and rate,
// gathered into the encoder's frame size, and placed by the capture time of the first buffer.
// Inside media/ only (it speaks FFmpeg's types).

#include <QString>
#include <cstdint>

#include "media/FFmpegHandles.h"
#include "media/MediaError.h"
#include "platform/AudioCapture.h"

namespace orvella::media {

class AudioTrack {
  public:
    // Adds the track to `format` (before its header is written) with the named encoder, or the
    // container's default for sound (see MovieWriter.h).
    MediaResult open(AVFormatContext* format, platform::AudioFormat source,
                     const QString& encoderName);
    // A buffer captured at `offsetUs` from the movie's first frame. The first one places the
    // track (sound from before the first frame is cut off); the others follow it without gaps.
    // *consumed: the sample frames taken in.
    MediaResult write(AVFormatContext* format, const platform::AudioBuffer& buffer,
                      int64_t offsetUs, int64_t* consumed);
    // Encodes what is left and flushes the encoder.
    MediaResult close(AVFormatContext* format);

  private:
    MediaResult writePackets(AVFormatContext* format);
    MediaResult encode(AVFormatContext* format, bool flush);
    MediaResult convert(const uint8_t* samples, int count);

    AVStream* stream_ = nullptr;  // the format's
    CodecContextPtr encoder_;
    ResamplerPtr resampler_;
    AudioFifoPtr fifo_;
    AvFramePtr frame_;
    AvPacketPtr packet_;
    SampleArrayPtr converted_;  // the resampler's output, `capacity_` sample frames
    int capacity_ = 0;
    platform::AudioFormat input_;
    int frameSize_ = 1024;
    bool smallLastFrame_ = false;
    int64_t nextPts_ = -1;  // encoder time base (1 / sample rate); -1 until the first buffer
};

}  // namespace orvella::media
