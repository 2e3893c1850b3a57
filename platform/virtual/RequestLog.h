#pragma once
// The record of what virtual cameras saw, one line per event, flushed at once so that tests and
// scripts running beside the program can read it while it runs:
//   <camera> <bmRequestType> <bRequest> <wValue> <wIndex> <wLength> <data> <outcome>
// for every control transfer (hexadecimal fields, wLength in decimal, data the bytes the host
// sent for OUT requests or the device answered for IN requests, "-" when none; outcome ok,
// stall, noanswer or gone), "<camera> unlink ep<N> cancelled|completed" for a URB the host
// withdrew, and "# <text>" for notes (plugging, unplugging, control commands). Written by the
// USB/IP camera server and by the programs' --request-log.

#include <array>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "platform/virtual/UsbWireDevice.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

class RequestLog {
  public:
    // An empty path logs nowhere; the file is appended to.
    explicit RequestLog(const std::string& path);
    ~RequestLog();
    RequestLog(const RequestLog&) = delete;
    RequestLog& operator=(const RequestLog&) = delete;

    bool isOpen() const { return file_ != nullptr; }
    // Why a line could not be written (the first time it happened: a full disk, say), or empty
    // while every line went out. The first failure is also logged, once.
    std::string writeError() const;

    void transfer(int camera, const std::array<uint8_t, 8>& setup, const std::vector<uint8_t>& data,
                  UsbWireDevice::Outcome outcome);
    // A request a virtual camera answered in process, as the wire would have carried it.
    void request(int camera, const RecordedRequest& request);
    void unlink(int camera, uint32_t endpoint, bool wasPending);
    void note(const std::string& text);

    // The line `transfer` writes, without its newline.
    static std::string transferLine(int camera, const std::array<uint8_t, 8>& setup,
                                    const std::vector<uint8_t>& data,
                                    UsbWireDevice::Outcome outcome);
    // How a request that ended with `status` looks on the wire.
    static UsbWireDevice::Outcome outcomeFor(IOReturn status);

  private:
    void write(const std::string& line);

    mutable std::mutex mutex_;
    std::string path_;
    std::FILE* file_ = nullptr;
    std::string writeError_;
};

}  // namespace orvella::virtualcam
