#pragma once
// A virtual camera as a USB device on the wire: it answers every transfer on the default control
// pipe the way a UVC camera does, so that a real USB host stack (the Linux kernel, reached over
// USB/IP) can enumerate it and bind its driver. Standard requests (descriptors, configuration,
// interface alternate settings, status, features) are answered here from UsbDeviceDescriptors;
// string descriptors and class requests go to the VirtualCamera, which records them.

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "platform/virtual/UsbDeviceDescriptors.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

class UsbWireDevice {
  public:
    // How a transfer ended, as the host sees it.
    enum class Outcome {
        Done,      // completed; IN transfers carry `data`
        Stall,     // the device stalled the pipe
        NoAnswer,  // the device does not answer; the host times out and cancels
        Gone,      // the device vanished during the request
    };
    struct Transfer {
        Outcome outcome = Outcome::Stall;
        std::vector<uint8_t> data;  // IN: the bytes answered
        uint32_t length = 0;        // bytes moved in the data stage
    };

    explicit UsbWireDevice(std::shared_ptr<VirtualCamera> camera);

    // One control transfer: the 8-byte SETUP packet and, for host-to-device requests, the data
    // stage (shorter than wLength if the host sent less).
    Transfer control(const std::array<uint8_t, 8>& setup, const std::vector<uint8_t>& out);

    VirtualCamera& camera() { return *camera_; }
    const UsbDeviceDescriptors& descriptors() const { return descriptors_; }
    uint8_t configuration() const { return configuration_; }
    uint8_t alternateSetting(uint8_t interfaceNumber) const;

  private:
    Transfer standard(uint8_t bmRequestType, uint8_t bRequest, uint16_t wValue, uint16_t wIndex,
                      uint16_t wLength);
    Transfer classRequest(platform::ControlRequest& request);

    std::shared_ptr<VirtualCamera> camera_;
    UsbDeviceDescriptors descriptors_;
    uint8_t configuration_ = 0;
    std::map<uint8_t, uint8_t> alternates_;  // interface number -> current alternate setting
};

}  // namespace orvella::virtualcam
