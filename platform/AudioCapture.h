#pragma once
// The sound half of the capture seam (QTKit's audio capture device with its device input): a
// source opened on one sound device that delivers sample buffers on a thread of its own while a
// movie records. Backends: the virtual camera's test tone and an ALSA capture device through
// FFmpeg's libavdevice (media/AlsaAudioSource; the camera's own microphone on Linux), installed
// by the programs that record (capture/MovieRecording.h).

#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/CaptureStream.h"
#include "platform/Clock.h"  // buffers are stamped with monotonicMicroseconds()
#include "platform/IOReturn.h"

namespace orvella::platform {

// What a source delivers.
struct AudioFormat {
    int32_t sampleRate = 0;
    int32_t channels = 0;
};

// Samples as the device delivered them: signed 16-bit, channels interleaved.
struct AudioBuffer {
    int32_t sampleRate = 0;
    int32_t channels = 0;
    std::vector<int16_t> samples;  // frames x channels
    // Monotonic capture time of the first sample, microseconds, on the clock of
    // VideoFrame::timestampUs, so that sound and picture line up in a movie.
    int64_t timestampUs = 0;

    int64_t frames() const { return channels > 0 ? int64_t(samples.size()) / channels : 0; }
};
using AudioBufferPtr = std::shared_ptr<const AudioBuffer>;

// Receives what a running source produces, on the source's thread.
class AudioCaptureClient {
  public:
    virtual ~AudioCaptureClient() = default;
    virtual void audioSourceDidOutput(const AudioBufferPtr& buffer) = 0;
    // The source ended by itself (the device went away or failed); no buffers follow.
    virtual void audioSourceDidFail(IOReturn status, const QString& reason) = 0;
};

class AudioCaptureSource {
  public:
    virtual ~AudioCaptureSource() = default;
    // Opens the device; *error (when given) is filled on failure.
    virtual IOReturn open(StreamError* error) = 0;
    // The format of the buffers, known once the source is open.
    virtual AudioFormat format() const = 0;
    // Starts the source's thread, which calls the client (borrowed) until stop().
    virtual IOReturn start(AudioCaptureClient* client) = 0;
    // Stops the thread; no call reaches the client after this returns.
    virtual void stop() = 0;
    // Closes the device (stop() first if running).
    virtual void close() = 0;
};

}  // namespace orvella::platform
