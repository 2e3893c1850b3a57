#pragma once
// The capture-device list over virtual cameras: devices are added and removed by hand (tests,
// tools, the demo) and the observer hears about each change.

#include <memory>
#include <vector>

#include "platform/CaptureDevice.h"
#include "platform/virtual/VirtualCaptureDevice.h"

namespace orvella::virtualcam {

class VirtualCaptureDeviceSystem final : public platform::CaptureDeviceSystem {
  public:
    void addDevice(std::shared_ptr<VirtualCaptureDevice> device);
    void removeDevice(const std::shared_ptr<VirtualCaptureDevice>& device);
    const std::vector<std::shared_ptr<VirtualCaptureDevice>>& devices() const { return devices_; }

    std::vector<std::shared_ptr<platform::CaptureDevice>> inputDevicesWithMediaType(
        platform::MediaType type) override;

  private:
    std::vector<std::shared_ptr<VirtualCaptureDevice>> devices_;
};

}  // namespace orvella::virtualcam
