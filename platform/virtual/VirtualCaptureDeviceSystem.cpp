#include "platform/virtual/VirtualCaptureDeviceSystem.h"

#include <algorithm>

namespace orvella::virtualcam {

void VirtualCaptureDeviceSystem::addDevice(std::shared_ptr<VirtualCaptureDevice> device) {
    if (!device) return;
    devices_.push_back(device);
    if (observer_) observer_->captureDeviceConnected(device);
}

void VirtualCaptureDeviceSystem::removeDevice(const std::shared_ptr<VirtualCaptureDevice>& device) {
    const auto found = std::find(devices_.begin(), devices_.end(), device);
    if (found == devices_.end()) return;
    const std::shared_ptr<VirtualCaptureDevice> removed = *found;
    devices_.erase(found);
    if (observer_) observer_->captureDeviceDisconnected(removed);
}

std::vector<std::shared_ptr<platform::CaptureDevice>>
VirtualCaptureDeviceSystem::inputDevicesWithMediaType(platform::MediaType type) {
    std::vector<std::shared_ptr<platform::CaptureDevice>> result;
    for (const auto& device : devices_)
        if (device->hasMediaType(type)) result.push_back(device);
    return result;
}

}  // namespace orvella::virtualcam
