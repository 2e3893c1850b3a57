#pragma once
// A sound source on an ALSA capture device, read through FFmpeg's libavdevice ("alsa" input) as
// signed 16-bit samples at 48 kHz (the "plughw" layer converts what the hardware has). The
// Linux backend's AlsaAudioDevice (platform/linux) hands these out; this header names nothing of
// FFmpeg.

#include <memory>
#include <string>

#include "platform/AudioCapture.h"

namespace orvella::media {

// `pcm` is an ALSA device name ("default", "plughw:CARD=C270,DEV=0", "pulse", ...). Nothing is
// opened until the source's open().
std::unique_ptr<platform::AudioCaptureSource> makeAlsaAudioSource(std::string pcm, int channels);

}  // namespace orvella::media
