#pragma once
// The USB/IP camera server's record of what its devices saw, one line per event, flushed at once
// so that tests running beside the server can read it while it runs:
//   <camera> <bmRequestType> <bRequest> <wValue> <wIndex> <wLength> <data> <outcome>
// for every control transfer (hexadecimal fields, wLength in decimal, data the bytes the host
// sent for OUT requests or the device answered for IN requests, "-" when none; outcome ok,
// stall, noanswer or gone), "<camera> unlink ep<N> cancelled|completed" for a URB the host
// withdrew, and "# <text>" for notes (plugging, unplugging, control commands).

#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "platform/virtual/UsbWireDevice.h"

namespace orvella::usbip {

class RequestLog {
  public:
    // An empty path logs nowhere.
    explicit RequestLog(const std::string& path);
    ~RequestLog();
    RequestLog(const RequestLog&) = delete;
    RequestLog& operator=(const RequestLog&) = delete;

    bool isOpen() const { return file_ != nullptr; }

    void transfer(int camera, const std::array<uint8_t, 8>& setup, const std::vector<uint8_t>& data,
                  virtualcam::UsbWireDevice::Outcome outcome);
    void unlink(int camera, uint32_t endpoint, bool wasPending);
    void note(const std::string& text);

    // The line `transfer` writes, without its newline.
    static std::string transferLine(int camera, const std::array<uint8_t, 8>& setup,
                                    const std::vector<uint8_t>& data,
                                    virtualcam::UsbWireDevice::Outcome outcome);

  private:
    void write(const std::string& line);

    std::mutex mutex_;
    std::FILE* file_ = nullptr;
};

}  // namespace orvella::usbip
