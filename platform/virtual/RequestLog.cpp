#include "platform/virtual/RequestLog.h"

#include <cerrno>
#include <cstring>

#include "platform/Log.h"

namespace orvella::virtualcam {

RequestLog::RequestLog(const std::string& path) : path_(path) {
    if (!path.empty()) file_ = std::fopen(path.c_str(), "a");
}

RequestLog::~RequestLog() {
    if (file_) std::fclose(file_);
}

std::string RequestLog::transferLine(int camera, const std::array<uint8_t, 8>& s,
                                     const std::vector<uint8_t>& data,
                                     UsbWireDevice::Outcome outcome) {
    using Outcome = UsbWireDevice::Outcome;
    char head[64];
    std::snprintf(head, sizeof head, "%d %02x %02x %04x %04x %u ", camera, s[0], s[1],
                  static_cast<unsigned>(s[2] | s[3] << 8), static_cast<unsigned>(s[4] | s[5] << 8),
                  static_cast<unsigned>(s[6] | s[7] << 8));
    std::string line = head;
    if (data.empty()) line += '-';
    for (uint8_t byte : data) {
        char hex[3];
        std::snprintf(hex, sizeof hex, "%02x", byte);
        line += hex;
    }
    switch (outcome) {
        case Outcome::Done:
            return line + " ok";
        case Outcome::Stall:
            return line + " stall";
        case Outcome::NoAnswer:
            return line + " noanswer";
        case Outcome::Gone:
            return line + " gone";
    }
    return line;
}

UsbWireDevice::Outcome RequestLog::outcomeFor(IOReturn status) {
    using Outcome = UsbWireDevice::Outcome;
    switch (status) {
        case kIOReturnSuccess:
            return Outcome::Done;
        case kIOReturnNotResponding:
            return Outcome::NoAnswer;
        case kIOReturnNoDevice:
            return Outcome::Gone;
        default:
            // Every other refusal reaches the host as a stalled pipe.
            return Outcome::Stall;
    }
}

void RequestLog::transfer(int camera, const std::array<uint8_t, 8>& setup,
                          const std::vector<uint8_t>& data, UsbWireDevice::Outcome outcome) {
    write(transferLine(camera, setup, data, outcome));
}

void RequestLog::request(int camera, const RecordedRequest& r) {
    const std::array<uint8_t, 8> setup = {
        r.bmRequestType,
        r.bRequest,
        static_cast<uint8_t>(r.wValue & 0xFF),
        static_cast<uint8_t>(r.wValue >> 8),
        static_cast<uint8_t>(r.wIndex & 0xFF),
        static_cast<uint8_t>(r.wIndex >> 8),
        static_cast<uint8_t>(r.wLength & 0xFF),
        static_cast<uint8_t>(r.wLength >> 8),
    };
    write(transferLine(camera, setup, r.data, outcomeFor(r.status)));
}

void RequestLog::unlink(int camera, uint32_t endpoint, bool wasPending) {
    write(std::to_string(camera) + " unlink ep" + std::to_string(endpoint) +
          (wasPending ? " cancelled" : " completed"));
}

void RequestLog::note(const std::string& text) {
    write("# " + text);
}

std::string RequestLog::writeError() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return writeError_;
}

void RequestLog::write(const std::string& line) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!file_) return;
    errno = 0;
    const bool written = std::fputs(line.c_str(), file_) != EOF && std::fputc('\n', file_) != EOF &&
                         std::fflush(file_) == 0;
    if (written || !writeError_.empty()) return;
    writeError_ = errno != 0 ? std::strerror(errno) : "write error";
    NSLog("Request log %s: cannot write (%s); lines from here on may be lost", path_.c_str(),
          writeError_.c_str());
}

}  // namespace orvella::virtualcam
