#pragma once
// What the application does with a camera that has just appeared, as one sequence the fuzz
// targets and the fault sweeps share: build the camera object from its capture device (identity,
// interface lookup, probing, control status, formats, naming), read every control, write some.

#include <memory>
#include <vector>

#include "camera/QTCamera.h"
#include "fuzz/DeviceLayout.h"
#include "platform/Clock.h"
#include "platform/virtual/VirtualPlatform.h"

namespace orvella::fuzz {

class NewCamera {
  public:
    // Plugs `device` into a virtual platform of its own; false (and nothing else happens) when
    // the platform refuses it.
    explicit NewCamera(std::shared_ptr<virtualcam::VirtualCamera> device);

    bool plugged() const { return capture_ != nullptr; }
    virtualcam::VirtualCamera& device() { return *device_; }
    QTCamera* camera() { return camera_.get(); }
    platform::RecordingClock& clock() { return clock_; }

    // Builds the camera object: identity, lookup, probing, status, formats (USB cameras), or
    // the control objects (media-device cameras).
    QTCamera* bringUp();
    // Reads every control of the orvellactl table; the status of each read, in table order.
    std::vector<IOReturn> readEveryControl();
    // Writes one control of the orvellactl table (index modulo its size).
    IOReturn write(const ControlWrite& write);
    // Writes every control the camera supports back to its current value, in table order.
    std::vector<IOReturn> writeEveryControl();
    // Writes the defaults back, as "Reset to defaults" does.
    void writeDefaults();

  private:
    std::shared_ptr<virtualcam::VirtualCamera> device_;
    virtualcam::VirtualPlatform platform_;
    platform::RecordingClock clock_;
    std::shared_ptr<virtualcam::VirtualCaptureDevice> capture_;
    std::unique_ptr<QTCamera> camera_;
};

// Decodes a whole-device input and takes it through everything above. Returns the new camera,
// or null when the definition was refused by the loader or the platform.
std::unique_ptr<NewCamera> runDevice(const uint8_t* data, size_t size);

}  // namespace orvella::fuzz
