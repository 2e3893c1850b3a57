#pragma once
// The request recorder of a virtual camera: every request that reached the camera, in order, with
// its SETUP fields, the bytes that crossed the wire and the status the host saw. Tests read it
// (tests/support/RequestsSeen.h), and an observer sees each request as it is recorded
// (RequestLog, the application's --request-log). Not synchronized: the camera's lock guards it.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "platform/IOReturn.h"
#include "platform/Usb.h"

namespace orvella::virtualcam {

// One request as it crossed the wire: the SETUP fields, the data bytes (sent by the host for
// writes, answered by the device for reads) and the status the host saw.
struct RecordedRequest {
    enum class Kind { Control, Device };
    Kind kind = Kind::Control;
    uint8_t bmRequestType = 0;
    uint8_t bRequest = 0;
    uint16_t wValue = 0;
    uint16_t wIndex = 0;
    uint16_t wLength = 0;
    std::vector<uint8_t> data;
    IOReturn status = kIOReturnSuccess;

    uint8_t unit() const { return static_cast<uint8_t>(wIndex >> 8); }
    uint8_t selector() const { return static_cast<uint8_t>(wValue >> 8); }
};

class RequestRecorder {
  public:
    using Observer = std::function<void(const RecordedRequest&)>;

    // Appends one request and shows it to the observer first.
    void record(RecordedRequest::Kind kind, const platform::ControlRequest& request,
                std::vector<uint8_t> data, IOReturn status);
    const std::vector<RecordedRequest>& requests() const { return log_; }
    void clear() { log_.clear(); }
    size_t count() const { return log_.size(); }
    // An empty function removes the observer.
    void setObserver(Observer observer) { observer_ = std::move(observer); }

  private:
    std::vector<RecordedRequest> log_;
    Observer observer_;
};

}  // namespace orvella::virtualcam
