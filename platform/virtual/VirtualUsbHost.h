#pragma once
// The USB seam over virtual cameras: each camera is one USB device with its interfaces. The list
// of devices may be read from any thread.

#include <memory>
#include <mutex>
#include <vector>

#include "platform/Usb.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

class VirtualUsbHost final : public platform::UsbHost {
  public:
    // Adds a camera (in registry order) and tells the matching observer.
    void addCamera(std::shared_ptr<VirtualCamera> camera);
    // Unplugs a camera: its handles answer kIOReturnNoDevice from now on.
    void removeCamera(const std::shared_ptr<VirtualCamera>& camera);
    std::vector<std::shared_ptr<VirtualCamera>> cameras() const;

    IOReturn getMatchingServices(
        std::vector<std::shared_ptr<platform::UsbDeviceService>>& services) override;
    using platform::UsbHost::getMatchingServices;

  private:
    // Cameras' sessions look devices up on threads of their own while the interface thread
    // plugs and unplugs.
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<VirtualCamera>> cameras_;
};

}  // namespace orvella::virtualcam
