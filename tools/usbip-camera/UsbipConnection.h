#pragma once
// Serves one USB/IP connection: reads the host's commands from a stream socket, answers control
// transfers on endpoint 0 from a UsbWireDevice and keeps the URBs of other endpoints (status
// interrupts) pending, since the virtual camera has no events to send, until the host unlinks
// them. Isochronous URBs on the video endpoint are filled with the camera's frames, one packet per
// 125 µs microframe, and answered when their time is up. A transfer the device does not answer
// stays pending too, so that the host times out and unlinks it as with a real camera that hangs.
// When the device vanishes mid-request the request is left unanswered and `onGone` runs (the server
// then unplugs the port); serving ends when the host closes the connection.

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "platform/virtual/RequestLog.h"
#include "platform/virtual/UsbWireDevice.h"
#include "tools/usbip-camera/IsochronousVideo.h"
#include "tools/usbip-camera/UsbipProtocol.h"

namespace orvella::usbip {

class UsbipConnection {
  public:
    // `device` and `log` are borrowed; `camera` is the number used in the log.
    UsbipConnection(virtualcam::UsbWireDevice& device, virtualcam::RequestLog& log, int camera);

    // Runs until the connection closes or carries something that is not USB/IP; returns why it
    // ended, for the log. `fd` stays open.
    std::string serve(int fd);

    void setOnGone(std::function<void()> onGone) { onGone_ = std::move(onGone); }
    // The camera's video for its isochronous endpoint (borrowed; null: such URBs stay pending).
    void setVideo(IsochronousVideo* video) { video_ = video; }

  private:
    bool submit(int fd, const Command& command, const std::vector<uint8_t>& out);
    bool submitVideo(int fd, const Command& command, const std::vector<uint8_t>& iso);

    virtualcam::UsbWireDevice& device_;
    virtualcam::RequestLog& log_;
    int camera_;
    std::function<void()> onGone_;
    IsochronousVideo* video_ = nullptr;
    bool gone_ = false;
    std::map<uint32_t, uint32_t> pending_;  // seqnum -> endpoint of URBs not answered yet
};

}  // namespace orvella::usbip
