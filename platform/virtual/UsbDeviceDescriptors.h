#pragma once
// The standard USB descriptors of a virtual camera, built around the class-specific ones of its
// definition: the device descriptor and the one configuration a UVC camera sends (an interface
// association, the VideoControl interface with its status interrupt endpoint, each
// VideoStreaming interface with an isochronous alternate setting). The sysfs trees of the unit
// tests and the USB/IP server that shows a camera to the kernel use exactly these bytes.

#include <cstdint>
#include <vector>

#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

class UsbDeviceDescriptors {
  public:
    explicit UsbDeviceDescriptors(const VirtualCamera& camera);

    // The 18-byte device descriptor.
    const std::vector<uint8_t>& device() const { return device_; }
    // The whole configuration (wTotalLength bytes), configuration value 1.
    const std::vector<uint8_t>& configuration() const { return configuration_; }
    // What Linux shows in sysfs as `descriptors`: the device descriptor, then the configuration.
    std::vector<uint8_t> sysfsBlob() const;

    // Number of alternate settings of an interface; 0 when the device has no such interface.
    uint8_t alternateSettings(uint8_t interfaceNumber) const;
    // Address of the isochronous IN endpoint that carries a VideoStreaming interface's video.
    uint8_t streamingEndpoint(uint8_t interfaceNumber) const;
    // Bytes an isochronous endpoint moves per microframe (three transactions of 1024 bytes).
    static constexpr uint32_t kStreamingBytesPerInterval = 3 * 1024;

  private:
    struct Interface {
        uint8_t number;
        uint8_t alternates;
        uint8_t endpoint;  // streaming endpoint, 0 for other interfaces
    };

    std::vector<uint8_t> device_;
    std::vector<uint8_t> configuration_;
    std::vector<Interface> interfaces_;
    uint8_t statusEndpoint_ = 0;
};

}  // namespace orvella::virtualcam
