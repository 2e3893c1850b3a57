#pragma once
// The capture device of a virtual camera. A USB camera gets the identity strings a USB camera's
// capture device has (platform/CaptureIdentity.h) and the camera's displayName; a media-device
// (built-in) camera, one whose definition has a "mediaDevice" key, takes its unique and model
// identifiers from that key. The format description is the format another program's stream set
// last, else the first format and frame size of the camera's VideoStreaming descriptors; a
// format set by another program is told to the format observer. Its streams play the camera's test
// patterns (platform/virtual/VirtualFramePlayer.h); a camera defined with an "audio" key has a
// microphone that plays a tone (platform/virtual/VirtualAudioDevice.h). Other programs' opens of
// the camera (VirtualCamera::openByAnotherProgram) are told to the capture-use observer, and the
// named ones are its capture users.

#include <atomic>
#include <memory>

#include "platform/CaptureDevice.h"
#include "platform/virtual/EventLoopChannel.h"
#include "platform/virtual/VirtualAudioDevice.h"
#include "platform/virtual/VirtualCamera.h"
#include "platform/virtual/VirtualFramePlayer.h"

namespace orvella::virtualcam {

class VirtualCaptureDevice final : public platform::CaptureDevice {
  public:
    // Null with *error set when the camera's media-device or frames key is malformed.
    static std::shared_ptr<VirtualCaptureDevice> create(std::shared_ptr<VirtualCamera> camera,
                                                        QString* error);
    ~VirtualCaptureDevice() override;

    const std::shared_ptr<VirtualCamera>& camera() const { return camera_; }
    // Whether this is a built-in camera reached through the media-device layer.
    bool isMediaDevice() const { return mediaDevice_; }

    QString uniqueID() const override { return uniqueID_; }
    QString modelUniqueID() const override { return modelUniqueID_; }
    QString localizedDisplayName() const override { return displayName_; }
    bool hasMediaType(platform::MediaType type) const override {
        return type == platform::MediaType::Video;
    }
    // The format another program's stream set last (VirtualCamera::streamFormatByAnotherProgram),
    // else the first format and frame size of the descriptors.
    std::vector<platform::CaptureFormatDescription> formatDescriptions() const override;
    std::unique_ptr<platform::CaptureStream> createStream() override {
        return player_->createStream();
    }
    // A camera served to every program alike (as a PipeWire node serves one) also gives shared
    // streams; off unless a test sets it (setServedShared).
    std::unique_ptr<platform::CaptureStream> createSharedStream() override {
        return servedShared_ ? player_->createStream() : nullptr;
    }
    void setServedShared(bool shared) { servedShared_ = shared; }
    bool setCaptureUseObserver(platform::CaptureUseObserver* observer) override;
    // The named openers (VirtualCamera::openByAnotherProgram with a pid or a name), in the order
    // they opened the camera; unnamed opens count but name nobody.
    std::vector<platform::CameraUser> captureUsers() const override;
    // Each format another program's stream sets, on the registering thread's event loop.
    bool setFormatObserver(platform::CaptureFormatObserver* observer) override;
    std::shared_ptr<platform::CaptureDevice> soundInputDevice() const override { return audio_; }
    // The frame player, for faults at run time (stall, busy, size change, rate).
    VirtualFramePlayer& player() { return *player_; }

  private:
    VirtualCaptureDevice() = default;
    void stopTellingUse();
    void stopTellingFormats();

    std::shared_ptr<VirtualCamera> camera_;
    bool mediaDevice_ = false;
    std::atomic<bool> servedShared_{false};
    QString uniqueID_;
    QString modelUniqueID_;
    QString displayName_;
    std::shared_ptr<VirtualFramePlayer> player_;
    std::shared_ptr<EventLoopChannel> useChannel_;
    int useListenerID_ = 0;
    std::shared_ptr<EventLoopChannel> formatChannel_;
    int formatListenerID_ = 0;
    std::shared_ptr<VirtualAudioDevice> audio_;
};

}  // namespace orvella::virtualcam
