#pragma once
// The USB seam through libusb: enumeration, descriptors, string descriptors and control
// transfers. On Linux it serves cameras whose VideoControl interface no kernel driver holds (as a
// RawUsbTransport for the sysfs host); it is also the route to other platforms.

#include <memory>

#include "platform/RawUsbTransport.h"
#include "platform/Usb.h"

struct libusb_context;

namespace orvella::libusbplatform {

// libusb's error codes as the statuses the camera core expects.
IOReturn ioReturnForLibusb(int error);

class LibusbHost final : public platform::UsbHost, public platform::RawUsbTransport {
  public:
    LibusbHost();
    ~LibusbHost() override;
    LibusbHost(const LibusbHost&) = delete;
    LibusbHost& operator=(const LibusbHost&) = delete;

    // False when libusb could not be initialised (no USB support on the machine).
    bool available() const { return context_ != nullptr; }

    IOReturn getMatchingServices(
        std::vector<std::shared_ptr<platform::UsbDeviceService>>& services) override;
    using platform::UsbHost::getMatchingServices;

    IOReturn controlRequest(unsigned busNumber, unsigned deviceAddress,
                            platform::ControlRequest& request, uint32_t timeoutMs) override;

  private:
    std::shared_ptr<libusb_context> context_;
};

}  // namespace orvella::libusbplatform
