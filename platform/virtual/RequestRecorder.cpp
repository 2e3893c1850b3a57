#include "platform/virtual/RequestRecorder.h"

namespace orvella::virtualcam {

void RequestRecorder::record(RecordedRequest::Kind kind, const platform::ControlRequest& request,
                             std::vector<uint8_t> data, IOReturn status) {
    RecordedRequest r;
    r.kind = kind;
    r.bmRequestType = request.bmRequestType;
    r.bRequest = request.bRequest;
    r.wValue = request.wValue;
    r.wIndex = request.wIndex;
    r.wLength = request.wLength;
    r.data = std::move(data);
    r.status = status;
    if (observer_) observer_(r);
    log_.push_back(std::move(r));
}

}  // namespace orvella::virtualcam
