#pragma once
// A virtual camera plugged into one port of the kernel's USB/IP virtual host controller
// (vhci_hcd): plugging creates a stream socket pair, hands one end to the kernel by writing
// "<port> <fd> <devid> <speed>" to the controller's `attach` file and serves the other end on a
// thread of its own; unplugging writes the port to `detach`, and the kernel disconnects the
// device as if its cable had been pulled. Needs root.

#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/virtual/RequestLog.h"
#include "platform/virtual/UsbWireDevice.h"
#include "tools/usbip-camera/UsbipConnection.h"

namespace orvella::usbip {

class VhciPort {
  public:
    // `vhciDirectory` is the controller's sysfs directory
    // (/sys/devices/platform/vhci_hcd.0); `port` a high-speed port of it (0-based). `log` is
    // borrowed; `number` names the camera in the log.
    VhciPort(std::shared_ptr<virtualcam::VirtualCamera> camera, std::string vhciDirectory,
             unsigned port, virtualcam::RequestLog& log, int number);
    ~VhciPort();
    VhciPort(const VhciPort&) = delete;
    VhciPort& operator=(const VhciPort&) = delete;

    // Attaches the device; false with *error set when the kernel refuses.
    bool plug(std::string* error);
    // Detaches it and waits until serving has ended. Does nothing when not plugged.
    void unplug();
    bool plugged() const;

    virtualcam::VirtualCamera& camera() { return *camera_; }
    unsigned port() const { return port_; }

  private:
    int detach();

    std::shared_ptr<virtualcam::VirtualCamera> camera_;
    std::unique_ptr<virtualcam::UsbWireDevice> device_;
    std::string vhciDirectory_;
    unsigned port_;
    virtualcam::RequestLog& log_;
    int number_;
    mutable std::mutex mutex_;
    bool plugged_ = false;
    int fd_ = -1;  // our end of the connection while plugged
    std::thread thread_;
};

}  // namespace orvella::usbip
