#pragma once
// The microphone of a virtual camera: a sound capture device that plays a sine tone, in chunks of
// 20 ms on a thread of its own, for as long as its source runs. A camera has one when its
// definition has the optional "audio" key; the source fails with "no device" once the camera is
// unplugged.

#include <QJsonObject>
#include <QString>
#include <memory>
#include <optional>

#include "platform/CaptureDevice.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

// The "audio" key of a definition.
struct AudioPlan {
    double tone = 440.0;  // Hz
    int sampleRate = 48000;
    int channels = 1;

    // Null without *error when the key is absent; null with *error ("audio.tone: ...") when it is
    // malformed.
    static std::optional<AudioPlan> parse(const QJsonObject& definition, QString* error);
};

class VirtualAudioDevice final : public platform::CaptureDevice {
  public:
    VirtualAudioDevice(std::shared_ptr<VirtualCamera> camera, AudioPlan plan, QString uniqueID);

    QString uniqueID() const override { return uniqueID_; }
    QString modelUniqueID() const override { return uniqueID_; }
    QString localizedDisplayName() const override { return camera_->displayName(); }
    bool hasMediaType(platform::MediaType type) const override {
        return type == platform::MediaType::Sound;
    }
    std::vector<platform::CaptureFormatDescription> formatDescriptions() const override {
        return {};
    }
    std::unique_ptr<platform::AudioCaptureSource> createAudioSource() override;
    const AudioPlan& plan() const { return plan_; }

  private:
    std::shared_ptr<VirtualCamera> camera_;
    AudioPlan plan_;
    QString uniqueID_;
};

}  // namespace orvella::virtualcam
