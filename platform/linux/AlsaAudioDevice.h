#pragma once
// Sound capture on Linux: an ALSA capture device, read by media/AlsaAudioSource (FFmpeg's
// libavdevice "alsa" input) as signed 16-bit samples at 48 kHz (the "plughw" layer converts what
// the hardware has). The reader is installed by the programs that record
// (capture::enableMovieRecording), so that the platform library links no FFmpeg; without it a
// device gives no source and the recording says so.
// A USB camera's own microphone is the ALSA card of the same USB device: an interface of it has
// a sound/cardN directory in sysfs.

#include <QString>
#include <memory>
#include <string>

#include "platform/CaptureDevice.h"

namespace orvella::linuxplatform {

// What opens a sound source on an ALSA device name with a channel count.
using AlsaSourceMaker = std::unique_ptr<platform::AudioCaptureSource> (*)(std::string pcm,
                                                                          int channels);
void setAlsaSourceMaker(AlsaSourceMaker maker);

class AlsaAudioDevice final : public platform::CaptureDevice {
  public:
    // `pcm` is an ALSA device name ("default", "plughw:CARD=C270,DEV=0", "pulse", ...).
    AlsaAudioDevice(std::string pcm, QString displayName, int channels = 1);

    QString uniqueID() const override { return QString::fromStdString(pcm_); }
    QString modelUniqueID() const override { return QString::fromStdString(pcm_); }
    QString localizedDisplayName() const override { return displayName_; }
    bool hasMediaType(platform::MediaType type) const override {
        return type == platform::MediaType::Sound;
    }
    std::vector<platform::CaptureFormatDescription> formatDescriptions() const override {
        return {};
    }
    // Null when no reader is installed (setAlsaSourceMaker).
    std::unique_ptr<platform::AudioCaptureSource> createAudioSource() override;
    const std::string& pcm() const { return pcm_; }

  private:
    std::string pcm_;
    QString displayName_;
    int channels_;
};

// The microphone of the USB device at `usbDirectory` (its sysfs directory): the first ALSA card
// one of its interfaces carries, as "plughw:CARD=<id>,DEV=0"; null when it has none.
std::shared_ptr<AlsaAudioDevice> cameraMicrophone(const std::string& usbDirectory);

}  // namespace orvella::linuxplatform
