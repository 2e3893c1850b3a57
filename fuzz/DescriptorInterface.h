#pragma once
// A VideoControl or VideoStreaming interface that is nothing but its class-specific descriptors,
// for the targets that fuzz the descriptor walkers alone: every control request succeeds with an
// answer made from the request itself, so probing walks on without a device behind it.

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/Usb.h"

namespace orvella::fuzz {

class DescriptorInterface final : public platform::UsbInterface {
  public:
    explicit DescriptorInterface(std::vector<platform::Descriptor> descriptors)
        : descriptors_(std::move(descriptors)) {}

    IOReturn getDeviceVendor(uint16_t& vendor) override { return (vendor = 0, kIOReturnSuccess); }
    IOReturn getDeviceProduct(uint16_t& product) override {
        return (product = 0, kIOReturnSuccess);
    }
    IOReturn getInterfaceClass(uint8_t& c) override { return (c = 0x0E, kIOReturnSuccess); }
    IOReturn getInterfaceSubClass(uint8_t& s) override { return (s = 1, kIOReturnSuccess); }
    IOReturn getInterfaceNumber(uint8_t& n) override { return (n = 0, kIOReturnSuccess); }
    std::vector<platform::Descriptor> classSpecificDescriptors() override { return descriptors_; }
    IOReturn controlRequest(uint8_t, platform::ControlRequest& request) override {
        const uint8_t answer[8] = {request.bRequest,
                                   static_cast<uint8_t>(request.wValue >> 8),
                                   static_cast<uint8_t>(request.wIndex >> 8),
                                   0x7F,
                                   0x80,
                                   1,
                                   0xFF,
                                   0};
        const size_t n = std::min<size_t>(request.wLength, sizeof answer);
        if ((request.bmRequestType & 0x80) && request.pData) std::memcpy(request.pData, answer, n);
        request.wLenDone = static_cast<uint32_t>(n);
        return kIOReturnSuccess;
    }

  private:
    std::vector<platform::Descriptor> descriptors_;
};

}  // namespace orvella::fuzz
