#pragma once
// The USB seam on Linux: devices and their descriptors from sysfs, control requests on a
// VideoControl interface that uvcvideo holds translated to V4L2 ioctls on its capture node, and
// requests on interfaces no driver holds sent through a raw transport (libusb).

#include <memory>
#include <string>
#include <vector>

#include "platform/RawUsbTransport.h"
#include "platform/Usb.h"
#include "platform/linux/VideoIo.h"

namespace orvella::linuxplatform {

using platform::RawUsbTransport;

class LinuxUsbHost final : public platform::UsbHost {
  public:
    // `sysfsRoot` is normally "/sys" and `devRoot` "/dev"; tests point them at a tree of their
    // own. The opener and the raw transport are borrowed; the transport may be null.
    explicit LinuxUsbHost(std::string sysfsRoot = "/sys", std::string devRoot = "/dev",
                          VideoIoOpener* opener = nullptr, RawUsbTransport* raw = nullptr);

    IOReturn getMatchingServices(
        std::vector<std::shared_ptr<platform::UsbDeviceService>>& services) override;
    using platform::UsbHost::getMatchingServices;

    // Reads the devices present now and tells the matching observer about devices that
    // appeared or went away since the last rescan (the first rescan reports every device).
    void rescan();

    const std::string& sysfsRoot() const { return sysfsRoot_; }
    const std::string& devRoot() const { return devRoot_; }

  private:
    std::string sysfsRoot_;
    std::string devRoot_;
    VideoIoOpener* opener_;
    RawUsbTransport* raw_;
    std::vector<std::shared_ptr<platform::UsbDeviceService>> known_;
};

}  // namespace orvella::linuxplatform
